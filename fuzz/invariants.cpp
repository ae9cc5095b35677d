#include "fuzz/invariants.h"

#include <span>

namespace fuzz {

using namespace qir;

namespace {

// ---- Flows

bool Has(u32 bits, u32 bit) {
    return (bits >> bit & 1u) != 0;
}

void CheckHeaders(u32 hdrBmap, u32 totalTags, const About &flow) {
    flow.Require(hdrBmap < 1u << e_FLOWHDR_MAX, "a header of no type");
    // Every VLAN header stands on the ones below it, and all but MPLS on Ethernet.
    u32 tags = 0;
    for (u32 hdr = e_FLOWHDR_VLAN0; hdr <= e_FLOWHDR_VLAN3; ++hdr) {
        const u32 below = (1u << hdr) - 1;
        flow.Require(!Has(hdrBmap, hdr) || (hdrBmap & below) == below, "a VLAN header on none");
        tags += Has(hdrBmap, hdr) ? 1 : 0;
    }
    flow.Require(totalTags == tags, "tags miscounted");
    const bool needsEth = Has(hdrBmap, e_FLOWHDR_PPPOE) || Has(hdrBmap, e_FLOWHDR_IPV4);
    flow.Require(!needsEth || Has(hdrBmap, e_FLOWHDR_ETH), "a header without Ethernet");
}

// ---- Tables

void CheckContents(const AsTblInfo &tbl, const About &table) {
    table.Require(tbl.cfg.srcPortMask != 0, "no source port");
    for (const AsEntSlot &slot : tbl.ent) {
        if (slot.status != e_STATUS_FREE) {
            const bool isEntry = slot.ent.aclMask != 0 && slot.ent.aclType < 2;
            table.Require(slot.status == e_STATUS_ALLOC && isEntry, "an entry that is none");
            table.Require(tbl.status != e_STATUS_ALLOC, "entries before a configuration");
        }
    }
}

void CheckContents(const DscpTblInfo &tbl, const About &table) {
    if (tbl.status >= e_STATUS_CFG) {
        table.Require(tbl.cfg.srcPort < QIR_PORT_MAX, "no such source port");
        table.Require(tbl.cfg.pbits < QIR_PBITS_MAX, "no such pbits");
        for (const u8 row : tbl.pbits) {
            table.Require(row < QIR_PBITS_MAX, "no such pbits");
        }
    }
}

void CheckContents(const EpTblInfo &, const About &) {}

void CheckContents(const PacTblInfo &tbl, const About &table) {
    if (tbl.status >= e_STATUS_CFG) {
        table.Require((tbl.cfg.ovrd & PAC_OVRD_INVALID_BITS) == 0, "unknown override bits");
        for (const PacTblCfg &ent : tbl.ent) {
            table.Require((ent.ovrd & PAC_OVRD_INVALID_BITS) == 0, "unknown override bits");
        }
    }
}

// EP tables are put into their state by hand; flows count in them and in PAC tables.
template <class Kind> void CheckPool(const char *kind, const typename Kind::Info (&pool)[Kind::kPoolSize]) {
    constexpr bool kByHand = __is_same(Kind, EpKind);
    for (u32 idx = 0; idx < Kind::kPoolSize; ++idx) {
        const About table{kind, idx};
        const auto &tbl = pool[idx];
        table.Require(tbl.status < e_STATUS_MAX, "no such status");
        table.Require(kByHand || __is_same(Kind, PacKind) || tbl.refCnt == 0, "in use");
        if (tbl.status != e_STATUS_FREE) {
            const bool inHardware = tbl.hwTblIdx != kNoHwIdx;
            table.Require(kByHand || tbl.hdl.f1.id == idx, "its handle names another table");
            table.Require(tbl.status != e_STATUS_ALLOC || !inHardware, "in hardware, and still ALLOC");
            CheckContents(tbl, table);
        }
    }
}

// How many more flows are counted by all tables of a pool together.
template <class Pool> u16 MoreUses(const Pool &before, const Pool &now) {
    u32 more = 0;
    for (std::size_t idx = 0; idx < std::size(now); ++idx) {
        more += u32{now[idx].refCnt} - before[idx].refCnt;
    }
    return static_cast<u16>(more);
}

} // namespace

void CheckSettings(const QirCtxt &ctxt) {
    for (u32 idx = 0; idx < QIR_PORT_MAX; ++idx) {
        const About port{"port", idx};
        const u32 padLen = ctxt.portPadLenTbl[idx];
        const u32 tpidPort = ctxt.tpidTbl[idx].portId;
        port.Require(padLen == 0 || (padLen >= QIR_PADLEN_MIN && padLen < QIR_PADLEN_MAX),
                     "no such pad length");
        port.Require(padLen == 0 || idx < QIR_PADPORT_MAX, "a pad length where there is none");
        port.Require(tpidPort == 0 || tpidPort == idx, "TPIDs of another port");
    }
    for (u32 idx = 0; idx < QIR_RLDIR_MAX * QIR_RLINDEX_MAX; ++idx) {
        const About limiter{"rate limiter", idx};
        const RlSlot &slot = ctxt.rlTbl[idx / QIR_RLINDEX_MAX][idx % QIR_RLINDEX_MAX];
        const u32 limit = slot.ent.cirUnit == 0   ? QIR_RLRATE_UNIT0_MAX
                          : slot.ent.cirUnit == 1 ? QIR_RLRATE_UNIT1_MAX
                                                  : 0;
        limiter.Require(slot.state < e_STATUS_MAX, "no such state");
        limiter.Require(slot.state < e_STATUS_CFG || slot.ent.cirRate < limit, "no such rate");
    }
}

void CheckFlow(const QirCtxt &ctxt, u32 idx) {
    const Fcb &fcb = ctxt.fcbPool[idx];
    if (fcb.status == e_STATUS_FREE) {
        return;
    }
    const About flow{"flow", idx};
    const ActionBlk &actions = fcb.actionBlk;
    flow.Require(fcb.status < e_STATUS_MAX, "no such status");
    flow.Require(fcb.section < e_FLOW_SECTION_MAX, "no such section");
    flow.Require(fcb.flowHdl.f1.id == idx, "its handle names another flow");
    flow.Require((fcb.tblAssoc & ~(kTblAssocEp | kTblAssocPac)) == 0, "associated with a table of no kind");
    flow.Require(fcb.asOverride < e_AS_OVERRIDE_MAX, "no such address-screening override");
    flow.Require(fcb.reserved1 == 0xFFFFFFFF, "a reserved word was written");
    if ((fcb.tblAssoc & kTblAssocEp) != 0) {
        flow.Require(fcb.epTblHdl.f1.id < QIR_EPTBL_MAXNUM, "no such EP table");
    }
    if ((fcb.tblAssoc & kTblAssocPac) != 0) {
        flow.Require(fcb.pacTblHdl.f1.id < QIR_PACTBL_MAXNUM, "no such PAC table");
        flow.Require(fcb.pbitsSource < QIR_PBITS_SOURCE_MAX, "no such source of pbits");
    }
    flow.Require(fcb.fwdInfoSet <= 1, "forwarding information neither set nor not");
    if (fcb.fwdInfoSet != 0) {
        flow.Require(fcb.fwdInfo.flowPrio < QIR_FLOWPRIO_MAX, "no such priority");
        flow.Require(fcb.fwdInfo.fwdAction < e_FWD_ACTION_MAX, "no such forwarding action");
        flow.Require(fcb.fwdInfo.src.portMask != 0, "forwarding without a source");
    }
    CheckHeaders(fcb.filterBlk.hdrBmap, fcb.filterBlk.totalTags, flow);
    CheckHeaders(actions.hdrBmap, actions.totalTags, flow);
    flow.Require(actions.pushedTags <= 2, "more tags pushed than a frame can carry");
    flow.Require(actions.poppedTags <= fcb.filterBlk.totalTags + actions.pushedTags,
                 "more tags popped than there are");
    const bool isBare = fcb.filterBlk.hdrBmap == 0 && actions.hdrBmap == 0 && fcb.fwdInfoSet == 0 &&
                        fcb.tblAssoc == 0 && fcb.asOverride == e_AS_OVERRIDE_DISABLE;
    flow.Require(fcb.status != e_STATUS_ALLOC || isBare, "configured, and still ALLOC");
    CheckLists(fcb, flow);
}

void CheckSections(const QirCtxt &ctxt, u32 numFlows) {
    u32 allocated[e_FLOW_SECTION_MAX] = {};
    for (const Fcb &fcb : std::span(ctxt.fcbPool, numFlows)) {
        if (fcb.status != e_STATUS_FREE && fcb.section < e_FLOW_SECTION_MAX) {
            ++allocated[fcb.section];
        }
    }
    u32 budgets = 0;
    for (u32 idx = 0; idx < e_FLOW_SECTION_MAX; ++idx) {
        const About section{"section", idx};
        section.Require(ctxt.cfg.flowSection[idx].cfgFlows == allocated[idx], "miscounts its flows");
        budgets += ctxt.cfg.flowSection[idx].maxFlows;
        section.Require(budgets <= QIR_MAX_FLOWS, "more budget than there are flows");
    }
}

void CheckTables(const QirCtxt &ctxt) {
    CheckPool<AsKind>("AS table", ctxt.asTblPool);
    CheckPool<DscpKind>("DSCP table", ctxt.dscpTblPool);
    CheckPool<EpKind>("EP table", ctxt.epTblPool);
    CheckPool<PacKind>("PAC table", ctxt.pacTblPool);
}

void CheckCounts(const QirCtxt &before, const QirCtxt &now, const Call &call) {
    if (call.changes == &kInitSystem || call.changes == &kAllocTable<PacKind>) {
        return; // which begin at 0
    }
    if (call.changes == &kFreeTable<PacKind> && call.rc == e_RET_OK && call.table != kNone) {
        About{"PAC table", call.table}.Require(before.pacTblPool[call.table].refCnt == 0,
                                               "freed while in use");
    }
    const u32 was = call.flow != kNone ? before.fcbPool[call.flow].tblAssoc : 0;
    const u32 is = call.flow != kNone ? now.fcbPool[call.flow].tblAssoc : 0;
    const auto more = [&](u32 bit) { return static_cast<u16>((is & bit) / bit - (was & bit) / bit); };
    const About counts{"counts of flow", call.flow};
    counts.Require(MoreUses(before.epTblPool, now.epTblPool) == more(kTblAssocEp), "of EP tables");
    counts.Require(MoreUses(before.pacTblPool, now.pacTblPool) == more(kTblAssocPac), "of PAC tables");
}

} // namespace fuzz
