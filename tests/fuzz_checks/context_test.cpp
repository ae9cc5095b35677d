// A row for each thing that the checks look at: the context is broken there, and the checks have to say so.
#include "tests/fuzz_checks/scene.h"

#include "fuzz/invariants.h"
#include "qirapi/access/request_kinds.h"

#include <ostream>

namespace fuzz_checks {

namespace {

using namespace qir;

struct Row {
    const char *complaint;
    void (*breakIt)(QirCtxt &, Fcb &);
};

std::ostream &operator<<(std::ostream &out, const Row &row) {
    return out << row.complaint;
}

u16 HeadOf(const FilterBlk &blk, u32 entry) {
    return LoadEntry(blk, entry).reqList;
}

// Requests 1 and 2 of the VLAN filters.
ReqNode &FirstVlan(Fcb &fcb) {
    return fcb.reqPool[fcb.reqPool[fcb.filterBlk.vlan[0].hdr.reqList].next];
}

const Row kRows[] = {
    // The flow's fields.
    {"flow 0: no such status", [](QirCtxt &, Fcb &fcb) { fcb.status = e_STATUS_MAX; }},
    {"flow 0: no such section", [](QirCtxt &, Fcb &fcb) { fcb.section = 3; }},
    {"flow 0: its handle names another flow", [](QirCtxt &, Fcb &fcb) { fcb.flowHdl.f1.id = 1; }},
    {"flow 0: associated with a table of no kind", [](QirCtxt &, Fcb &fcb) { fcb.tblAssoc = 4; }},
    {"flow 0: no such address-screening override", [](QirCtxt &, Fcb &fcb) { fcb.asOverride = 2; }},
    {"flow 0: a reserved word was written", [](QirCtxt &, Fcb &fcb) { fcb.reserved1 = 0; }},
    {"flow 0: no such EP table", [](QirCtxt &, Fcb &fcb) { fcb.tblAssoc |= kTblAssocEp; }},
    {"flow 0: no such PAC table", [](QirCtxt &, Fcb &fcb) { fcb.pacTblHdl.f1.id = 16; }},
    {"flow 0: no such source of pbits", [](QirCtxt &, Fcb &fcb) { fcb.pbitsSource = 3; }},
    {"flow 0: forwarding information neither set nor not", [](QirCtxt &, Fcb &fcb) { fcb.fwdInfoSet = 2; }},
    {"flow 0: no such priority",
     [](QirCtxt &, Fcb &fcb) {
         fcb.fwdInfoSet = 1;
         fcb.fwdInfo.flowPrio = 32;
     }},
    {"flow 1: no such forwarding action",
     [](QirCtxt &ctxt, Fcb &) { ctxt.fcbPool[1].fwdInfo.fwdAction = 8; }},
    {"flow 1: forwarding without a source",
     [](QirCtxt &ctxt, Fcb &) { ctxt.fcbPool[1].fwdInfo.src.portMask = 0; }},
    {"flow 0: configured, and still ALLOC", [](QirCtxt &, Fcb &fcb) { fcb.status = e_STATUS_ALLOC; }},
    {"flow 0: a filter header of no type", [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.hdrBmap |= 0x100; }},
    {"flow 0: an action header of no type", [](QirCtxt &, Fcb &fcb) { fcb.actionBlk.hdrBmap |= 0x100; }},
    {"flow 0: a filter header without the one that it stands on",
     [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.hdrBmap |= 0x08; }},
    {"flow 0: an action header without the one that it stands on",
     [](QirCtxt &, Fcb &fcb) { fcb.actionBlk.hdrBmap = 0x80; }},
    {"flow 0: tags of the filters miscounted", [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.totalTags = 2; }},
    {"flow 0: tags of the actions miscounted", [](QirCtxt &, Fcb &fcb) { fcb.actionBlk.totalTags = 0; }},
    {"flow 0: more tags pushed than a frame can carry",
     [](QirCtxt &, Fcb &fcb) { fcb.actionBlk.pushedTags = 3; }},
    {"flow 0: more tags popped than there are", [](QirCtxt &, Fcb &fcb) { fcb.actionBlk.poppedTags = 2; }},
    // Its nodes.
    {"flow 0: node 5 calls itself 6", [](QirCtxt &, Fcb &fcb) { fcb.reqPool[5].curr = 6; }},
    {"flow 0: node 31 leads out of the pool", [](QirCtxt &, Fcb &fcb) { fcb.reqPool[31].next = 32; }},
    {"flow 0: node 0 leads out of the pool", [](QirCtxt &, Fcb &fcb) { fcb.reqPool[0].prev = 0xA5A5; }},
    {"flow 0: node 0 does not lead back to node 30", [](QirCtxt &, Fcb &fcb) { fcb.reqPool[30].next = 0; }},
    // A cycle that does not come back to the head.
    {"flow 0: node 29 does not lead back to node 31", [](QirCtxt &, Fcb &fcb) { fcb.reqPool[31].next = 29; }},
    {"flow 0: node 0 does not head the free list", [](QirCtxt &, Fcb &fcb) { fcb.freeReqList = 1; }},
    {"flow 0: counts 13 free nodes, has 14", [](QirCtxt &, Fcb &fcb) { --fcb.freeReqCount; }},
    // A node taken off the free list and put on none.
    {"flow 0: counts 14 free nodes, has 13",
     [](QirCtxt &, Fcb &fcb) {
         fcb.reqPool[0].prev = 30;
         fcb.reqPool[30].next = 0;
         fcb.reqPool[31].next = fcb.reqPool[31].prev = 31;
     }},
    {"flow 0: 14 lists of nodes, 13 were made",
     [](QirCtxt &, Fcb &fcb) {
         fcb.reqPool[0].prev = 30;
         fcb.reqPool[30].next = 0;
         fcb.reqPool[31].next = fcb.reqPool[31].prev = 31;
         --fcb.freeReqCount;
     }},
    {"flow 0: the PPPoE filters have no list",
     [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.pppoe.hdr.reqList = 0xA5A5; }},
    {"flow 0: the IPv4 filters have no list",
     [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.ipv4.hdr.reqList = 0; }},
    {"flow 0: the UDP filters have no list",
     [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.udp.hdr.reqList = 0xA5A5; }},
    {"flow 0: the PPPoE filters are on the list of another header",
     [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.pppoe.hdr = fcb.filterBlk.eth.hdr; }},
    {"flow 0: the TCP actions are on the list of another header",
     [](QirCtxt &, Fcb &fcb) { fcb.actionBlk.tcp.reqList = fcb.actionBlk.ipv4.reqList; }},
    {"flow 0: the IPv4 actions are on the list of another header",
     [](QirCtxt &,
        Fcb &fcb) { fcb.actionBlk.ipv4.reqList = HeadOf(fcb.filterBlk, EthFilterKind::Entry(0)); }},
    {"flow 0: the Ethernet filters are on the list of another header",
     [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.eth.hdr.reqList = 31; }},
    {"flow 0: the filters of tag 0 are miscounted",
     [](QirCtxt &, Fcb &fcb) { ++fcb.filterBlk.vlan[0].hdr.reqCount; }},
    // The PPPoE actions count on from the fill.
    {"flow 0: the PPPoE actions are miscounted",
     [](QirCtxt &, Fcb &fcb) { fcb.actionBlk.pppoe.reqCount = 1; }},
    {"flow 0: node 14 of the filters of tag 0 has a type that was not accepted",
     [](QirCtxt &, Fcb &fcb) { fcb.filterBlk.vlan[0].hdr.curBmap &= 0xFFDF; }},
    {"flow 0: node 14 of the filters of tag 0 has the key of another type",
     [](QirCtxt &, Fcb &fcb) { FirstVlan(fcb).key = e_VLAN_FILT_TPID; }},
    // Sections.
    {"section 1: counts 3 flows, 2 are allocated",
     [](QirCtxt &ctxt, Fcb &) { ++ctxt.cfg.flowSection[1].cfgFlows; }},
    {"section 1: counts 2 flows, 1 are allocated", [](QirCtxt &, Fcb &fcb) { fcb.status = e_STATUS_FREE; }},
    {"the budgets of the sections exceed the flows that there are",
     [](QirCtxt &ctxt, Fcb &) { ctxt.cfg.flowSection[0].maxFlows = 1; }},
    // Tables.
    {"AS table 0: no such status", [](QirCtxt &ctxt, Fcb &) { ctxt.asTblPool[0].status = 4; }},
    {"AS table 0: its handle names another table",
     [](QirCtxt &ctxt, Fcb &) { ctxt.asTblPool[0].hdl.f1.id = 7; }},
    {"AS table 1: in hardware, and still ALLOC",
     [](QirCtxt &ctxt, Fcb &) { ctxt.asTblPool[1].hwTblIdx = 0; }},
    {"AS table 0: refCnt is not what uses it", [](QirCtxt &ctxt, Fcb &) { ctxt.asTblPool[0].refCnt = 1; }},
    {"EP table 2: refCnt is not what uses it", [](QirCtxt &ctxt, Fcb &) { ctxt.epTblPool[2].refCnt = 1; }},
    {"PAC table 0: refCnt is not what uses it", [](QirCtxt &ctxt, Fcb &) { ++ctxt.pacTblPool[0].refCnt; }},
    {"PAC table 0: refCnt is not what uses it", [](QirCtxt &, Fcb &fcb) { fcb.tblAssoc = 0; }},
    {"PAC table 0: FREE, and in use",
     [](QirCtxt &ctxt, Fcb &) { ctxt.pacTblPool[0].status = e_STATUS_FREE; }},
    {"AS table 0: an entry that is none", [](QirCtxt &ctxt, Fcb &) { ctxt.asTblPool[0].ent[7].status = 2; }},
    {"AS table 0: an entry that is none",
     [](QirCtxt &ctxt, Fcb &) { ctxt.asTblPool[0].ent[2].ent.aclMask = 0; }},
    {"AS table 0: no source port", [](QirCtxt &ctxt, Fcb &) { ctxt.asTblPool[0].cfg.srcPortMask = 0; }},
    {"AS table 1: entries before a configuration",
     [](QirCtxt &ctxt, Fcb &) { ctxt.asTblPool[1].ent[0] = ctxt.asTblPool[0].ent[2]; }},
    {"DSCP table 0: no such pbits", [](QirCtxt &ctxt, Fcb &) { ctxt.dscpTblPool[0].pbits[63] = 8; }},
    {"DSCP table 0: no such source port", [](QirCtxt &ctxt, Fcb &) { ctxt.dscpTblPool[0].cfg.srcPort = 9; }},
    {"PAC table 0: unknown override bits",
     [](QirCtxt &ctxt, Fcb &) { ctxt.pacTblPool[0].ent[7].ovrd = 0x20; }},
    // Settings and rate limiters.
    {"port 8: no such ACL type", [](QirCtxt &ctxt, Fcb &) { ctxt.portDefAclTbl[8] = 2; }},
    {"port 2: no such pad length", [](QirCtxt &ctxt, Fcb &) { ctxt.portPadLenTbl[2] = 63; }},
    {"port 8: a pad length where there is none", [](QirCtxt &ctxt, Fcb &) { ctxt.portPadLenTbl[8] = 64; }},
    {"port 3: TPIDs of another port", [](QirCtxt &ctxt, Fcb &) { ctxt.tpidTbl[3].portId = 2; }},
    {"rate limiter 19: no such state", [](QirCtxt &ctxt, Fcb &) { ctxt.rlTbl[1][3].state = 4; }},
    {"rate limiter 19: no such rate", [](QirCtxt &ctxt, Fcb &) { ctxt.rlTbl[1][3].ent.cirRate = 1001; }},
    {"setting 0: no such flow-miss action", [](QirCtxt &ctxt, Fcb &) { ctxt.flowMissAction = 3; }},
    {"setting 0: no such rate-limiter status", [](QirCtxt &ctxt, Fcb &) { ctxt.rlStatus = 2; }},
};

class BrokenContext : public Scene, public ::testing::WithParamInterface<Row> {};

TEST_P(BrokenContext, IsSeen) {
    ASSERT_EQ(fuzz::CheckContext(ctxt, past), "") << "before it is broken";
    GetParam().breakIt(ctxt, flow);
    EXPECT_EQ(fuzz::CheckContext(ctxt, past), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(Rows, BrokenContext, ::testing::ValuesIn(kRows));

// A FREE flow's nodes mean nothing.
TEST_F(Scene, NodesOfAFreeFlowAreNotLookedAt) {
    ctxt.fcbPool[9].reqPool[3].next = 77;
    EXPECT_EQ(fuzz::CheckContext(ctxt, past), "");
}

} // namespace

} // namespace fuzz_checks
