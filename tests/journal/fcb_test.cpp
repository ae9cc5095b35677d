// An FCB's own fields, its headers, and damaged request lists.
#include "qirapi/private/fcb.h"
#include "qirapi/private/req_list.h"
#include "tests/journal/fcb_image.h"
#include "tests/support/library.h"

#include <random>

namespace {

using namespace journal_test;
using namespace orxemu::journal;

#define HEADERS_BEFORE                                                                                       \
    R"({"status":"e_STATUS_CFG","flowHdl":258,"hwFlowIdx":"unset","section":1,"tables":[],)"                 \
    R"("asOverride":"e_AS_OVERRIDE_DISABLE","epTblHdl":"unset","pbitsSource":"unset","pacTblHdl":"unset",)"

TEST(JournalFcb, AFlowAsItIsAllocatedHasNothingSet) {
    const Json expected = Json::parse(HEADERS_BEFORE R"("filter":{"totalTags":0,"headers":[]},
          "action":{"totalTags":0,"pushedTags":0,"poppedTags":0,"headers":[]},"fwdInfoSet":0,
          "forwarding":{"flowPrio":0,"src":{"gemPortIdxMask":"unset","portMask":0},
           "dst":{"gemQid":"unset","gemPortIdxMask":0,
            "portQid":["unset","unset","unset","unset","unset","unset","unset","unset",0],"portMask":0},
           "fwdAction":["e_FWD_ACTION_LRN_ENABLE"]}})");
    for (const ByteOrder order : kBothOrders) {
        EXPECT_EQ(expected.dump(1), DecodeFcb(FcbImage(order).bytes(), order).dump(1));
    }
}

FcbImage MakeFull(ByteOrder order) {
    FcbImage fcb(order);
    fcb.Put32(0, 7).Put32(8, 0x01020304).Put32(12, 2).Put16(16, 7).Put32(20, 1);
    fcb.Put32(28, 0x99000005).Put32(32, 2).Put32(36, 0x0102030E).Put32(268, 1);
    fcb.Put32(272, 5).Put32(276, 0x10).Put32(280, 0x80).Fill(284, 32, 3).Put32(316, 0x01020304);
    fcb.Fill(320, 9, 6).Put32(332, 0x101).Put32(336, 2);
    for (const HeaderPlace *header :
         {&kEthFilter, &kVlan0Filter, &kVlan1Filter, &kPppoeFilter, &kIpv4Filter, &kEthAction, &kVlan0Action,
          &kVlan1Action, &kPppoeAction, &kIpv4Action}) {
        fcb.AddHeader(*header);
    }
    for (const unsigned bit : {3u, 4u, 6u}) {
        fcb.PutBit(40, bit);
        fcb.PutBit(216, bit);
    }
    fcb.Put8(214, 4).PutBytes(264, {3, 2, 1});
    fcb.AddReq({&kUdpFilter, 1, 0, Value::U16, 53, 0, nullptr});
    fcb.AddReq({&kTcpAction, 0, 99, Value::U16, 80, 0, nullptr});
    return fcb;
}

