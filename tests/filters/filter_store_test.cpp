// Storing filters: the request node, the list, the pool, and what an exhausted pool leaves behind.
#include "qirapi/private/fcb.h"
#include "qirapi/private/filters.h"
#include "tests/filters/filter_kit.h"

namespace test {
namespace {

class FilterStore : public FilterFlowTest {};

// A request whose bytes are all different, beyond its record too.
AnyFilter Numbered(const FilterMember &m, u32 type) {
    AnyFilter req;
    for (unsigned i = 0; i < sizeof req.bytes; ++i) {
        req.bytes[i] = static_cast<u8>(0x10 + i);
    }
    SetOp(&req, 0);
    if (m.IsVlan()) {
        SetTag(&req, m.tag);
    }
    SetType(m, &req, type);
    SetCmpOp(m, &req, e_CMP_EQ);
    return req;
}

TEST_F(FilterStore, FillingANodeCopiesTheWholeRecordAndItsType) {
    const struct {
        const char *header;
        unsigned bytes;
    } rows[] = {{"Eth", 36},  {"Vlan[0]", 24}, {"Vlan[1]", 24}, {"Pppoe", 16},
                {"Ipv4", 28}, {"Tcp", 16},     {"Udp", 16}};
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.header);
        SCOPED_TRACE(m.Label());
        const AnyFilter req = Numbered(m, 0x01020304); // nothing is checked here
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

TEST_F(FilterStore, StoresAtTheTailOfTheHeadersOwnList) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        Restore();
        Fcb expected;
        CopyFcb(&expected, fresh_);
        const u16 head = m.Entry(&expected)->reqList;
        for (const u32 type : {1u, 0u, 1u}) { // not sorted, and repeated: storing does not check
            AnyFilter req = Numbered(m, type);
            ModelAppend(&expected, head, type, req.bytes, m.recordSize);
            ++m.Entry(&expected)->reqCount;
            u32 code = 99;
            EXPECT_EQ(Capture([&] { code = m.store(fcb_, &req); }), "");
            EXPECT_EQ(code, 0u);
            EXPECT_EQ(FcbDiff(expected, *fcb_), "");
        }
        EXPECT_EQ(m.Entry(fcb_)->reqCount, 3u);
    }
}

// Seven nodes head the lists; the first request therefore lies in node 8, the next in node 9.
TEST_F(FilterStore, NodesComeInAscendingOrderFromTheFlowsPool) {
    ASSERT_EQ(fcb_->freeReqCount, 24u);
    u16 node = 8;
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        const AnyFilter req = GoodFilter(m, 1, e_CMP_EQ);
        ASSERT_EQ(Config(m, req), 0u);
        const ReqNode &stored = fcb_->reqPool[node];
        EXPECT_EQ(stored.curr, node);
        EXPECT_EQ(stored.key, 1u);
        EXPECT_EQ(m.Entry(fcb_)->reqCount, 1u);
        const ReqNode &head = fcb_->reqPool[m.Entry(fcb_)->reqList];
        EXPECT_EQ(head.next, node);
        EXPECT_EQ(head.prev, node);
        EXPECT_EQ(stored.next, head.curr);
        EXPECT_EQ(stored.prev, head.curr);
        EXPECT_EQ(std::memcmp(stored.req, req.bytes, m.recordSize), 0);
        for (u32 i = m.recordSize; i < qir::kReqBytes; ++i) {
            EXPECT_EQ(stored.req[i], 0xA5u) << "payload byte " << i << " behind the record";
        }
        ++node;
    }
    EXPECT_EQ(fcb_->freeReqCount, 17u);
}

// The bytes of the value area that the filter does not need are stored and come back unchanged.
TEST_F(FilterStore, SpareBytesOfTheValueAreaAreKept) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        const AnyFilter req = MakeFilter(m, 0, e_CMP_EQ, m.types[0].lowest, 0x5A);
        ASSERT_EQ(Config(m, req), 0u);
        AnyFilter back = MakeFilter(m, 0, 0, 0);
        u8 count = 0;
        ASSERT_EQ(m.get(&hdl_, &back, 1, &count), 0u);
        ASSERT_EQ(count, 1u);
        EXPECT_EQ(std::memcmp(back.bytes, req.bytes, m.recordSize), 0);
    }
}

