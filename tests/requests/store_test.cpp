// Storing: the request node, the pool, and what a half allocated header and an exhausted pool leave behind.
#include "qirapi/private/fcb.h"
#include "tests/requests/request_kit.h"

namespace test {
namespace {

class Store : public RequestTest {};

// Type in the key, record in the payload, all else untouched. Nothing is checked here.
TEST_F(Store, FillingANodeCopiesTheWholeRecordAndItsType) {
    for (const Member &m : Members()) {
        const AnyRequest req = Numbered(m, 0x01020304);
        ReqNode node;
        std::memset(static_cast<void *>(&node), 0xA5, sizeof node);
        ReqNode expected = node;
        expected.key = 0x01020304;
        std::memcpy(expected.req, req.bytes, m.recordSize);
        EXPECT_EQ(Capture([&] { m.fillNode(&req, &node); }), "");
        EXPECT_EQ(std::memcmp(&node, &expected, sizeof node), 0) << m.Label();
    }
}

// Allocating a PPPoE header leaves the count of its actions alone.
TEST_F(Store, CountOfPppoeActionsStartsFromTheFill) {
    const Member &m = Of("PppoeAction");
    Restore(m);
    ASSERT_EQ(fcb_->actionBlk.pppoe.reqCount, 0xA5A5u);
    EXPECT_EQ(Config(m, Good(m, 0)), 0u);
    EXPECT_EQ(fcb_->actionBlk.pppoe.reqCount, 0xA5A6u);
}

// What was recorded before no node was found stays, and stands in the way of a second try.
TEST_F(Store, ExhaustedPoolBlocksTheType) {
    for (const Member &m : Members()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            SCOPED_TRACE(m.Label() + " " + m.types[type].name);
            Restore(m);
            fcb_->filterBlk.totalTags = 1;
            DrainPool(fcb_);
            const Outcome first = Run([&] { return Config(m, Good(m, type)); });
            EXPECT_EQ(first.code, 12u);
            EXPECT_EQ(first.lines, Code("Alloc_ReqNode", 12) + CaptureMasked([&] { qir::Dump_FCB(fcb_); }) +
                                       RetVal(m.Fn("QIR_Config_"), 12));
            EXPECT_EQ(m.Entry(fcb_)->curBmap, 1u << type);
            const u32 again = m.isFilter ? 21 : 12;
            EXPECT_EQ(QuietConfig(m, Good(m, type)), m.IsRepeatable(type) ? again : m.Excluded());
            EXPECT_EQ(fcb_->actionBlk.pushedTags + fcb_->actionBlk.poppedTags, 0);
            EXPECT_EQ(fcb_->actionBlk.lastEthAction, 0u);
        }
    }
}

// 17 nodes are left when both blocks have all their headers. Request 18 finds none.
TEST_F(Store, PoolIsUsedUpByRequests) {
    const struct {
        const char *label;
        u32 type;
    } requests[] = {{"EthFilter", 0},   {"EthFilter", 3},   {"EthFilter", 4},   {"Vlan0Filter", 1},
                    {"Vlan0Filter", 3}, {"Vlan1Filter", 0}, {"PppoeFilter", 0}, {"Ipv4Filter", 9},
                    {"TcpFilter", 2},   {"UdpFilter", 1},   {"EthAction", 0},   {"EthAction", 2},
                    {"Vlan0Action", 1}, {"Vlan1Action", 2}, {"PppoeAction", 0}, {"Ipv4Action", 1},
                    {"UdpAction", 0}};
    AllocAllHdrs(e_BLKTYPE_FILTER);
    AllocAllHdrs(e_BLKTYPE_ACTION);
    ASSERT_EQ(fcb_->freeReqCount, 17u);
    u16 node = 15;
    for (const auto &request : requests) {
        const Member &m = Of(request.label);
        ASSERT_EQ(Config(m, Good(m, request.type)), 0u) << m.Label() << " " << request.type;
        EXPECT_EQ(fcb_->reqPool[m.Entry(fcb_)->reqList].prev, node) << "nodes come in ascending order";
        ++node;
    }
    EXPECT_EQ(fcb_->freeReqCount, 0u);
    EXPECT_EQ(QuietConfig(Of("UdpAction"), Good(Of("UdpAction"), 1)), 12u);
    EXPECT_EQ(fcb_->actionBlk.udp.curBmap, 0x0003u);
    EXPECT_EQ(fcb_->actionBlk.udp.reqCount, 1u);
    EXPECT_EQ(fcb_->freeReqCount, 0u);
}

// The record of a filter is not needed before a node is there. (A VLAN record says which entry is meant.)
TEST_F(Store, StoreStepAssertsItsRecord) {
    for (const Member &m : Members()) {
        if (m.isFilter && !m.IsVlan()) {
            Restore(m);
            DrainPool(fcb_);
            const ContextSnapshot before;
            const Outcome is = Run([&] { return m.store(fcb_, nullptr); });
            EXPECT_EQ(is.code, 12u);
            EXPECT_EQ(is.lines.find(Assertion("qirapi_private", m.Fn("Config_"), "(filter_p != NULL)") +
                                    Code("Alloc_ReqNode", 12)),
                      0u)
                << is.lines;
            EXPECT_TRUE(before.Unchanged());
        }
    }
}

// A tag beyond the inner one reads what lies behind the tags' entries: PPPoE's.
TEST_F(Store, StoreStepAssertsTheTag) {
    const Member &filter = Of("Vlan0Filter");
    Restore(filter);
    DrainPool(fcb_);
    AnyRequest req = Good(filter, 0);
    SetTag(filter, &req, 2);
    Outcome is = Run([&] { return filter.store(fcb_, &req); });
    EXPECT_EQ(is.code, 12u);
    EXPECT_EQ(is.lines.find(
                  Assertion("qirapi_private", "Config_VlanFilter", "(filter_p->toTagNum < e_VLAN_TAG_MAX)") +
                  Code("Alloc_ReqNode", 12)),
              0u)
        << is.lines;

    const Member &action = Of("Vlan0Action");
    Restore(action);
    fcb_->actionBlk.pppoe.curBmap = 0x0001;
    req = Good(action, e_VLAN_ACTION_SET_TAG);
    SetTag(action, &req, 2);
    const ContextSnapshot before;
    is = Run([&] { return action.store(fcb_, &req); });
    EXPECT_EQ(is.code, 23u);
    EXPECT_EQ(is.lines,
              Assertion("qirapi_private", "Config_VlanAction", "(action_p->toTagNum < e_VLAN_TAG_MAX)") +
                  Code("Chk_ActionDepBmapTbl", 23));
    EXPECT_TRUE(before.Unchanged());
}

// An IPv4 header that got no node for its UDP part is allocated all the same. The part's entry keeps the
// fill, which reads as bits 0, 2, 5 ... present and as counters beyond every limit.
TEST_F(Store, HalfAllocatedIpv4Header) {
    for (const bool filters : {true, false}) {
        SCOPED_TRACE(filters ? "filters" : "actions");
        const Member &tcp = Of(filters ? "TcpFilter" : "TcpAction");
        const Member &udp = Of(filters ? "UdpFilter" : "UdpAction");
        FlowHdl flow = Flow(filters ? 9 : 10);
        ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(0, &flow), 0u);
        Fcb *const fcb = &qirCtxt_gp->fcbPool[flow.f1.id];
        const u32 blk = filters ? e_BLKTYPE_FILTER : e_BLKTYPE_ACTION;
        const FlowHdr eth{blk, e_FLOWHDR_ETH};
        const FlowHdr ipv4{blk, e_FLOWHDR_IPV4};
        ASSERT_EQ(QIR_Alloc_Hdr(&flow, &eth), 0u);
        DrainPool(fcb, 2); // for three lists
        ASSERT_EQ(Quiet([&] { return QIR_Alloc_Hdr(&flow, &ipv4); }), 12u);
        ASSERT_EQ(*udp.Headers(fcb), 0x0081u);
        ASSERT_EQ(udp.Entry(fcb)->curBmap, 0xA5A5u);

        AnyRequest sport = Good(udp, 0);
        const AnyRequest dport = Good(udp, 1);
        EXPECT_EQ(Quiet([&] { return udp.config(&flow, &sport); }), udp.Excluded());
        EXPECT_EQ(Quiet([&] { return udp.config(&flow, &dport); }), filters ? 21u : 12u);
        EXPECT_EQ(udp.Entry(fcb)->curBmap, 0xA5A7u);
        EXPECT_EQ(udp.Entry(fcb)->reqCount, 0xA5A5u);
        u8 count = 0;
        EXPECT_EQ(Quiet([&] { return udp.get(&flow, &sport, 1, &count); }), filters ? 0u : 6u);
        EXPECT_EQ(Quiet([&] { return tcp.config(&flow, &sport); }), 12u) << "is there, but no node is left";
    }
}

