#include "fuzz/hardware.h"

#include "fuzz/records.h"
#include "qirapi/driver/driver_records.h"

#include <cstddef>
#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

constexpr const char *kNames[] = {"AS table", "DSCP table", "PAC table", "flow", "rate limiter"};
constexpr u32 kCounts[] = {QIR_ASTBL_MAXNUM, QIR_DSCPTBL_MAXNUM, QIR_PACTBL_MAXNUM, QIR_MAX_FLOWS,
                           u32{QIR_RLDIR_MAX} * QIR_RLINDEX_MAX};

// What the shadow knows of an object.
struct Known {
    u32 status;
    u32 hwIdx;
};

const RlSlot &RlOf(const QirCtxt &ctxt, u32 object) {
    return ctxt.rlTbl[object / QIR_RLINDEX_MAX][object % QIR_RLINDEX_MAX];
}

Known KnownOf(HwKind kind, u32 object, const QirCtxt &ctxt) {
    switch (kind) {
    case HwKind::As:
        return {ctxt.asTblPool[object].status, ctxt.asTblPool[object].hwTblIdx};
    case HwKind::Dscp:
        return {ctxt.dscpTblPool[object].status, ctxt.dscpTblPool[object].hwTblIdx};
    case HwKind::Pac:
        return {ctxt.pacTblPool[object].status, ctxt.pacTblPool[object].hwTblIdx};
    case HwKind::Flow:
        return {ctxt.fcbPool[object].status, ctxt.fcbPool[object].hwFlowIdx};
    default:
        return {RlOf(ctxt, object).state, object};
    }
}

bool IsHeld(HwKind kind, u32 slot, const OrxEmuState &hardware) {
    switch (kind) {
    case HwKind::As:
        return hardware.asTbl[slot].active != 0;
    case HwKind::Dscp:
        return hardware.dscpTbl[slot].active != 0;
    case HwKind::Pac:
        return hardware.pacTbl[slot].active != 0;
    case HwKind::Flow:
        return hardware.flow[slot].active != 0;
    default:
        return hardware.rl[slot / QIR_RLINDEX_MAX][slot % QIR_RLINDEX_MAX].active != 0;
    }
}

std::string Name(HwKind kind, u32 object) {
    return std::string(kNames[static_cast<u32>(kind)]) + " " + std::to_string(object);
}

// All of an ACTIVE table stays as it was activated, but for its driver's index, its status and its users.
template <class Info> bool IsAsActivated(const Info &tbl, const OrxEmuTable &held) {
    return Alike(tbl, held.record, 0, offsetof(Info, hwTblIdx)) &&
           Alike(tbl, held.record, offsetof(Info, cfg), offsetof(Info, refCnt)) &&
           Alike(tbl, held.record, offsetof(Info, status) + sizeof tbl.status, sizeof tbl);
}

// Of a flow, what no call changes while it is ACTIVE. Requests and table handles are not among it.
bool IsAsActivated(const Fcb &fcb, const OrxEmuFlow &held) {
    return Alike(fcb, held.fcb, offsetof(Fcb, flowHdl), offsetof(Fcb, hwFlowIdx)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, section), offsetof(Fcb, tblAssoc)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, asOverride), offsetof(Fcb, epTblHdl)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, pbitsSource), offsetof(Fcb, pacTblHdl)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, filterBlk.hdrBmap), offsetof(Fcb, filterBlk.eth)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, actionBlk.hdrBmap), offsetof(Fcb, actionBlk.eth)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, fwdInfoSet), offsetof(Fcb, fwdInfo));
}

} // namespace

void HardwarePast::NoteNoDevice(const QirCtxt &ctxt, const Call &call) {
    constexpr HwKind kKinds[] = {HwKind::As, HwKind::Dscp, HwKind::Num,
                                 HwKind::Pac}; // EP tables have no slots
    const HwKind kind = kKinds[static_cast<u32>(call.tblKind)];
    if (call.doing == Doing::SwitchTable && KnownOf(kind, call.table, ctxt).status == e_STATUS_ACTIVE) {
        Of(kind).lostIdx[call.table] = true;
    }
}

void HardwarePast::NoteInit(const OrxEmuState &hardware) {
    for (Kind &kind : kinds_) {
        for (u16 &owner : kind.owner) {
            owner = owner == kFree ? kFree : kNobody;
        }
        kind.gone.fill(false);
        kind.lostIdx.fill(false);
    }
    ahead_.fwdInfo.fill(false);
    ahead_.rlStatus = hardware.rlStatus != 0;
}

