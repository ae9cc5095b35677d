// Every handler makes its checks first, then answers, then changes what the hardware holds: a request that is
// refused or whose answer cannot be written changes nothing. A slot becomes active last: a process that is
// killed in between leaves none that is half filled.
//
// Words of a record that the library does not set are not looked at.
#include "emu/device.h"

#include "emu/caller_memory.h"
#include "emu/hardware.h"
#include "emu/session.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace orxemu {

namespace {

using qir::i32;
using qir::u32;
using qir::u8;

constexpr u32 kMaxFlowMissAction = 2;
constexpr u32 kMaxAclType = 1;
constexpr u32 kPadLenPorts = 8; // one port fewer than the other settings have
constexpr u32 kMaxPadLen = 255;
constexpr u32 kMaxFlowPrio = 31;
constexpr u32 kMaxFwdAction = 7;
constexpr u32 kCirUnits = 2;
constexpr u32 kMaxCirRate[kCirUnits] = {8064, 1000};

// Where the driver's index stands in a record.
constexpr u32 kIndexWord = 0;

OrxEmuState &State() {
    return TheHardware().state;
}

static_assert(sizeof(qir::Fcb) == ORXEMU_FCB_BYTES);
static_assert(sizeof(qir::AsTblInfo) == sizeof(OrxEmuTable::record));
static_assert(sizeof(RlEnt) == sizeof(OrxEmuRl::record));

// Lowest slot that is not active; `num` when all are.
template <class Slot> u32 LowestFree(const Slot *slots, u32 num) {
    u32 idx = 0;
    while (idx < num && slots[idx].active != 0) {
        ++idx;
    }
    return idx;
}

template <class Slot> void Release(Slot &slot) {
    std::memset(&slot, 0, sizeof slot);
}

// --- Global and port settings

int SetGblCfg(Exchange &exchange) {
    const auto record = exchange.In<qir::GblRecord>();
    if (record.cfgType != qir::kGblCfgFlowMissAction || record.flowMissAction > kMaxFlowMissAction) {
        return EINVAL;
    }
    State().flowMissAction = record.flowMissAction;
    return 0;
}

int SetPortDefAcl(const qir::PortRecord &record) {
    if (record.defAcl.srcPort >= ORXEMU_PORTS || record.defAcl.aclType > kMaxAclType) {
        return EINVAL;
    }
    State().portDefAcl[record.defAcl.srcPort] = record.defAcl.aclType;
    return 0;
}

int SetPortTpid(const qir::PortRecord &record) {
    if (record.tpid.portId >= ORXEMU_PORTS) {
        return EINVAL;
    }
    static_assert(sizeof record.tpid.tpid == sizeof State().portTpid[0]);
    std::memcpy(State().portTpid[record.tpid.portId], record.tpid.tpid, sizeof record.tpid.tpid);
    return 0;
}

int SetPortPadLen(const qir::PortRecord &record) {
    if (record.pad.srcPort >= kPadLenPorts || record.pad.padLen > kMaxPadLen) {
        return EINVAL;
    }
    State().portPadLen[record.pad.srcPort] = record.pad.padLen;
    return 0;
}

int SetPortCfg(Exchange &exchange) {
    const auto record = exchange.In<qir::PortRecord>();
    switch (record.cfgType) {
    case qir::kPortCfgDefAcl:
        return SetPortDefAcl(record);
    case qir::kPortCfgTpid:
        return SetPortTpid(record);
    case qir::kPortCfgPadLen:
        return SetPortPadLen(record);
    default:
        return EINVAL;
    }
}

// --- Tables

// The tables of one kind; their record follows the index word.
struct TblKind {
    OrxEmuTable *(*slots)();
    u32 num;
    u32 bytes;
};
constexpr TblKind kAsTbls = {[] { return State().asTbl; }, ORXEMU_AS_TABLES, sizeof(qir::AsTblInfo)};
constexpr TblKind kDscpTbls = {[] { return State().dscpTbl; }, ORXEMU_DSCP_TABLES, sizeof(qir::DscpTblInfo)};
constexpr TblKind kPacTbls = {[] { return State().pacTbl; }, ORXEMU_PAC_TABLES, sizeof(qir::PacTblInfo)};

bool IsActive(const TblKind &tbls, u32 idx) {
    return idx < tbls.num && tbls.slots()[idx].active != 0;
}

template <const TblKind &tbls> int ActivateTbl(Exchange &exchange) {
    const u32 idx = LowestFree(tbls.slots(), tbls.num);
    if (idx == tbls.num) {
        return ENOSPC;
    }
    const int err = exchange.Answer(kIndexWord, &idx, sizeof idx);
    if (err != 0) {
        return err;
    }
    OrxEmuTable &tbl = tbls.slots()[idx];
    std::memcpy(tbl.record, exchange.Bytes() + sizeof idx, tbls.bytes);
    tbl.active = 1;
    return 0;
}

template <const TblKind &tbls> int DeactivateTbl(Exchange &exchange) {
    const auto idx = exchange.In<u32>();
    if (!IsActive(tbls, idx)) {
        return ENOENT;
    }
    Release(tbls.slots()[idx]);
    return 0;
}

// --- Flows

OrxEmuFlow *ActiveFlow(u32 flowIdx) {
    return flowIdx < ORXEMU_FLOWS && State().flow[flowIdx].active != 0 ? &State().flow[flowIdx] : nullptr;
}

bool InRange(const FwdInfo &fwdInfo) {
    return fwdInfo.flowPrio <= kMaxFlowPrio && fwdInfo.fwdAction <= kMaxFwdAction;
}

// A flow without forwarding information has nothing there that the hardware could take.
bool FwdInfoInRange(const u8 *fcbBytes) {
    u32 isSet;
    FwdInfo fwdInfo;
    std::memcpy(&isSet, fcbBytes + offsetof(qir::Fcb, fwdInfoSet), sizeof isSet);
    std::memcpy(&fwdInfo, fcbBytes + offsetof(qir::Fcb, fwdInfo), sizeof fwdInfo);
    return isSet != 1 || InRange(fwdInfo);
}

int CopyFlow(Exchange &exchange, const qir::FlowRecord &record) {
    return record.fcbSize == ORXEMU_FCB_BYTES ? exchange.CopyFcb(record.fcbAddr) : EINVAL;
}

int ActivateFlow(Exchange &exchange) {
    const auto record = exchange.In<qir::FlowRecord>();
    const int copyErr = CopyFlow(exchange, record);
    if (copyErr != 0) {
        return copyErr;
    }
    if (!FwdInfoInRange(exchange.FcbBytes())) {
        return EINVAL;
    }
    const bool pacFound =
        record.pacTblIdx == qir::kNoTable || IsActive(kPacTbls, static_cast<u32>(record.pacTblIdx));
    if (!pacFound || record.epTblIdx != qir::kNoTable) {
        return ENOENT;
    }
    const u32 idx = LowestFree(State().flow, ORXEMU_FLOWS);
    if (idx == ORXEMU_FLOWS) {
        return ENOSPC;
    }
    const int err = exchange.Answer(kIndexWord, &idx, sizeof idx);
    if (err != 0) {
        return err;
    }
    OrxEmuFlow &flow = State().flow[idx];
    std::memcpy(flow.fcb, exchange.FcbBytes(), sizeof flow.fcb);
    flow.pacTblIdx = record.pacTblIdx;
    flow.epTblIdx = record.epTblIdx;
    flow.numFlows = 1;
    flow.active = 1;
    return 0;
}

int DeactivateFlow(Exchange &exchange) {
    const auto record = exchange.In<qir::FlowRecord>();
    const int copyErr = CopyFlow(exchange, record);
    if (copyErr != 0) {
        return copyErr;
    }
    OrxEmuFlow *flow = ActiveFlow(record.flowIdx);
    if (flow == nullptr) {
        return ENOENT;
    }
    Release(*flow);
    return 0;
}

int GetFlowHits(Exchange &exchange) {
    const OrxEmuFlow *flow = ActiveFlow(exchange.In<qir::HitsRecord>().flowIdx);
    if (flow == nullptr) {
        return ENOENT;
    }
    FcbHits hits;
    static_assert(sizeof hits.hits == sizeof flow->hits);
    hits.numFlows = flow->numFlows;
    std::memcpy(hits.hits, flow->hits, sizeof hits.hits);
    return exchange.Answer(offsetof(qir::HitsRecord, hits), &hits, sizeof hits);
}

int UpdateFwdInfo(Exchange &exchange) {
    const auto record = exchange.In<qir::FwdRecord>();
    OrxEmuFlow *flow = ActiveFlow(record.flowIdx);
    if (flow == nullptr) {
        return ENOENT;
    }
    if (!InRange(record.fwdInfo)) {
        return EINVAL;
    }
    std::memcpy(flow->fcb + offsetof(qir::Fcb, fwdInfo), exchange.Bytes() + offsetof(qir::FwdRecord, fwdInfo),
                sizeof record.fwdInfo);
    return 0;
}

// --- Rate limiters

int SetRlStatus(Exchange &exchange) {
    const auto record = exchange.In<qir::RlStatusRecord>();
    if (record.rlStatus > 1) {
        return EINVAL;
    }
    State().rlStatus = record.rlStatus;
    return 0;
}

int SetRlTciCfg(Exchange &exchange) {
    const auto record = exchange.In<qir::RlTciRecord>();
    if (record.rlDir >= ORXEMU_RL_DIRS) {
        return EINVAL;
    }
    static_assert(sizeof record.rlTciCfg == sizeof State().rlTci[0]);
    std::memcpy(State().rlTci[record.rlDir], &record.rlTciCfg, sizeof record.rlTciCfg);
    return 0;
}

// Null when there is no such limiter.
OrxEmuRl *FindRl(const qir::RlRecord &record) {
    const bool found = record.rlDir < ORXEMU_RL_DIRS && record.rlIndex < ORXEMU_RL_INDEXES;
    return found ? &State().rl[record.rlDir][record.rlIndex] : nullptr;
}

bool InRange(const RlEnt &rlEnt) {
    return rlEnt.cirUnit < kCirUnits && rlEnt.cirRate <= kMaxCirRate[rlEnt.cirUnit];
}

int ActivateRl(Exchange &exchange) {
    const auto record = exchange.In<qir::RlRecord>();
    OrxEmuRl *rl = FindRl(record);
    if (rl == nullptr || !InRange(record.rlEnt)) {
        return EINVAL;
    }
    if (rl->active != 0) {
        return EBUSY;
    }
    std::memcpy(rl->record, &record.rlEnt, sizeof rl->record);
    rl->active = 1;
    return 0;
}

// The record carries no configuration of the limiter here, so nothing in it has a range.
int DeactivateRl(Exchange &exchange) {
    OrxEmuRl *rl = FindRl(exchange.In<qir::RlRecord>());
    if (rl == nullptr) {
        return EINVAL;
    }
    if (rl->active == 0) {
        return ENOENT;
    }
    Release(*rl);
    return 0;
}

constexpr RequestKind kRequests[] = {
    {qir::kOrxSetGblCfg, sizeof(qir::GblRecord), SetGblCfg},
    {qir::kOrxSetPortCfg, sizeof(qir::PortRecord), SetPortCfg},
    {qir::kOrxActivateAsTbl, sizeof(qir::AsTblRecord), ActivateTbl<kAsTbls>},
    {qir::kOrxDeactivateAsTbl, sizeof(qir::AsTblRecord), DeactivateTbl<kAsTbls>},
    {qir::kOrxActivateDscpTbl, sizeof(qir::DscpTblRecord), ActivateTbl<kDscpTbls>},
    {qir::kOrxDeactivateDscpTbl, sizeof(qir::DscpTblRecord), DeactivateTbl<kDscpTbls>},
    {qir::kOrxActivatePacTbl, sizeof(qir::PacTblRecord), ActivateTbl<kPacTbls>},
    {qir::kOrxDeactivatePacTbl, sizeof(qir::PacTblRecord), DeactivateTbl<kPacTbls>},
    {qir::kOrxActivateFlow, sizeof(qir::FlowRecord), ActivateFlow},
    {qir::kOrxDeactivateFlow, sizeof(qir::FlowRecord), DeactivateFlow},
    {qir::kOrxGetFlowHits, sizeof(qir::HitsRecord), GetFlowHits},
    {qir::kOrxSetRlStatus, sizeof(qir::RlStatusRecord), SetRlStatus},
    {qir::kOrxSetRlTciCfg, sizeof(qir::RlTciRecord), SetRlTciCfg},
    {qir::kOrxActivateRl, sizeof(qir::RlRecord), ActivateRl},
    {qir::kOrxDeactivateRl, sizeof(qir::RlRecord), DeactivateRl},
    {qir::kOrxUpdateFwdInfo, sizeof(qir::FwdRecord), UpdateFwdInfo},
};

} // namespace

