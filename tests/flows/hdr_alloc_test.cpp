// Allocation of headers in the filter and the action block: answers, messages, and the bytes it resets.
#include "tests/flows/fcb_model.h"
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class HeaderAlloc : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        qir::Init_FCB(&fcb_);
        fcb_.status = e_STATUS_ALLOC;
        fcb_.flowHdl.word = 0;
        model_.Set32(0, e_STATUS_ALLOC);
        model_.Set32(4, 0);
    }

    // Allocates a header; the block's bytes follow the model.
    void Alloc(const FlowHdr &hdr, u32 rc, const std::string &out) {
        SCOPED_TRACE(testing::Message() << "block " << hdr.blk << " header " << hdr.flowHdr);
        const ContextSnapshot before;
        ExpectCall([&] { return qir::Alloc_Hdr(&fcb_, &hdr); }, rc, out);
        if (hdr.blk < 2) {
            EXPECT_EQ(model_.AllocHdr(hdr.blk, hdr.flowHdr), rc);
        }
        EXPECT_EQ(model_.DiffersFrom(BytesOf(fcb_)), "");
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb_)}));
    }

    // Writes a byte all over a part of the FCB, so that a reset shows.
    void Paint(std::size_t first, std::size_t last, u8 byte) {
        for (std::size_t i = first; i <= last; ++i) {
            reinterpret_cast<u8 *>(&fcb_)[i] = byte;
        }
    }

    // The bytes of the FCB from `first` to `last`, both included.
    std::vector<u8> Bytes(std::size_t first, std::size_t last) const {
        const auto *bytes = reinterpret_cast<const u8 *>(&fcb_);
        return {bytes + first, bytes + last + 1};
    }

    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];
    FcbModel model_;
};

std::vector<u8> Half(u16 value) {
    std::vector<u8> bytes(2);
    std::memcpy(bytes.data(), &value, 2);
    return bytes;
}

std::vector<u8> operator+(std::vector<u8> left, const std::vector<u8> &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

std::vector<u8> Times(std::size_t count, u8 byte) {
    return std::vector<u8>(count, byte);
}

const std::string kFilterOrder = CodeLine("IsSet_FilterAllReqdHdr", "e_RET_ERR_HDROUTOFORDER");
const std::string kActionOrder = CodeLine("IsSet_ActionAllReqdHdr", "e_RET_ERR_HDROUTOFORDER");
const std::string kUnavail = CodeLine("Alloc_Hdr", "e_RET_ERR_RESRC_UNAVAIL");

// ---- answers --------------------------------------------------------------------------------------

TEST_F(HeaderAlloc, OuterTagNeedsEthernetAndCountsOneTag) {
    Alloc(FilterHdr(e_FLOWHDR_VLAN0), 10, kFilterOrder);
    Alloc(ActionHdr(e_FLOWHDR_VLAN0), 10, kActionOrder);
    Alloc(FilterHdr(e_FLOWHDR_ETH), 0, "");
    Alloc(FilterHdr(e_FLOWHDR_VLAN0), 0, "");
    EXPECT_EQ(fcb_.filterBlk.totalTags, 1);
    EXPECT_EQ(fcb_.actionBlk.totalTags, 0);
    Alloc(ActionHdr(e_FLOWHDR_VLAN0), 10, kActionOrder);
}

TEST_F(HeaderAlloc, InnerTagNeedsTheOuterTag) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH});
    ExpectRefused(
        [&] {
            const FlowHdr hdr = FilterHdr(e_FLOWHDR_VLAN1);
            return qir::Alloc_Hdr(&fcb_, &hdr);
        },
        10, kFilterOrder);
    ExpectRefused(
        [&] {
            const FlowHdr hdr = ActionHdr(e_FLOWHDR_VLAN1);
            return qir::Alloc_Hdr(&fcb_, &hdr);
        },
        10, kActionOrder);
}

