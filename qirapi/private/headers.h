// Headers of a flow's filter and action blocks: the order they must come in, their allocation, and the
// dumps of blocks and of one header's requests.
#ifndef QIRAPI_PRIVATE_HEADERS_H
#define QIRAPI_PRIVATE_HEADERS_H

#include "qirapi/private/context.h"

namespace qir {

// 0, or e_RET_ERR_HDROUTOFORDER when a header that `flowHdr` needs is missing. An unknown header needs none.
u32 IsSet_FilterAllReqdHdr(const Fcb *fcb_p, u32 flowHdr);
u32 IsSet_ActionAllReqdHdr(const Fcb *fcb_p, u32 flowHdr);

// 0, e_RET_ERR_INVALID_PARAM (block without headers), e_RET_ERR_HDROUTOFORDER, or e_RET_ERR_RESRC_UNAVAIL
// (allocated already, or no request node left).
u32 Alloc_Hdr(Fcb *fcb_p, const FlowHdr *hdr_p);

// 0, or e_RET_ERR_RESRC_UNAVAIL when the header is not allocated.
u32 Dump_HdrReqList(const Fcb *fcb_p, const FlowHdr *hdr_p);
void Dump_FilterBlk(const Fcb *fcb_p);
void Dump_ActionBlk(const Fcb *fcb_p);
void Dump_FwdBlk(const Fcb *fcb_p);

} // namespace qir

#endif
