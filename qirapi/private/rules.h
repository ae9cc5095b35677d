// The rule tables: which filters and actions a header accepts beside what it already holds.
//
// Written once at start-up, read-only afterwards. A check that accepts a type records it in the header's
// bitmap at once; what it recorded stays when a later check refuses the request.
#ifndef QIRAPI_PRIVATE_RULES_H
#define QIRAPI_PRIVATE_RULES_H

#include "qirapi/private/context.h"

namespace qir {

void Init_CmpOpCntTbl();
void Init_CmpOpChkTbl();
void Init_L4CmpOpChkTbl();
void Init_FilterDepBmapTbl();
void Init_L4FilterDepBmapTbl();
void Init_ActionDepBmapTbl();
void Init_L4ActionDepBmapTbl();

// 0, e_RET_ERR_INVALID_FILTSEQ (excluded, nothing changed) or e_RET_ERR_INVALID_CMPOPSEQ (the operator's
// limit is reached; the type's bit has been set).
u32 Chk_FilterDepBmapTbl(u32 hdr, u8 type, u16 *curBmap_p, u32 cmpOp, u8 *cmpOpCurCnt_p);
u32 Chk_L4FilterDepBmapTbl(u32 hdr, u8 type, u16 *curBmap_p, u32 cmpOp, u8 *cmpOpCurCnt_p);
// 0 or e_RET_ERR_INVALID_ACTIONSEQ (excluded, nothing changed).
u32 Chk_ActionDepBmapTbl(u32 hdr, u8 type, u16 *curBmap_p);
u32 Chk_L4ActionDepBmapTbl(u32 hdr, u8 type, u16 *curBmap_p);

void Dump_CmpOp(u32 cmpOp); // cmpOp<e_CMP_EQ>, and ends the line
void Dump_FilterDepBmapTbl();
void Dump_L4FilterDepBmapTbl();
void Dump_ActionDepBmapTbl();
void Dump_L4ActionDepBmapTbl();

} // namespace qir

#endif
