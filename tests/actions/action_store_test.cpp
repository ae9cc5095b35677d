// Storing actions: the request node, the list, the pool, and what an exhausted pool leaves behind.
#include "qirapi/private/actions.h"
#include "qirapi/private/fcb.h"
#include "tests/actions/action_kit.h"

namespace test {
namespace {

class ActionStore : public ActionFlowTest {};

AnyAction Numbered(const ActionMember &m, u32 type) {
    AnyAction req;
    for (unsigned i = 0; i < sizeof req.bytes; ++i) {
        req.bytes[i] = static_cast<u8>(0x10 + i);
    }
    SetOp(&req, 0);
    SetType(&req, type);
    if (m.IsVlan()) {
        SetTag(&req, m.tag);
    }
    return req;
}

TEST_F(ActionStore, FillingANodeCopiesTheWholeRecordAndItsType) {
    const struct {
        const char *header;
        unsigned bytes;
    } rows[] = {{"Eth", 20},  {"Vlan[0]", 16}, {"Vlan[1]", 16}, {"Pppoe", 12},
                {"Ipv4", 16}, {"Tcp", 12},     {"Udp", 12}};
    for (const auto &row : rows) {
        const ActionMember &m = ActionOf(row.header);
        SCOPED_TRACE(m.Label());
        const AnyAction req = Numbered(m, 0x01020304); // nothing is checked here
        ReqNode node;
        std::memset(static_cast<void *>(&node), 0xA5, sizeof node);
        ReqNode expected;
        std::memset(static_cast<void *>(&expected), 0xA5, sizeof expected);
        expected.key = 0x01020304;
        std::memcpy(expected.req, req.bytes, row.bytes);
        EXPECT_EQ(Capture([&] { m.fillNode(&req, &node); }), "");
        EXPECT_EQ(std::memcmp(&node, &expected, sizeof node), 0)
            << "type in the key, record in the payload, all else untouched";
    }
}

// Seven nodes head the lists; the first request therefore lies in node 8, the next in node 9.
TEST_F(ActionStore, NodesComeInAscendingOrderFromTheFlowsPool) {
    ASSERT_EQ(fcb_->freeReqCount, 24u);
    u16 node = 8;
    for (const ActionMember &m : ActionMembers()) {
        SCOPED_TRACE(m.Label());
        const u32 type = m.NumTypes() > 1 ? 1 : 0;
        const AnyAction req = GoodAction(m, type);
        const u16 counted = m.Entry(fcb_)->reqCount;
        ASSERT_EQ(Config(m, req), 0u);
        const ReqNode &stored = fcb_->reqPool[node];
        EXPECT_EQ(stored.curr, node);
        EXPECT_EQ(stored.key, type);
        EXPECT_EQ(m.Entry(fcb_)->reqCount, counted + 1);
        const ReqNode &head = fcb_->reqPool[m.Entry(fcb_)->reqList];
        EXPECT_EQ(head.next, node);
        EXPECT_EQ(stored.prev, head.curr);
        EXPECT_EQ(stored.next, head.curr);
        EXPECT_EQ(std::memcmp(stored.req, req.bytes, m.recordSize), 0);
        for (u32 i = m.recordSize; i < qir::kReqBytes; ++i) {
            EXPECT_EQ(stored.req[i], 0xA5u) << "payload byte " << i << " behind the record";
        }
        ++node;
    }
    EXPECT_EQ(fcb_->freeReqCount, 17u);
}

// The PPPoE entry's count starts from the fill, because allocating its header leaves it alone.
TEST_F(ActionStore, PppoeCountStartsFromTheFill) {
    ASSERT_EQ(fcb_->actionBlk.pppoe.reqCount, 0xA5A5u);
    EXPECT_EQ(Config(ActionOf("Pppoe"), GoodAction(ActionOf("Pppoe"), 0)), 0u);
    EXPECT_EQ(fcb_->actionBlk.pppoe.reqCount, 0xA5A6u);
}

TEST_F(ActionStore, SpareBytesOfTheValueAreaAreKept) {
    for (const ActionMember &m : ActionMembers()) {
        SCOPED_TRACE(m.Label());
        const AnyAction req = MakeAction(m, 0, m.types[0].good, 0x5A);
        ASSERT_EQ(Config(m, req), 0u);
        AnyAction back = MakeAction(m, 0, 0);
        ASSERT_EQ(m.get(&hdl_, &back), 0u);
        EXPECT_EQ(std::memcmp(back.bytes, req.bytes, m.recordSize), 0);
    }
}

TEST_F(ActionStore, CallersRecordIsNotChanged) {
    for (const ActionMember &m : ActionMembers()) {
        const AnyAction req = GoodAction(m, 0);
        AnyAction passed = req;
        ASSERT_EQ(Config(m, passed), 0u);
        EXPECT_EQ(QuietConfig(m, passed), 23u);
        EXPECT_EQ(std::memcmp(passed.bytes, req.bytes, sizeof req.bytes), 0) << m.Label();
    }
}

// Without a free node the action is refused with 12, but its bit stays and excludes a repetition; neither
// counts nor the last action change.
TEST_F(ActionStore, ExhaustedPoolThroughThePublicOperation) {
    fcb_->filterBlk.totalTags = 1;
    UsePool();
    Fcb drained;
    CopyFcb(&drained, *fcb_);
    for (const ActionMember &m : ActionMembers()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            SCOPED_TRACE(m.Label() + " " + m.types[type].name);
            CopyFcb(fcb_, drained);
            Fcb expected;
            CopyFcb(&expected, drained);
            m.Entry(&expected)->curBmap = static_cast<u16>(1u << type);
            u32 code = 0;
            const std::string out = CaptureMasked([&] { code = Config(m, GoodAction(m, type)); });
            EXPECT_EQ(code, 12u);
            const std::string dump = CaptureMasked([&] { qir::Dump_FCB(fcb_); });
            EXPECT_EQ(out, CodeLine("Alloc_ReqNode", "e_RET_ERR_RESRC_UNAVAIL") + dump +
                               RetVal(m.Fn("QIR_Config_"), 12));
            EXPECT_EQ(FcbDiff(expected, *fcb_), "");
            EXPECT_EQ(QuietConfig(m, GoodAction(m, type)), m.types[type].excludedBy.empty() ? 12u : 23u);
        }
    }
}

// 17 nodes are left when both blocks have all their headers. Action 18 finds none.
TEST_F(ActionStore, PoolIsUsedUpByRequests) {
    AllocAllHdrs(e_BLKTYPE_FILTER);
    ASSERT_EQ(fcb_->freeReqCount, 17u);
    const struct {
        const char *header;
        u32 type;
    } requests[] = {{"Eth", 0},     {"Eth", 1},     {"Eth", 2},     {"Eth", 4},     {"Eth", 4},
                    {"Vlan[0]", 1}, {"Vlan[0]", 3}, {"Vlan[0]", 4}, {"Vlan[1]", 1}, {"Vlan[1]", 2},
                    {"Pppoe", 0},   {"Ipv4", 0},    {"Ipv4", 1},    {"Ipv4", 2},    {"Tcp", 0},
                    {"Tcp", 1},     {"Udp", 0}};
    for (const auto &request : requests) {
        const ActionMember &m = ActionOf(request.header);
        ASSERT_EQ(QuietConfig(m, GoodAction(m, request.type)), 0u) << m.Label() << " " << request.type;
    }
    EXPECT_EQ(fcb_->freeReqCount, 0u);
    const ActionMember &udp = ActionOf("Udp");
    EXPECT_EQ(QuietConfig(udp, GoodAction(udp, e_UDP_ACTION_DPORT)), 12u);
    EXPECT_EQ(fcb_->actionBlk.udp.curBmap, 0x0003u);
    EXPECT_EQ(fcb_->actionBlk.udp.reqCount, 1u);
}

// An IPv4 header that got no node for its TCP part is allocated all the same. The part's entry keeps the
// fill, which reads as bits 0, 2, 5 ... present.
TEST_F(ActionStore, HalfAllocatedIpv4Header) {
    FlowHdl flow = Flow(9);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(0, &flow), 0u);
    const FlowHdr eth{e_BLKTYPE_ACTION, e_FLOWHDR_ETH};
    const FlowHdr ipv4{e_BLKTYPE_ACTION, e_FLOWHDR_IPV4};
    ASSERT_EQ(QIR_Alloc_Hdr(&flow, &eth), 0u);
    Fcb *const fcb = &qirCtxt_gp->fcbPool[9];
    const u16 spare = fcb->reqPool[0].next; // one node is left for the three lists
    DrainPool(fcb);
    fcb->reqPool[0].next = spare;
    fcb->reqPool[0].prev = spare;
    fcb->reqPool[spare].prev = 0;
    fcb->reqPool[spare].next = 0;
    fcb->freeReqCount = 1;
    u32 code = 0;
    Capture([&] { code = QIR_Alloc_Hdr(&flow, &ipv4); });
    ASSERT_EQ(code, 12u);
    ASSERT_EQ(fcb->actionBlk.hdrBmap, 0x0081u);

