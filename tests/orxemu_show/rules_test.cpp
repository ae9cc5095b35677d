// Flows as rules. The library stores the requests, so that the words are those of the bytes that the driver
// gets; every rule is read from both byte orders.
#include "emu/journal/rule_text.h"
#include "qirapi/private/fcb.h"
#include "tests/orxemu_show/journal_kit.h"

#include <set>

namespace {

using namespace journal_kit;
using namespace orxemu::journal;

Json DecodeBoth(const Bytes &fcb) {
    Bytes converted = fcb;
    ConvertFcb(converted, kHostOrder);
    const Json decoded = DecodeFcb(fcb, kHostOrder);
    EXPECT_EQ(RuleText(DecodeFcb(converted, kOtherOrder)), RuleText(decoded));
    return decoded;
}

std::string RuleOf(FlowHdl flow) {
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(qir::GetFCB(flow));
    return RuleText(DecodeBoth(Bytes(bytes, bytes + sizeof(qir::Fcb))));
}

// Writes a value as the record's union wants it.
using Value = std::function<void(void *val)>;

template <class Word> Value Put(Word word) {
    return [word](void *val) { std::memcpy(val, &word, sizeof word); };
}
Value U8(std::uint8_t value) {
    return Put(value);
}
Value U16(std::uint16_t value) {
    return Put(value);
}
Value U32(std::uint32_t value) {
    return Put(value);
}
const Value kNoValue = [](void *) {};
constexpr QirMacMask kWholeMac = {{0, 0x11, 0x22, 0x33, 0x44, 0x55}, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
constexpr QirMacMask kHalfMac = {{0, 0x11, 0x22, 0x33, 0x44, 0x55}, {0xFF, 0xFF, 0xFF, 0, 0, 0}};
constexpr QirIpPrefix kNet10 = {0x0A000000, 8};

enum class On { Eth, Vlan0, Vlan1, Pppoe, Ipv4, Tcp, Udp };

// Headers that a request on a header needs, the way the library wants them allocated.
void AllocFor(FlowHdl &flow, uint32_t blk, On on) {
    switch (on) {
    case On::Eth:
        return AllocHdrs(flow, blk, {e_FLOWHDR_ETH});
    case On::Vlan0:
        return AllocHdrs(flow, blk, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0});
    case On::Vlan1:
        return AllocHdrs(flow, blk, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1});
    case On::Pppoe:
        return AllocHdrs(flow, blk, {e_FLOWHDR_ETH, e_FLOWHDR_PPPOE});
    case On::Ipv4:
    case On::Tcp:
    case On::Udp:
        return AllocHdrs(flow, blk, {e_FLOWHDR_ETH, e_FLOWHDR_IPV4});
    }
}

template <class Request>
uint32_t Add(FlowHdl &flow, uint32_t (*config)(FlowHdl *, const Request *), Request request,
             const Value &value) {
    value(&request.val);
    return config(&flow, &request);
}

template <class Request> Request Typed(uint32_t type, uint32_t cmpOp) {
    Request request = {};
    request.type = type;
    request.cmpOp = cmpOp;
    return request;
}

uint32_t AddFilter(FlowHdl &flow, On on, uint32_t type, uint32_t cmpOp, const Value &value,
                   std::uint8_t upper) {
    switch (on) {
    case On::Eth:
        return Add(flow, QIR_Config_EthFilter, Typed<EthFilter>(type, cmpOp), value);
    case On::Vlan0:
    case On::Vlan1: {
        VlanFilter filter = Typed<VlanFilter>(type, cmpOp);
        filter.toTagNum = on == On::Vlan0 ? 0 : 1;
        return Add(flow, QIR_Config_VlanFilter, filter, value);
    }
    case On::Pppoe:
        return Add(flow, QIR_Config_PppoeFilter, Typed<PppoeFilter>(type, cmpOp), value);
    case On::Ipv4: {
        Ipv4Filter filter = Typed<Ipv4Filter>(type, cmpOp);
        filter.val2.dscp = upper;
        return Add(flow, QIR_Config_Ipv4Filter, filter, value);
    }
    case On::Tcp:
        return Add(flow, QIR_Config_TcpFilter, Typed<TcpFilter>(type, cmpOp), value);
    case On::Udp:
        return Add(flow, QIR_Config_UdpFilter, Typed<UdpFilter>(type, cmpOp), value);
    }
    return 1;
}