// The flow's status is neither asked nor changed, and the driver hears nothing.
TEST_F(Store, AcceptedInEveryStatusOfAnAllocatedFlow) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        for (const Member &m : Members()) {
            SCOPED_TRACE(m.Label() + " status " + std::to_string(status));
            Restore(m);
            fcb_->status = status;
            const Outcome is = Run([&] { return Config(m, Good(m, 0)); });
            EXPECT_EQ(is.code, 0u);
            EXPECT_EQ(is.lines, "");
            EXPECT_EQ(fcb_->status, status);
        }
    }
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

// Records, counts and order start over with the flow.
TEST_F(Store, AllocationOfTheFlowStartsOver) {
    const Member &filter = Of("EthFilter");
    const Member &action = Of("EthAction");
    for (unsigned round = 0; round < 2; ++round) {
        EXPECT_EQ(QuietConfig(filter, Good(filter, 0)), 11u);
        EXPECT_EQ(QuietConfig(action, Good(action, 0)), 11u);
        AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_ETH);
        AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_VLAN0);
        AllocHdr(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
        EXPECT_EQ(Config(filter, Good(filter, 0)), 0u);
        EXPECT_EQ(Config(action, Good(action, e_ETH_ACTION_DA)), 0u);
        EXPECT_EQ(Config(action, Good(action, e_ETH_ACTION_POP_TAG)), 0u);
        ASSERT_EQ(QIR_Free_FCB(&hdl_), 0u);
        EXPECT_EQ(QuietConfig(filter, Good(filter, 3)), 3u);
        ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(1, &hdl_), 0u);
    }
}

