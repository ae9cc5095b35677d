// Tables: handles, initialisation of the four pools, dumps of DSCP and PAC tables.
//
// A handle is the index of its table in the pool (f1.id). The conversions assert the index and carry on with
// it; callers validate first. Each of the four kinds has the same family of functions.
#ifndef QIRAPI_PRIVATE_TABLES_H
#define QIRAPI_PRIVATE_TABLES_H

#include "qirapi/private/context.h"

namespace qir {

// f1.id of a handle.
u8 GetIdxFromAsTblHdl(AsTblHdl asTblHdl);
u8 GetIdxFromDscpTblHdl(DscpTblHdl dscpTblHdl);
u8 GetIdxFromEpTblHdl(EpTblHdl epTblHdl);
u8 GetIdxFromPacTblHdl(PacTblHdl pacTblHdl);

// Writes f1.id of a handle; its other bits stay.
void GetAsTblHdlFromIdx(AsTblHdl *asTblHdl_p, u8 asTblIdx);
void GetDscpTblHdlFromIdx(DscpTblHdl *dscpTblHdl_p, u8 dscpTblIdx);
void GetEpTblHdlFromIdx(EpTblHdl *epTblHdl_p, u8 epTblIdx);
void GetPacTblHdlFromIdx(PacTblHdl *pacTblHdl_p, u8 pacTblIdx);

// The record of pool slot f1.id.
AsTblInfo *GetPtrFromAsTblHdl(AsTblHdl asTblHdl);
DscpTblInfo *GetPtrFromDscpTblHdl(DscpTblHdl dscpTblHdl);
EpTblInfo *GetPtrFromEpTblHdl(EpTblHdl epTblHdl);
PacTblInfo *GetPtrFromPacTblHdl(PacTblHdl pacTblHdl);

// 0, or e_RET_ERR_INVALID_HDL with two error lines: index out of range, or table free.
u32 Validate_AsTblHdl(AsTblHdl asTblHdl);
u32 Validate_DscpTblHdl(DscpTblHdl dscpTblHdl);
u32 Validate_EpTblHdl(EpTblHdl epTblHdl);
u32 Validate_PacTblHdl(PacTblHdl pacTblHdl);

void Set_AsTblCfg(u8 tblIdx, const AsTblCfg *asTblCfg_p);
void Fill_AsTblCfg(AsTblCfg *asTblCfg_p, u32 srcPortMask);

// Puts one record into its initial state, FREE. What the function does not set keeps the fill byte.
void Init_AsTbl(u8 tblIdx);
void Init_DscpTbl(u8 tblIdx);
void Init_EpTbl(u8 tblIdx);
void Init_PacTbl(u8 tblIdx);

void Init_AsTblPool();
void Init_DscpTblPool();
void Init_EpTblPool();
void Init_PacTblPool();

void Dump_DscpToPbitsTable(u8 dscpTblIdx);
void Dump_PacTable(u8 pacTblIdx);

} // namespace qir

#endif
