// What requests make of their flow and what reading back gives: real calls, and what is broken behind them.
#include "tests/fuzz_checks/scene.h"

#include "fuzz/request_call.h"
#include "fuzz/stored_requests.h"

#include <ostream>

namespace fuzz_checks {

namespace {

using namespace qir;
using fuzz::Call;
using fuzz::Doing;

template <class Kind, auto operation> Call Config(Doing doing, typename Kind::Record record) {
    FlowHdl flow = test::Flow(0);
    Call call;
    call.doing = doing;
    call.flow = 0;
    fuzz::CallWith<Kind>({&record, 1}, call, [&] { return operation(&flow, &record); });
    return call;
}

// One byte of the value says enough.
template <class Record> Record Make(u32 type, u8 val, u32 cmpOp = e_CMP_EQ) {
    Record record{};
    record.type = type;
    *reinterpret_cast<u8 *>(&record.val) = val;
    if constexpr (requires { record.cmpOp; }) {
        record.cmpOp = cmpOp;
    }
    return record;
}

template <class Kind, auto operation> Call AddFilter(u32 type, u8 val, u32 cmpOp) {
    return Config<Kind, operation>(Doing::ConfigFilter, Make<typename Kind::Record>(type, val, cmpOp));
}

template <class Kind, auto operation> Call AddAction(u32 type, u8 val) {
    return Config<Kind, operation>(Doing::ConfigAction, Make<typename Kind::Record>(type, val));
}

// An EtherType that is the same in both byte orders.
Call AddEthFilter(u32 type, u32 cmpOp) {
    EthFilter filter = Make<EthFilter>(type, 8, cmpOp);
    filter.val.bytes[1] = 8;
    return Config<EthFilterKind, QIR_Config_EthFilter>(Doing::ConfigFilter, filter);
}

Call AddPbits() {
    return AddFilter<VlanFilterKind, QIR_Config_VlanFilter>(e_VLAN_FILT_PBITS, 3, e_CMP_EQ);
}

Call AddUdpFilter(u32 cmpOp) {
    return AddFilter<UdpFilterKind, QIR_Config_UdpFilter>(e_UDP_FILT_SPORT, 9, cmpOp);
}

Call AddTcpFilter(u32 cmpOp) {
    return AddFilter<TcpFilterKind, QIR_Config_TcpFilter>(e_TCP_FILT_DPORT, 9, cmpOp);
}

Call AddIpv4Filter() {
    return AddFilter<Ipv4FilterKind, QIR_Config_Ipv4Filter>(e_IPV4_FILT_VER, 4, e_CMP_EQ);
}

Call AddVlanAction(u32 type, u8 val) {
    return AddAction<VlanActionKind, QIR_Config_VlanAction>(type, val);
}

Call AddEthAction(u32 type) {
    return Config<EthActionKind, QIR_Config_EthAction>(Doing::ConfigEthAction, Make<EthAction>(type, 0));
}

void TakeAllNodes(Fcb &fcb) {
    while (fuzz::TakeNode(fcb) != fuzz::kNone) {
    }
}

void AddVlanHeaders() {
    for (const u32 hdr : {e_FLOWHDR_VLAN1, e_FLOWHDR_VLAN2, e_FLOWHDR_VLAN3}) {
        FlowHdl flow = test::Flow(0);
        const FlowHdr flowHdr{e_BLKTYPE_FILTER, hdr};
        ASSERT_EQ(QIR_Alloc_Hdr(&flow, &flowHdr), 0u);
    }
}

using Row = BrokenCall;

std::string NotAs(const std::string &what) {
    return "not as the request leaves it: " + what;
}

// Node 2 heads the filters of tag 0, on which 14 and 15 are; node 18 is the first free one.
void LinkAtTheFront(Fcb &fcb, Call &) {
    ReqNode *const pool = fcb.reqPool;
    pool[2].next = 18;
    pool[18] = {18, 14, 2, pool[18].spare, pool[18].key, {}};
    pool[14].prev = 18;
    pool[15].next = 2;
    pool[2].prev = 15;
}

FilterBlk &Filters(Fcb &fcb) {
    return fcb.filterBlk;
}

const Row kRows[] = {
    // What is right.
    {"an Ethernet filter", "", 0, [] { return AddEthFilter(e_ETH_FILT_ETHTYPE, e_CMP_NEQ); }},
    {"a VLAN filter", "", 0, AddPbits},
    {"a PPPoE filter", "", 0,
     [] { return AddFilter<PppoeFilterKind, QIR_Config_PppoeFilter>(e_PPPOE_FILT_VER, 1, e_CMP_EQ); }},
    {"an IPv4 filter", "", 0, AddIpv4Filter},
    {"a TCP filter", "", 0, [] { return AddTcpFilter(e_CMP_NEQ); }},
    {"a UDP filter", "", 0, [] { return AddUdpFilter(e_CMP_EQ); }},
    {"an Ethernet action", "", 0, [] { return AddEthAction(e_ETH_ACTION_POP_TAG); }},
    {"a VLAN action", "", 0, [] { return AddVlanAction(e_VLAN_ACTION_SET_VID, 1); }},
    {"an IPv4 action", "", 0, [] { return AddAction<Ipv4ActionKind, QIR_Config_Ipv4Action>(0, 1); }},
    {"a TCP action", "", 0, [] { return AddAction<TcpActionKind, QIR_Config_TcpAction>(0, 1); }},
    {"a UDP action", "", 0, [] { return AddAction<UdpActionKind, QIR_Config_UdpAction>(1, 1); }},
    {"an unknown type", "", 47, [] { return AddEthFilter(e_ETH_FILT_MAX, e_CMP_EQ); }},
    {"an unknown operator", "", 46, [] { return AddUdpFilter(e_CMP_MAX); }},
    {"an operator that is not taken", "", 21, [] { return AddTcpFilter(e_CMP_IN_RANGE); }},
    {"an operator that UDP does not take", "", 25, [] { return AddUdpFilter(e_CMP_IN_RANGE); }},
    {"an operator too often", "", 21, [] { return AddEthFilter(e_ETH_FILT_ETHTYPE, e_CMP_EQ); }},
    {"an excluded filter", "", 22,
     [] { return AddFilter<VlanFilterKind, QIR_Config_VlanFilter>(e_VLAN_FILT_TAG, 0, e_CMP_EQ); }},
    {"a bad value", "", 25,
     [] { return AddFilter<VlanFilterKind, QIR_Config_VlanFilter>(e_VLAN_FILT_PBITS, 8, e_CMP_EQ); }},
    {"a filter without a node", "", 12, AddPbits, nullptr, TakeAllNodes},
    {"an action without a node", "", 12, [] { return AddEthAction(e_ETH_ACTION_SA); }, nullptr, TakeAllNodes},
    {"an excluded action", "", 23, [] { return AddEthAction(e_ETH_ACTION_DA); }},
    {"a bad EtherType", "", 25, [] { return AddEthAction(e_ETH_ACTION_ETHTYPE); }},
    {"a push behind an address", "", 9, [] { return AddEthAction(e_ETH_ACTION_PUSH_TAG); }},
    {"an address behind a pop", "", 9, [] { return AddEthAction(e_ETH_ACTION_SA); }, nullptr,
     [](Fcb &) { AddEthAction(e_ETH_ACTION_POP_TAG); }},
    {"a pop too many", "", 25, [] { return AddEthAction(e_ETH_ACTION_POP_TAG); }, nullptr,
     [](Fcb &) { AddEthAction(e_ETH_ACTION_POP_TAG); }},
    {"an IPv4 filter on the free list", "", 0, AddIpv4Filter, nullptr, [](Fcb &) { AddVlanHeaders(); }},
    // Where an accepted one stands.
    {"at the front", NotAs("the links of node 2"), 0, AddPbits, LinkAtTheFront},
    {"on no list", NotAs("the links of node 2"), 0, AddPbits,
     [](Fcb &fcb, Call &) {
         fcb.reqPool[2].prev = 15;
         fcb.reqPool[15].next = 2;
         fcb.reqPool[18].prev = fcb.reqPool[18].next = 18;
     }},
    {"with the second free node", NotAs("the links of node 0"), 0, AddPbits,
     [](Fcb &fcb, Call &) { fcb.reqPool[0].next = 18; }},
    {"its node not counted", NotAs("the number of free nodes"), 0, AddPbits,
     [](Fcb &fcb, Call &) { ++fcb.freeReqCount; }},
    {"first on the free list", NotAs("the links of node 0"), 0, AddIpv4Filter,
     [](Fcb &fcb, Call &) { fcb.reqPool[0].next = fcb.reqPool[0].prev; }, [](Fcb &) { AddVlanHeaders(); }},
    // What it holds, and what the others hold.
    {"another value", NotAs("the record of node 18"), 0, AddPbits,
     [](Fcb &fcb, Call &) { ++fcb.reqPool[18].req[16]; }},
    {"more than was given", NotAs("the record of node 18"), 0, AddPbits,
     [](Fcb &fcb, Call &) { fcb.reqPool[18].req[35] = 0; }},
    {"another key", NotAs("the key of node 18"), 0, AddPbits,
     [](Fcb &fcb, Call &) { ++fcb.reqPool[18].key; }},
    {"a neighbour's value", NotAs("the record of node 14"), 0, AddPbits,
     [](Fcb &fcb, Call &) { ++fcb.reqPool[14].req[16]; }},
    {"the caller's request", "wrote to the caller's request", 0, AddPbits,
     [](Fcb &, Call &call) { ++call.records[0]; }},
    // What the header says of it.
    {"not counted", NotAs("the number of requests"), 0, AddPbits,
     [](Fcb &fcb, Call &) { --Filters(fcb).vlan[0].hdr.reqCount; }},
    {"another list", NotAs("the head of the list"), 0, AddPbits,
     [](Fcb &fcb, Call &) { Filters(fcb).vlan[0].hdr.reqList = 14; }},
    {"without its bit", NotAs("the accepted types"), 0, AddPbits,
     [](Fcb &fcb, Call &) { Filters(fcb).vlan[0].hdr.curBmap ^= 1u << e_VLAN_FILT_PBITS; }},
    {"its operator not counted", NotAs("the operator counters"), 0, AddPbits,
     [](Fcb &fcb, Call &) { --Filters(fcb).vlan[0].cmpOpCurCnt[e_VLAN_FILT_PBITS]; }},
    {"that of another type counted", NotAs("the operator counters"), 0, AddPbits,
     [](Fcb &fcb, Call &) { ++Filters(fcb).vlan[0].cmpOpCurCnt[17]; }},
    {"another header", NotAs("byte " + std::to_string(offsetof(Fcb, filterBlk.pppoe.cmpOpCurCnt))), 0,
     AddPbits, [](Fcb &fcb, Call &) { ++Filters(fcb).pppoe.cmpOpCurCnt[0]; }},
    {"a pop not counted", NotAs("byte " + std::to_string(offsetof(Fcb, actionBlk.poppedTags))), 0,
     [] { return AddEthAction(e_ETH_ACTION_POP_TAG); }, [](Fcb &fcb, Call &) { --fcb.actionBlk.poppedTags; }},
    {"the last action not kept", NotAs("byte " + std::to_string(offsetof(Fcb, actionBlk.pushedTags))), 0,
     [] { return AddEthAction(e_ETH_ACTION_SA); }, [](Fcb &fcb, Call &) { ++fcb.actionBlk.pushedTags; }},
    // What a refused one leaves.
    {"a bit before the operator", NotAs("the accepted types"), 21,
     [] { return AddTcpFilter(e_CMP_IN_RANGE); },
     [](Fcb &fcb, Call &) { Filters(fcb).tcp.hdr.curBmap |= 1u << e_TCP_FILT_DPORT; }},
    {"a count before the operator", NotAs("the operator counters"), 25,
     [] { return AddUdpFilter(e_CMP_IN_RANGE); },
     [](Fcb &fcb, Call &) { ++Filters(fcb).udp.cmpOpCurCnt[4]; }},
    {"a count beyond the limit", NotAs("the operator counters"), 21,
     [] { return AddEthFilter(e_ETH_FILT_ETHTYPE, e_CMP_EQ); },
     [](Fcb &fcb, Call &) { ++Filters(fcb).eth.cmpOpCurCnt[e_ETH_FILT_ETHTYPE]; }},
    {"no bit with a bad value", NotAs("the accepted types"), 25,
     [] { return AddFilter<VlanFilterKind, QIR_Config_VlanFilter>(e_VLAN_FILT_PBITS, 8, e_CMP_EQ); },
     [](Fcb &fcb, Call &) { Filters(fcb).vlan[0].hdr.curBmap ^= 1u << e_VLAN_FILT_PBITS; }},
    {"a bit with an excluded one", NotAs("the accepted types"), 22,
     [] { return AddFilter<VlanFilterKind, QIR_Config_VlanFilter>(e_VLAN_FILT_TAG, 0, e_CMP_EQ); },
     [](Fcb &fcb, Call &) { Filters(fcb).vlan[0].hdr.curBmap |= 1u << e_VLAN_FILT_TAG; }},
    {"no count without a node", NotAs("the operator counters"), 12, AddPbits,
     [](Fcb &fcb, Call &) { --Filters(fcb).vlan[0].cmpOpCurCnt[e_VLAN_FILT_PBITS]; }, TakeAllNodes},
    {"no bit with an action out of order", NotAs("the accepted types"), 9,
     [] { return AddEthAction(e_ETH_ACTION_PUSH_TAG); },
     [](Fcb &fcb, Call &) { fcb.actionBlk.eth.curBmap ^= 1u << e_ETH_ACTION_PUSH_TAG; }},
    {"a bit with a bad EtherType", NotAs("the accepted types"), 25,
     [] { return AddEthAction(e_ETH_ACTION_ETHTYPE); },
     [](Fcb &fcb, Call &) { fcb.actionBlk.eth.curBmap |= 1u << e_ETH_ACTION_ETHTYPE; }},
    // Codes that the rules do not give, and those from before the rules.
    {"a header that is not there", "", 11, AddPbits, nullptr, [](Fcb &fcb) { fcb.filterBlk.hdrBmap = 1; }},
    {"accepted without the header", "the code has to be 11", 11, AddPbits,
     [](Fcb &, Call &call) { call.rc = 0; }, [](Fcb &fcb) { fcb.filterBlk.hdrBmap = 1; }},
    {"accepted without IPv4", "the code has to be 11", 11, [] { return AddUdpFilter(e_CMP_EQ); },
     [](Fcb &, Call &call) { call.rc = 0; }, [](Fcb &fcb) { fcb.filterBlk.hdrBmap = 3; }},
    {"the header that is there", "the header is there", 22,
     [] { return AddFilter<VlanFilterKind, QIR_Config_VlanFilter>(e_VLAN_FILT_TAG, 0, e_CMP_EQ); },
     [](Fcb &, Call &call) { call.rc = 11; }},
    {"accepted for a flow that is FREE", "the code has to be 3", 3, AddPbits,
     [](Fcb &, Call &call) { call.rc = 0; }, [](Fcb &fcb) { fcb.status = e_STATUS_FREE; }},
    {"accepted, though there is no such type", "accepted what there is not", 47,
     [] { return AddEthFilter(e_ETH_FILT_MAX, e_CMP_EQ); }, [](Fcb &, Call &call) { call.rc = 0; }},
    {"accepted, though not taken", "the code has to be 21", 21, [] { return AddTcpFilter(e_CMP_IN_RANGE); },
     [](Fcb &, Call &call) { call.rc = 0; }},
    {"the code of UDP", "the code has to be 21", 21, [] { return AddTcpFilter(e_CMP_IN_RANGE); },
     [](Fcb &, Call &call) { call.rc = 25; }},
    {"the code of the others", "the code has to be 25", 25, [] { return AddUdpFilter(e_CMP_IN_RANGE); },
     [](Fcb &, Call &call) { call.rc = 21; }},
    {"accepted, though excluded", "the code has to be 23", 23, [] { return AddEthAction(e_ETH_ACTION_DA); },
     [](Fcb &, Call &call) { call.rc = 0; }},
    {"accepted, though out of order", "the code has to be 9", 9,
     [] { return AddEthAction(e_ETH_ACTION_PUSH_TAG); }, [](Fcb &, Call &call) { call.rc = 0; }},
    {"accepted, though without a node", "the code has to be 12", 12, AddPbits,
     [](Fcb &, Call &call) { call.rc = 0; }, TakeAllNodes},
    {"refused with a node there", "the code has to be 0", 0, AddPbits,
     [](Fcb &, Call &call) { call.rc = 12; }},
    {"a bad value of UDP", "the code has to be 0", 0, [] { return AddUdpFilter(e_CMP_EQ); },
     [](Fcb &, Call &call) { call.rc = 25; }},
};

class StoredRequest : public Scene, public ::testing::WithParamInterface<Row> {};

TEST_P(StoredRequest, IsSeen) {
    const Row &row = GetParam();
    Fcb before{};
    Call call;
    test::CaptureBoth([&] {
        if (row.prepare != nullptr) {
            row.prepare(flow);
        }
        before = flow;
        call = row.call();
    });
    ASSERT_EQ(call.rc, row.rc);
    ASSERT_EQ(fuzz::CheckRequest(ctxt, before, flow, call), "") << "before it is broken";
    if (row.breakIt != nullptr) {
        row.breakIt(flow, call);
    }
    EXPECT_EQ(fuzz::CheckRequest(ctxt, before, flow, call), row.complaint);
}

INSTANTIATE_TEST_SUITE_P(Rows, StoredRequest, ::testing::ValuesIn(kRows));

// ---- Reading back -------------------------------------------------------------------------------------

template <class Kind, auto operation> Call ReadFilters(u32 type, u8 size, u32 tag = 0) {
    FlowHdl flow = test::Flow(0);
    std::vector<typename Kind::Record> records(size);
    records[0] = Make<typename Kind::Record>(type, 0xEE);
    if constexpr (Kind::kPerTag) {
        records[0].toTagNum = tag;
    }
    Call call;
    call.doing = Doing::ReadFilters;
    fuzz::CallWith<Kind>(records, call, [&] { return operation(&flow, records.data(), size, &call.count); });
    return call;
}

template <class Kind, auto operation> Call ReadAction(u32 type) {
    FlowHdl flow = test::Flow(0);
    auto record = Make<typename Kind::Record>(type, 0xEE);
    Call call;
    call.doing = Doing::ReadAction;
    fuzz::CallWith<Kind>({&record, 1}, call, [&] { return operation(&flow, &record); });
    return call;
}

// There are two of this type, as long as no row adds more.
Call ReadEthTypes(u8 size) {
    return ReadFilters<EthFilterKind, QIR_Get_EthFilter>(e_ETH_FILT_ETHTYPE, size);
}

Call ReadDa() {
    return ReadAction<EthActionKind, QIR_Get_EthAction>(e_ETH_ACTION_DA);
}

struct ReadRow {
    std::string what;
    std::string complaint;
    u32 rc;
    Call (*call)();
    void (*breakIt)(Call &) = nullptr;
};

std::ostream &operator<<(std::ostream &out, const ReadRow &row) {
    return out << row.what;
}

const std::string kNotStored = "the caller's records are not the stored ones";

const ReadRow kReadRows[] = {
    {"Ethernet filters", "", 0, [] { return ReadEthTypes(2); }},
    {"more than there is room for", "", 7, [] { return ReadEthTypes(1); }},
    {"VLAN filters", "", 0,
     [] { return ReadFilters<VlanFilterKind, QIR_Get_VlanFilter>(e_VLAN_FILT_VID, 3); }},
    {"PPPoE filters", "", 0, [] { return ReadFilters<PppoeFilterKind, QIR_Get_PppoeFilter>(0, 1); }},
    {"IPv4 filters", "", 0, [] { return ReadFilters<Ipv4FilterKind, QIR_Get_Ipv4Filter>(0, 1); }},
    {"TCP filters", "", 0, [] { return ReadFilters<TcpFilterKind, QIR_Get_TcpFilter>(1, 1); }},
    {"UDP filters", "", 0, [] { return ReadFilters<UdpFilterKind, QIR_Get_UdpFilter>(0, 1); }},
    {"filters of no type", "", 47,
     [] { return ReadFilters<EthFilterKind, QIR_Get_EthFilter>(e_ETH_FILT_MAX, 2); }},
    {"an Ethernet action", "", 0, ReadDa},
    {"a VLAN action", "", 0, [] { return ReadAction<VlanActionKind, QIR_Get_VlanAction>(5); }},
    {"a PPPoE action", "", 0, [] { return ReadAction<PppoeActionKind, QIR_Get_PppoeAction>(0); }},
    {"an IPv4 action that there is not", "", 6,
     [] { return ReadAction<Ipv4ActionKind, QIR_Get_Ipv4Action>(0); }},
    {"a TCP action that there is not", "", 6, [] { return ReadAction<TcpActionKind, QIR_Get_TcpAction>(0); }},
    {"a UDP action that there is not", "", 6, [] { return ReadAction<UdpActionKind, QIR_Get_UdpAction>(0); }},
    {"another value", kNotStored, 0, [] { return ReadEthTypes(2); }, [](Call &call) { ++call.records[12]; }},
    {"another value of the last", kNotStored, 0, [] { return ReadEthTypes(2); },
     [](Call &call) { ++call.records.back(); }},
    {"the first twice", kNotStored, 0, [] { return ReadEthTypes(2); },
     [](Call &call) { std::copy_n(call.records.begin(), 36, call.records.begin() + 36); }},
    {"beyond the last", kNotStored, 0, [] { return ReadEthTypes(3); },
     [](Call &call) { ++call.records.back(); }},
    {"one too few", "counts 1 records, has to count 2", 0, [] { return ReadEthTypes(2); },
     [](Call &call) { call.count = 1; }},
    {"no overflow", "the code has to be 7", 7, [] { return ReadEthTypes(1); },
     [](Call &call) { call.rc = 0; }},
    {"an overflow", "the code has to be 0", 0, [] { return ReadEthTypes(2); },
     [](Call &call) { call.rc = 7; }},
    {"of no header", "the header is there", 0, [] { return ReadEthTypes(2); },
     [](Call &call) { call.rc = 11; }},
    {"of a header that is not there", "the code has to be 11", 11,
     [] { return ReadFilters<VlanFilterKind, QIR_Get_VlanFilter>(0, 1, 1); },
     [](Call &call) { call.rc = 0; }},
    {"what there is not", "read what there is not", 47,
     [] { return ReadFilters<EthFilterKind, QIR_Get_EthFilter>(e_ETH_FILT_MAX, 2); },
     [](Call &call) { call.rc = 0; }},
    {"another action", kNotStored, 0, ReadDa, [](Call &call) { ++call.records[8]; }},
    {"no action", "the code has to be 0", 0, ReadDa, [](Call &call) { call.rc = 6; }},
    {"an action that there is not", "the code has to be 6", 6,
     [] { return ReadAction<UdpActionKind, QIR_Get_UdpAction>(0); }, [](Call &call) { call.rc = 0; }},
    {"what a refused call read", kNotStored, 6,
     [] { return ReadAction<UdpActionKind, QIR_Get_UdpAction>(0); }, [](Call &call) { ++call.records[8]; }},
};

class ReadBack : public Scene, public ::testing::WithParamInterface<ReadRow> {
  protected:
    void SetUp() override {
        Scene::SetUp();
        test::CaptureBoth([] {
            ASSERT_EQ(AddEthFilter(e_ETH_FILT_ETHTYPE, e_CMP_NEQ).rc, 0u);
            ASSERT_EQ(AddVlanAction(e_VLAN_ACTION_SET_VID, 1).rc, 0u);
            ASSERT_EQ(AddUdpFilter(e_CMP_EQ).rc, 0u);
            ASSERT_EQ(AddTcpFilter(e_CMP_NEQ).rc, 0u);
        });
    }
};

TEST_P(ReadBack, IsSeen) {
    const ReadRow &row = GetParam();
    Call call;
    test::CaptureBoth([&] { call = row.call(); });
    ASSERT_EQ(call.rc, row.rc);
    ASSERT_EQ(fuzz::CheckReadBack(flow, call), "") << "before it is broken";
    if (row.breakIt != nullptr) {
        row.breakIt(call);
    }
    EXPECT_EQ(fuzz::CheckReadBack(flow, call), row.complaint);
}

INSTANTIATE_TEST_SUITE_P(Rows, ReadBack, ::testing::ValuesIn(kReadRows));

} // namespace

} // namespace fuzz_checks
