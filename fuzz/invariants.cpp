#include "fuzz/invariants.h"

#include <initializer_list>
#include <span>

namespace fuzz {

using namespace qir;

namespace {

struct Rule {
    bool holds;
    const char *broken;
};

// "PAC table 3: broken" of the first rule that does not hold.
Complaint FirstBroken(const char *what, u32 idx, std::initializer_list<Rule> rules) {
    for (const Rule &rule : rules) {
        if (!rule.holds) {
            return std::string(what) + " " + std::to_string(idx) + ": " + rule.broken;
        }
    }
    return {};
}

bool Has(u16 bits, u32 bit) {
    return (bits >> bit & 1u) != 0;
}

// Every VLAN header stands on the ones below it, and all but MPLS on Ethernet.
bool InOrder(u16 hdrBmap) {
    for (u32 hdr = e_FLOWHDR_VLAN0; hdr <= e_FLOWHDR_VLAN3; ++hdr) {
        const u32 below = (1u << hdr) - 1;
        if (Has(hdrBmap, hdr) && (hdrBmap & below) != below) {
            return false;
        }
    }
    const bool needsEth = Has(hdrBmap, e_FLOWHDR_PPPOE) || Has(hdrBmap, e_FLOWHDR_IPV4);
    return !needsEth || Has(hdrBmap, e_FLOWHDR_ETH);
}

u32 NumTags(u16 hdrBmap) {
    u32 tags = 0;
    for (u32 hdr = e_FLOWHDR_VLAN0; hdr <= e_FLOWHDR_VLAN3; ++hdr) {
        tags += Has(hdrBmap, hdr) ? 1 : 0;
    }
    return tags;
}

bool IsBare(const Fcb &fcb) {
    return fcb.filterBlk.hdrBmap == 0 && fcb.actionBlk.hdrBmap == 0 && fcb.fwdInfoSet == 0 &&
           fcb.tblAssoc == 0 && fcb.asOverride == e_AS_OVERRIDE_DISABLE;
}

Complaint CheckFields(const Fcb &fcb, u32 idx) {
    const FilterBlk &filters = fcb.filterBlk;
    const ActionBlk &actions = fcb.actionBlk;
    const bool fwdSet = fcb.fwdInfoSet != 0;
    return FirstBroken(
        "flow", idx,
        {{fcb.status < e_STATUS_MAX, "no such status"},
         {fcb.section < e_FLOW_SECTION_MAX, "no such section"},
         {fcb.flowHdl.f1.id == idx, "its handle names another flow"},
         {(fcb.tblAssoc & ~(kTblAssocEp | kTblAssocPac)) == 0, "associated with a table of no kind"},
         {fcb.asOverride < e_AS_OVERRIDE_MAX, "no such address-screening override"},
         {fcb.reserved1 == 0xFFFFFFFF, "a reserved word was written"},
         {(fcb.tblAssoc & kTblAssocEp) == 0 || fcb.epTblHdl.f1.id < QIR_EPTBL_MAXNUM, "no such EP table"},
         {(fcb.tblAssoc & kTblAssocPac) == 0 || fcb.pacTblHdl.f1.id < QIR_PACTBL_MAXNUM, "no such PAC table"},
         {(fcb.tblAssoc & kTblAssocPac) == 0 || fcb.pbitsSource < QIR_PBITS_SOURCE_MAX,
          "no such source of pbits"},
         {fcb.fwdInfoSet <= 1, "forwarding information neither set nor not"},
         {!fwdSet || fcb.fwdInfo.flowPrio < QIR_FLOWPRIO_MAX, "no such priority"},
         {!fwdSet || fcb.fwdInfo.fwdAction < e_FWD_ACTION_MAX, "no such forwarding action"},
         {!fwdSet || fcb.fwdInfo.src.portMask != 0, "forwarding without a source"},
         {fcb.status != e_STATUS_ALLOC || IsBare(fcb), "configured, and still ALLOC"},
         {filters.hdrBmap < 1u << e_FLOWHDR_MAX, "a filter header of no type"},
         {actions.hdrBmap < 1u << e_FLOWHDR_MAX, "an action header of no type"},
         {InOrder(filters.hdrBmap), "a filter header without the one that it stands on"},
         {InOrder(actions.hdrBmap), "an action header without the one that it stands on"},
         {filters.totalTags == NumTags(filters.hdrBmap), "tags of the filters miscounted"},
         {actions.totalTags == NumTags(actions.hdrBmap), "tags of the actions miscounted"},
         {actions.pushedTags <= 2, "more tags pushed than a frame can carry"},
         {actions.poppedTags <= filters.totalTags + actions.pushedTags, "more tags popped than there are"}});
}

bool IsEntry(const AsEntSlot &slot) {
    return slot.status == e_STATUS_FREE ||
           (slot.status == e_STATUS_ALLOC && slot.ent.aclMask != 0 && slot.ent.aclType < 2);
}

Complaint CheckContents(const AsTblInfo &tbl, u32 idx) {
    bool entries = true;
    bool empty = true;
    for (const AsEntSlot &slot : tbl.ent) {
        entries = entries && IsEntry(slot);
        empty = empty && slot.status == e_STATUS_FREE;
    }
    return FirstBroken("AS table", idx,
                       {{entries, "an entry that is none"},
                        {tbl.cfg.srcPortMask != 0, "no source port"},
                        {tbl.status != e_STATUS_ALLOC || empty, "entries before a configuration"}});
}

Complaint CheckContents(const DscpTblInfo &tbl, u32 idx) {
    bool pbits = tbl.cfg.pbits < QIR_PBITS_MAX;
    for (const u8 row : tbl.pbits) {
        pbits = pbits && row < QIR_PBITS_MAX;
    }
    const bool configured = tbl.status >= e_STATUS_CFG;
    return FirstBroken("DSCP table", idx,
                       {{!configured || pbits, "no such pbits"},
                        {!configured || tbl.cfg.srcPort < QIR_PORT_MAX, "no such source port"}});
}

Complaint CheckContents(const EpTblInfo &, u32) {
    return {};
}

Complaint CheckContents(const PacTblInfo &tbl, u32 idx) {
    bool known = (tbl.cfg.ovrd & PAC_OVRD_INVALID_BITS) == 0;
    for (const PacTblCfg &ent : tbl.ent) {
        known = known && (ent.ovrd & PAC_OVRD_INVALID_BITS) == 0;
    }
    return FirstBroken("PAC table", idx, {{tbl.status < e_STATUS_CFG || known, "unknown override bits"}});
}

template <class Kind>
constexpr const char *kTblName = __is_same(Kind, AsKind)     ? "AS table"
                                 : __is_same(Kind, DscpKind) ? "DSCP table"
                                 : __is_same(Kind, EpKind)   ? "EP table"
                                                             : "PAC table";

// `uses`: flows that name each table, with the drift. Null for kinds that no operation counts. EP tables are put
// into their state by hand.
template <class Kind>
Complaint CheckPool(const typename Kind::Info (&pool)[Kind::kPoolSize], const i32 *uses, const i32 *drift) {
    constexpr bool kByHand = __is_same(Kind, EpKind);
    for (u32 idx = 0; idx < Kind::kPoolSize; ++idx) {
        const auto &tbl = pool[idx];
        const i32 refCnt = uses != nullptr ? uses[idx] : 0;
        const bool isFree = tbl.status == e_STATUS_FREE;
        const bool drifts = drift != nullptr && drift[idx] != 0;
        Complaint broken = FirstBroken(
            kTblName<Kind>, idx,
            {{tbl.status < e_STATUS_MAX, "no such status"},
             {isFree || kByHand || tbl.hdl.f1.id == idx, "its handle names another table"},
             {tbl.status != e_STATUS_ALLOC || tbl.hwTblIdx == kNoHwIdx, "in hardware, and still ALLOC"},
             {tbl.refCnt == static_cast<u16>(refCnt), "refCnt is not what uses it"},
             {!isFree || kByHand || tbl.refCnt == 0 || drifts, "FREE, and in use"}});
        if (broken.empty() && !isFree) {
            broken = CheckContents(tbl, idx);
        }
        if (!broken.empty()) {
            return broken;
        }
    }
    return {};
}

// The handle of a flow that is associated.
template <class Tables> void Replace(Tables &drift, bool associated, u32 was, u32 is) {
    if (associated && was < drift.size() && is < drift.size()) {
        ++drift[was];
        --drift[is];
    }
}

bool IsRate(const RlEnt &ent) {
    return (ent.cirUnit == 0 && ent.cirRate < QIR_RLRATE_UNIT0_MAX) ||
           (ent.cirUnit == 1 && ent.cirRate < QIR_RLRATE_UNIT1_MAX);
}

} // namespace

void Drift::Note(const QirCtxt &ctxt, const Call &call, const Fcb &before) {
    if (call.changes == &kInitSystem) {
        *this = {};
    } else if (call.changes == &kAllocTable<PacKind> && call.rc == e_RET_OK) {
        pac[call.table] = 0;
        for (const Fcb &fcb : ctxt.fcbPool) {
            const bool names = fcb.status != e_STATUS_FREE && (fcb.tblAssoc & kTblAssocPac) != 0;
            pac[call.table] -= names && fcb.pacTblHdl.f1.id == call.table ? 1 : 0;
        }
    } else if (call.changes == &kSetPacInfo && call.flow != kNone) {
        Replace(pac, (before.tblAssoc & kTblAssocPac) != 0, before.pacTblHdl.f1.id,
                ctxt.fcbPool[call.flow].pacTblHdl.f1.id);
    } else if (call.changes == &kSetEpInfo && call.flow != kNone) {
        Replace(ep, (before.tblAssoc & kTblAssocEp) != 0, before.epTblHdl.f1.id,
                ctxt.fcbPool[call.flow].epTblHdl.f1.id);
    }
}

Complaint CheckFlow(const QirCtxt &ctxt, u32 idx) {
    const Fcb &fcb = ctxt.fcbPool[idx];
    if (fcb.status == e_STATUS_FREE) {
        return {};
    }
    Complaint broken = CheckFields(fcb, idx);
    if (broken.empty()) {
        broken = CheckLists(fcb);
        broken = broken.empty() ? broken : "flow " + std::to_string(idx) + ": " + broken;
    }
    return broken;
}

Complaint CheckSections(const QirCtxt &ctxt, u32 numFlows) {
    u32 allocated[e_FLOW_SECTION_MAX] = {};
    for (const Fcb &fcb : std::span(ctxt.fcbPool, numFlows)) {
        if (fcb.status != e_STATUS_FREE && fcb.section < e_FLOW_SECTION_MAX) {
            ++allocated[fcb.section];
        }
    }
    u32 budgets = 0;
    for (u32 section = 0; section < e_FLOW_SECTION_MAX; ++section) {
        const FlowSection &counted = ctxt.cfg.flowSection[section];
        if (counted.cfgFlows != allocated[section]) {
            return "section " + std::to_string(section) + ": counts " + std::to_string(counted.cfgFlows) +
                   " flows, " + std::to_string(allocated[section]) + " are allocated";
        }
        budgets += counted.maxFlows;
    }
    return budgets <= QIR_MAX_FLOWS ? Complaint{}
                                    : "the budgets of the sections exceed the flows that there are";
}

Complaint CheckTables(const QirCtxt &ctxt, const Drift &drift, u32 numFlows) {
    auto ep = drift.ep;
    auto pac = drift.pac;
    for (const Fcb &fcb : std::span(ctxt.fcbPool, numFlows)) {
        if (fcb.status != e_STATUS_FREE) {
            const u32 epTable = fcb.epTblHdl.f1.id;
            const u32 pacTable = fcb.pacTblHdl.f1.id;
            ep[epTable % ep.size()] += (fcb.tblAssoc & kTblAssocEp) != 0 ? 1 : 0;
            pac[pacTable % pac.size()] += (fcb.tblAssoc & kTblAssocPac) != 0 ? 1 : 0;
        }
    }
    const Complaint first[] = {CheckPool<AsKind>(ctxt.asTblPool, nullptr, nullptr),
                               CheckPool<DscpKind>(ctxt.dscpTblPool, nullptr, nullptr),
                               CheckPool<EpKind>(ctxt.epTblPool, ep.data(), drift.ep.data()),
                               CheckPool<PacKind>(ctxt.pacTblPool, pac.data(), drift.pac.data())};
    for (const Complaint &broken : first) {
        if (!broken.empty()) {
            return broken;
        }
    }
    return {};
}

Complaint CheckSettings(const QirCtxt &ctxt) {
    for (u32 port = 0; port < QIR_PORT_MAX; ++port) {
        const u32 padLen = ctxt.portPadLenTbl[port];
        const u32 tpidPort = ctxt.tpidTbl[port].portId;
        Complaint broken = FirstBroken(
            "port", port,
            {{ctxt.portDefAclTbl[port] < QIR_ACLTYPE_MAX, "no such ACL type"},
             {padLen == 0 || (padLen >= QIR_PADLEN_MIN && padLen < QIR_PADLEN_MAX), "no such pad length"},
             {port < QIR_PADPORT_MAX || padLen == 0, "a pad length where there is none"},
             {tpidPort == 0 || tpidPort == port, "TPIDs of another port"}});
        if (!broken.empty()) {
            return broken;
        }
    }
    for (u32 i = 0; i < QIR_RLDIR_MAX * QIR_RLINDEX_MAX; ++i) {
        const RlSlot &slot = ctxt.rlTbl[i / QIR_RLINDEX_MAX][i % QIR_RLINDEX_MAX];
        Complaint broken = FirstBroken("rate limiter", i,
                                       {{slot.state < e_STATUS_MAX, "no such state"},
                                        {slot.state < e_STATUS_CFG || IsRate(slot.ent), "no such rate"}});
        if (!broken.empty()) {
            return broken;
        }
    }
    return FirstBroken("setting", 0,
                       {{ctxt.flowMissAction < QIR_FLOWMISSACTION_MAX, "no such flow-miss action"},
                        {ctxt.rlStatus < QIR_RLSTATUS_MAX, "no such rate-limiter status"}});
}

Complaint CheckContext(const QirCtxt &ctxt, const Drift &drift) {
    for (u32 idx = 0; idx < QIR_MAX_FLOWS; ++idx) {
        if (Complaint broken = CheckFlow(ctxt, idx); !broken.empty()) {
            return broken;
        }
    }
    if (Complaint broken = CheckSections(ctxt); !broken.empty()) {
        return broken;
    }
    if (Complaint broken = CheckTables(ctxt, drift); !broken.empty()) {
        return broken;
    }
    return CheckSettings(ctxt);
}

} // namespace fuzz
