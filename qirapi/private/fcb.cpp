#include "qirapi/private/fcb.h"

#include "qirapi/private/report.h"
#include "qirapi/private/req_list.h"

#include <string.h>

namespace qir {

namespace {

constexpr u32 kReservedWord = 0xFFFFFFFF;
// Port whose queue id has an initial value: the host.
constexpr u32 kHostPort = 8;

void InitFilterBlk(FilterBlk &blk) {
    blk.hdrBmap = 0;
    blk.totalTags = 0;
}

void InitActionBlk(ActionBlk &blk) {
    blk.hdrBmap = 0;
    blk.lastEthAction = 0;
    blk.totalTags = 0;
    blk.pushedTags = 0;
    blk.poppedTags = 0;
}

void InitFwdInfo(FwdInfo &fwdInfo) {
    fwdInfo.flowPrio = 0;
    fwdInfo.src.portMask = 0;
    fwdInfo.dst.portMask = 0;
    fwdInfo.dst.gemPortIdxMask = 0;
    fwdInfo.dst.portQid[kHostPort] = 0;
    fwdInfo.fwdAction = e_FWD_ACTION_LRN_ENABLE;
}

} // namespace

u16 GetIdxFromFlowHdl(FlowHdl flowHdl) {
    QEL_ASSERT(flowHdl.f1.id < QIR_MAX_FLOWS, "(flowHdl.f1.id < QIR_MAX_FLOWS)");
    return static_cast<u16>(flowHdl.f1.id);
}

FlowHdl GetFlowHdlFromIdx(u16 flowIdx) {
    QEL_ASSERT(flowIdx < QIR_MAX_FLOWS, "(flowIdx < QIR_MAX_FLOWS)");
    FlowHdl flowHdl{};
    flowHdl.f1.id = flowIdx;
    return flowHdl;
}

Fcb *GetFCB(FlowHdl flowHdl) {
    QEL_ASSERT(flowHdl.f1.id < QIR_MAX_FLOWS, "(flowHdl.f1.id < QIR_MAX_FLOWS)");
    return qirCtxt_gp->fcbPool + flowHdl.f1.id;
}

u32 Validate_FlowHdl(FlowHdl flowHdl) {
    const u32 id = flowHdl.f1.id;
    if (id >= QIR_MAX_FLOWS) {
        QIR_ERR("Value out of range for flowHdl<%u>\n", id);
        return QIR_REFUSE(e_RET_ERR_INVALID_HDL);
    }
    if (qirCtxt_gp->fcbPool[id].status == e_STATUS_FREE) {
        QIR_ERR("Invalid flowHdl<%u> FCB is free\n", id);
        return QIR_REFUSE(e_RET_ERR_INVALID_HDL);
    }
    return e_RET_OK;
}

void Init_FCB(Fcb *fcb_p) {
    memset(static_cast<void *>(fcb_p), kFillByte, sizeof *fcb_p);
    fcb_p->tblAssoc = 0;
    fcb_p->section = 0;
    fcb_p->asOverride = e_AS_OVERRIDE_DISABLE;
    fcb_p->reserved1 = kReservedWord;
    memset(&fcb_p->epTblHdl, 0xFF, sizeof fcb_p->epTblHdl);
    InitFilterBlk(fcb_p->filterBlk);
    InitActionBlk(fcb_p->actionBlk);
    fcb_p->fwdInfoSet = 0;
    InitFwdInfo(fcb_p->fwdInfo);
    Init_FreeReqList(fcb_p);
}

// All FCBs are the same: the first one is copied.
u32 Init_FcbPool() {
    Fcb *const pool = qirCtxt_gp->fcbPool;
    Init_FCB(pool);
    pool->status = e_STATUS_FREE;
    for (u32 flowIdx = 1; flowIdx < QIR_MAX_FLOWS; ++flowIdx) {
        memcpy(&pool[flowIdx], pool, sizeof *pool);
    }
    return e_RET_OK;
}

u16 FindFreeFlow() {
    u16 flowIdx = 0;
    while (flowIdx < QIR_MAX_FLOWS && qirCtxt_gp->fcbPool[flowIdx].status != e_STATUS_FREE) {
        ++flowIdx;
    }
    return flowIdx;
}

} // namespace qir
