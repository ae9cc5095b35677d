// Every handler checks first, then answers, then changes what the hardware holds: a request that is refused or
// whose answer cannot be written changes nothing. Words of a record that the library does not set are not looked
// at.
#include "emu/device/device.h"

#include "qirapi/driver/driver_records.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iterator>

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

// One request while the device works on it.
struct Exchange {
    OrxEmuState &state;
    const Request &request;
    Answer &answer;

    // The record as it was sent.
    template <class Record> Record In() const {
        Record record;
        std::memcpy(&record, request.record, sizeof record);
        return record;
    }

    // 0 or an errno. The answer goes where the request table says.
    int Reply(const void *bytes, u32 size) const {
        if (!request.canAnswer) {
            return EFAULT;
        }
        answer.size = size;
        std::memcpy(answer.bytes, bytes, size);
        return 0;
    }
};

static_assert(sizeof(qir::Fcb) == ORXEMU_FCB_BYTES);
static_assert(sizeof(FcbHits) == kMaxAnswer);
static_assert(sizeof(qir::AsTblInfo) == sizeof(OrxEmuTable::record));
static_assert(sizeof(RlEnt) == sizeof(OrxEmuRl::record));

// Lowest slot that is not active; their number when all are.
template <class Slot, u32 num> u32 LowestFree(const Slot (&slots)[num]) {
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

int SetGblCfg(const Exchange &exchange) {
    const auto record = exchange.In<qir::GblRecord>();
    if (record.cfgType != qir::kGblCfgFlowMissAction || record.flowMissAction > kMaxFlowMissAction) {
        return EINVAL;
    }
    exchange.state.flowMissAction = record.flowMissAction;
    return 0;
}

int SetPortDefAcl(OrxEmuState &state, const qir::PortRecord &record) {
    if (record.defAcl.srcPort >= ORXEMU_PORTS || record.defAcl.aclType > kMaxAclType) {
        return EINVAL;
    }
    state.portDefAcl[record.defAcl.srcPort] = record.defAcl.aclType;
    return 0;
}

int SetPortTpid(OrxEmuState &state, const qir::PortRecord &record) {
    if (record.tpid.portId >= ORXEMU_PORTS) {
        return EINVAL;
    }
    static_assert(sizeof record.tpid.tpid == sizeof state.portTpid[0]);
    std::memcpy(state.portTpid[record.tpid.portId], record.tpid.tpid, sizeof record.tpid.tpid);
    return 0;
}

int SetPortPadLen(OrxEmuState &state, const qir::PortRecord &record) {
    if (record.pad.srcPort >= kPadLenPorts || record.pad.padLen > kMaxPadLen) {
        return EINVAL;
    }
    state.portPadLen[record.pad.srcPort] = record.pad.padLen;
    return 0;
}

int SetPortCfg(const Exchange &exchange) {
    const auto record = exchange.In<qir::PortRecord>();
    switch (record.cfgType) {
    case qir::kPortCfgDefAcl:
        return SetPortDefAcl(exchange.state, record);
    case qir::kPortCfgTpid:
        return SetPortTpid(exchange.state, record);
    case qir::kPortCfgPadLen:
        return SetPortPadLen(exchange.state, record);
    default:
        return EINVAL;
    }
}

// --- Tables

template <class Slot, u32 num> bool IsActive(const Slot (&slots)[num], u32 idx) {
    return idx < num && slots[idx].active != 0;
}

// The tables of one kind: their member of the state, and their record, which follows the index word.
template <auto tables, class Info> int ActivateTbl(const Exchange &exchange) {
    auto &slots = exchange.state.*tables;
    const u32 idx = LowestFree(slots);
    if (idx == std::size(slots)) {
        return ENOSPC;
    }
    const int err = exchange.Reply(&idx, sizeof idx);
    if (err != 0) {
        return err;
    }
    static_assert(sizeof(Info) <= sizeof slots[idx].record);
    std::memcpy(slots[idx].record, exchange.request.record + sizeof idx, sizeof(Info));
    slots[idx].active = 1;
    return 0;
}

template <auto tables> int DeactivateTbl(const Exchange &exchange) {
    auto &slots = exchange.state.*tables;
    const auto idx = exchange.In<u32>();
    if (!IsActive(slots, idx)) {
        return ENOENT;
    }
    Release(slots[idx]);
    return 0;
}

// --- Flows

// Null when it is not active.
OrxEmuFlow *ActiveFlow(OrxEmuState &state, u32 flowIdx) {
    return IsActive(state.flow, flowIdx) ? &state.flow[flowIdx] : nullptr;
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

// 0 or an errno.
int CopyFcb(const Exchange &exchange, const qir::FlowRecord &record) {
    if (record.fcbSize != ORXEMU_FCB_BYTES) {
        return EINVAL;
    }
    exchange.answer.tookFcb = exchange.request.fcb != nullptr;
    return exchange.answer.tookFcb ? 0 : EFAULT;
}

int ActivateFlow(const Exchange &exchange) {
    const auto record = exchange.In<qir::FlowRecord>();
    const int copyErr = CopyFcb(exchange, record);
    if (copyErr != 0) {
        return copyErr;
    }
    if (!FwdInfoInRange(exchange.request.fcb)) {
        return EINVAL;
    }
    const bool pacFound = record.pacTblIdx == qir::kNoTable ||
                          IsActive(exchange.state.pacTbl, static_cast<u32>(record.pacTblIdx));
    if (!pacFound || record.epTblIdx != qir::kNoTable) {
        return ENOENT;
    }
    const u32 idx = LowestFree(exchange.state.flow);
    if (idx == ORXEMU_FLOWS) {
        return ENOSPC;
    }
    const int err = exchange.Reply(&idx, sizeof idx);
    if (err != 0) {
        return err;
    }
    OrxEmuFlow &flow = exchange.state.flow[idx];
    std::memcpy(flow.fcb, exchange.request.fcb, sizeof flow.fcb);
    flow.pacTblIdx = record.pacTblIdx;
    flow.epTblIdx = record.epTblIdx;
    flow.numFlows = 1;
    flow.active = 1;
    return 0;
}

int DeactivateFlow(const Exchange &exchange) {
    const auto record = exchange.In<qir::FlowRecord>();
    const int copyErr = CopyFcb(exchange, record);
    if (copyErr != 0) {
        return copyErr;
    }
    OrxEmuFlow *flow = ActiveFlow(exchange.state, record.flowIdx);
    if (flow == nullptr) {
        return ENOENT;
    }
    Release(*flow);
    return 0;
}

int GetFlowHits(const Exchange &exchange) {
    const OrxEmuFlow *flow = ActiveFlow(exchange.state, exchange.In<qir::HitsRecord>().flowIdx);
    if (flow == nullptr) {
        return ENOENT;
    }
    FcbHits hits;
    static_assert(sizeof hits.hits == sizeof flow->hits);
    hits.numFlows = flow->numFlows;
    std::memcpy(hits.hits, flow->hits, sizeof hits.hits);
    return exchange.Reply(&hits, sizeof hits);
}

int UpdateFwdInfo(const Exchange &exchange) {
    const auto record = exchange.In<qir::FwdRecord>();
    OrxEmuFlow *flow = ActiveFlow(exchange.state, record.flowIdx);
    if (flow == nullptr) {
        return ENOENT;
    }
    if (!InRange(record.fwdInfo)) {
        return EINVAL;
    }
    std::memcpy(flow->fcb + offsetof(qir::Fcb, fwdInfo),
                exchange.request.record + offsetof(qir::FwdRecord, fwdInfo), sizeof record.fwdInfo);
    return 0;
}

// --- Rate limiters

int SetRlStatus(const Exchange &exchange) {
    const auto record = exchange.In<qir::RlStatusRecord>();
    if (record.rlStatus > 1) {
        return EINVAL;
    }
    exchange.state.rlStatus = record.rlStatus;
    return 0;
}

int SetRlTciCfg(const Exchange &exchange) {
    const auto record = exchange.In<qir::RlTciRecord>();
    if (record.rlDir >= ORXEMU_RL_DIRS) {
        return EINVAL;
    }
    static_assert(sizeof record.rlTciCfg == sizeof exchange.state.rlTci[0]);
    std::memcpy(exchange.state.rlTci[record.rlDir], &record.rlTciCfg, sizeof record.rlTciCfg);
    return 0;
}

// Null when there is no such limiter.
OrxEmuRl *FindRl(OrxEmuState &state, const qir::RlRecord &record) {
    const bool found = record.rlDir < ORXEMU_RL_DIRS && record.rlIndex < ORXEMU_RL_INDEXES;
    return found ? &state.rl[record.rlDir][record.rlIndex] : nullptr;
}

bool InRange(const RlEnt &rlEnt) {
    return rlEnt.cirUnit < kCirUnits && rlEnt.cirRate <= kMaxCirRate[rlEnt.cirUnit];
}

int ActivateRl(const Exchange &exchange) {
    const auto record = exchange.In<qir::RlRecord>();
    OrxEmuRl *rl = FindRl(exchange.state, record);
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
int DeactivateRl(const Exchange &exchange) {
    OrxEmuRl *rl = FindRl(exchange.state, exchange.In<qir::RlRecord>());
    if (rl == nullptr) {
        return EINVAL;
    }
    if (rl->active == 0) {
        return ENOENT;
    }
    Release(*rl);
    return 0;
}

struct Row {
    qir::OrxRequest request;
    int (*handle)(const Exchange &exchange); // 0 or an errno
};
constexpr Row kHandlers[] = {
    {qir::kOrxSetGblCfg, SetGblCfg},
    {qir::kOrxSetPortCfg, SetPortCfg},
    {qir::kOrxActivateAsTbl, ActivateTbl<&OrxEmuState::asTbl, qir::AsTblInfo>},
    {qir::kOrxDeactivateAsTbl, DeactivateTbl<&OrxEmuState::asTbl>},
    {qir::kOrxActivateDscpTbl, ActivateTbl<&OrxEmuState::dscpTbl, qir::DscpTblInfo>},
    {qir::kOrxDeactivateDscpTbl, DeactivateTbl<&OrxEmuState::dscpTbl>},
    {qir::kOrxActivatePacTbl, ActivateTbl<&OrxEmuState::pacTbl, qir::PacTblInfo>},
    {qir::kOrxDeactivatePacTbl, DeactivateTbl<&OrxEmuState::pacTbl>},
    {qir::kOrxActivateFlow, ActivateFlow},
    {qir::kOrxDeactivateFlow, DeactivateFlow},
    {qir::kOrxGetFlowHits, GetFlowHits},
    {qir::kOrxSetRlStatus, SetRlStatus},
    {qir::kOrxSetRlTciCfg, SetRlTciCfg},
    {qir::kOrxActivateRl, ActivateRl},
    {qir::kOrxDeactivateRl, DeactivateRl},
    {qir::kOrxUpdateFwdInfo, UpdateFwdInfo},
};
// A handler for each row of the request table, in its order.
static_assert(std::ranges::equal(kHandlers, qir::kRequestTable, {}, &Row::request,
                                 &qir::RequestInfo::number));

// The handler of a row of the request table.
const Row &HandlerOf(const qir::RequestInfo &row) {
    return kHandlers[&row - std::begin(qir::kRequestTable)];
}

// Errno of the answer, without faults.
int Handle(OrxEmuState &state, const Request &request, const qir::RequestInfo *row, Answer &answer) {
    if (row == nullptr) {
        return ENOTTY;
    }
    if (request.record == nullptr) {
        return EFAULT;
    }
    answer.offset = row->answer.offset;
    return HandlerOf(*row).handle({state, request, answer});
}

} // namespace

u32 FcbAddressIn(const qir::RequestInfo &row, const u8 *record) {
    if (!row.copiesFcb) {
        return 0;
    }
    qir::FlowRecord flow;
    std::memcpy(&flow, record, sizeof flow);
    return flow.fcbSize == ORXEMU_FCB_BYTES ? flow.fcbAddr : 0;
}

Answer Device::Open() {
    Answer answer;
    const Fault fault = TakeOpenFault(faults);
    answer.fault = fault.kind;
    answer.err = fault.kind != FaultKind::None ? fault.err : isMissing != 0 ? ENOENT : 0;
    numOpens += answer.err == 0 ? 1 : 0;
    return answer;
}

Answer Device::Serve(const Request &request) {
    Answer answer;
    const Fault fault = TakeRequestFault(faults, request.number);
    if (fault.kind != FaultKind::FailRequest) {
        answer.err = Handle(state, request, qir::FindRequest(request.number), answer);
    }
    if (fault.kind != FaultKind::None) {
        // Only an answer that the hardware has given can be lost.
        const bool taken = fault.kind == FaultKind::LoseAnswer && answer.err == 0;
        answer.fault = taken ? FaultKind::LoseAnswer : FaultKind::FailRequest;
        answer.err = fault.err;
    }
    return answer;
}

bool Device::AddHits(u32 flowIdx, u32 counter, u32 count) {
    OrxEmuFlow *flow = ActiveFlow(state, flowIdx);
    if (flow == nullptr || counter >= std::size(flow->hits)) {
        return false;
    }
    flow->hits[counter] += count;
    return true;
}

void Record(const Request &request, const Answer &answer, OrxEmuRequest &entry) {
    const qir::RequestInfo *row = qir::FindRequest(request.number);
    entry = {};
    entry.request = request.number;
    entry.err = answer.err;
    entry.recordSize = row != nullptr ? row->recordSize : 0;
    if (row != nullptr && request.record != nullptr) {
        std::memcpy(entry.in, request.record, entry.recordSize);
        std::memcpy(entry.out, request.record, entry.recordSize);
        std::memcpy(entry.out + answer.offset, answer.bytes, answer.size);
    }
    if (answer.tookFcb) {
        entry.fcbSize = ORXEMU_FCB_BYTES;
        std::memcpy(entry.fcb, request.fcb, entry.fcbSize);
    }
}

} // namespace orxemu