template <class Request> Request Action(uint32_t type) {
    Request request = {};
    request.type = type;
    return request;
}

uint32_t AddAction(FlowHdl &flow, On on, uint32_t type, const Value &value) {
    switch (on) {
    case On::Eth:
        return Add(flow, QIR_Config_EthAction, Action<EthAction>(type), value);
    case On::Vlan0:
    case On::Vlan1: {
        VlanAction action = Action<VlanAction>(type);
        action.toTagNum = on == On::Vlan0 ? 0 : 1;
        return Add(flow, QIR_Config_VlanAction, action, value);
    }
    case On::Pppoe:
        return Add(flow, QIR_Config_PppoeAction, Action<PppoeAction>(type), value);
    case On::Ipv4:
        return Add(flow, QIR_Config_Ipv4Action, Action<Ipv4Action>(type), value);
    case On::Tcp:
        return Add(flow, QIR_Config_TcpAction, Action<TcpAction>(type), value);
    case On::Udp:
        return Add(flow, QIR_Config_UdpAction, Action<UdpAction>(type), value);
    }
    return 1;
}

FlowHdl NewFlow() {
    FlowHdl flow = {};
    EXPECT_EQ(QIR_Alloc_FCB(1, &flow), e_RET_OK);
    return flow;
}

struct FilterCase {
    On on;
    uint32_t type;
    uint32_t cmpOp;
    Value value;
    std::string rule;
    std::uint8_t upper = 0;
};