TEST_F(HeaderAlloc, AHeaderIsAllocatedOncePerBlock) {
    for (const u32 hdr : {0u, 1u, 2u, 3u, 4u, 5u, 7u}) {
        Alloc(FilterHdr(hdr), 0, "");
        Alloc(FilterHdr(hdr), 12, kUnavail);
        Alloc(ActionHdr(hdr), 0, "");
        Alloc(ActionHdr(hdr), 12, kUnavail);
    }
    EXPECT_EQ(fcb_.filterBlk.hdrBmap, 0xBF);
    EXPECT_EQ(fcb_.actionBlk.hdrBmap, 0xBF);
    EXPECT_EQ(fcb_.freeReqCount, 31 - 18);
    EXPECT_EQ(fcb_.status, 1u);
}

TEST_F(HeaderAlloc, TotalTagsIsSetNotCounted) {
    fcb_.filterBlk.hdrBmap = 0x3;
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_VLAN1});
    EXPECT_EQ(fcb_.filterBlk.totalTags, 2);
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0});
    EXPECT_EQ(fcb_.actionBlk.totalTags, 1);
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_VLAN1});
    EXPECT_EQ(fcb_.actionBlk.totalTags, 2);
    EXPECT_EQ(fcb_.actionBlk.pushedTags, 0);
    EXPECT_EQ(fcb_.actionBlk.poppedTags, 0);
}

TEST_F(HeaderAlloc, Ipv4TakesThreeNodes) {
    Alloc(FilterHdr(e_FLOWHDR_ETH), 0, "");
    EXPECT_EQ(fcb_.freeReqCount, 30);
    Alloc(FilterHdr(e_FLOWHDR_IPV4), 0, "");
    EXPECT_EQ(fcb_.freeReqCount, 27);
    EXPECT_EQ(fcb_.filterBlk.ipv4.hdr.reqList, 2);
    EXPECT_EQ(fcb_.filterBlk.tcp.hdr.reqList, 3);
    EXPECT_EQ(fcb_.filterBlk.udp.hdr.reqList, 4);
    EXPECT_EQ(fcb_.filterBlk.hdrBmap, 0x81);
}

TEST_F(HeaderAlloc, MplsIsAcceptedWithoutAnEntry) {
    Alloc(FilterHdr(e_FLOWHDR_ETH), 0, "");
    Alloc(FilterHdr(e_FLOWHDR_MPLS), 0,
          Err("IsSet_FilterAllReqdHdr", "Unknown flow hdr <6> ") + Err("Alloc_Hdr", "Unknown flow hdr <6> "));
    EXPECT_EQ(fcb_.filterBlk.hdrBmap, 0x41);
    EXPECT_EQ(fcb_.freeReqCount, 29);
    Alloc(FilterHdr(e_FLOWHDR_MPLS), 12, Err("IsSet_FilterAllReqdHdr", "Unknown flow hdr <6> ") + kUnavail);
    Alloc(ActionHdr(e_FLOWHDR_MPLS), 0,
          Err("IsSet_ActionAllReqdHdr", "Unknown flow hdr <6> ") + Err("Alloc_Hdr", "Unknown flow hdr <6> "));
    EXPECT_EQ(fcb_.actionBlk.hdrBmap, 0x40);
    EXPECT_EQ(fcb_.freeReqCount, 28);
}

TEST_F(HeaderAlloc, OtherBlocksAreUnknown) {
    for (const u32 blk : {2u, 3u, 0xFFFFFFFFu}) {
        const FlowHdr hdr{blk, e_FLOWHDR_ETH};
        ExpectRefused([&] { return qir::Alloc_Hdr(&fcb_, &hdr); }, 25,
                      Err("Alloc_Hdr", "Unknown block type <" + std::to_string(blk) + "> ") +
                          CodeLine("Alloc_Hdr", "e_RET_ERR_INVALID_PARAM"));
    }
}