void HardwarePast::NoteActivation(HwKind kind, u32 object, const OrxEmuRequest &request, u32 slot,
                                  bool answerLost) {
    Kind &known = Of(kind);
    const bool accepted = request.err == 0;
    // A lost answer came from a slot that was free until then.
    const bool taken =
        accepted || (answerLost && slot < kCounts[static_cast<u32>(kind)] && known.owner[slot] == kFree);
    if (!taken) {
        return;
    }
    known.owner[slot] = accepted ? static_cast<u16>(object) : kNobody;
    if (accepted) {
        known.gone[object] = false;
        known.lostIdx[object] = false;
        ahead_.fwdInfo[object] = kind == HwKind::Flow ? false : ahead_.fwdInfo[object];
    }
}

void HardwarePast::NoteDeactivation(HwKind kind, u32 object, const OrxEmuRequest &request, u32 slot,
                                    bool answerLost) {
    Kind &known = Of(kind);
    const bool accepted = request.err == 0;
    const bool held = slot < kCounts[static_cast<u32>(kind)] && known.owner[slot] != kFree;
    if (!accepted) {
        known.lostIdx[object] = kind != HwKind::Flow && kind != HwKind::Rl;
    }
    if (!accepted && !(answerLost && held)) {
        return;
    }
    // The slot may have become another flow's. The one that the call is about is not ACTIVE any more when the
    // request was accepted.
    if (const u32 owner = known.owner[slot]; owner < kNobody) {
        known.gone[owner] = true;
    }
    known.gone[object] = known.gone[object] && !accepted;
    known.owner[slot] = kFree;
}

void HardwarePast::NoteUpdate(u32 flow, const OrxEmuRequest &request, u32 slot, bool answerLost) {
    const Kind &known = Of(HwKind::Flow);
    const bool held = slot < QIR_MAX_FLOWS && known.owner[slot] < kNobody;
    if (!held || (request.err != 0 && !answerLost)) {
        return;
    }
    const u32 owner = known.owner[slot];
    ahead_.fwdInfo[owner] = owner != flow || request.err != 0;
}

void HardwarePast::NoteSetting(const Call &call, bool ahead) {
    switch (call.doing) {
    case Doing::SetFlowMissAction:
        ahead_.flowMissAction = ahead;
        break;
    case Doing::SetPadLen:
        ahead_.padLen[call.port] = ahead;
        break;
    case Doing::SetDefAcl:
        ahead_.defAcl[call.port] = ahead;
        break;
    case Doing::SetTpid:
        ahead_.tpid[call.port] = ahead;
        break;
    case Doing::SetRlStatus:
        ahead_.rlStatus = ahead;
        break;
    case Doing::SetRlTci:
        ahead_.rlTci[call.rlDir] = ahead;
        break;
    default:
        break;
    }
}

void HardwarePast::NoteRequest(const Call &call, const OrxEmuRequest &request, bool answerLost) {
    const u32 rl = call.rlDir * QIR_RLINDEX_MAX + call.rlIndex;
    const u32 in = WordAt(request.in, 0);
    const u32 out = WordAt(request.out, 0);
    switch (request.request) {
    case kOrxActivateAsTbl:
        return NoteActivation(HwKind::As, call.table, request, out, answerLost);
    case kOrxDeactivateAsTbl:
        return NoteDeactivation(HwKind::As, call.table, request, in, answerLost);
    case kOrxActivateDscpTbl:
        return NoteActivation(HwKind::Dscp, call.table, request, out, answerLost);
    case kOrxDeactivateDscpTbl:
        return NoteDeactivation(HwKind::Dscp, call.table, request, in, answerLost);
    case kOrxActivatePacTbl:
        return NoteActivation(HwKind::Pac, call.table, request, out, answerLost);
    case kOrxDeactivatePacTbl:
        return NoteDeactivation(HwKind::Pac, call.table, request, in, answerLost);
    case kOrxActivateFlow:
        return NoteActivation(HwKind::Flow, call.flow, request, out, answerLost);
    case kOrxDeactivateFlow:
        return NoteDeactivation(HwKind::Flow, call.flow, request, in, answerLost);
    case kOrxUpdateFwdInfo:
        return NoteUpdate(call.flow, request, in, answerLost);
    case kOrxActivateRl:
        return NoteActivation(HwKind::Rl, rl, request, rl, answerLost);
    case kOrxDeactivateRl:
        return NoteDeactivation(HwKind::Rl, rl, request, rl, answerLost);
    default:
        break;
    }
    if (request.err == 0 || answerLost) {
        NoteSetting(call, request.err != 0);
    }
}