std::vector<FilterCase> FilterCases() {
    return {
        {On::Eth, e_ETH_FILT_MCAST, e_CMP_EQ, U8(1), "multicast"},
        {On::Eth, e_ETH_FILT_MCAST, e_CMP_EQ, U8(0), "no multicast"},
        {On::Eth, e_ETH_FILT_BCAST, e_CMP_EQ, U8(1), "broadcast"},
        {On::Eth, e_ETH_FILT_BCAST, e_CMP_EQ, U8(0), "no broadcast"},
        {On::Eth, e_ETH_FILT_DA, e_CMP_EQ, Put(kWholeMac), "dmac 00:11:22:33:44:55"},
        {On::Eth, e_ETH_FILT_DA, e_CMP_EQ, Put(kHalfMac), "dmac 00:11:22:33:44:55&ff:ff:ff:00:00:00"},
        {On::Eth, e_ETH_FILT_SA, e_CMP_EQ, Put(kWholeMac), "smac 00:11:22:33:44:55"},
        {On::Eth, e_ETH_FILT_ETHTYPE, e_CMP_EQ, U16(0x0800), "ip"},
        {On::Eth, e_ETH_FILT_ETHTYPE, e_CMP_NEQ, U16(0x0800), "not ip"},
        {On::Eth, e_ETH_FILT_ETHTYPE, e_CMP_EQ, U16(0x8864), "pppoe"},
        {On::Eth, e_ETH_FILT_ETHTYPE, e_CMP_EQ, U16(0x8863), "pppoe discovery"},
        {On::Eth, e_ETH_FILT_ETHTYPE, e_CMP_EQ, U16(0x88CC), "ethtype 0x88cc"},
        {On::Eth, e_ETH_FILT_ETHTYPE, e_CMP_NEQ, U16(0x0806), "not ethtype 0x0806"},
        {On::Vlan0, e_VLAN_FILT_TAG, e_CMP_EQ, U32(0x8100A123), "vlan tag 0x8100a123"},
        {On::Vlan0, e_VLAN_FILT_TPID, e_CMP_EQ, U16(0x8100), "vlan tpid 0x8100"},
        {On::Vlan0, e_VLAN_FILT_TPID, e_CMP_NEQ, U16(0x88A8), "not vlan tpid 0x88a8"},
        {On::Vlan0, e_VLAN_FILT_TCI, e_CMP_EQ, U16(0x0123), "vlan tci 0x0123"},
        {On::Vlan0, e_VLAN_FILT_PBITS, e_CMP_EQ, U8(3), "vlan pbits 3"},
        {On::Vlan0, e_VLAN_FILT_DEI, e_CMP_EQ, U8(1), "vlan dei 1"},
        {On::Vlan0, e_VLAN_FILT_VID, e_CMP_EQ, U16(200), "vlan 200"},
        {On::Vlan0, e_VLAN_FILT_VID, e_CMP_NEQ, U16(200), "not vlan 200"},
        {On::Vlan1, e_VLAN_FILT_VID, e_CMP_EQ, U16(300), "any vlan inner vlan 300"},
        {On::Vlan1, e_VLAN_FILT_PBITS, e_CMP_EQ, U8(6), "any vlan inner vlan pbits 6"},
        {On::Pppoe, e_PPPOE_FILT_VER, e_CMP_EQ, U8(1), "pppoe ver 1"},
        {On::Pppoe, e_PPPOE_FILT_TYPE, e_CMP_EQ, U8(1), "pppoe type 1"},
        {On::Pppoe, e_PPPOE_FILT_TYPE, e_CMP_NEQ, U8(1), "not pppoe type 1"},
        {On::Pppoe, e_PPPOE_FILT_CODE, e_CMP_EQ, U8(9), "pppoe code 9"},
        {On::Pppoe, e_PPPOE_FILT_SESID, e_CMP_EQ, U16(4660), "pppoe session 4660"},
        {On::Pppoe, e_PPPOE_FILT_PROTO, e_CMP_EQ, U16(0x0021), "pppoe ppp 0x0021"},
        {On::Ipv4, e_IPV4_FILT_VER, e_CMP_EQ, U8(4), "ipv4 ver 4"},
        {On::Ipv4, e_IPV4_FILT_IHL, e_CMP_EQ, U8(5), "ihl 5"},
        {On::Ipv4, e_IPV4_FILT_SA, e_CMP_EQ, Put(kNet10), "src 10.0.0.0/8"},
        {On::Ipv4, e_IPV4_FILT_DA, e_CMP_EQ, Put(kNet10), "dst 10.0.0.0/8"},
        {On::Ipv4, e_IPV4_FILT_MCAST, e_CMP_EQ, U8(1), "ipv4 multicast"},
        {On::Ipv4, e_IPV4_FILT_MCAST, e_CMP_EQ, U8(0), "no ipv4 multicast"},
        {On::Ipv4, e_IPV4_FILT_TOS, e_CMP_EQ, U8(184), "tos 184"},
        {On::Ipv4, e_IPV4_FILT_DSCP, e_CMP_EQ, U8(46), "dscp 46"},
        {On::Ipv4, e_IPV4_FILT_DSCP, e_CMP_IN_RANGE, U8(10), "dscp 10-20", 20},
        {On::Ipv4, e_IPV4_FILT_DSCP_1P, e_CMP_EQ, U8(5), "dscp-pbits 5"},
        {On::Ipv4, e_IPV4_FILT_TTL_GT1, e_CMP_EQ, U8(1), "ttl>1"},
        {On::Ipv4, e_IPV4_FILT_PROTO, e_CMP_EQ, U16(17), "proto 17"},
        {On::Ipv4, e_IPV4_FILT_PROTO, e_CMP_NEQ, U16(17), "not proto 17"},
        {On::Ipv4, e_IPV4_FILT_FRAG, e_CMP_EQ, U16(1), "fragment"},
        {On::Tcp, e_TCP_FILT_SPORT, e_CMP_EQ, U16(1024), "any ipv4 tcp sport 1024"},
        {On::Tcp, e_TCP_FILT_DPORT, e_CMP_EQ, U16(80), "any ipv4 tcp dport 80"},
        {On::Tcp, e_TCP_FILT_DPORT, e_CMP_NEQ, U16(80), "any ipv4 not tcp dport 80"},
        {On::Tcp, e_TCP_FILT_SYN, e_CMP_EQ, U8(1), "any ipv4 tcp syn"},
        {On::Tcp, e_TCP_FILT_SYN, e_CMP_EQ, U8(0), "any ipv4 no tcp syn"},
        {On::Tcp, e_TCP_FILT_ACK, e_CMP_EQ, U8(1), "any ipv4 tcp ack"},
        {On::Tcp, e_TCP_FILT_FIN, e_CMP_EQ, U8(1), "any ipv4 tcp fin"},
        {On::Tcp, e_TCP_FILT_RST, e_CMP_EQ, U8(1), "any ipv4 tcp rst"},
        {On::Tcp, e_TCP_FILT_CTRL, e_CMP_EQ, U8(0x3F), "any ipv4 tcp ctrl 0x3f"},
        {On::Udp, e_UDP_FILT_SPORT, e_CMP_EQ, U16(53), "any ipv4 udp sport 53"},
        {On::Udp, e_UDP_FILT_DPORT, e_CMP_EQ, U16(53), "any ipv4 udp dport 53"},
    };
}

