#include "qirapi/private/tables.h"

#include "qirapi/private/report.h"
#include "qirapi/private/table_kinds.h"

#include <string.h>

namespace qir {

namespace {

template <class Kind> u8 GetIdx(const char *fn, typename Kind::Hdl hdl) {
    QEL_ASSERT_AS(fn, hdl.f1.id < Kind::kPoolSize, Kind::kHdlInRange);
    return static_cast<u8>(hdl.f1.id);
}

template <class Kind> void GetHdl(const char *fn, typename Kind::Hdl *hdl_p, u8 idx) {
    QEL_ASSERT_AS(fn, idx < Kind::kPoolSize, Kind::kIdxInRange);
    hdl_p->f1.id = idx;
}

template <class Kind> typename Kind::Info *GetPtr(const char *fn, typename Kind::Hdl hdl) {
    QEL_ASSERT_AS(fn, hdl.f1.id < Kind::kPoolSize, Kind::kHdlInRange);
    return Kind::Pool() + hdl.f1.id;
}

template <class Kind> u32 ValidateHdl(const char *fn, typename Kind::Hdl hdl) {
    const u32 id = hdl.f1.id;
    if (id >= Kind::kPoolSize) {
        QIR_ERR_AS(fn, "Value out of range for %s<%u>\n", Kind::kHdlName, id);
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_HDL);
    }
    if (Kind::Pool()[id].status == e_STATUS_FREE) {
        QIR_ERR_AS(fn, "Invalid %s<%u>, table is free\n", Kind::kHdlName, id);
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_HDL);
    }
    return e_RET_OK;
}

// What the initial states of all kinds have in common: the fill, no place in hardware, no user, FREE.
template <class Kind> typename Kind::Info &InitTbl(u8 idx) {
    typename Kind::Info &tbl = Kind::Pool()[idx];
    memset(static_cast<void *>(&tbl), kFillByte, sizeof tbl);
    tbl.hwTblIdx = kNoHwIdx;
    tbl.refCnt = 0;
    tbl.status = e_STATUS_FREE;
    return tbl;
}

// Source ports that a new AS table applies to until it is configured.
constexpr u32 kInitialSrcPortMask = 0x5;

} // namespace

u8 GetIdxFromAsTblHdl(AsTblHdl asTblHdl) {
    return GetIdx<AsKind>(__func__, asTblHdl);
}

u8 GetIdxFromDscpTblHdl(DscpTblHdl dscpTblHdl) {
    return GetIdx<DscpKind>(__func__, dscpTblHdl);
}

u8 GetIdxFromEpTblHdl(EpTblHdl epTblHdl) {
    return GetIdx<EpKind>(__func__, epTblHdl);
}

u8 GetIdxFromPacTblHdl(PacTblHdl pacTblHdl) {
    return GetIdx<PacKind>(__func__, pacTblHdl);
}

void GetAsTblHdlFromIdx(AsTblHdl *asTblHdl_p, u8 asTblIdx) {
    GetHdl<AsKind>(__func__, asTblHdl_p, asTblIdx);
}

void GetDscpTblHdlFromIdx(DscpTblHdl *dscpTblHdl_p, u8 dscpTblIdx) {
    GetHdl<DscpKind>(__func__, dscpTblHdl_p, dscpTblIdx);
}

void GetEpTblHdlFromIdx(EpTblHdl *epTblHdl_p, u8 epTblIdx) {
    GetHdl<EpKind>(__func__, epTblHdl_p, epTblIdx);
}

void GetPacTblHdlFromIdx(PacTblHdl *pacTblHdl_p, u8 pacTblIdx) {
    GetHdl<PacKind>(__func__, pacTblHdl_p, pacTblIdx);
}

AsTblInfo *GetPtrFromAsTblHdl(AsTblHdl asTblHdl) {
    return GetPtr<AsKind>(__func__, asTblHdl);
}

DscpTblInfo *GetPtrFromDscpTblHdl(DscpTblHdl dscpTblHdl) {
    return GetPtr<DscpKind>(__func__, dscpTblHdl);
}

EpTblInfo *GetPtrFromEpTblHdl(EpTblHdl epTblHdl) {
    return GetPtr<EpKind>(__func__, epTblHdl);
}

PacTblInfo *GetPtrFromPacTblHdl(PacTblHdl pacTblHdl) {
    return GetPtr<PacKind>(__func__, pacTblHdl);
}

u32 Validate_AsTblHdl(AsTblHdl asTblHdl) {
    return ValidateHdl<AsKind>(__func__, asTblHdl);
}

u32 Validate_DscpTblHdl(DscpTblHdl dscpTblHdl) {
    return ValidateHdl<DscpKind>(__func__, dscpTblHdl);
}

u32 Validate_EpTblHdl(EpTblHdl epTblHdl) {
    return ValidateHdl<EpKind>(__func__, epTblHdl);
}

u32 Validate_PacTblHdl(PacTblHdl pacTblHdl) {
    return ValidateHdl<PacKind>(__func__, pacTblHdl);
}

void Set_AsTblCfg(u8 tblIdx, const AsTblCfg *asTblCfg_p) {
    QEL_ASSERT((tblIdx < QIR_ASTBL_MAXNUM) && (asTblCfg_p != nullptr),
               "((tblIdx < QIR_ASTBL_MAXNUM) && (asTblCfg_p != NULL))");
    // The source may be the record's own configuration.
    memmove(&qirCtxt_gp->asTblPool[tblIdx].cfg, asTblCfg_p, sizeof *asTblCfg_p);
}

void Fill_AsTblCfg(AsTblCfg *asTblCfg_p, u32 srcPortMask) {
    QEL_ASSERT(asTblCfg_p != nullptr, "(asTblCfg_p != NULL)");
    asTblCfg_p->srcPortMask = srcPortMask;
}

void Init_AsTbl(u8 tblIdx) {
    AsTblInfo &tbl = InitTbl<AsKind>(tblIdx);
    Fill_AsTblCfg(&tbl.cfg, kInitialSrcPortMask);
    Set_AsTblCfg(tblIdx, &tbl.cfg);
    for (AsEntSlot &slot : tbl.ent) {
        slot.status = e_STATUS_FREE;
    }
}

void Init_DscpTbl(u8 tblIdx) {
    InitTbl<DscpKind>(tblIdx);
}

void Init_EpTbl(u8 tblIdx) {
    InitTbl<EpKind>(tblIdx);
}

void Init_PacTbl(u8 tblIdx) {
    PacTblInfo &tbl = InitTbl<PacKind>(tblIdx);
    memset(tbl.ent, 0, sizeof tbl.ent);
}

void Init_AsTblPool() {
    memset(qirCtxt_gp->asTblPool, kFillByte, sizeof qirCtxt_gp->asTblPool);
    for (u8 idx = 0; idx < QIR_ASTBL_MAXNUM; ++idx) {
        Init_AsTbl(idx);
    }
}

void Init_DscpTblPool() {
    for (u8 idx = 0; idx < QIR_DSCPTBL_MAXNUM; ++idx) {
        Init_DscpTbl(idx);
    }
}

void Init_EpTblPool() {
    for (u8 idx = 0; idx < QIR_EPTBL_MAXNUM; ++idx) {
        Init_EpTbl(idx);
    }
}

void Init_PacTblPool() {
    for (u8 idx = 0; idx < QIR_PACTBL_MAXNUM; ++idx) {
        Init_PacTbl(idx);
    }
}

} // namespace qir