TEST_F(FilterStore, CallersRecordIsNotChanged) {
    for (const FilterMember &m : FilterMembers()) {
        const AnyFilter req = GoodFilter(m, 0, e_CMP_EQ);
        AnyFilter passed = req;
        ASSERT_EQ(Config(m, passed), 0u);
        EXPECT_EQ(std::memcmp(passed.bytes, req.bytes, sizeof req.bytes), 0) << m.Label();
        EXPECT_EQ(QuietConfig(m, passed), 22u);
        EXPECT_EQ(std::memcmp(passed.bytes, req.bytes, sizeof req.bytes), 0) << m.Label();
    }
}

// Without a free node the request is refused with 12, but validation has recorded it: bit and counter stay.
TEST_F(FilterStore, ExhaustedPoolThroughThePublicOperation) {
    UsePool();
    Fcb drained;
    CopyFcb(&drained, *fcb_);
    for (const FilterMember &m : FilterMembers()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            SCOPED_TRACE(m.Label() + " " + m.types[type].name);
            CopyFcb(fcb_, drained);
            Fcb expected;
            CopyFcb(&expected, drained);
            m.Entry(&expected)->curBmap = static_cast<u16>(1u << type);
            *m.Counter(&expected, e_CMP_EQ, type) = 1;
            u32 code = 0;
            const std::string out = CaptureMasked([&] { code = Config(m, GoodFilter(m, type, e_CMP_EQ)); });
            EXPECT_EQ(code, 12u);
            const std::string dump = CaptureMasked([&] { qir::Dump_FCB(fcb_); });
            EXPECT_EQ(out, CodeLine("Alloc_ReqNode", "e_RET_ERR_RESRC_UNAVAIL") + dump +
                               RetVal(m.Fn("QIR_Config_"), 12));
            EXPECT_EQ(FcbDiff(expected, *fcb_), "");

            const bool repeatable = m.types[type].excludedBy.empty();
            EXPECT_EQ(QuietConfig(m, GoodFilter(m, type, e_CMP_EQ)), repeatable ? 21u : 22u);
        }
    }
}

TEST_F(FilterStore, ExhaustedPoolInTheStoreStepChangesNothing) {
    UsePool();
    const ContextSnapshot before;
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        const AnyFilter req = GoodFilter(m, 0, e_CMP_EQ);
        u32 code = 0;
        const std::string out = CaptureMasked([&] { code = m.store(fcb_, &req); });
        EXPECT_EQ(code, 12u);
        EXPECT_EQ(out.find(CodeLine("Alloc_ReqNode", "e_RET_ERR_RESRC_UNAVAIL")), 0u) << out;
    }
    EXPECT_TRUE(before.Unchanged());
}

// A refused value is refused before a node is looked for.
TEST_F(FilterStore, ValueIsCheckedBeforeThePool) {
    UsePool();
    EXPECT_EQ(CaptureMasked([&] { Config(FilterOf("Vlan[0]"), MakeFilter(FilterOf("Vlan[0]"), 3, 0, 8)); }),
              CodeLine("Validate_Config_VlanFilter", "e_RET_ERR_INVALID_PARAM") +
                  RetVal("QIR_Config_VlanFilter", 25));
}

// By requests alone: 24 nodes are left beside the heads of the filter block, 17 when the action block has all
// its headers too. Request 18 finds none.
TEST_F(FilterStore, PoolIsUsedUpByRequests) {
    AllocAllHdrs(e_BLKTYPE_ACTION);
    ASSERT_EQ(fcb_->freeReqCount, 17u);
    const struct {
        const char *header;
        u32 type;
    } requests[] = {{"Eth", 0},     {"Eth", 3},     {"Eth", 4},   {"Vlan[0]", 1}, {"Vlan[0]", 3},
                    {"Vlan[0]", 5}, {"Vlan[1]", 0}, {"Pppoe", 0}, {"Pppoe", 2},   {"Ipv4", 0},
                    {"Ipv4", 2},    {"Ipv4", 9},    {"Tcp", 0},   {"Tcp", 2},     {"Tcp", 3},
                    {"Udp", 0},     {"Udp", 1}};
    for (const auto &request : requests) {
        const FilterMember &m = FilterOf(request.header);
        ASSERT_EQ(Config(m, GoodFilter(m, request.type, e_CMP_EQ)), 0u) << m.Label() << " " << request.type;
    }
    EXPECT_EQ(fcb_->freeReqCount, 0u);
    const FilterMember &vlan = FilterOf("Vlan[0]");
    EXPECT_EQ(QuietConfig(vlan, GoodFilter(vlan, e_VLAN_FILT_DEI, e_CMP_EQ)), 12u);
    EXPECT_EQ(fcb_->filterBlk.vlan[0].hdr.curBmap, 0x003Au) << "TPID, PBITS, VID and the refused DEI";
    EXPECT_EQ(fcb_->filterBlk.vlan[0].hdr.reqCount, 3u);
    EXPECT_EQ(fcb_->filterBlk.vlan[0].cmpOpCurCnt[e_VLAN_FILT_DEI], 1u);
    EXPECT_EQ(fcb_->freeReqCount, 0u);
}