// Not a type: pushes of as many tags as there are headers.
constexpr uint32_t kPushes = 0xFFFFFFFF;

struct ActionCase {
    On on;
    uint32_t type;
    Value value;
    std::string actions;
};

std::vector<ActionCase> ActionCases() {
    return {
        {On::Eth, e_ETH_ACTION_DA, Put(kWholeMac), "set dmac 00:11:22:33:44:55"},
        {On::Eth, e_ETH_ACTION_SA, Put(kWholeMac), "set smac 00:11:22:33:44:55"},
        {On::Eth, e_ETH_ACTION_ETHTYPE, U16(0x0800), "set ethtype 0x0800"},
        {On::Vlan0, kPushes, kNoValue, "push tag"},
        {On::Vlan1, kPushes, kNoValue, "push tag, push tag, pop tag"},
        {On::Vlan0, e_VLAN_ACTION_SET_TAG, U32(0x8100A123), "set tag 0x8100a123"},
        {On::Vlan0, e_VLAN_ACTION_SET_TPID, U16(0x88A8), "set tpid 0x88a8"},
        {On::Vlan0, e_VLAN_ACTION_SET_TCI, U16(0x0123), "set tci 0x0123"},
        {On::Vlan0, e_VLAN_ACTION_SET_PBITS, U8(5), "set pbits 5"},
        {On::Vlan0, e_VLAN_ACTION_SET_DEI, U8(1), "set dei 1"},
        {On::Vlan0, e_VLAN_ACTION_SET_VID, U16(1200), "set vid 1200"},
        {On::Vlan1, e_VLAN_ACTION_SET_VID, U16(300), "set inner vid 300"},
        {On::Vlan0, e_VLAN_ACTION_COPY_TAG_FROM_TAG, U32(1), "copy tag from inner"},
        {On::Vlan0, e_VLAN_ACTION_COPY_TPID_FROM_TAG, U32(1), "copy tpid from inner"},
        {On::Vlan0, e_VLAN_ACTION_COPY_TCI_FROM_TAG, U32(1), "copy tci from inner"},
        {On::Vlan0, e_VLAN_ACTION_COPY_PBITS_FROM_TAG, U32(1), "copy pbits from inner"},
        {On::Vlan0, e_VLAN_ACTION_COPY_VID_FROM_TAG, U32(1), "copy vid from inner"},
        {On::Vlan0, e_VLAN_ACTION_COPY_DEI_FROM_TAG, U32(1), "copy dei from inner"},
        {On::Vlan1, e_VLAN_ACTION_COPY_VID_FROM_TAG, U32(0), "copy inner vid from outer"},
        {On::Vlan0, e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP, kNoValue, "pbits from dscp 0"},
        {On::Vlan1, e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP, U32(0x12345678), "inner pbits from dscp 305419896"},
        {On::Vlan0, e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE, kNoValue, "pbits from ethtype"},
        {On::Ipv4, e_IPV4_ACTION_DA, Put(kNet10), "set dst 10.0.0.0/8"},
        {On::Ipv4, e_IPV4_ACTION_SA, Put(kNet10), "set src 10.0.0.0/8"},
        {On::Ipv4, e_IPV4_ACTION_TOS, U8(184), "set tos 184"},
        {On::Ipv4, e_IPV4_ACTION_DSCP, U8(46), "set dscp 46"},
        {On::Tcp, e_TCP_ACTION_SPORT, U16(1024), "set tcp sport 1024"},
        {On::Tcp, e_TCP_ACTION_DPORT, U16(80), "set tcp dport 80"},
        {On::Udp, e_UDP_ACTION_SPORT, U16(53), "set udp sport 53"},
        {On::Udp, e_UDP_ACTION_DPORT, U16(67), "set udp dport 67"},
    };
}

