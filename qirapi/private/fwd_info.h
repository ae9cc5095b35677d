// Forwarding information: checks of the record, and changes of its destinations.
#ifndef QIRAPI_PRIVATE_FWD_INFO_H
#define QIRAPI_PRIVATE_FWD_INFO_H

#include "qirapi/private/context.h"

namespace qir {

// 0, e_RET_ERR_INVALID_GEMPORTIDX, e_RET_ERR_INVALID_DSTQID or e_RET_ERR_INVALID_GEMPORTIDXMASK.
u32 Validate_FwdInfo(const Fcb *fcb_p, const FwdInfo *fwdInfo_p);
// Copies the record into the FCB and marks it as set.
void Set_FwdInfo(Fcb *fcb_p, const FwdInfo *fwdInfo_p);
// Both change the record at `fwdInfo_p`, never the FCB. Adding returns 1 when there is no port to choose a
// queue from, or the GPON port comes without GEM ports; otherwise 0. Removing returns 0.
u32 AddDstPortToFwdInfo(const Fcb *fcb_p, const DstMask *dstMask_p, FwdInfo *fwdInfo_p);
u32 RemDstPortFromFwdInfo(const Fcb *fcb_p, const DstMask *dstMask_p, FwdInfo *fwdInfo_p);

} // namespace qir

#endif