    for (const char *label : {"Tcp", "Udp"}) {
        SCOPED_TRACE(label);
        const ActionMember &m = ActionOf(label);
        ASSERT_EQ(m.Entry(fcb)->curBmap, 0xA5A5u);
        AnyAction first = GoodAction(m, 0);
        const AnyAction second = GoodAction(m, 1);
        Capture([&] { code = m.config(&flow, &first); });
        EXPECT_EQ(code, 23u);
        Capture([&] { code = m.config(&flow, &second); });
        EXPECT_EQ(code, 12u);
        EXPECT_EQ(m.Entry(fcb)->curBmap, 0xA5A7u);
        EXPECT_EQ(m.Entry(fcb)->reqCount, 0xA5A5u);
        Capture([&] { code = m.get(&flow, &first); });
        EXPECT_EQ(code, 6u);
    }
}

// A tag beyond the inner one reads the entry behind the tags' own: here the exclusion rules stop the action.
TEST_F(ActionStore, StoreStepAssertsTheTag) {
    AnyAction req = GoodAction(ActionOf("Vlan[0]"), e_VLAN_ACTION_SET_TAG);
    SetTag(&req, 2);
    fcb_->actionBlk.pppoe.curBmap = 0x0001;
    const ContextSnapshot before;
    u32 code = 0;
    EXPECT_EQ(CaptureMasked([&] { code = qir::Config_VlanAction(fcb_, &req.vlan); }),
              Assertion("qirapi_private", "Config_VlanAction", "(action_p->toTagNum < e_VLAN_TAG_MAX)") +
                  Code("Chk_ActionDepBmapTbl", 23));
    EXPECT_EQ(code, 23u);
    EXPECT_TRUE(before.Unchanged());
}

