// What the allocation of a header makes of its flow: real calls, and what is broken behind them.
#include "tests/fuzz_checks/scene.h"

#include "fuzz/allocated_headers.h"
#include "fuzz/stored_requests.h"

#include <bit>
#include <ostream>

namespace fuzz_checks {

namespace {

using namespace qir;
using fuzz::Call;

constexpr bool kBigEndian = std::endian::native == std::endian::big;
// Where in a half the byte lies that counting up changes.
constexpr u32 kLastByte = kBigEndian ? 1 : 0;

// On flow 2, which is ALLOC and has no header yet.
Call Allocate(u32 blk, u32 hdr) {
    FlowHdl flow = test::Flow(2);
    const FlowHdr flowHdr{blk, hdr};
    Call call;
    call.doing = fuzz::Doing::AllocHdr;
    call.flow = 2;
    call.blk = blk;
    call.hdr = hdr;
    call.rc = QIR_Alloc_Hdr(&flow, &flowHdr);
    return call;
}

Call AllocateFilter(u32 hdr) {
    return Allocate(e_BLKTYPE_FILTER, hdr);
}

Call AllocateAction(u32 hdr) {
    return Allocate(e_BLKTYPE_ACTION, hdr);
}

// All headers that come before `hdr`, in both blocks.
template <u32 hdr> void AllocateBefore(Fcb &) {
    for (u32 before = 0; before < hdr; ++before) {
        AllocateFilter(before);
        AllocateAction(before);
    }
}

template <u32 num> void KeepFreeNodes(Fcb &fcb) {
    AllocateFilter(e_FLOWHDR_ETH);
    AllocateAction(e_FLOWHDR_ETH);
    while (fcb.freeReqCount > num) {
        fuzz::TakeNode(fcb);
    }
}

using Row = BrokenCall;

std::string NotAs(std::size_t offset) {
    return "not as the allocation of the header leaves it: byte " + std::to_string(offset);
}

Call Ipv4Filters() {
    return AllocateFilter(e_FLOWHDR_IPV4);
}

const Row kRows[] = {
    // What is right.
    {"Ethernet", "", 0, [] { return AllocateFilter(e_FLOWHDR_ETH); }},
    {"Ethernet of the actions", "", 0, [] { return AllocateAction(e_FLOWHDR_ETH); }},
    {"tag 1", "", 0, [] { return AllocateFilter(e_FLOWHDR_VLAN1); }, nullptr, AllocateBefore<2>},
    {"tag 2", "", 0, [] { return AllocateFilter(e_FLOWHDR_VLAN2); }, nullptr, AllocateBefore<3>},
    {"tag 3", "", 0, [] { return AllocateFilter(e_FLOWHDR_VLAN3); }, nullptr, AllocateBefore<4>},
    {"tag 3 of the actions", "", 0, [] { return AllocateAction(e_FLOWHDR_VLAN3); }, nullptr,
     AllocateBefore<4>},
    {"PPPoE", "", 0, [] { return AllocateFilter(e_FLOWHDR_PPPOE); }, nullptr, AllocateBefore<1>},
    {"PPPoE of the actions", "", 0, [] { return AllocateAction(e_FLOWHDR_PPPOE); }, nullptr,
     AllocateBefore<1>},
    {"MPLS, which has no entry", "", 0, [] { return AllocateFilter(e_FLOWHDR_MPLS); }},
    {"IPv4", "", 0, Ipv4Filters, nullptr, AllocateBefore<1>},
    {"IPv4 of the actions", "", 0, [] { return AllocateAction(e_FLOWHDR_IPV4); }, nullptr, AllocateBefore<1>},
    {"IPv4 without a node", "", 12, Ipv4Filters, nullptr, KeepFreeNodes<0>},
    {"IPv4 without nodes for TCP and UDP", "", 12, Ipv4Filters, nullptr, KeepFreeNodes<1>},
    {"IPv4 without one for UDP", "", 12, Ipv4Filters, nullptr, KeepFreeNodes<2>},
    {"a header twice", "", 12, [] { return AllocateFilter(e_FLOWHDR_ETH); }, nullptr, AllocateBefore<1>},
    {"out of order", "", 10, Ipv4Filters},
    {"of a block without headers", "", 25, [] { return Allocate(e_BLKTYPE_FWD, e_FLOWHDR_ETH); }},
    // What is not.
    {"another node", NotAs(offsetof(Fcb, filterBlk.ipv4.hdr.reqList) + kLastByte), 0, Ipv4Filters,
     [](Fcb &fcb, Call &) { ++fcb.filterBlk.ipv4.hdr.reqList; }, AllocateBefore<1>},
    {"a counter not cleared", NotAs(offsetof(Fcb, filterBlk.udp.cmpOpCurCnt) + 5), 0, Ipv4Filters,
     [](Fcb &fcb, Call &) { fcb.filterBlk.udp.cmpOpCurCnt[5] = 0xA5; }, AllocateBefore<1>},
    {"the count of the PPPoE actions cleared", NotAs(offsetof(Fcb, actionBlk.pppoe.reqCount)), 0,
     [] { return AllocateAction(e_FLOWHDR_PPPOE); },
     [](Fcb &fcb, Call &) { fcb.actionBlk.pppoe.reqCount = 0; }, AllocateBefore<1>},
    {"another node's record", NotAs(offsetof(Fcb, reqPool) + 31 * sizeof(ReqNode) + sizeof(ReqNode) - 1), 0,
     Ipv4Filters, [](Fcb &fcb, Call &) { fcb.reqPool[31].req[35] = 0; }, AllocateBefore<1>},
    {"tags not counted", NotAs(offsetof(Fcb, filterBlk.totalTags)), 0,
     [] { return AllocateFilter(e_FLOWHDR_VLAN1); }, [](Fcb &fcb, Call &) { fcb.filterBlk.totalTags = 1; },
     AllocateBefore<2>},
    {"the state not changed", NotAs(kBigEndian ? 3 : 0), 0, [] { return AllocateFilter(e_FLOWHDR_ETH); },
     [](Fcb &fcb, Call &) { fcb.status = e_STATUS_ALLOC; }},
    {"the state changed", NotAs(kBigEndian ? 3 : 0), 10, Ipv4Filters,
     [](Fcb &fcb, Call &) { fcb.status = e_STATUS_CFG; }},
    {"taken back without a node", NotAs(offsetof(Fcb, filterBlk.hdrBmap) + kLastByte), 12, Ipv4Filters,
     [](Fcb &fcb, Call &) { fcb.filterBlk.hdrBmap = 1; }, KeepFreeNodes<2>},
    {"accepted without a node", "there was none for the header", 12, Ipv4Filters,
     [](Fcb &, Call &call) { call.rc = 0; }, KeepFreeNodes<2>},
    {"refused with nodes", "there was a node for the header", 0, Ipv4Filters,
     [](Fcb &, Call &call) { call.rc = 12; }, AllocateBefore<1>},
    {"accepted for no block", "allocated a header that there is not", 25,
     [] { return Allocate(e_BLKTYPE_FWD, e_FLOWHDR_ETH); }, [](Fcb &, Call &call) { call.rc = 0; }},
};

class AllocatedHeader : public Scene, public ::testing::WithParamInterface<Row> {};

TEST_P(AllocatedHeader, IsSeen) {
    const Row &row = GetParam();
    Fcb &fcb = ctxt.fcbPool[2];
    Fcb before{};
    Call call;
    test::CaptureBoth([&] {
        if (row.prepare != nullptr) {
            row.prepare(fcb);
        }
        before = fcb;
        call = row.call();
    });
    ASSERT_EQ(call.rc, row.rc);
    ASSERT_EQ(fuzz::CheckHdrAllocation(before, fcb, call), "") << "before it is broken";
    if (row.breakIt != nullptr) {
        row.breakIt(fcb, call);
    }
    EXPECT_EQ(fuzz::CheckHdrAllocation(before, fcb, call), row.complaint);
}

INSTANTIATE_TEST_SUITE_P(Rows, AllocatedHeader, ::testing::ValuesIn(kRows));

} // namespace

} // namespace fuzz_checks