TEST(JournalFcb, EveryFieldAndEveryHeaderAppears) {
    const Json expected = Json::parse(R"({"status":7,"flowHdl":258,"hwFlowIdx":16909060,"section":2,
      "tables":["ep","pac",4],"asOverride":"e_AS_OVERRIDE_ENABLE","epTblHdl":5,"pbitsSource":2,"pacTblHdl":14,
      "filter":{"totalTags":4,"headers":[{"header":"eth","requests":[]},{"header":"vlan0","requests":[]},
       {"header":"vlan1","requests":[]},{"header":"vlan2","requests":[]},{"header":"vlan3","requests":[]},
       {"header":"pppoe","requests":[]},{"header":"mpls","requests":[]},{"header":"ipv4","requests":[]},
       {"header":"udp","requests":[{"type":"e_UDP_FILT_DPORT","cmpOp":"e_CMP_EQ","val":53}]}]},
      "action":{"totalTags":3,"pushedTags":2,"poppedTags":1,"headers":[{"header":"eth","requests":[]},
       {"header":"vlan0","requests":[]},{"header":"vlan1","requests":[]},{"header":"vlan2","requests":[]},
       {"header":"vlan3","requests":[]},{"header":"pppoe","requests":[]},{"header":"mpls","requests":[]},
       {"header":"ipv4","requests":[]},
       {"header":"tcp","requests":[{"type":"e_TCP_ACTION_SPORT","val":80}]}]},
      "fwdInfoSet":1,"forwarding":{"flowPrio":5,"src":{"gemPortIdxMask":16,"portMask":128},
       "dst":{"gemQid":[3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3,3],
        "gemPortIdxMask":16909060,"portQid":[6,6,6,6,6,6,6,6,6],"portMask":257},
       "fwdAction":["e_FWD_ACTION_ARL_OVRD"]}})");
    for (const ByteOrder order : kBothOrders) {
        Bytes fcb = MakeFull(order).bytes();
        EXPECT_EQ(expected.dump(1), DecodeFcb(fcb, order).dump(1)) << NameOf(order);
        ConvertFcb(fcb, order);
        EXPECT_EQ(MakeFull(Other(order)).bytes(), fcb) << NameOf(order);
    }
}

// A flow with one filter list: head at node 1, requests at nodes 2 and 3.
FcbImage MakeList(ByteOrder order) {
    FcbImage fcb(order);
    fcb.AddHeader(kEthFilter);
    fcb.AddReq({&kEthFilter, 0, 0, Value::U8, 1, 0, nullptr});
    fcb.AddReq({&kEthFilter, 4, 0, Value::U16, 0x0800, 0, nullptr});
    return fcb;
}

struct Damage {
    void (*put)(FcbImage &fcb);
    const char *requests;
};

#define MCAST   R"({"type":"e_ETH_FILT_MCAST","cmpOp":"e_CMP_EQ","val":1})"
#define ETHTYPE R"({"type":"e_ETH_FILT_ETHTYPE","cmpOp":"e_CMP_EQ","val":2048})"

constexpr std::size_t kList = 44; // the Ethernet filter's reqList