TEST_F(HeaderAlloc, ChecksBlockThenOrderThenPresenceThenNodes) {
    const auto alloc = [&](FlowHdr hdr) { return [this, hdr] { return qir::Alloc_Hdr(&fcb_, &hdr); }; };
    ExpectRefused(alloc({2, e_FLOWHDR_VLAN0}), 25,
                  Err("Alloc_Hdr", "Unknown block type <2> ") +
                      CodeLine("Alloc_Hdr", "e_RET_ERR_INVALID_PARAM"));
    fcb_.filterBlk.hdrBmap = 0x2; // the tag is there, Ethernet is not
    ExpectRefused(alloc(FilterHdr(e_FLOWHDR_VLAN0)), 10, kFilterOrder);
    fcb_.actionBlk.hdrBmap = 0x2;
    ExpectRefused(alloc(ActionHdr(e_FLOWHDR_VLAN0)), 10, kActionOrder);
    fcb_.filterBlk.hdrBmap = fcb_.actionBlk.hdrBmap = 0x1;
    DrainPool(fcb_, 0);
    ExpectRefused(alloc(FilterHdr(e_FLOWHDR_ETH)), 12, kUnavail);
    ExpectRefused(alloc(ActionHdr(e_FLOWHDR_ETH)), 12, kUnavail);
    ExpectRefused(alloc(FilterHdr(e_FLOWHDR_VLAN1)), 10, kFilterOrder);
}

TEST_F(HeaderAlloc, FilterBlockLogsItsOrderRuleOnly) {
    RaiseLog(3);
    Alloc(FilterHdr(e_FLOWHDR_ETH), 0, Dbg("IsSet_FilterAllReqdHdr", "hdrBmap = 0x0000 \n"));
    Alloc(FilterHdr(e_FLOWHDR_VLAN0), 0, Dbg("IsSet_FilterAllReqdHdr", "hdrBmap = 0x0001 \n"));
    Alloc(FilterHdr(e_FLOWHDR_IPV4), 0, Dbg("IsSet_FilterAllReqdHdr", "hdrBmap = 0x0003 \n"));
}

TEST_F(HeaderAlloc, ActionBlockLogsItsHeadersBeforeAndAfter) {
    RaiseLog(3);
    Alloc(ActionHdr(e_FLOWHDR_ETH), 0,
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0000 \n\n"
          "[DBG orxapi] Alloc_Hdr : before hdrBmap = 0x0000 \n\n"
          "[DBG orxapi] Alloc_Hdr : after hdrBmap = 0x0001 \n\n");
    Alloc(ActionHdr(e_FLOWHDR_VLAN0), 0,
          "[DBG orxapi] IsSet_ActionAllReqdHdr: bmap = 0x0001 \n\n"
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
          "[DBG orxapi] Alloc_Hdr : before hdrBmap = 0x0001 \n\n"
          "[DBG orxapi] Alloc_Hdr : after hdrBmap = 0x0003 \n\n");
    Alloc(ActionHdr(e_FLOWHDR_MPLS), 0,
          "[ERROR orxapi] IsSet_ActionAllReqdHdr,#: Unknown flow hdr <6> \n"
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0003 \n\n"
          "[DBG orxapi] Alloc_Hdr : before hdrBmap = 0x0003 \n\n"
          "[DBG orxapi] Alloc_Hdr : after hdrBmap = 0x0043 \n\n"
          "[ERROR orxapi] Alloc_Hdr ,#: Unknown flow hdr <6> \n");
    Alloc(ActionHdr(e_FLOWHDR_ETH), 12,
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0043 \n\n" + kUnavail);
}

// ---- the bytes of an entry ------------------------------------------------------------------------

TEST_F(HeaderAlloc, FilterEntriesAreResetWithTheirCounters) {
    struct Row {
        u32 hdr;
        std::size_t first; // the entry in the FCB
        std::size_t counters;
    };
    const Row rows[] = {{e_FLOWHDR_ETH, 42, 15},
                        {e_FLOWHDR_VLAN0, 64, 18},
                        {e_FLOWHDR_VLAN1, 88, 18},
                        {e_FLOWHDR_PPPOE, 112, 15}};
    u16 node = 0;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.hdr);
        Paint(row.first - 1, row.first - 1, 0xEE);
        Paint(row.first, row.first + 6 + row.counters, 0xEE);
        if (row.hdr == e_FLOWHDR_ETH) { // the header bitmap lies in front of the entry
            fcb_.filterBlk.hdrBmap = 0;
        }
        const u8 inFront = Bytes(row.first - 1, row.first - 1)[0];
        AllocHdrs(fcb_, e_BLKTYPE_FILTER, {row.hdr});
        ++node;
        EXPECT_EQ(Bytes(row.first, row.first + 6 + row.counters),
                  Half(0) + Half(node) + Half(0) + Times(row.counters, 0) + Times(1, 0xEE));
        if (row.hdr != e_FLOWHDR_ETH) {
            EXPECT_EQ(Bytes(row.first - 1, row.first - 1)[0], inFront);
        }
        EXPECT_EQ(fcb_.reqPool[node].next, node);
        EXPECT_EQ(fcb_.reqPool[node].prev, node);
    }
}

