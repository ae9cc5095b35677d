// Every type of filter and action, in both byte orders.
#include "tests/journal/fcb_image.h"

namespace {

using namespace journal_test;
using namespace orxemu::journal;

constexpr std::uint32_t kEq = 0;
constexpr std::uint32_t kNeq = 1;
constexpr std::uint32_t kInRange = 2;
constexpr std::uint32_t kAction = 99;

#define MAC_MASK          R"({"addr":"00:11:22:33:44:55","mask":"ff:fe:fd:fc:fb:fa"})"
#define FILTER(type, val) R"({"type":")" type R"(","cmpOp":"e_CMP_EQ","val":)" val "}"
#define ACTION(type, val) R"({"type":")" type R"(","val":)" val "}"

// clang-format off
const Req kReqs[] = {
    {&kEthFilter, 0, kEq, Value::U8, 1, 0, FILTER("e_ETH_FILT_MCAST", "1")},
    {&kEthFilter, 1, kEq, Value::U8, 1, 0, FILTER("e_ETH_FILT_BCAST", "1")},
    {&kEthFilter, 2, kEq, Value::MacMask, 0, 0, FILTER("e_ETH_FILT_DA", MAC_MASK)},
    {&kEthFilter, 3, kEq, Value::MacMask, 0, 0, FILTER("e_ETH_FILT_SA", MAC_MASK)},
    {&kEthFilter, 4, kNeq, Value::U16, 0x88CC, 0, R"({"type":"e_ETH_FILT_ETHTYPE","cmpOp":"e_CMP_NEQ","val":35020})"},
    {&kEthFilter, 5, kEq, Value::None, 0, 0, nullptr},
    {&kVlan0Filter, 0, kEq, Value::U32, 0x8100ABCD, 7, FILTER("e_VLAN_FILT_TAG", "2164304845")},
    {&kVlan0Filter, 1, kEq, Value::U16, 0x9100, 7, FILTER("e_VLAN_FILT_TPID", "37120")},
    {&kVlan0Filter, 2, kEq, Value::U16, 0xE0C8, 7, FILTER("e_VLAN_FILT_TCI", "57544")},
    {&kVlan0Filter, 3, kEq, Value::U8, 7, 7, FILTER("e_VLAN_FILT_PBITS", "7")},
    {&kVlan0Filter, 4, kEq, Value::U8, 1, 7, FILTER("e_VLAN_FILT_DEI", "1")},
    {&kVlan0Filter, 5, kEq, Value::U16, 200, 7, FILTER("e_VLAN_FILT_VID", "200")},
    {&kVlan1Filter, 5, kInRange, Value::U16, 300, 0x01020304, R"({"type":"e_VLAN_FILT_VID","cmpOp":"e_CMP_IN_RANGE","val":300,"val2":16909060})"},
    {&kVlan1Filter, 6, kEq, Value::None, 0, 7, nullptr},
    {&kPppoeFilter, 0, kEq, Value::U8, 1, 0, FILTER("e_PPPOE_FILT_VER", "1")},
    {&kPppoeFilter, 1, kEq, Value::U8, 1, 0, FILTER("e_PPPOE_FILT_TYPE", "1")},
    {&kPppoeFilter, 2, kEq, Value::U8, 254, 0, FILTER("e_PPPOE_FILT_CODE", "254")},
    {&kPppoeFilter, 3, kEq, Value::U16, 0x0102, 0, FILTER("e_PPPOE_FILT_SESID", "258")},
    {&kPppoeFilter, 4, kEq, Value::U16, 0xC021, 0, FILTER("e_PPPOE_FILT_PROTO", "49185")},
    {&kPppoeFilter, 5, kEq, Value::None, 0, 0, nullptr},
    {&kIpv4Filter, 0, kEq, Value::U8, 4, 9, FILTER("e_IPV4_FILT_VER", "4")},
    {&kIpv4Filter, 1, kEq, Value::U8, 5, 9, FILTER("e_IPV4_FILT_IHL", "5")},
    {&kIpv4Filter, 2, kEq, Value::Ip, 0x0A000001, 8, FILTER("e_IPV4_FILT_SA", R"({"addr":"10.0.0.1","prefixLen":8})")},
    {&kIpv4Filter, 3, kEq, Value::Ip, 0xFFFE0102, 32, FILTER("e_IPV4_FILT_DA", R"({"addr":"255.254.1.2","prefixLen":32})")},
    {&kIpv4Filter, 4, kEq, Value::U8, 1, 9, FILTER("e_IPV4_FILT_MCAST", "1")},
    {&kIpv4Filter, 5, kEq, Value::U8, 0xB8, 9, FILTER("e_IPV4_FILT_TOS", "184")},
    {&kIpv4Filter, 6, kInRange, Value::U8, 10, 20, R"({"type":"e_IPV4_FILT_DSCP","cmpOp":"e_CMP_IN_RANGE","val":10,"val2":20})"},
    {&kIpv4Filter, 6, kEq, Value::U8, 10, 20, FILTER("e_IPV4_FILT_DSCP", "10")},
    {&kIpv4Filter, 7, kEq, Value::U8, 6, 9, FILTER("e_IPV4_FILT_DSCP_1P", "6")},
    {&kIpv4Filter, 8, kEq, Value::U8, 1, 9, FILTER("e_IPV4_FILT_TTL_GT1", "1")},
    {&kIpv4Filter, 9, kEq, Value::U16, 0x0106, 9, FILTER("e_IPV4_FILT_PROTO", "262")},
    {&kIpv4Filter, 10, kEq, Value::U16, 1, 9, FILTER("e_IPV4_FILT_FRAG", "1")},
    {&kIpv4Filter, 11, kEq, Value::None, 0, 9, nullptr},
    {&kTcpFilter, 0, kEq, Value::U16, 0x1F90, 0, FILTER("e_TCP_FILT_SPORT", "8080")},
    {&kTcpFilter, 1, kEq, Value::U16, 80, 0, FILTER("e_TCP_FILT_DPORT", "80")},
    {&kTcpFilter, 2, kEq, Value::U8, 1, 0, FILTER("e_TCP_FILT_SYN", "1")},
    {&kTcpFilter, 3, kEq, Value::U8, 1, 0, FILTER("e_TCP_FILT_ACK", "1")},
    {&kTcpFilter, 4, kEq, Value::U8, 0, 0, FILTER("e_TCP_FILT_FIN", "0")},
    {&kTcpFilter, 5, kEq, Value::U8, 1, 0, FILTER("e_TCP_FILT_RST", "1")},
    {&kTcpFilter, 6, 9, Value::U8, 63, 0, R"({"type":"e_TCP_FILT_CTRL","cmpOp":9,"val":63})"},
    {&kTcpFilter, 7, kEq, Value::None, 0, 0, nullptr},
    {&kUdpFilter, 0, kEq, Value::U16, 67, 0, FILTER("e_UDP_FILT_SPORT", "67")},
    {&kUdpFilter, 1, kEq, Value::U16, 0x4400, 0, FILTER("e_UDP_FILT_DPORT", "17408")},
    {&kUdpFilter, 2, kInRange, Value::None, 0, 0, nullptr},
    {&kEthAction, 0, kAction, Value::Mac, 0, 0, ACTION("e_ETH_ACTION_DA", "\"00:11:22:33:44:55\"")},
    {&kEthAction, 1, kAction, Value::Mac, 0, 0, ACTION("e_ETH_ACTION_SA", "\"00:11:22:33:44:55\"")},
    {&kEthAction, 2, kAction, Value::U16, 0x86DD, 0, ACTION("e_ETH_ACTION_ETHTYPE", "34525")},
    {&kEthAction, 3, kAction, Value::None, 0, 0, R"({"type":"e_ETH_ACTION_PUSH_TAG"})"},
    {&kEthAction, 4, kAction, Value::None, 0, 0, R"({"type":"e_ETH_ACTION_POP_TAG"})"},
    {&kEthAction, 5, kAction, Value::None, 0, 0, nullptr},
    {&kVlan0Action, 0, kAction, Value::U32, 0x88A80064, 0, ACTION("e_VLAN_ACTION_SET_TAG", "2292711524")},
    {&kVlan0Action, 1, kAction, Value::U16, 0x88A8, 0, ACTION("e_VLAN_ACTION_SET_TPID", "34984")},
    {&kVlan0Action, 2, kAction, Value::U16, 0x6064, 0, ACTION("e_VLAN_ACTION_SET_TCI", "24676")},
    {&kVlan0Action, 3, kAction, Value::U8, 5, 0, ACTION("e_VLAN_ACTION_SET_PBITS", "5")},
    {&kVlan0Action, 4, kAction, Value::U8, 1, 0, ACTION("e_VLAN_ACTION_SET_DEI", "1")},
    {&kVlan0Action, 5, kAction, Value::U16, 1200, 0, ACTION("e_VLAN_ACTION_SET_VID", "1200")},
    {&kVlan0Action, 6, kAction, Value::U32, 1, 0, ACTION("e_VLAN_ACTION_COPY_TAG_FROM_TAG", "1")},
    {&kVlan0Action, 7, kAction, Value::U32, 1, 0, ACTION("e_VLAN_ACTION_COPY_TPID_FROM_TAG", "1")},
    {&kVlan0Action, 8, kAction, Value::U32, 1, 0, ACTION("e_VLAN_ACTION_COPY_TCI_FROM_TAG", "1")},
    {&kVlan1Action, 9, kAction, Value::U32, 0x01000002, 0, ACTION("e_VLAN_ACTION_COPY_PBITS_FROM_TAG", "16777218")},
    {&kVlan1Action, 10, kAction, Value::U32, 2, 0, ACTION("e_VLAN_ACTION_COPY_VID_FROM_TAG", "2")},
    {&kVlan1Action, 11, kAction, Value::U32, 2, 0, ACTION("e_VLAN_ACTION_COPY_DEI_FROM_TAG", "2")},
    {&kVlan1Action, 12, kAction, Value::U32, 0x01020304, 0, ACTION("e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP", "16909060")},
    {&kVlan1Action, 13, kAction, Value::None, 0, 0, R"({"type":"e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE"})"},
    {&kVlan1Action, 14, kAction, Value::None, 0, 0, nullptr},
    {&kPppoeAction, 0, kAction, Value::U32, 0x01020304, 0, R"({"type":0,"val":16909060})"},
    {&kPppoeAction, 1, kAction, Value::None, 0, 0, nullptr},
    {&kIpv4Action, 0, kAction, Value::Ip, 0xC0A80101, 0x01020304, ACTION("e_IPV4_ACTION_DA", R"({"addr":"192.168.1.1","prefixLen":16909060})")},
    {&kIpv4Action, 1, kAction, Value::Ip, 0x01020304, 0, ACTION("e_IPV4_ACTION_SA", R"({"addr":"1.2.3.4","prefixLen":0})")},
    {&kIpv4Action, 2, kAction, Value::U8, 255, 0, ACTION("e_IPV4_ACTION_TOS", "255")},
    {&kIpv4Action, 3, kAction, Value::U8, 46, 0, ACTION("e_IPV4_ACTION_DSCP", "46")},
    {&kIpv4Action, 4, kAction, Value::None, 0, 0, nullptr},
    {&kTcpAction, 0, kAction, Value::U16, 0x0102, 0, ACTION("e_TCP_ACTION_SPORT", "258")},
    {&kTcpAction, 1, kAction, Value::U16, 443, 0, ACTION("e_TCP_ACTION_DPORT", "443")},
    {&kTcpAction, 2, kAction, Value::None, 0, 0, nullptr},
    {&kUdpAction, 0, kAction, Value::U16, 0x0102, 0, ACTION("e_UDP_ACTION_SPORT", "258")},
    {&kUdpAction, 1, kAction, Value::U16, 53, 0, ACTION("e_UDP_ACTION_DPORT", "53")},
    {&kUdpAction, 2, kAction, Value::None, 0, 0, nullptr},
};
// clang-format on

FcbImage Make(const Req &req, ByteOrder order) {
    FcbImage fcb(order);
    fcb.AddHeader(*req.header);
    fcb.AddReq(req);
    return fcb;
}

// The requests of the header, null when it is not listed.
Json RequestsOf(const Json &fcb, const HeaderPlace &place) {
    for (const Json &header : fcb[place.block]["headers"]) {
        if (header["header"] == place.name) {
            return header["requests"];
        }
    }
    return nullptr;
}

std::string Context(const Req &req, ByteOrder order) {
    return std::string(req.header->block) + " " + req.header->name + " type " + std::to_string(req.type) +
           ", " + NameOf(order);
}

TEST(JournalFcbRequests, EveryTypeDecodesFromBothOrders) {
    for (const Req &req : kReqs) {
        for (const ByteOrder order : kBothOrders) {
            if (req.json != nullptr) {
                const Json requests = RequestsOf(DecodeFcb(Make(req, order).bytes(), order), *req.header);
                EXPECT_EQ("[" + std::string(req.json) + "]", requests.dump()) << Context(req, order);
            }
        }
    }
}

// Bytes of the value area, which is as large as the kind's largest value.
std::size_t ValueBytes(const HeaderPlace &header) {
    if (&header == &kEthFilter) {
        return 24;
    }
    if (&header == &kEthAction) {
        return 12;
    }
    return &header == &kIpv4Filter || &header == &kIpv4Action ? 8 : 4;
}

TEST(JournalFcbRequests, AnUnknownTypeIsItsNumberAndItsBytes) {
    unsigned unknown = 0;
    for (const Req &req : kReqs) {
        for (const ByteOrder order : kBothOrders) {
            if (req.json != nullptr) {
                continue;
            }
            ++unknown;
            const FcbImage fcb = Make(req, order);
            const Json request = RequestsOf(DecodeFcb(fcb.bytes(), order), *req.header)[0];
            const unsigned node = req.header->bit == 7 ? 4 : 2;
            const auto at = fcb.bytes().begin() +
                            static_cast<std::ptrdiff_t>(FcbImage::NodeAt(node) + 12 + req.header->val);
            const Bytes value(at, at + static_cast<std::ptrdiff_t>(ValueBytes(*req.header)));
            EXPECT_EQ(Json(req.type), request["type"]) << Context(req, order);
            EXPECT_EQ(Json(ToHex(value)), request["raw"]) << Context(req, order);
            EXPECT_FALSE(request.contains("val")) << Context(req, order);
        }
    }
    EXPECT_EQ(24u, unknown); // one of each of the twelve kinds, twice
}

TEST(JournalFcbRequests, AConvertedFcbIsTheOneOfTheOtherOrder) {
    for (const Req &req : kReqs) {
        for (const ByteOrder order : kBothOrders) {
            Bytes fcb = Make(req, order).bytes();
            ConvertFcb(fcb, order);
            EXPECT_EQ(Make(req, Other(order)).bytes(), fcb) << Context(req, order);
            ConvertFcb(fcb, Other(order));
            EXPECT_EQ(Make(req, order).bytes(), fcb) << Context(req, order) << " and back";
        }
    }
}

TEST(JournalFcbRequests, RequestsKeepTheOrderOfTheirList) {
    for (const ByteOrder order : kBothOrders) {
        FcbImage fcb(order);
        fcb.AddHeader(kEthFilter);
        fcb.AddHeader(kVlan0Filter);
        std::string expected;
        for (const std::uint32_t vid : {5u, 3u, 4u, 1u}) {
            const Req req{&kVlan0Filter, 5, kEq, Value::U16, vid, 0, nullptr};
            fcb.AddReq(req);
            expected += std::string(expected.empty() ? "" : ",") +
                        R"({"type":"e_VLAN_FILT_VID","cmpOp":"e_CMP_EQ","val":)" + std::to_string(vid) + "}";
        }
        EXPECT_EQ("[" + expected + "]", RequestsOf(DecodeFcb(fcb.bytes(), order), kVlan0Filter).dump());
    }
}

} // namespace