const Damage kDamages[] = {
    {[](FcbImage &) {}, "[" MCAST "," ETHTYPE "]"},
    {[](FcbImage &fcb) { fcb.Put16(kList, 32); }, R"([{"damaged":"node 32 lies outside the pool"}])"},
    {[](FcbImage &fcb) { fcb.Put16(kList, 0xA5A5); }, R"([{"damaged":"node 42405 lies outside the pool"}])"},
    {[](FcbImage &fcb) { fcb.Put16(kList, 0); }, R"([{"damaged":"the list is the free list"}])"},
    {[](FcbImage &fcb) { fcb.Put16(FcbImage::NodeAt(1) + 2, 99); },
     R"([{"damaged":"node 99 lies outside the pool"}])"},
    {[](FcbImage &fcb) { fcb.Put16(FcbImage::NodeAt(3) + 2, 65535); },
     "[" MCAST "," ETHTYPE R"(,{"damaged":"node 65535 lies outside the pool"}])"},
    {[](FcbImage &fcb) { fcb.Put16(FcbImage::NodeAt(3) + 2, 2); },
     "[" MCAST "," ETHTYPE R"(,{"damaged":"node 2 is met again"}])"},
    {[](FcbImage &fcb) { fcb.Put16(FcbImage::NodeAt(2) + 2, 2); },
     "[" MCAST R"(,{"damaged":"node 2 is met again"}])"},
    {[](FcbImage &fcb) { fcb.Put16(FcbImage::NodeAt(2) + 2, 0); },
     "[" MCAST R"(,{"damaged":"the list is the free list"}])"},
    {[](FcbImage &fcb) { fcb.Put16(FcbImage::NodeAt(3), 2); },
     "[" MCAST R"(,{"damaged":"node 3 carries another node's index"}])"},
    {[](FcbImage &fcb) { fcb.Put16(FcbImage::NodeAt(1), 7); },
     R"([{"damaged":"node 1 carries another node's index"}])"},
};

TEST(JournalFcb, ADamagedListEndsWhereTheDamageIs) {
    for (const Damage &damage : kDamages) {
        for (const ByteOrder order : kBothOrders) {
            FcbImage fcb = MakeList(order);
            damage.put(fcb);
            const Json decoded = DecodeFcb(fcb.bytes(), order);
            EXPECT_EQ(damage.requests, decoded["filter"]["headers"][0]["requests"].dump()) << NameOf(order);
            Bytes converted = fcb.bytes();
            ConvertFcb(converted, order);
            EXPECT_EQ(decoded.dump(), DecodeFcb(converted, Other(order)).dump()) << damage.requests;
            ConvertFcb(converted, Other(order));
            EXPECT_EQ(fcb.bytes(), converted) << damage.requests;
        }
    }
}

TEST(JournalFcb, TwoListsThatShareNodesAreDamaged) {
    for (const ByteOrder order : kBothOrders) {
        FcbImage fcb = MakeList(order);
        fcb.AddHeader(kEthAction);
        fcb.Put16(220, 1); // the action list's head is the filter list's
        const Json decoded = DecodeFcb(fcb.bytes(), order);
        EXPECT_EQ("[" MCAST "," ETHTYPE "]", decoded["filter"]["headers"][0]["requests"].dump());
        EXPECT_EQ(R"([{"damaged":"node 1 is met again"}])",
                  decoded["action"]["headers"][0]["requests"].dump());
    }
}

TEST(JournalFcb, AnEmptyTcpListIsNotShownAndADamagedOneIs) {
    FcbImage fcb(ByteOrder::Big);
    fcb.AddHeader(kIpv4Filter);
    fcb.Put16(kTcpFilter.entry + 2, 40);
    EXPECT_EQ(R"([{"header":"ipv4","requests":[]},)"
              R"({"header":"tcp","requests":[{"damaged":"node 40 lies outside the pool"}]}])",
              DecodeFcb(fcb.bytes(), ByteOrder::Big)["filter"]["headers"].dump());
}

TEST(JournalFcb, AnyBytesDecodeAndConvertThereAndBack) {
    std::mt19937 random(1);
    for (unsigned round = 0; round < 1000; ++round) {
        const ByteOrder order = kBothOrders[round % 2];
        Bytes fcb = MakeFull(order).bytes();
        // Small numbers more often: they are indexes of the pool.
        for (unsigned change = 0; change < 1 + round % 60; ++change) {
            const auto value = random() % 3 == 0 ? random() : random() % 34;
            fcb[random() % fcb.size()] = static_cast<std::uint8_t>(value);
        }
        Bytes converted = fcb;
        ConvertFcb(converted, order);
        ASSERT_EQ(DecodeFcb(fcb, order).dump(), DecodeFcb(converted, Other(order)).dump())
            << "round " << round;
        ConvertFcb(converted, Other(order));
        ASSERT_EQ(fcb, converted) << "round " << round;
    }
}

// ---- FCBs of the library itself

class JournalFcbOfLibrary : public test::LibraryTest {
  protected:
    // The FCB that the driver was sent last.
    static Bytes LastFcb() {
        const OrxEmuRequest *const request = orxemu_request(orxemu_numRequests() - 1);
        EXPECT_EQ(sizeof request->fcb, request->fcbSize);
        return {request->fcb, request->fcb + sizeof request->fcb};
    }
};

TEST_F(JournalFcbOfLibrary, AFlowSaysWhatItWasToldInBothOrders) {
    FlowHdl flow = {};
    ASSERT_EQ(0u, QIR_Alloc_FCB(2, &flow));
    for (const std::uint32_t hdr : {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_IPV4}) {
        const FlowHdr filterHdr{e_BLKTYPE_FILTER, hdr};
        const FlowHdr actionHdr{e_BLKTYPE_ACTION, hdr};
        ASSERT_EQ(0u, QIR_Alloc_Hdr(&flow, &filterHdr));
        ASSERT_EQ(0u, QIR_Alloc_Hdr(&flow, &actionHdr));
    }
    EthFilter eth = {};
    eth.type = e_ETH_FILT_ETHTYPE;
    eth.val.ethType = 0x0800;
    ASSERT_EQ(0u, QIR_Config_EthFilter(&flow, &eth));
    VlanFilter vlan = {};
    vlan.type = e_VLAN_FILT_VID;
    vlan.val.vid = 200;
    ASSERT_EQ(0u, QIR_Config_VlanFilter(&flow, &vlan));
    Ipv4Filter range = {};
    range.type = e_IPV4_FILT_DSCP;
    range.cmpOp = e_CMP_IN_RANGE;
    range.val.dscp = 10;
    range.val2.dscp = 20;
    ASSERT_EQ(0u, QIR_Config_Ipv4Filter(&flow, &range));
    VlanAction setVid = {};
    setVid.type = e_VLAN_ACTION_SET_VID;
    setVid.val.vid = 1200;
    ASSERT_EQ(0u, QIR_Config_VlanAction(&flow, &setVid));
    FwdInfo fwd = {};
    fwd.flowPrio = 3;
    fwd.src.portMask = 1;
    fwd.dst.portMask = 0x80;
    fwd.dst.gemPortIdxMask = 8;
    fwd.dst.gemQid[3] = 7;
    fwd.fwdAction = e_FWD_ACTION_ARL_OVRD;
    ASSERT_EQ(0u, QIR_Set_FwdInfo(&flow, &fwd));
    ASSERT_EQ(0u, QIR_Activate_FCB(&flow));

    const Json expected = Json::parse(R"({"status":"e_STATUS_CFG","flowHdl":0,"hwFlowIdx":"unset","section":2,
      "tables":[],"asOverride":"e_AS_OVERRIDE_DISABLE","epTblHdl":"unset","pbitsSource":"unset",
      "pacTblHdl":"unset","filter":{"totalTags":1,"headers":[
       {"header":"eth","requests":[{"type":"e_ETH_FILT_ETHTYPE","cmpOp":"e_CMP_EQ","val":2048}]},
       {"header":"vlan0","requests":[{"type":"e_VLAN_FILT_VID","cmpOp":"e_CMP_EQ","val":200}]},
       {"header":"ipv4","requests":[{"type":"e_IPV4_FILT_DSCP","cmpOp":"e_CMP_IN_RANGE","val":10,"val2":20}]}]},
      "action":{"totalTags":1,"pushedTags":0,"poppedTags":0,"headers":[{"header":"eth","requests":[]},
       {"header":"vlan0","requests":[{"type":"e_VLAN_ACTION_SET_VID","val":1200}]},
       {"header":"ipv4","requests":[]}]},
      "fwdInfoSet":1,"forwarding":{"flowPrio":3,"src":{"gemPortIdxMask":0,"portMask":1},
       "dst":{"gemQid":[0,0,0,7,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0],
        "gemPortIdxMask":8,"portQid":[0,0,0,0,0,0,0,0,0],"portMask":128},
       "fwdAction":["e_FWD_ACTION_ARL_OVRD"]}})");
    Bytes fcb = LastFcb();
    EXPECT_EQ(expected.dump(1), DecodeFcb(fcb, kHostOrder).dump(1));
    ConvertFcb(fcb, kHostOrder);
    EXPECT_EQ(expected.dump(1), DecodeFcb(fcb, Other(kHostOrder)).dump(1));
}

TEST_F(JournalFcbOfLibrary, AssociatedTablesAndTheIndexOfAnEarlierActivationAreSet) {
    PacTblHdl pac = {};
    const PacTblCfg cfg = {};
    ASSERT_EQ(0u, QIR_Alloc_PacTable(&pac));
    ASSERT_EQ(0u, QIR_Set_PacTableCfg(&pac, &cfg));
    ASSERT_EQ(0u, QIR_Activate_PacTable(&pac));
    FlowHdl flow = {};
    ASSERT_EQ(0u, QIR_Alloc_FCB(1, &flow));
    FwdInfo fwd = {};
    fwd.src.portMask = 1;
    fwd.dst.portMask = 2;
    fwd.fwdAction = e_FWD_ACTION_DROP;
    ASSERT_EQ(0u, QIR_Set_FwdInfo(&flow, &fwd));
    ASSERT_EQ(0u, QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 1, &pac));
    ASSERT_EQ(0u, QIR_Activate_FCB(&flow));
    ASSERT_EQ(0u, QIR_Deactivate_FCB(&flow));
    const Json decoded = DecodeFcb(LastFcb(), kHostOrder);
    EXPECT_EQ(R"(["pac"])", decoded["tables"].dump());
    EXPECT_EQ("1", decoded["pbitsSource"].dump());
    EXPECT_EQ("0", decoded["pacTblHdl"].dump());
    EXPECT_EQ("0", decoded["hwFlowIdx"].dump());
    EXPECT_EQ(R"("e_STATUS_ACTIVE")", decoded["status"].dump());
}