// The flow's status is neither asked nor changed, and the driver hears nothing.
TEST_F(ActionStore, AcceptedInEveryStatusOfAnAllocatedFlow) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        for (const ActionMember &m : ActionMembers()) {
            SCOPED_TRACE(m.Label() + " status " + std::to_string(status));
            Restore();
            fcb_->status = status;
            u32 code = 99;
            EXPECT_EQ(Capture([&] { code = Config(m, GoodAction(m, 0)); }), "");
            EXPECT_EQ(code, 0u);
            EXPECT_EQ(fcb_->status, status);
        }
    }
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TEST_F(ActionStore, ActiveFlowAcceptsActionsWithoutTellingTheDriver) {
    ASSERT_EQ(QIR_Activate_FCB(&hdl_), 0u);
    ASSERT_EQ(fcb_->status, static_cast<u32>(e_STATUS_ACTIVE));
    const std::size_t requests = orxemu_numRequests();
    for (const ActionMember &m : ActionMembers()) {
        EXPECT_EQ(Config(m, GoodAction(m, 0)), 0u) << m.Label();
    }
    EXPECT_EQ(fcb_->status, static_cast<u32>(e_STATUS_ACTIVE));
    EXPECT_EQ(orxemu_numRequests(), requests);
    ASSERT_EQ(QIR_Deactivate_FCB(&hdl_), 0u);
}

TEST_F(ActionStore, FlowsDoNotShareActions) {
    FlowHdl other = Flow(511);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(2, &other), 0u);
    const FlowHdr hdr{e_BLKTYPE_ACTION, e_FLOWHDR_ETH};
    ASSERT_EQ(QIR_Alloc_Hdr(&other, &hdr), 0u);
    Fcb before;
    CopyFcb(&before, qirCtxt_gp->fcbPool[511]);
    const ActionMember &eth = ActionOf("Eth");
    const AnyAction req = GoodAction(eth, 0);
    ASSERT_EQ(Config(eth, req), 0u);
    EXPECT_EQ(FcbDiff(before, qirCtxt_gp->fcbPool[511]), "");
    EXPECT_EQ(eth.config(&other, &req), 0u);
    EXPECT_EQ(qirCtxt_gp->fcbPool[511].actionBlk.eth.reqCount, 1u);
}

// Counts, order and bits start over with the flow.
TEST_F(ActionStore, AllocationOfTheFlowStartsOver) {
    const ActionMember &eth = ActionOf("Eth");
    ASSERT_EQ(Config(eth, GoodAction(eth, e_ETH_ACTION_PUSH_TAG)), 0u);
    ASSERT_EQ(Config(eth, GoodAction(eth, e_ETH_ACTION_POP_TAG)), 0u);
    ASSERT_EQ(QIR_Free_FCB(&hdl_), 0u);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(1, &hdl_), 0u);
    EXPECT_EQ(fcb_->actionBlk.pushedTags, 0u);
    EXPECT_EQ(fcb_->actionBlk.poppedTags, 0u);
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, 0u);
    AllocHdr(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
    EXPECT_EQ(fcb_->actionBlk.eth.curBmap, 0u);
    EXPECT_EQ(Config(eth, GoodAction(eth, e_ETH_ACTION_DA)), 0u);
}

} // namespace
} // namespace test