// The record is not needed before a node is there.
TEST_F(FilterStore, StoreStepAssertsItsRecord) {
    UsePool();
    for (const FilterMember &m : FilterMembers()) {
        if (m.IsVlan()) {
            continue; // its entry is chosen by the record
        }
        SCOPED_TRACE(m.Label());
        u32 code = 0;
        const std::string out = CaptureMasked([&] { code = m.store(fcb_, nullptr); });
        EXPECT_EQ(code, 12u);
        EXPECT_EQ(out.find(Assertion("qirapi_private", m.Fn("Config_"), "(filter_p != NULL)") +
                           CodeLine("Alloc_ReqNode", "e_RET_ERR_RESRC_UNAVAIL")),
                  0u)
            << out;
    }
}

TEST_F(FilterStore, StoreStepAssertsTheTag) {
    UsePool();
    AnyFilter req = GoodFilter(FilterOf("Vlan[0]"), 0, e_CMP_EQ);
    SetTag(&req, 2);
    const ContextSnapshot before;
    u32 code = 0;
    const std::string out = CaptureMasked([&] { code = qir::Config_VlanFilter(fcb_, &req.vlan); });
    EXPECT_EQ(code, 12u);
    EXPECT_EQ(
        out.find(Assertion("qirapi_private", "Config_VlanFilter", "(filter_p->toTagNum < e_VLAN_TAG_MAX)") +
                 CodeLine("Alloc_ReqNode", "e_RET_ERR_RESRC_UNAVAIL")),
        0u)
        << out;
    EXPECT_TRUE(before.Unchanged());
}

// An IPv4 header that got no node for its UDP part is allocated all the same. The part's entry keeps the
// fill, which reads as bits 0, 2, 5 ... present and as counters beyond every limit.
TEST_F(FilterStore, HalfAllocatedIpv4Header) {
    FlowHdl flow = Flow(9);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(0, &flow), 0u);
    const FlowHdr eth{e_BLKTYPE_FILTER, e_FLOWHDR_ETH};
    const FlowHdr ipv4{e_BLKTYPE_FILTER, e_FLOWHDR_IPV4};
    ASSERT_EQ(QIR_Alloc_Hdr(&flow, &eth), 0u);
    Fcb *const fcb = &qirCtxt_gp->fcbPool[9];
    const u16 spare = fcb->reqPool[0].next; // two nodes are left for the three lists
    DrainPool(fcb);
    fcb->reqPool[0].next = spare;
    fcb->reqPool[0].prev = static_cast<u16>(spare + 1);
    fcb->reqPool[spare].prev = 0;
    fcb->reqPool[spare].next = static_cast<u16>(spare + 1);
    fcb->reqPool[spare + 1].prev = spare;
    fcb->reqPool[spare + 1].next = 0;
    fcb->freeReqCount = 2;
    u32 code = 0;
    Capture([&] { code = QIR_Alloc_Hdr(&flow, &ipv4); });
    ASSERT_EQ(code, 12u);
    ASSERT_EQ(fcb->filterBlk.hdrBmap, 0x0081u);
    ASSERT_EQ(fcb->filterBlk.udp.hdr.curBmap, 0xA5A5u);

    const FilterMember &udp = FilterOf("Udp");
    const AnyFilter sport = GoodFilter(udp, e_UDP_FILT_SPORT, e_CMP_EQ);
    const AnyFilter dport = GoodFilter(udp, e_UDP_FILT_DPORT, e_CMP_EQ);
    EXPECT_EQ(CaptureMasked([&] { code = udp.config(&flow, &sport); }),
              Code("Chk_L4FilterDepBmapTbl", 22) + RetVal("QIR_Config_UdpFilter", 22));
    EXPECT_EQ(CaptureMasked([&] { code = udp.config(&flow, &dport); }),
              Err("Chk_L4FilterDepBmapTbl", "Invalid Cmp Op") + Code("Chk_L4FilterDepBmapTbl", 21) +
                  RetVal("QIR_Config_UdpFilter", 21));
    EXPECT_EQ(fcb->filterBlk.udp.hdr.curBmap, 0xA5A7u);
    EXPECT_EQ(fcb->filterBlk.udp.hdr.reqCount, 0xA5A5u);
    AnyFilter query = MakeFilter(udp, e_UDP_FILT_SPORT, 0, 0);
    u8 count = 0x99;
    EXPECT_EQ(udp.get(&flow, &query, 1, &count), 0u);
    EXPECT_EQ(count, 0u);
    const FilterMember &tcp = FilterOf("Tcp");
    const AnyFilter syn = GoodFilter(tcp, e_TCP_FILT_SYN, e_CMP_EQ);
    Capture([&] { code = tcp.config(&flow, &syn); });
    EXPECT_EQ(code, 12u) << "the TCP part is there, but no node is left";
}