// The third VLAN tag takes the place of the IPv4 list, whose index is then the free list's.
TEST_F(JournalFcbOfLibrary, ATagThatLiesOnTheIpv4EntryDamagesItsList) {
    FlowHdl flow = {};
    ASSERT_EQ(0u, QIR_Alloc_FCB(1, &flow));
    for (const std::uint32_t hdr : {e_FLOWHDR_ETH, e_FLOWHDR_IPV4, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1,
                                    e_FLOWHDR_VLAN2, e_FLOWHDR_VLAN3}) {
        const FlowHdr filterHdr{e_BLKTYPE_FILTER, hdr};
        ASSERT_EQ(0u, QIR_Alloc_Hdr(&flow, &filterHdr));
    }
    const auto *const bytes = reinterpret_cast<const std::uint8_t *>(&qirCtxt_gp->fcbPool[0]);
    const Bytes fcb(bytes, bytes + kFcbBytes);
    EXPECT_EQ(R"([{"header":"eth","requests":[]},{"header":"vlan0","requests":[]},)"
              R"({"header":"vlan1","requests":[]},{"header":"vlan2","requests":[]},)"
              R"({"header":"vlan3","requests":[]},)"
              R"({"header":"ipv4","requests":[{"damaged":"the list is the free list"}]}])",
              DecodeFcb(fcb, kHostOrder)["filter"]["headers"].dump());
    Bytes converted = fcb;
    ConvertFcb(converted, kHostOrder);
    EXPECT_EQ(DecodeFcb(fcb, kHostOrder).dump(), DecodeFcb(converted, Other(kHostOrder)).dump());
}

