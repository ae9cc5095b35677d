#include "fuzz/invariants.h"

#include "fuzz/request_lists.h"
#include "fuzz/tables.h"

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

// Flows that name each table, in one walk.
struct Naming {
    std::array<u32, 256> ep{};
    std::array<u32, 256> pac{};
};

Naming CountNaming(const QirCtxt &ctxt, u32 numFlows) {
    Naming naming;
    for (const Fcb &fcb : std::span(ctxt.fcbPool, numFlows)) {
        if (fcb.status == e_STATUS_FREE || fcb.tblAssoc == 0) {
            continue;
        }
        naming.ep[fcb.epTblHdl.f1.id] += (fcb.tblAssoc & kTblAssocEp) != 0 ? 1 : 0;
        naming.pac[fcb.pacTblHdl.f1.id] += (fcb.tblAssoc & kTblAssocPac) != 0 ? 1 : 0;
    }
    return naming;
}

u16 ExpectedRefCnt(TblKind kind, u32 idx, const Naming &naming, const Past &past) {
    switch (kind) {
    case TblKind::Ep:
        return static_cast<u16>(static_cast<i32>(naming.ep[idx]) + past.epDrift[idx]);
    case TblKind::Pac:
        return static_cast<u16>(static_cast<i32>(naming.pac[idx]) + past.pacDrift[idx]);
    default:
        return 0; // no operation counts in these
    }
}

// Of a FREE table. EP tables are put into their state by hand.
bool IsUnused(TblKind kind, u32 idx, u16 refCnt, const Past &past) {
    return kind == TblKind::Ep || refCnt == 0 || (kind == TblKind::Pac && past.pacDrift[idx] != 0);
}

template <class Info>
Complaint CheckTable(TblKind kind, const Info &tbl, u32 idx, const Naming &naming, const Past &past) {
    const bool named = tbl.status == e_STATUS_FREE || kind == TblKind::Ep || tbl.hdl.f1.id == idx;
    Complaint broken = FirstBroken(
        NameOf(kind), idx,
        {{tbl.status < e_STATUS_MAX, "no such status"},
         {named, "its handle names another table"},
         {tbl.status != e_STATUS_ALLOC || tbl.hwTblIdx == kNoHwIdx, "in hardware, and still ALLOC"},
         {tbl.refCnt == ExpectedRefCnt(kind, idx, naming, past), "refCnt is not what uses it"},
         {tbl.status != e_STATUS_FREE || IsUnused(kind, idx, tbl.refCnt, past), "FREE, and in use"}});
    if (broken.empty() && tbl.status != e_STATUS_FREE) {
        broken = CheckContents(tbl, idx);
    }
    return broken;
}

bool IsRate(const RlEnt &ent) {
    return (ent.cirUnit == 0 && ent.cirRate < QIR_RLRATE_UNIT0_MAX) ||
           (ent.cirUnit == 1 && ent.cirRate < QIR_RLRATE_UNIT1_MAX);
}

} // namespace

Complaint CheckFlow(const QirCtxt &ctxt, u32 idx, const Past &past) {
    const Fcb &fcb = ctxt.fcbPool[idx];
    if (fcb.status == e_STATUS_FREE) {
        return {};
    }
    Complaint broken = CheckFields(fcb, idx);
    if (broken.empty()) {
        broken = CheckLists(fcb, past.flow[idx]);
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

Complaint CheckTables(const QirCtxt &ctxt, const Past &past, u32 numFlows) {
    const Naming naming = CountNaming(ctxt, numFlows);
    for (u32 k = 0; k < static_cast<u32>(TblKind::Num); ++k) {
        const auto kind = static_cast<TblKind>(k);
        const Complaint broken = WithPool(ctxt, kind, [&](auto, const auto &pool) {
            Complaint first;
            for (u32 idx = 0; first.empty() && idx < CountOf(kind); ++idx) {
                first = CheckTable(kind, pool[idx], idx, naming, past);
            }
            return first;
        });
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

Complaint CheckContext(const QirCtxt &ctxt, const Past &past) {
    for (u32 idx = 0; idx < QIR_MAX_FLOWS; ++idx) {
        if (Complaint broken = CheckFlow(ctxt, idx, past); !broken.empty()) {
            return broken;
        }
    }
    if (Complaint broken = CheckSections(ctxt); !broken.empty()) {
        return broken;
    }
    if (Complaint broken = CheckTables(ctxt, past); !broken.empty()) {
        return broken;
    }
    return CheckSettings(ctxt);
}

} // namespace fuzz