// The flow's status is neither asked nor changed, and the driver hears nothing.
TEST_F(FilterStore, AcceptedInEveryStatusOfAnAllocatedFlow) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        for (const FilterMember &m : FilterMembers()) {
            SCOPED_TRACE(m.Label() + " status " + std::to_string(status));
            Restore();
            fcb_->status = status;
            u32 code = 99;
            EXPECT_EQ(Capture([&] { code = Config(m, GoodFilter(m, 0, e_CMP_EQ)); }), "");
            EXPECT_EQ(code, 0u);
            EXPECT_EQ(fcb_->status, status);
            EXPECT_EQ(m.Entry(fcb_)->reqCount, 1u);
        }
    }
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TEST_F(FilterStore, ActiveFlowAcceptsFiltersWithoutTellingTheDriver) {
    ASSERT_EQ(QIR_Activate_FCB(&hdl_), 0u);
    ASSERT_EQ(fcb_->status, static_cast<u32>(e_STATUS_ACTIVE));
    const std::size_t requests = orxemu_numRequests();
    for (const FilterMember &m : FilterMembers()) {
        EXPECT_EQ(Config(m, GoodFilter(m, 0, e_CMP_EQ)), 0u) << m.Label();
    }
    EXPECT_EQ(fcb_->status, static_cast<u32>(e_STATUS_ACTIVE));
    EXPECT_EQ(orxemu_numRequests(), requests);
    ASSERT_EQ(QIR_Deactivate_FCB(&hdl_), 0u);
}

// The handle names the flow; another flow with the same headers is not touched.
TEST_F(FilterStore, FlowsDoNotShareRequests) {
    FlowHdl other = Flow(511);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(2, &other), 0u);
    const FlowHdr hdr{e_BLKTYPE_FILTER, e_FLOWHDR_ETH};
    ASSERT_EQ(QIR_Alloc_Hdr(&other, &hdr), 0u);
    Fcb before;
    CopyFcb(&before, qirCtxt_gp->fcbPool[511]);
    const FilterMember &eth = FilterOf("Eth");
    const AnyFilter req = GoodFilter(eth, 0, e_CMP_EQ);
    ASSERT_EQ(Config(eth, req), 0u);
    EXPECT_EQ(FcbDiff(before, qirCtxt_gp->fcbPool[511]), "");
    EXPECT_EQ(eth.config(&other, &req), 0u);
    EXPECT_EQ(qirCtxt_gp->fcbPool[511].filterBlk.eth.hdr.reqCount, 1u);
}

// A freed flow forgets its filters when it is allocated again.
TEST_F(FilterStore, AllocationOfTheFlowStartsOver) {
    const FilterMember &eth = FilterOf("Eth");
    ASSERT_EQ(Config(eth, GoodFilter(eth, 0, e_CMP_EQ)), 0u);
    ASSERT_EQ(QIR_Free_FCB(&hdl_), 0u);
    EXPECT_EQ(QuietConfig(eth, GoodFilter(eth, 3, e_CMP_EQ)), 3u);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(1, &hdl_), 0u);
    EXPECT_EQ(QuietConfig(eth, GoodFilter(eth, 0, e_CMP_EQ)), 11u);
    AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_ETH);
    EXPECT_EQ(Config(eth, GoodFilter(eth, 0, e_CMP_EQ)), 0u);
}

} // namespace
} // namespace test