// Nobody has set forwarding information; a destination is there all the same, and the driver gets it.
TEST_F(JournalFcbOfLibrary, ADestinationOfForwardingThatIsNotSetIsThere) {
    FlowHdl flow = {};
    ASSERT_EQ(0u, QIR_Alloc_FCB(1, &flow));
    const FlowHdr filterHdr{e_BLKTYPE_FILTER, e_FLOWHDR_ETH};
    ASSERT_EQ(0u, QIR_Alloc_Hdr(&flow, &filterHdr));
    DstMask dst = {};
    dst.portMask = 0x182; // user port 1, the GPON port, which is never added, and the host
    dst.gemPortIdxMask = 0x4;
    ASSERT_EQ(0u, QIR_Add_DstPortInfo(&flow, &dst));
    ASSERT_EQ(0u, QIR_Activate_FCB(&flow));
    const Json expected = Json::parse(R"({"flowPrio":0,"src":{"gemPortIdxMask":"unset","portMask":0},
       "dst":{"gemQid":"unset","gemPortIdxMask":512,"portQid":"unset","portMask":258},
       "fwdAction":["e_FWD_ACTION_LRN_ENABLE"]})");
    Bytes fcb = LastFcb();
    EXPECT_EQ("0", DecodeFcb(fcb, kHostOrder)["fwdInfoSet"].dump());
    EXPECT_EQ(expected.dump(1), DecodeFcb(fcb, kHostOrder)["forwarding"].dump(1));
    ConvertFcb(fcb, kHostOrder);
    EXPECT_EQ(expected.dump(1), DecodeFcb(fcb, Other(kHostOrder))["forwarding"].dump(1));
}