TEST_F(HeaderAlloc, FilterIpv4EntryIsResetWithTcpAndUdp) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    Paint(112, 215, 0xEE);
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_IPV4});
    EXPECT_EQ(Bytes(112, 133), Times(22, 0xEE));
    EXPECT_EQ(Bytes(134, 173), Half(0) + Half(2) + Half(0) + Times(33, 0) + Times(1, 0xEE));
    EXPECT_EQ(Bytes(174, 201), Half(0) + Half(3) + Half(0) + Times(21, 0) + Times(1, 0xEE));
    EXPECT_EQ(Bytes(202, 213), Half(0) + Half(4) + Half(0) + Times(6, 0));
    EXPECT_EQ(Bytes(214, 215), Times(2, 0xEE));
}

TEST_F(HeaderAlloc, ActionEntriesAreReset) {
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH});
    EXPECT_EQ(Bytes(218, 223), Half(0) + Half(1) + Half(0));
    Paint(224, 259, 0xEE);
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_VLAN0});
    EXPECT_EQ(Bytes(224, 229), Half(0) + Half(2) + Half(0));
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_VLAN1});
    EXPECT_EQ(Bytes(230, 235), Half(0) + Half(3) + Half(0));
    EXPECT_EQ(Bytes(236, 259), Times(24, 0xEE));
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_IPV4});
    EXPECT_EQ(Bytes(236, 241), Times(6, 0xEE));
    EXPECT_EQ(Bytes(242, 259),
              Half(0) + Half(4) + Half(0) + Half(0) + Half(5) + Half(0) + Half(0) + Half(6) + Half(0));
}

TEST_F(HeaderAlloc, ActionPppoeEntryKeepsItsRequestCount) {
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH, e_FLOWHDR_PPPOE});
    EXPECT_EQ(fcb_.actionBlk.pppoe.reqCount, 0xA5A5);
    EXPECT_EQ(fcb_.actionBlk.pppoe.reqList, 2);
    EXPECT_EQ(fcb_.actionBlk.pppoe.curBmap, 0);
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_PPPOE});
    EXPECT_EQ(fcb_.filterBlk.pppoe.hdr.reqCount, 0);
}

// ---- tags behind the inner tag --------------------------------------------------------------------

TEST_F(HeaderAlloc, FilterTagTwoLiesOnThePppoeEntryAndTheIpv4Count) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1});
    Paint(42, 213, 0xEE);
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_VLAN2});
    EXPECT_EQ(Bytes(42, 111), Times(70, 0xEE));
    EXPECT_EQ(Bytes(112, 135), Half(0) + Half(4) + Half(0) + Times(18, 0));
    EXPECT_EQ(Bytes(136, 213), Times(78, 0xEE));
    EXPECT_EQ(fcb_.filterBlk.totalTags, 3);
    EXPECT_EQ(fcb_.filterBlk.hdrBmap, 0x0F);
    // What this means for the headers that have their entries there:
    EXPECT_EQ(fcb_.filterBlk.pppoe.hdr.reqCount, 0);
    EXPECT_EQ(fcb_.filterBlk.pppoe.hdr.reqList, 4);
    EXPECT_EQ(fcb_.filterBlk.pppoe.hdr.curBmap, 0);
    EXPECT_EQ(fcb_.filterBlk.ipv4.hdr.reqCount, 0);
    EXPECT_EQ(fcb_.filterBlk.ipv4.hdr.reqList, 0xEEEE);
}