const RequestKind *FindRequest(int request) {
    for (const RequestKind &kind : kRequests) {
        if (kind.request == request) {
            return &kind;
        }
    }
    return nullptr;
}

int Exchange::Answer(u32 offset, const void *bytes, u32 size) {
    const int err = CopyToCaller(static_cast<u8 *>(callerRecord_) + offset, bytes, size);
    if (err == 0) {
        std::memcpy(entry_.out + offset, bytes, size);
    }
    return err;
}

int Exchange::CopyFcb(u32 fcbAddr) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the wire carries the address as a word
    const auto *fcb = reinterpret_cast<const void *>(std::uintptr_t{fcbAddr});
    const int err = CopyFromCaller(entry_.fcb, fcb, sizeof entry_.fcb);
    if (err == 0) {
        entry_.fcbSize = sizeof entry_.fcb;
    }
    return err;
}

} // namespace orxemu

void orxemu_reset() {
    const orxemu::HardwareLock lock;
    if (!lock.isHeld()) {
        return;
    }
    std::memset(&orxemu::TheHardware(), 0, sizeof(orxemu::Hardware));
    orxemu_clearLog();
}

const OrxEmuState *orxemu_state() {
    return &orxemu::State();
}

int orxemu_addHits(uint32_t flowIdx, uint32_t counter, uint32_t count) {
    const orxemu::HardwareLock lock;
    OrxEmuFlow *flow = lock.isHeld() ? orxemu::ActiveFlow(flowIdx) : nullptr;
    if (flow == nullptr || counter >= sizeof flow->hits / sizeof *flow->hits) {
        return -1;
    }
    flow->hits[counter] += count;
    return 0;
}