Complaint HardwarePast::CheckHeld(HwKind kind, u32 object, u32 slot, const QirCtxt &ctxt,
                                  const OrxEmuState &hardware) const {
    const Known known = KnownOf(kind, object, ctxt);
    const u32 hwIdx = Of(kind).lostIdx[object] ? kNoHwIdx : slot;
    if (known.status != e_STATUS_ACTIVE) {
        return Name(kind, object) + " is held by the hardware, and not ACTIVE";
    }
    if (known.hwIdx != hwIdx) {
        return Name(kind, object) + " knows another slot than the one that it has";
    }
    bool alike = true;
    switch (kind) {
    case HwKind::As:
        alike = IsAsActivated(ctxt.asTblPool[object], hardware.asTbl[slot]);
        break;
    case HwKind::Dscp:
        alike = IsAsActivated(ctxt.dscpTblPool[object], hardware.dscpTbl[slot]);
        break;
    case HwKind::Pac:
        alike = IsAsActivated(ctxt.pacTblPool[object], hardware.pacTbl[slot]);
        break;
    case HwKind::Flow:
        alike = IsAsActivated(ctxt.fcbPool[object], hardware.flow[slot]) &&
                (ahead_.fwdInfo[object] || Alike(ctxt.fcbPool[object], hardware.flow[slot].fcb,
                                                 offsetof(Fcb, fwdInfo), offsetof(Fcb, reserved2)));
        break;
    default:
        alike = std::memcmp(&RlOf(ctxt, object).ent,
                            hardware.rl[slot / QIR_RLINDEX_MAX][slot % QIR_RLINDEX_MAX].record,
                            sizeof(RlEnt)) == 0;
        break;
    }
    return alike ? Complaint{} : Name(kind, object) + " is not what the hardware holds for it";
}

Complaint HardwarePast::CheckKind(HwKind kind, const QirCtxt &ctxt, const OrxEmuState &hardware,
                                  u32 num) const {
    const Kind &past = Of(kind);
    std::array<bool, QIR_MAX_FLOWS> held{};
    for (u32 slot = 0; slot < num; ++slot) {
        const u32 owner = past.owner[slot];
        if (IsHeld(kind, slot, hardware) != (owner != kFree)) {
            return "the hardware's slot " + Name(kind, slot) + (owner == kFree ? " is taken" : " is free");
        }
        if (owner >= kNobody) {
            continue;
        }
        held[owner] = true;
        if (Complaint broken = CheckHeld(kind, owner, slot, ctxt, hardware); !broken.empty()) {
            return broken;
        }
    }
    for (u32 object = 0; object < num; ++object) {
        const bool active = KnownOf(kind, object, ctxt).status == e_STATUS_ACTIVE;
        if (active && !held[object] && !past.gone[object]) {
            return Name(kind, object) + " is ACTIVE, and the hardware does not hold it";
        }
    }
    return {};
}

Complaint HardwarePast::CheckSettings(const QirCtxt &ctxt, const OrxEmuState &hardware) const {
    if (!ahead_.flowMissAction && ctxt.flowMissAction != hardware.flowMissAction) {
        return "the hardware has another flow-miss action";
    }
    if (!ahead_.rlStatus && ctxt.rlStatus != hardware.rlStatus) {
        return "the hardware has another rate-limiter status";
    }
    for (u32 port = 0; port < QIR_PORT_MAX; ++port) {
        if (!ahead_.padLen[port] && ctxt.portPadLenTbl[port] != hardware.portPadLen[port]) {
            return "the hardware has another pad length";
        }
        if (!ahead_.defAcl[port] && ctxt.portDefAclTbl[port] != hardware.portDefAcl[port]) {
            return "the hardware has another default ACL";
        }
        if (!ahead_.tpid[port] && std::memcmp(ctxt.tpidTbl[port].tpid, hardware.portTpid[port],
                                              sizeof hardware.portTpid[port]) != 0) {
            return "the hardware has other TPIDs";
        }
    }
    for (u32 dir = 0; dir < QIR_RLDIR_MAX; ++dir) {
        if (!ahead_.rlTci[dir] &&
            std::memcmp(ctxt.rlTciCfgTbl[dir].tci, hardware.rlTci[dir], sizeof hardware.rlTci[dir]) != 0) {
            return "the hardware has another TCI configuration";
        }
    }
    return {};
}

Complaint HardwarePast::Check(const QirCtxt &ctxt, const OrxEmuState &hardware, u32 numFlows) const {
    for (u32 i = 0; i < static_cast<u32>(HwKind::Num); ++i) {
        const auto kind = static_cast<HwKind>(i);
        const u32 num = kind == HwKind::Flow ? numFlows : kCounts[i];
        if (Complaint broken = CheckKind(kind, ctxt, hardware, num); !broken.empty()) {
            return broken;
        }
    }
    return CheckSettings(ctxt, hardware);
}

} // namespace fuzz