// The fill pattern is a value like any other once forwarding information has been set as a whole.
TEST(JournalFcb, WhatIsSetHasNoFillPattern) {
    for (const ByteOrder order : kBothOrders) {
        FcbImage fcb = MakeFull(order);
        fcb.Fill(272, 68, 0xA5);
        const Json decoded = DecodeFcb(fcb.bytes(), order)["forwarding"];
        EXPECT_EQ("2779096485", decoded["src"]["gemPortIdxMask"].dump());
        EXPECT_EQ("[165,165,165,165,165,165,165,165,165]", decoded["dst"]["portQid"].dump());
    }
}

// The pool runs out while IPv4 is allocated: the lists of TCP and UDP, or of UDP alone, are never begun.
TEST_F(JournalFcbOfLibrary, AListThatGotNoNodeIsNoList) {
    for (const std::uint32_t blk : {e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}) {
        for (const unsigned nodesLeft : {1u, 2u}) {
            FlowHdl flow = {};
            ASSERT_EQ(0u, QIR_Alloc_FCB(1, &flow));
            const FlowHdr eth{blk, e_FLOWHDR_ETH};
            ASSERT_EQ(0u, QIR_Alloc_Hdr(&flow, &eth));
            qir::Fcb *const shadow = qir::GetFCB(flow);
            while (shadow->freeReqCount > nodesLeft) {
                qir::ReqNode *node = nullptr;
                ASSERT_EQ(0u, qir::Alloc_ReqNode(shadow, &node));
            }
            const FlowHdr ipv4{blk, e_FLOWHDR_IPV4};
            testing::internal::CaptureStdout();
            EXPECT_EQ(12u, QIR_Alloc_Hdr(&flow, &ipv4));
            testing::internal::GetCapturedStdout();

            const auto *const bytes = reinterpret_cast<const std::uint8_t *>(shadow);
            Bytes fcb(bytes, bytes + kFcbBytes);
            const char *const block = blk == e_BLKTYPE_FILTER ? "filter" : "action";
            const char *const expected =
                R"([{"header":"eth","requests":[]},{"header":"ipv4","requests":[]}])";
            EXPECT_EQ(expected, DecodeFcb(fcb, kHostOrder)[block]["headers"].dump()) << nodesLeft << " nodes";
            ConvertFcb(fcb, kHostOrder);
            EXPECT_EQ(expected, DecodeFcb(fcb, Other(kHostOrder))[block]["headers"].dump());
            ConvertFcb(fcb, Other(kHostOrder));
            EXPECT_EQ(Bytes(bytes, bytes + kFcbBytes), fcb);
        }
    }
}

// In a list of another header the fill pattern is damage.
TEST(JournalFcb, OnlyTcpAndUdpMayHaveNoList) {
    for (const HeaderPlace *header : {&kTcpFilter, &kUdpFilter, &kTcpAction, &kUdpAction}) {
        FcbImage fcb(ByteOrder::Big);
        fcb.AddHeader(header->hdrBmap == 40 ? kIpv4Filter : kIpv4Action);
        fcb.Put16(header->entry + 2, 0xA5A5);
        EXPECT_EQ(R"([{"header":"ipv4","requests":[]}])",
                  DecodeFcb(fcb.bytes(), ByteOrder::Big)[header->block]["headers"].dump());
    }
    FcbImage fcb(ByteOrder::Big);
    fcb.AddHeader(kIpv4Filter);
    fcb.Put16(kIpv4Filter.entry + 2, 0xA5A5);
    EXPECT_EQ(R"([{"header":"ipv4","requests":[{"damaged":"node 42405 lies outside the pool"}]}])",
              DecodeFcb(fcb.bytes(), ByteOrder::Big)["filter"]["headers"].dump());
}

} // namespace