TEST_F(HeaderAlloc, FilterTagThreeStartsAtTheIpv4RequestList) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1, e_FLOWHDR_VLAN2});
    Paint(42, 213, 0xEE);
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_VLAN3});
    EXPECT_EQ(Bytes(42, 135), Times(94, 0xEE));
    EXPECT_EQ(Bytes(136, 159), Half(0) + Half(5) + Half(0) + Times(18, 0));
    EXPECT_EQ(Bytes(160, 213), Times(54, 0xEE));
    EXPECT_EQ(fcb_.filterBlk.totalTags, 4);
    EXPECT_EQ(fcb_.filterBlk.hdrBmap, 0x1F);
    EXPECT_EQ(fcb_.filterBlk.ipv4.hdr.reqCount, 0xEEEE);
    EXPECT_EQ(fcb_.filterBlk.ipv4.hdr.reqList, 0);
    EXPECT_EQ(fcb_.filterBlk.ipv4.hdr.curBmap, 5);
}

TEST_F(HeaderAlloc, ActionTagTwoLiesOnThePppoeEntry) {
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1});
    Paint(218, 259, 0xEE);
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_VLAN2});
    EXPECT_EQ(Bytes(218, 235), Times(18, 0xEE));
    EXPECT_EQ(Bytes(236, 241), Half(0) + Half(4) + Half(0));
    EXPECT_EQ(Bytes(242, 259), Times(18, 0xEE));
    EXPECT_EQ(fcb_.actionBlk.totalTags, 3);
    EXPECT_EQ(fcb_.actionBlk.pppoe.reqList, 4);
}

TEST_F(HeaderAlloc, ActionTagThreeLiesOnTheIpv4Entry) {
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1, e_FLOWHDR_VLAN2});
    Paint(218, 259, 0xEE);
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_VLAN3});
    EXPECT_EQ(Bytes(218, 241), Times(24, 0xEE));
    EXPECT_EQ(Bytes(242, 247), Half(0) + Half(5) + Half(0));
    EXPECT_EQ(Bytes(248, 259), Times(12, 0xEE));
    EXPECT_EQ(fcb_.actionBlk.totalTags, 4);
    EXPECT_EQ(fcb_.actionBlk.ipv4.reqList, 5);
}

// ---- nodes run out --------------------------------------------------------------------------------

class HeaderAllocExhausted : public HeaderAlloc, public ::testing::WithParamInterface<u32> {
  protected:
    // The FCB's dump as it stands when IPv4 was refused; no request is stored.
    std::string DumpOfEthAndIpv4(bool hasIpv4) const {
        const bool filter = GetParam() == e_BLKTYPE_FILTER;
        const std::string bmap = hasIpv4 ? "0x81" : "0x01";
        const std::string filterLists =
            std::string("------ Filter EthHdr -------\n") + (hasIpv4 ? "\n\n\n\n" : "");
        const std::string actionLists =
            std::string("------ Action EthHdr -------\n") + (hasIpv4 ? "------ Action Ipv4Hdr -------\n"
                                                                       "------ Action TcpHdr -------\n"
                                                                       "------ Action UdpHdr -------\n"
                                                                     : "");
        return "\n\n"
               "************* FCB ************* \n"
               "FCB Status<e_STATUS_ALLOC> Hdl<0> Section<0> \n"
               "\n"
               "AS Override<e_AS_OVERRIDE_DISABLE> \n"
               "------- Filter Block ----------\n"
               "HdrBmap<" +
               (filter ? bmap : "0x00") + "> totalTags<0> \n" + (filter ? filterLists : "") +
               "\n"
               "------- Action Block ----------\n"
               "HdrBmap<" +
               (filter ? "0x00" : bmap) + "> totalTags<0> pushedTags<0> poppedTags<0> \n" +
               (filter ? "" : actionLists) +
               "\n"
               "------- Fwd Block ----------\n"
               "flowPrio<0> FwdAction<LRN_ENABLE> \n"
               "src portMask<0x00000000> gemPortIdxMask<0xa5a5a5a5> \n"
               "dst portMask<0x00000000> gemPortIdxMask<0x00000000> \n"
               "******************************* \n";
    }