class OrxemuRules : public JournalTest {};

TEST_F(OrxemuRules, EveryFilterHasWords) {
    std::set<std::pair<On, uint32_t>> types;
    std::set<std::string> rules;
    for (const FilterCase &c : FilterCases()) {
        FlowHdl flow = NewFlow();
        AllocFor(flow, e_BLKTYPE_FILTER, c.on);
        ASSERT_EQ(AddFilter(flow, c.on, c.type, c.cmpOp, c.value, c.upper), e_RET_OK) << c.rule;
        EXPECT_EQ(RuleOf(flow), c.rule + " → nowhere");
        EXPECT_TRUE(rules.insert(RuleOf(flow)).second) << "two filters read " << c.rule;
        types.emplace(c.on == On::Vlan1 ? On::Vlan0 : c.on, c.type);
    }
    EXPECT_EQ(types.size(), static_cast<std::size_t>(e_ETH_FILT_MAX) + e_VLAN_FILT_MAX + e_PPPOE_FILT_MAX +
                                e_IPV4_FILT_MAX + e_TCP_FILT_MAX + e_UDP_FILT_MAX);
}

TEST_F(OrxemuRules, EveryActionHasWords) {
    std::set<std::string> rules;
    for (const ActionCase &c : ActionCases()) {
        FlowHdl flow = NewFlow();
        AllocFor(flow, e_BLKTYPE_ACTION, c.on);
        if (c.type == kPushes) {
            // Pushes need the headers of the tags that they push: one, or two with a pop behind them.
            ASSERT_EQ(AddAction(flow, On::Eth, e_ETH_ACTION_PUSH_TAG, c.value), e_RET_OK);
            if (c.on == On::Vlan1) {
                ASSERT_EQ(AddAction(flow, On::Eth, e_ETH_ACTION_PUSH_TAG, c.value), e_RET_OK);
                ASSERT_EQ(AddAction(flow, On::Eth, e_ETH_ACTION_POP_TAG, c.value), e_RET_OK);
            }
        } else {
            ASSERT_EQ(AddAction(flow, c.on, c.type, c.value), e_RET_OK) << c.actions;
        }
        EXPECT_EQ(RuleOf(flow), "→ " + c.actions + " → nowhere");
        EXPECT_TRUE(rules.insert(RuleOf(flow)).second) << "two actions read " << c.actions;
    }
    EXPECT_EQ(rules.size(), ActionCases().size());
}

TEST_F(OrxemuRules, PartsStandInTheOrderOfTheFrame) {
    FlowHdl flow = NewFlow();
    AllocHdrs(flow, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_IPV4});
    ASSERT_EQ(AddFilter(flow, On::Tcp, e_TCP_FILT_DPORT, e_CMP_EQ, U16(80), 0), e_RET_OK);
    ASSERT_EQ(AddFilter(flow, On::Ipv4, e_IPV4_FILT_SA, e_CMP_EQ, Put(kNet10), 0), e_RET_OK);
    ASSERT_EQ(AddFilter(flow, On::Eth, e_ETH_FILT_ETHTYPE, e_CMP_EQ, U16(0x0800), 0), e_RET_OK);
    ASSERT_EQ(AddFilter(flow, On::Vlan0, e_VLAN_FILT_VID, e_CMP_EQ, U16(200), 0), e_RET_OK);
    ASSERT_EQ(AddFilter(flow, On::Eth, e_ETH_FILT_SA, e_CMP_EQ, Put(kWholeMac), 0), e_RET_OK);
    const FwdInfo fwd = ToGemPort3();
    ASSERT_EQ(QIR_Set_FwdInfo(&flow, &fwd), e_RET_OK);
    EXPECT_EQ(RuleOf(flow),
              "in uni0 smac 00:11:22:33:44:55 vlan 200 ip src 10.0.0.0/8 tcp dport 80 → gpon gem 3 q7");
}

