#include "fuzz/hardware.h"

#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

using Differences = std::map<std::string, const char *>;

// Are the record and its copy alike from `begin` on, up to `end`?
template <class Record> bool Alike(const Record &record, const u8 *copy, std::size_t begin, std::size_t end) {
    return std::memcmp(reinterpret_cast<const u8 *>(&record) + begin, copy + begin, end - begin) == 0;
}

// All of an ACTIVE table stays as it was activated, but for its driver's index, its status and its users.
template <class Info> bool IsAsActivated(const Info &tbl, const OrxEmuTable &held) {
    return Alike(tbl, held.record, 0, offsetof(Info, hwTblIdx)) &&
           Alike(tbl, held.record, offsetof(Info, cfg), offsetof(Info, refCnt)) &&
           Alike(tbl, held.record, offsetof(Info, status) + sizeof tbl.status, sizeof tbl);
}

// Of a flow, what no call changes while it is ACTIVE but with the driver's consent. Requests and table handles
// are not among it.
bool IsAsActivated(const Fcb &fcb, const OrxEmuFlow &held) {
    return Alike(fcb, held.fcb, offsetof(Fcb, flowHdl), offsetof(Fcb, hwFlowIdx)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, section), offsetof(Fcb, tblAssoc)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, asOverride), offsetof(Fcb, epTblHdl)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, pbitsSource), offsetof(Fcb, pacTblHdl)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, filterBlk.hdrBmap), offsetof(Fcb, filterBlk.eth)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, actionBlk.hdrBmap), offsetof(Fcb, actionBlk.eth)) &&
           Alike(fcb, held.fcb, offsetof(Fcb, fwdInfoSet), offsetof(Fcb, reserved2));
}

bool IsAsActivated(const RlSlot &slot, const OrxEmuRl &held) {
    return Alike(slot, held.record, 0, sizeof slot.ent);
}

u32 StatusOf(const RlSlot &slot) {
    return slot.state;
}
u32 StatusOf(const auto &object) {
    return object.status;
}

u32 SlotOf(const Fcb &fcb, u32) {
    return fcb.hwFlowIdx;
}
u32 SlotOf(const RlSlot &, u32 idx) {
    return idx;
}
u32 SlotOf(const auto &tbl, u32) {
    return tbl.hwTblIdx;
}

// The objects of one kind and as many slots of the hardware.
template <class Object, class Slot>
void Compare(const char *kind, const Object *objects, const Slot *slots, u32 num, Differences &all) {
    bool claimed[QIR_MAX_FLOWS] = {};
    const auto differ = [&](const char *what, u32 idx, const char *how) {
        all.emplace(std::string(what) + kind + " " + std::to_string(idx), how);
    };
    for (u32 idx = 0; idx < num; ++idx) {
        if (StatusOf(objects[idx]) != e_STATUS_ACTIVE) {
            continue;
        }
        const u32 slot = SlotOf(objects[idx], idx);
        if (slot >= num || slots[slot].active == 0) {
            differ("", idx, "is ACTIVE, and the hardware does not hold it");
        } else {
            claimed[slot] = true;
            if (!IsAsActivated(objects[idx], slots[slot])) {
                differ("", idx, "is not what the hardware holds for it");
            }
        }
    }
    for (u32 slot = 0; slot < num; ++slot) {
        if (slots[slot].active != 0 && !claimed[slot]) {
            differ("the hardware's slot ", slot, "is taken");
        }
    }
}

Differences FindDifferences(const QirCtxt &ctxt, const OrxEmuState &hardware, u32 numFlows) {
    Differences all;
    Compare("AS table", ctxt.asTblPool, hardware.asTbl, QIR_ASTBL_MAXNUM, all);
    Compare("DSCP table", ctxt.dscpTblPool, hardware.dscpTbl, QIR_DSCPTBL_MAXNUM, all);
    Compare("PAC table", ctxt.pacTblPool, hardware.pacTbl, QIR_PACTBL_MAXNUM, all);
    Compare("flow", ctxt.fcbPool, hardware.flow, numFlows, all);
    Compare("limiter of direction 0,", ctxt.rlTbl[0], hardware.rl[0], QIR_RLINDEX_MAX, all);
    Compare("limiter of direction 1,", ctxt.rlTbl[1], hardware.rl[1], QIR_RLINDEX_MAX, all);
    const auto compare = [&all](const char *what, const auto &ours, const auto &theirs, u32 idx = 0) {
        static_assert(sizeof ours == sizeof theirs);
        if (std::memcmp(&ours, &theirs, sizeof ours) != 0) {
            all.emplace(std::string(what) + " " + std::to_string(idx), "is another one in the hardware");
        }
    };
    compare("flow-miss action", ctxt.flowMissAction, hardware.flowMissAction);
    compare("rate-limiter status", ctxt.rlStatus, hardware.rlStatus);
    for (u32 port = 0; port < QIR_PORT_MAX; ++port) {
        compare("pad length of port", ctxt.portPadLenTbl[port], hardware.portPadLen[port], port);
        compare("default ACL of port", ctxt.portDefAclTbl[port], hardware.portDefAcl[port], port);
        compare("TPID of port", ctxt.tpidTbl[port].tpid, hardware.portTpid[port], port);
    }
    for (u32 dir = 0; dir < QIR_RLDIR_MAX; ++dir) {
        compare("TCI configuration of direction", ctxt.rlTciCfgTbl[dir].tci, hardware.rlTci[dir], dir);
    }
    return all;
}

// All of a flow that was just activated, and its table. Later on calls may change what is not compared above.
void CheckTaken(const QirCtxt &ctxt, const Fcb &fcb, const OrxEmuState &hardware) {
    const OrxEmuFlow &held = hardware.flow[fcb.hwFlowIdx % QIR_MAX_FLOWS];
    const u32 pac =
        (fcb.tblAssoc & kTblAssocPac) != 0 ? ctxt.pacTblPool[fcb.pacTblHdl.f1.id].hwTblIdx : kNone;
    if (!Alike(fcb, held.fcb, offsetof(Fcb, section), sizeof fcb) ||
        static_cast<u32>(held.pacTblIdx) != pac) {
        throw Complaint("the hardware has taken another flow");
    }
}

} // namespace

void TwoSides::Check(const QirCtxt &ctxt, const OrxEmuState &hardware, const Call &call, u32 numFlows) {
    Differences all = FindDifferences(ctxt, hardware, numFlows);
    // A deactivation whose answer was lost leaves a flow that knows a slot, which another one may get: what is
    // asked for the first reaches the second.
    const bool mayPart =
        call.rc == e_RET_DRIVER_FAILURE || call.changes == &kInitSystem ||
        (call.changes->asks != Asks::Never && known_.contains("flow " + std::to_string(call.flow)));
    for (const auto &[what, how] : all) {
        if (!mayPart && !known_.contains(what)) {
            throw Complaint(what + " " + how);
        }
    }
    known_ = std::move(all);
    if (call.changes == &kActivateFlow && call.rc == e_RET_OK) {
        CheckTaken(ctxt, ctxt.fcbPool[call.flow], hardware);
    }
}

} // namespace fuzz