    void AllocIpv4WithNodes(unsigned left) {
        const FlowHdr eth{GetParam(), e_FLOWHDR_ETH};
        Alloc(eth, 0, "");
        DrainPool(fcb_, left);
        // The model's pool is brought to the same state.
        for (std::size_t i = 344; i < sizeof fcb_; i += 2) {
            u16 half = 0;
            std::memcpy(&half, reinterpret_cast<const u8 *>(&fcb_) + i, 2);
            model_.Set16(i, half);
        }
        Alloc({GetParam(), e_FLOWHDR_IPV4}, 12,
              CodeLine("Alloc_ReqNode", "e_RET_ERR_RESRC_UNAVAIL") + DumpOfEthAndIpv4(left > 0));
        EXPECT_EQ(fcb_.status, 1u);
    }
};

TEST_P(HeaderAllocExhausted, WithoutANodeNothingChanges) {
    AllocIpv4WithNodes(0);
}

TEST_P(HeaderAllocExhausted, WithOneNodeTheIpv4EntryStays) {
    AllocIpv4WithNodes(1);
    const bool filter = GetParam() == e_BLKTYPE_FILTER;
    EXPECT_EQ(filter ? fcb_.filterBlk.hdrBmap : fcb_.actionBlk.hdrBmap, 0x81);
    EXPECT_EQ(filter ? fcb_.filterBlk.ipv4.hdr.reqList : fcb_.actionBlk.ipv4.reqList, 31);
    EXPECT_EQ(filter ? fcb_.filterBlk.tcp.hdr.reqList : fcb_.actionBlk.tcp.reqList, 0xA5A5);
    EXPECT_EQ(filter ? fcb_.filterBlk.udp.hdr.reqList : fcb_.actionBlk.udp.reqList, 0xA5A5);
}

TEST_P(HeaderAllocExhausted, WithTwoNodesTheTcpEntryStaysToo) {
    AllocIpv4WithNodes(2);
    const bool filter = GetParam() == e_BLKTYPE_FILTER;
    EXPECT_EQ(filter ? fcb_.filterBlk.ipv4.hdr.reqList : fcb_.actionBlk.ipv4.reqList, 30);
    EXPECT_EQ(filter ? fcb_.filterBlk.tcp.hdr.reqList : fcb_.actionBlk.tcp.reqList, 31);
    EXPECT_EQ(filter ? fcb_.filterBlk.udp.hdr.reqList : fcb_.actionBlk.udp.reqList, 0xA5A5);
}

TEST_P(HeaderAllocExhausted, AHeaderWithoutANodeIsNotMarked) {
    DrainPool(fcb_, 0);
    const FlowHdr eth{GetParam(), e_FLOWHDR_ETH};
    const ContextSnapshot before;
    const Called called = Call([&] { return qir::Alloc_Hdr(&fcb_, &eth); });
    EXPECT_EQ(called.rc, 12u);
    EXPECT_TRUE(before.Unchanged());
}

INSTANTIATE_TEST_SUITE_P(Blocks, HeaderAllocExhausted,
                         ::testing::Values(u32{e_BLKTYPE_FILTER}, u32{e_BLKTYPE_ACTION}),
                         [](const auto &param) { return param.param == 0 ? "Filter" : "Action"; });

} // namespace
} // namespace flows