// MPLS operations say and do nothing, whatever they are given.
TEST_F(Store, MplsOperationsDoNothing) {
    RaiseLog(3);
    const std::vector<u8> filled(64, 0x5A);
    std::vector<u8> record = filled;
    u8 count = 0x99;
    FlowHdl bad = Flow(600);
    const ContextSnapshot before;
    const std::string out = Capture([&] {
        EXPECT_EQ(QIR_Config_MplsFilter(nullptr, nullptr) + QIR_Get_MplsFilter(nullptr, nullptr, 0, nullptr),
                  0u);
        EXPECT_EQ(QIR_Config_MplsAction(nullptr, nullptr) + QIR_Get_MplsAction(nullptr, nullptr), 0u);
        for (FlowHdl *hdl : {&hdl_, &bad}) {
            EXPECT_EQ(QIR_Config_MplsFilter(hdl, record.data()), 0u);
            EXPECT_EQ(QIR_Get_MplsFilter(hdl, record.data(), 3, &count), 0u);
            EXPECT_EQ(QIR_Config_MplsAction(hdl, record.data()), 0u);
            EXPECT_EQ(QIR_Get_MplsAction(hdl, record.data()), 0u);
        }
    });
    EXPECT_EQ(out, "");
    EXPECT_EQ(count, 0x99u);
    EXPECT_EQ(record, filled);
    EXPECT_TRUE(before.Unchanged());
}

} // namespace
} // namespace test