TEST_F(OrxemuRules, HeadersAreMatchedOnWithoutFilters) {
    FlowHdl flow = NewFlow();
    AllocHdrs(flow, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1, e_FLOWHDR_IPV4});
    EXPECT_EQ(RuleOf(flow), "any vlan any inner vlan any ipv4 → nowhere");
    FlowHdl empty = NewFlow();
    EXPECT_EQ(RuleOf(empty), "→ nowhere");
}

struct FwdCase {
    const char *what;
    std::function<void(FwdInfo &)> change;
    std::string source;
    std::string destination;
};

const std::vector<FwdCase> kFwdCases = {
    {"as it is", [](FwdInfo &) {}, "uni0", "gpon gem 3 q7"},
    {"user ports share a queue",
     [](FwdInfo &f) {
         f.dst.portMask = 0x05;
         f.dst.portQid[0] = f.dst.portQid[2] = 4;
     },
     "uni0", "uni0 uni2 q4 (gem 3)"},
    {"queues differ",
     [](FwdInfo &f) {
         f.dst.portMask = 0x181;
         f.dst.portQid[0] = 1;
         f.dst.portQid[8] = 7;
     },
     "uni0", "uni0 q1 gpon gem 3 host q7"},
    {"queues of GEM ports differ",
     [](FwdInfo &f) {
         f.dst.gemPortIdxMask = 0x80000038;
         f.dst.gemQid[4] = 7;
         f.dst.gemQid[5] = 2;
         f.dst.gemQid[31] = 2;
     },
     "uni0", "gpon gem 3,4 q7 gpon gem 5,31 q2"},
    {"all GEM ports",
     [](FwdInfo &f) {
         f.src.portMask = 0x1C0;
         f.src.gemPortIdxMask = 0xFFFFFFFF;
         f.dst.portMask = 0x01;
         f.dst.gemPortIdxMask = 0;
     },
     "uni6 gpon gem 0-31 host", "uni0 q0"},
    {"GPON port without GEM ports", [](FwdInfo &f) { f.dst.gemPortIdxMask = 0; }, "uni0", "gpon"},
    {"source GEM ports without the GPON port", [](FwdInfo &f) { f.src.gemPortIdxMask = 3; }, "uni0 (gem 0,1)",
     "gpon gem 3 q7"},
    {"ports that there are not",
     [](FwdInfo &f) {
         f.src.portMask = 0x200;
         f.dst.portMask = 0x80000001;
         f.dst.gemPortIdxMask = 0;
     },
     "port 9", "uni0 q0 port 31"},
    {"no destination",
     [](FwdInfo &f) {
         f.src.portMask = 0;
         f.dst.portMask = f.dst.gemPortIdxMask = 0;
     },
     "no port", "no port"},
    {"drop",
     [](FwdInfo &f) {
         f.fwdAction = e_FWD_ACTION_DROP;
         f.dst.portMask = f.dst.gemPortIdxMask = 0;
     },
     "uni0", "drop"},
    {"drop with a destination", [](FwdInfo &f) { f.fwdAction = e_FWD_ACTION_DROP; }, "uni0",
     "drop (gpon gem 3 q7)"},
    {"drop and override", [](FwdInfo &f) { f.fwdAction = 3; }, "uni0", "drop (gpon gem 3 q7) override"},
    {"learn", [](FwdInfo &f) { f.fwdAction = 6; }, "uni0", "gpon gem 3 q7 learn"},
    {"learn without override", [](FwdInfo &f) { f.fwdAction = 4; }, "uni0",
     "gpon gem 3 q7 learn no-override"},
    {"nothing", [](FwdInfo &f) { f.fwdAction = 0; }, "uni0", "gpon gem 3 q7 no-override"},
    {"bits without a name", [](FwdInfo &f) { f.fwdAction = 0x12; }, "uni0", "gpon gem 3 q7 flags 16"},
};

