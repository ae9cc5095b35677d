#include "qirapi/private/fcb.h"

#include "qirapi/private/report.h"
#include "qirapi/private/req_list.h"

#include <string.h>

namespace qir {

namespace {

constexpr u32 kReservedWord = 0xFFFFFFFF;
// Port whose queue id has an initial value: the host.
constexpr u32 kHostPort = 8;

// No flow below this one is free: the search for a free flow starts here, so that it does not take longer
// the more flows there are. It moves in steps, which leaves the flows of the last step to their records. It
// must not stand behind the context, where a flow index beyond the pool reaches.
[[gnu::section(".data")]] constinit u32 searchStart = 0;
constexpr u32 kSearchStep = 32;
static_assert(QIR_MAX_FLOWS % kSearchStep == 0);

bool IsFree(u32 flowIdx) {
    return qirCtxt_gp->fcbPool[flowIdx].status == e_STATUS_FREE;
}

// Is the start that of the context as it is? One flow of each step that is left out is looked at, so that a
// context that was cleared is searched from its beginning. A record that something else than this library made
// FREE is found when it is one of these, or when there is no other.
bool IsSearchStartValid() {
    for (u32 flowIdx = 0; flowIdx < searchStart; flowIdx += kSearchStep) {
        if (IsFree(flowIdx)) {
            return false;
        }
    }
    return true;
}

// The first FREE flow from `flowIdx` on, or QIR_MAX_FLOWS.
u32 FirstFreeFlow(u32 flowIdx) {
    while (flowIdx < QIR_MAX_FLOWS && !IsFree(flowIdx)) {
        ++flowIdx;
    }
    return flowIdx;
}

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
    searchStart = 0;
    return e_RET_OK;
}

u16 FindFreeFlow() {
    u32 flowIdx = FirstFreeFlow(IsSearchStartValid() ? searchStart : 0);
    if (flowIdx == QIR_MAX_FLOWS) {
        flowIdx = FirstFreeFlow(0); // that there is none is for all records to say
    }
    searchStart = flowIdx / kSearchStep * kSearchStep;
    return static_cast<u16>(flowIdx);
}

void NoteFreeFlow(const Fcb *fcb_p) {
    const u32 flowIdx = static_cast<u32>(fcb_p - qirCtxt_gp->fcbPool);
    if (flowIdx < searchStart) {
        searchStart = flowIdx / kSearchStep * kSearchStep;
    }
}

} // namespace qir
