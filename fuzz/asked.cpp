#include "fuzz/asked.h"

#include "fuzz/changes.h"
#include "fuzz/records.h"
#include "fuzz/tables.h"
#include "qirapi/driver/driver_records.h"

#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

// Has an accepted call something to ask? Destinations are the driver's business while the flow is ACTIVE.
bool HasToAsk(const QirCtxt &before, const Call &call) {
    if (call.doing != Doing::ChangeDst) {
        return AsksDriver(call.doing);
    }
    DstMask dst{};
    std::memcpy(&dst, call.record.data(), call.record.size() < sizeof dst ? 0 : sizeof dst);
    return call.flow != kNone && before.fcbPool[call.flow].status == e_STATUS_ACTIVE && dst.portMask != 0;
}

Complaint CheckCode(const QirCtxt &before, const Call &call, const Asked &asked) {
    const bool failed = call.rc == e_RET_DRIVER_FAILURE;
    const bool accepted = call.rc == e_RET_OK;
    const u32 most = AsksDriver(call.doing) ? 1 : 0;
    if (asked.numRequests > most) {
        return std::to_string(asked.numRequests) + " requests";
    }
    if (asked.request == nullptr) {
        if (failed && (most == 0 || asked.opens)) {
            return "a failure of the driver, which was not asked";
        }
        return accepted && HasToAsk(before, call) ? "accepted, and the driver was not asked" : Complaint{};
    }
    if (!asked.opens) {
        return "reached the driver, and an earlier call must have failed";
    }
    if (!failed && !accepted) {
        return "refused, and the driver was asked";
    }
    if (failed != (asked.request->err != 0)) {
        return "not what the driver answered";
    }
    return HasToAsk(before, call) ? Complaint{} : "asked the driver without need";
}

// The driver's index of the table that the call names. EP tables have none.
u32 HwIdxOf(const QirCtxt &ctxt, const Call &call) {
    return WithPool(ctxt, call.tblKind, [&](auto, const auto &pool) { return pool[call.table].hwTblIdx; });
}

i32 HwIdxOfAssociated(const Fcb &fcb, u16 bit, const auto &pool, u32 table) {
    return (fcb.tblAssoc & bit) != 0 && table < std::size(pool) ? static_cast<i32>(pool[table].hwTblIdx)
                                                                : kNoTable;
}

// The slots of the tables that the flow is associated with.
bool NamesItsTables(const QirCtxt &ctxt, const Fcb &fcb, i32 pac, i32 ep) {
    return pac == HwIdxOfAssociated(fcb, kTblAssocPac, ctxt.pacTblPool, fcb.pacTblHdl.f1.id) &&
           ep == HwIdxOfAssociated(fcb, kTblAssocEp, ctxt.epTblPool, fcb.epTblHdl.f1.id);
}

Complaint CheckFlowRecord(const QirCtxt &before, const Call &call, const OrxEmuRequest &request) {
    FlowRecord record;
    std::memcpy(&record, request.in, sizeof record);
    return NamesItsTables(before, before.fcbPool[call.flow], record.pacTblIdx, record.epTblIdx)
               ? Complaint{}
               : "the driver was told of other tables than the flow's";
}

// What the driver gave is what the caller gets; a flow's index is all that it was told.
Complaint CheckHits(const QirCtxt &before, const Call &call, const OrxEmuRequest &request) {
    HitsRecord told{};
    told.flowIdx = before.fcbPool[call.flow].hwFlowIdx;
    if (std::memcmp(request.in, &told, sizeof told) != 0) {
        return "asked for the hits of another flow";
    }
    const bool given =
        call.record.size() == sizeof told.hits &&
        std::memcmp(request.out + offsetof(HitsRecord, hits), call.record.data(), sizeof told.hits) == 0;
    return given || request.err != 0 ? Complaint{} : "gave other hits than the driver did";
}

Complaint CheckRecord(const QirCtxt &before, const QirCtxt &now, const Call &call,
                      const OrxEmuRequest &request) {
    constexpr const char *kOther = "not about the slot that it has";
    const u32 in = WordAt(request.in, 0);
    const u32 out = WordAt(request.out, 0);
    switch (request.request) {
    case kOrxActivateAsTbl:
    case kOrxActivateDscpTbl:
    case kOrxActivatePacTbl:
        return out == HwIdxOf(now, call) ? Complaint{} : "does not know the slot that the driver gave";
    case kOrxDeactivateAsTbl:
    case kOrxDeactivateDscpTbl:
    case kOrxDeactivatePacTbl:
        return in == HwIdxOf(before, call) ? Complaint{} : kOther;
    case kOrxActivateFlow:
        if (out != now.fcbPool[call.flow].hwFlowIdx) {
            return "does not know the slot that the driver gave";
        }
        return CheckFlowRecord(before, call, request);
    case kOrxDeactivateFlow:
        return in == before.fcbPool[call.flow].hwFlowIdx ? CheckFlowRecord(before, call, request) : kOther;
    case kOrxUpdateFwdInfo:
        return in == before.fcbPool[call.flow].hwFlowIdx ? Complaint{} : kOther;
    case kOrxGetFlowHits:
        return CheckHits(before, call, request);
    default:
        return {};
    }
}