TEST(OrxemuForwarding, SourceAndDestination) {
    std::set<std::string> texts;
    for (const FwdCase &c : kFwdCases) {
        FwdInfo fwd = ToGemPort3();
        c.change(fwd);
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(&fwd);
        const Json decoded = DecodeFwdInfo(ByteView(bytes, sizeof fwd), kHostOrder);
        EXPECT_EQ(SourceText(decoded), c.source) << c.what;
        EXPECT_EQ(DestinationText(decoded), c.destination) << c.what;
        EXPECT_TRUE(texts.insert(SourceText(decoded) + "|" + DestinationText(decoded)).second) << c.what;
    }
}

TEST_F(OrxemuRules, WhatIsNotAsUsualStandsBehindTheDestination) {
    FlowHdl flow = TranslatingFlow(200, 1200);
    const std::string rule = "in uni0 vlan 200 → set vid 1200 → gpon gem 3 q7";
    EXPECT_EQ(RuleOf(flow), rule);
    FwdInfo fwd = ToGemPort3();
    fwd.flowPrio = 3;
    ASSERT_EQ(QIR_Set_FwdInfo(&flow, &fwd), e_RET_OK);
    EXPECT_EQ(RuleOf(flow), rule + " prio 3");
    static_cast<void>(PacTable(1));
    PacTblHdl pac = PacTable(2);
    ASSERT_EQ(QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 0, &pac), e_RET_OK);
    EXPECT_EQ(RuleOf(flow), rule + " prio 3 pac 1");
    ASSERT_EQ(QIR_Set_AsOverride(&flow, e_AS_OVERRIDE_ENABLE), e_RET_OK);
    EXPECT_EQ(RuleOf(flow), rule + " prio 3 pac 1 as-override");

    FlowHdl other = {};
    ASSERT_EQ(QIR_Alloc_FCB(2, &other), e_RET_OK);
    ASSERT_EQ(QIR_Set_PacInfo(&other, e_TBLSTATUS_ENABLE, 2, &pac), e_RET_OK);
    EXPECT_EQ(RuleOf(other), "→ nowhere pac 1 pbits-source 2 section 2");
}

// What is written of forwarding information that was not set as a whole; its initial values are no
// destination.
TEST_F(OrxemuRules, DestinationsThatWereAddedToNothing) {
    FlowHdl flow = NewFlow();
    EXPECT_EQ(RuleOf(flow), "→ nowhere");
    DstMask host = {};
    host.portMask = 0x100;
    ASSERT_EQ(QIR_Add_DstPortInfo(&flow, &host), e_RET_OK);
    EXPECT_EQ(RuleOf(flow), "→ host q0 learn no-override forwarding-not-set");
    DstMask more = {};
    more.portMask = 0x82;
    more.gemPortIdxMask = 0x1;
    ASSERT_EQ(QIR_Add_DstPortInfo(&flow, &more), e_RET_OK);
    EXPECT_EQ(RuleOf(flow), "→ uni1 queue unset host q0 (gem 9) learn no-override forwarding-not-set");
    ASSERT_EQ(QIR_Rem_DstPortInfo(&flow, &host), e_RET_OK);
    EXPECT_EQ(RuleOf(flow), "→ uni1 queue unset (gem 9) learn no-override forwarding-not-set");
    DstMask gem = {};
    gem.portMask = 0x82;
    gem.gemPortIdxMask = 0x200;
    ASSERT_EQ(QIR_Rem_DstPortInfo(&flow, &gem), e_RET_OK);
    EXPECT_EQ(RuleOf(flow), "→ nowhere");
}

// The hardware's copy of a flow may be told another forwarding than the library set.
TEST_F(OrxemuRules, ForwardingThatNobodySetIsToldAsFarAsItGoes) {
    const FlowHdl flow = NewFlow();
    struct Written {
        void (*write)(FwdInfo &fwd);
        std::string rule;
    };
    const Written cases[] = {
        {[](FwdInfo &fwd) { fwd.src.portMask = 1; },
         "in uni0 → no port learn no-override forwarding-not-set"},
        {[](FwdInfo &fwd) { fwd.flowPrio = 3; }, "→ no port learn no-override forwarding-not-set prio 3"},
        {[](FwdInfo &fwd) { fwd.fwdAction = 1; }, "→ drop forwarding-not-set"},
        {[](FwdInfo &fwd) { fwd.fwdAction = 2; }, "→ no port forwarding-not-set"},
        {[](FwdInfo &fwd) { fwd.dst.portMask = 0x80, fwd.dst.gemPortIdxMask = 0x18; },
         "→ gpon gem 3,4 queue unset learn no-override forwarding-not-set"},
    };
    for (const Written &written : cases) {
        qir::Fcb fcb = *qir::GetFCB(flow);
        written.write(fcb.fwdInfo);
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(&fcb);
        EXPECT_EQ(RuleText(DecodeBoth(Bytes(bytes, bytes + sizeof fcb))), written.rule);
    }
}

TEST_F(OrxemuRules, DamagedListsSaySo) {
    const FlowHdl flow = TranslatingFlow(200, 1200);
    qir::Fcb fcb = *qir::GetFCB(flow);
    fcb.filterBlk.vlan[0].hdr.reqList = 77;
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(&fcb);
    const std::string rule = RuleText(DecodeFcb(ByteView(bytes, sizeof fcb), kHostOrder));
    EXPECT_NE(rule.find("(damaged: "), std::string::npos) << rule;
    EXPECT_NE(rule.find("→ set vid 1200 → gpon gem 3 q7"), std::string::npos) << rule;
}

struct OddRequest {
    const char *block;
    const char *request;
    const char *text;
};

// What the library refuses and a record can carry all the same.
constexpr OddRequest kOddRequests[] = {
    {"filter", R"({"type":9,"cmpOp":"e_CMP_EQ","raw":"0102"})",
     "vlan1 filter type 9 cmpOp e_CMP_EQ raw 0102"},
    {"filter", R"({"type":"e_VLAN_FILT_VID","cmpOp":7,"val":200})",
     "vlan1 filter type e_VLAN_FILT_VID cmpOp 7 val 200"},
    {"filter", R"({"type":"e_VLAN_FILT_VID","cmpOp":"e_CMP_IN_RANGE","val":200,"val2":300})",
     "inner vlan 200-300"},
    {"filter", R"({"type":"e_VLAN_FILT_TPID","cmpOp":"e_CMP_IN_RANGE","val":33024,"val2":34984})",
     "inner vlan tpid 0x8100-0x88a8"},
    {"filter", R"({"type":"e_ETH_FILT_MCAST","cmpOp":"e_CMP_EQ","val":2})", "multicast 2"},
    {"filter", R"({"type":"e_ETH_FILT_MCAST","cmpOp":"e_CMP_NEQ","val":1})", "not multicast"},
    {"action", R"({"type":44,"raw":"0102"})", "→ vlan1 action type 44 raw 0102"},
    {"action", R"({"type":"e_VLAN_ACTION_COPY_VID_FROM_TAG","val":2})", "→ copy inner vid from tag 2"},
    {"action", R"({"type":"e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP","val":2})", "→ inner pbits from dscp 2"},
};

TEST(OrxemuOddRules, EverythingIsSaid) {
    for (const OddRequest &odd : kOddRequests) {
        Json fcb = Json::parse(R"({"section":1,"tables":[],"asOverride":"e_AS_OVERRIDE_DISABLE",
            "filter":{"headers":[]},"action":{"headers":[]},
            "fwdInfoSet":0,"forwarding":{"fwdAction":["e_FWD_ACTION_LRN_ENABLE"]}})");
        fcb[odd.block]["headers"].push_back(
            {{"header", "vlan1"}, {"requests", Json::array({Json::parse(odd.request)})}});
        EXPECT_EQ(RuleText(fcb), std::string(odd.text) + " → nowhere");
    }
}

} // namespace