// The number of the request that the call makes. The first call of a pair comes in a state other than ACTIVE.
bool IsItsRequest(const QirCtxt &before, const Call &call, int request) {
    constexpr int kTables[][2] = {{kOrxActivateAsTbl, kOrxDeactivateAsTbl},
                                  {kOrxActivateDscpTbl, kOrxDeactivateDscpTbl},
                                  {0, 0}, // EP
                                  {kOrxActivatePacTbl, kOrxDeactivatePacTbl}};
    switch (call.doing) {
    case Doing::SwitchTable: {
        const u32 status =
            WithPool(before, call.tblKind, [&](auto, const auto &pool) { return pool[call.table].status; });
        return request == kTables[static_cast<u32>(call.tblKind)][status == e_STATUS_ACTIVE ? 1 : 0];
    }
    case Doing::SwitchRl: {
        const u32 state = before.rlTbl[call.rlDir][call.rlIndex].state;
        return request == (state == e_STATUS_ACTIVE ? kOrxDeactivateRl : kOrxActivateRl);
    }
    case Doing::ActivateFlow:
        return request == kOrxActivateFlow;
    case Doing::DeactivateFlow:
        return request == kOrxDeactivateFlow;
    case Doing::ReadHits:
        return request == kOrxGetFlowHits;
    case Doing::ChangeDst:
        return request == kOrxUpdateFwdInfo;
    case Doing::SetFlowMissAction:
        return request == kOrxSetGblCfg;
    case Doing::SetRlStatus:
        return request == kOrxSetRlStatus;
    case Doing::SetRlTci:
        return request == kOrxSetRlTciCfg;
    default:
        return request == kOrxSetPortCfg;
    }
}

bool NamesItsObject(const Call &call) {
    switch (call.doing) {
    case Doing::SwitchTable:
        return call.table != kNone;
    case Doing::SwitchRl:
        return call.rlDir != kNone && call.rlIndex != kNone;
    case Doing::ActivateFlow:
    case Doing::DeactivateFlow:
    case Doing::ReadHits:
    case Doing::ChangeDst:
        return call.flow != kNone;
    default:
        return true;
    }
}

// The copy was made while the status was still CFG and the index the one of before.
template <class Info> bool IsTaken(const Info &tbl, const OrxEmuTable &held) {
    return Alike(tbl, held.record, 0, offsetof(Info, hwTblIdx)) &&
           Alike(tbl, held.record, offsetof(Info, cfg), offsetof(Info, status)) &&
           WordAt(held.record, offsetof(Info, status)) == e_STATUS_CFG &&
           Alike(tbl, held.record, offsetof(Info, status) + sizeof tbl.status, sizeof tbl);
}

bool IsTaken(const Fcb &fcb, const OrxEmuFlow &held) {
    return WordAt(held.fcb, offsetof(Fcb, status)) == e_STATUS_CFG &&
           Alike(fcb, held.fcb, offsetof(Fcb, flowHdl), offsetof(Fcb, hwFlowIdx)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, section), sizeof fcb);
}

Complaint CheckTakenFlow(const QirCtxt &now, const Call &call, const OrxEmuState &hardware) {
    const Fcb &fcb = now.fcbPool[call.flow];
    if (fcb.hwFlowIdx >= ORXEMU_FLOWS) {
        return "no such slot";
    }
    const OrxEmuFlow &held = hardware.flow[fcb.hwFlowIdx];
    if (call.doing == Doing::ChangeDst) {
        return Alike(fcb, held.fcb, offsetof(Fcb, fwdInfo), offsetof(Fcb, reserved2))
                   ? Complaint{}
                   : "the hardware forwards otherwise";
    }
    if (!NamesItsTables(now, fcb, held.pacTblIdx, held.epTblIdx)) {
        return "the hardware has other tables for the flow";
    }
    return IsTaken(fcb, held) ? Complaint{} : "the hardware has taken another flow";
}

bool IsTableTaken(const QirCtxt &now, const Call &call, const OrxEmuState &hardware) {
    switch (call.tblKind) {
    case TblKind::As: {
        const AsTblInfo &tbl = now.asTblPool[call.table];
        return tbl.hwTblIdx < ORXEMU_AS_TABLES && IsTaken(tbl, hardware.asTbl[tbl.hwTblIdx]);
    }
    case TblKind::Dscp: {
        const DscpTblInfo &tbl = now.dscpTblPool[call.table];
        return tbl.hwTblIdx < ORXEMU_DSCP_TABLES && IsTaken(tbl, hardware.dscpTbl[tbl.hwTblIdx]);
    }
    default: {
        const PacTblInfo &tbl = now.pacTblPool[call.table];
        return tbl.hwTblIdx < ORXEMU_PAC_TABLES && IsTaken(tbl, hardware.pacTbl[tbl.hwTblIdx]);
    }
    }
}

} // namespace

Complaint CheckAsked(const QirCtxt &before, const QirCtxt &now, const Call &call, const Asked &asked) {
    if (Complaint broken = CheckCode(before, call, asked); !broken.empty() || asked.request == nullptr) {
        return broken;
    }
    if (!NamesItsObject(call) || !IsItsRequest(before, call, asked.request->request)) {
        return "asked for something else";
    }
    return CheckRecord(before, now, call, *asked.request);
}

Complaint CheckTaken(const QirCtxt &now, const Call &call, const OrxEmuState &hardware, const Asked &asked) {
    if (call.rc != e_RET_OK || asked.request == nullptr) {
        return {};
    }
    switch (asked.request->request) {
    case kOrxActivateFlow:
    case kOrxUpdateFwdInfo:
        return CheckTakenFlow(now, call, hardware);
    case kOrxActivateAsTbl:
    case kOrxActivateDscpTbl:
    case kOrxActivatePacTbl:
        return IsTableTaken(now, call, hardware) ? Complaint{} : "the hardware has taken another table";
    default:
        return {};
    }
}

} // namespace fuzz
