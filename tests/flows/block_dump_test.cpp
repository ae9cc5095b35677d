// The dumps of blocks, of one header's requests and of single values.
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class BlockDump : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        hdl_ = FlowIn(e_STATUS_CFG);
    }

    std::string Blocks() {
        return CaptureMasked([&] {
            qir::Dump_FilterBlk(&fcb_);
            qir::Dump_ActionBlk(&fcb_);
            qir::Dump_FwdBlk(&fcb_);
        });
    }

    void AddEthType(u16 ethType) {
        EthFilter filter{};
        filter.type = e_ETH_FILT_ETHTYPE;
        filter.cmpOp = e_CMP_NEQ;
        filter.val.ethType = ethType;
        EXPECT_EQ(QIR_Config_EthFilter(&hdl_, &filter), 0u);
    }

    Op Dump(FlowHdr hdr) {
        return [this, hdr] { return qir::Dump_HdrReqList(&fcb_, &hdr); };
    }

    FlowHdl hdl_{};
    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];
};

class ValueDump : public FlowTest {};

// ---- single values --------------------------------------------------------------------------------

TEST_F(ValueDump, AsOverride) {
    EXPECT_EQ(CaptureMasked([] { qir::Dump_AsOverride(0); }), "Override<e_AS_OVERRIDE_DISABLE> ");
    EXPECT_EQ(CaptureMasked([] { qir::Dump_AsOverride(1); }), "Override<e_AS_OVERRIDE_ENABLE> ");
    EXPECT_EQ(CaptureMasked([] { qir::Dump_AsOverride(2); }),
              Assertion("qirapi_private", "Dump_AsOverride", "( asOvrd < e_AS_OVERRIDE_MAX )") + "Override" +
                  Err("Dump_AsOverride", "Unknown AS override status <2> "));
}

TEST_F(ValueDump, TableStatus) {
    EXPECT_EQ(CaptureMasked([] { qir::Dump_TblStatus(0); }), "TblStatus<e_TBLSTATUS_DISABLE> ");
    EXPECT_EQ(CaptureMasked([] { qir::Dump_TblStatus(1); }), "TblStatus<e_TBLSTATUS_ENABLE> ");
    EXPECT_EQ(CaptureMasked([] { qir::Dump_TblStatus(2); }),
              Assertion("qirapi_private", "Dump_TblStatus", "(tblStatus < e_TBLSTATUS_MAX)") + "TblStatus" +
                  Err("Dump_TblStatus", "Unknown table status <2> "));
}

TEST_F(ValueDump, ForwardingFlags) {
    const char *const expected[] = {
        "FwdAction",
        "FwdAction<DROP> ",
        "FwdAction<ARL_OVRD> ",
        "FwdAction<ARL_OVRD> <DROP> ",
        "FwdAction<LRN_ENABLE> ",
        "FwdAction<LRN_ENABLE> <DROP> ",
        "FwdAction<LRN_ENABLE> <ARL_OVRD> ",
        "FwdAction<LRN_ENABLE> <ARL_OVRD> <DROP> ",
    };
    for (u32 action = 0; action < 8; ++action) {
        EXPECT_EQ(CaptureMasked([&] { qir::Dump_FwdAction(action); }), expected[action]);
    }
}

TEST_F(ValueDump, ForwardingFlagsOutOfRangeAreAsserted) {
    const std::string assertion =
        Assertion("qirapi_private", "Dump_FwdAction", "(action < e_FWD_ACTION_MAX)");
    EXPECT_EQ(CaptureMasked([] { qir::Dump_FwdAction(8); }), assertion + "FwdAction");
    EXPECT_EQ(CaptureMasked([] { qir::Dump_FwdAction(15); }),
              assertion + "FwdAction<LRN_ENABLE> <ARL_OVRD> <DROP> ");
}

// ---- blocks ---------------------------------------------------------------------------------------

TEST_F(BlockDump, OfAFlowWithoutHeaders) {
    for (const u32 level : {0u, 1u, 2u, 3u}) {
        RaiseLog(level);
        EXPECT_EQ(CaptureMasked([&] { qir::Dump_FilterBlk(&fcb_); }), "\n"
                                                                      "------- Filter Block ----------\n"
                                                                      "HdrBmap<0x00> totalTags<0> \n"
                                                                      "\n");
        EXPECT_EQ(CaptureMasked([&] { qir::Dump_ActionBlk(&fcb_); }),
                  "------- Action Block ----------\n"
                  "HdrBmap<0x00> totalTags<0> pushedTags<0> poppedTags<0> \n"
                  "\n");
        EXPECT_EQ(CaptureMasked([&] { qir::Dump_FwdBlk(&fcb_); }),
                  "------- Fwd Block ----------\n"
                  "flowPrio<0> FwdAction<LRN_ENABLE> \n"
                  "src portMask<0x00000000> gemPortIdxMask<0xa5a5a5a5> \n"
                  "dst portMask<0x00000000> gemPortIdxMask<0x00000000> \n");
    }
}

TEST_F(BlockDump, ForwardingBlockShowsBothEnds) {
    fcb_.fwdInfo.flowPrio = 31;
    fcb_.fwdInfo.fwdAction = 3;
    fcb_.fwdInfo.src = {0x12345678, 0x1FF};
    fcb_.fwdInfo.dst.portMask = 0xFFFFFFFF;
    fcb_.fwdInfo.dst.gemPortIdxMask = 0x80000001;
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_FwdBlk(&fcb_); }),
              "------- Fwd Block ----------\n"
              "flowPrio<31> FwdAction<ARL_OVRD> <DROP> \n"
              "src portMask<0x000001ff> gemPortIdxMask<0x12345678> \n"
              "dst portMask<0xffffffff> gemPortIdxMask<0x80000001> \n");
}

TEST_F(BlockDump, ShowsAllocatedHeadersInTheOrderOfTheirTypes) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_IPV4, e_FLOWHDR_PPPOE, e_FLOWHDR_VLAN0});
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH, e_FLOWHDR_IPV4, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1});
    fcb_.actionBlk.pushedTags = 1;
    fcb_.actionBlk.poppedTags = 2;
    EXPECT_EQ(Blocks(), "\n"
                        "------- Filter Block ----------\n"
                        "HdrBmap<0xa3> totalTags<1> \n"
                        "------ Filter EthHdr -------\n"
                        "------ Filter VlanHdr[0] ------\n"
                        "------ Filter PppoeHdr -------\n"
                        "\n\n"
                        "\n\n"
                        "\n"
                        "------- Action Block ----------\n"
                        "HdrBmap<0x87> totalTags<2> pushedTags<1> poppedTags<2> \n"
                        "------ Action EthHdr -------\n"
                        "------ Action VlanHdr[0] -------\n"
                        "------ Action VlanHdr[1] -------\n"
                        "------ Action Ipv4Hdr -------\n"
                        "------ Action TcpHdr -------\n"
                        "------ Action UdpHdr -------\n"
                        "\n"
                        "------- Fwd Block ----------\n"
                        "flowPrio<0> FwdAction<LRN_ENABLE> \n"
                        "src portMask<0x00000000> gemPortIdxMask<0xa5a5a5a5> \n"
                        "dst portMask<0x00000000> gemPortIdxMask<0x00000000> \n");
}

TEST_F(BlockDump, HeaderWithoutAnEntryIsUnknown) {
    fcb_.filterBlk.hdrBmap = fcb_.actionBlk.hdrBmap = 0x40;
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_FilterBlk(&fcb_); }),
              "\n"
              "------- Filter Block ----------\n"
              "HdrBmap<0x40> totalTags<0> \n" +
                  Err("Dump_HdrReqList", "Unknown flow hdr <6> ") + "\n");
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_ActionBlk(&fcb_); }),
              "------- Action Block ----------\n"
              "HdrBmap<0x40> totalTags<0> pushedTags<0> poppedTags<0> \n" +
                  Err("Dump_HdrReqList", "Unknown flow hdr <6> ") + "\n");
}

TEST_F(BlockDump, TagsBehindTheInnerTagHaveTheirTitles) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {0, 1, 2, 3, 4});
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {0, 1, 2, 3, 4});
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_FilterBlk(&fcb_); }), "\n"
                                                                  "------- Filter Block ----------\n"
                                                                  "HdrBmap<0x1f> totalTags<4> \n"
                                                                  "------ Filter EthHdr -------\n"
                                                                  "------ Filter VlanHdr[0] ------\n"
                                                                  "------ Filter VlanHdr[1] ------\n"
                                                                  "------ Filter VlanHdr[2] ------\n"
                                                                  "------ Filter VlanHdr[3] ------\n"
                                                                  "\n");
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_ActionBlk(&fcb_); }),
              "------- Action Block ----------\n"
              "HdrBmap<0x1f> totalTags<4> pushedTags<0> poppedTags<0> \n"
              "------ Action EthHdr -------\n"
              "------ Action VlanHdr[0] -------\n"
              "------ Action VlanHdr[1] -------\n"
              "------ Action VlanHdr[2] -------\n"
              "------ Action VlanHdr[3] -------\n"
              "\n");
}

// ---- one header -----------------------------------------------------------------------------------

TEST_F(BlockDump, HeaderListShowsRequestsInOrder) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    AddEthType(0x0806);
    AddEthType(0x0800);
    ExpectRefused(Dump(FilterHdr(e_FLOWHDR_ETH)), 0,
                  "------ Filter EthHdr -------\n"
                  "type<e_ETH_FILT_ETHTYPE> val<0x0806> cmpOp<e_CMP_NEQ>, \n"
                  "type<e_ETH_FILT_ETHTYPE> val<0x0800> cmpOp<e_CMP_NEQ>, \n");
}

TEST_F(BlockDump, EveryHeaderHasItsTitle) {
    struct Row {
        u32 blk;
        u32 hdr;
        const char *text;
    };
    const Row rows[] = {
        {0, 0, "------ Filter EthHdr -------\n"},
        {0, 1, "------ Filter VlanHdr[0] ------\n"},
        {0, 2, "------ Filter VlanHdr[1] ------\n"},
        {0, 5, "------ Filter PppoeHdr -------\n"},
        {0, 7, "\n\n\n\n"},
        {1, 0, "------ Action EthHdr -------\n"},
        {1, 1, "------ Action VlanHdr[0] -------\n"},
        {1, 2, "------ Action VlanHdr[1] -------\n"},
        {1, 5, "------ Action PppoeHdr -------\n"},
        {1, 7,
         "------ Action Ipv4Hdr -------\n"
         "------ Action TcpHdr -------\n"
         "------ Action UdpHdr -------\n"},
    };
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {0, 1, 2, 5, 7});
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {0, 1, 2, 5, 7});
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        ExpectRefused(Dump({row.blk, row.hdr}), 0, row.text);
    }
}

TEST_F(BlockDump, HeaderThatIsNotAllocatedIsRefused) {
    const std::string refusal =
        Err("Dump_HdrReqList", "Hdr not allocated") + CodeLine("Dump_HdrReqList", "e_RET_ERR_RESRC_UNAVAIL");
    for (u32 hdr = 0; hdr < 8; ++hdr) {
        fcb_.filterBlk.hdrBmap = static_cast<u16>(~(1u << hdr));
        fcb_.actionBlk.hdrBmap = static_cast<u16>(1u << hdr);
        ExpectRefused(Dump(FilterHdr(hdr)), 12, refusal);
        fcb_.filterBlk.hdrBmap = static_cast<u16>(1u << hdr);
        fcb_.actionBlk.hdrBmap = static_cast<u16>(~(1u << hdr));
        ExpectRefused(Dump(ActionHdr(hdr)), 12, refusal);
    }
}

TEST_F(BlockDump, OtherBlocksHaveNoHeaders) {
    fcb_.filterBlk.hdrBmap = fcb_.actionBlk.hdrBmap = 0xFF;
    for (const u32 blk : {2u, 3u, 0xFFFFFFFFu}) {
        ExpectRefused(Dump({blk, 0}), 0,
                      Err("Dump_HdrReqList", "Unknown block type <" + std::to_string(blk) + "> "));
    }
}

// ---- entries that lie on each other ---------------------------------------------------------------

TEST_F(BlockDump, TagTwoAndPppoeShareTheirListInTheActionBlock) {
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {0, 1, 2, 3, 5, 7, 4});
    const PppoeAction pppoe{};
    ASSERT_EQ(QIR_Config_PppoeAction(&hdl_, &pppoe), 0u);
    Ipv4Action ipv4{};
    ipv4.type = e_IPV4_ACTION_TOS;
    ipv4.val.tos = 9;
    ASSERT_EQ(QIR_Config_Ipv4Action(&hdl_, &ipv4), 0u);
    // Types 0 and 2 of a VLAN action, read from the other headers' requests.
    const std::string text = CaptureMasked([&] { qir::Dump_ActionBlk(&fcb_); });
    EXPECT_EQ(text, "------- Action Block ----------\n"
                    "HdrBmap<0xbf> totalTags<4> pushedTags<0> poppedTags<0> \n"
                    "------ Action EthHdr -------\n"
                    "------ Action VlanHdr[0] -------\n"
                    "------ Action VlanHdr[1] -------\n"
                    "------ Action VlanHdr[2] -------\n"
                    "type<e_VLAN_ACTION_SET_TAG> val<0x00000000> , \n"
                    "------ Action VlanHdr[3] -------\n"
                    "type<e_VLAN_ACTION_SET_TCI> val<0x" +
                        std::string(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? "0009" : "0900") +
                        "> , \n"
                        "------ Action PppoeHdr -------\n"
                        "type[ERROR orxapi] Dump_PppoeActionReq,#: Unknown action type <0> \n"
                        ", \n"
                        "------ Action Ipv4Hdr -------\n"
                        "type<e_IPV4_ACTION_TOS> val<9> , \n"
                        "------ Action TcpHdr -------\n"
                        "------ Action UdpHdr -------\n"
                        "\n");
}

TEST_F(BlockDump, TagThreeFollowsTheIpv4BitmapIntoThePoolAndOutOfIt) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {0, 1, 2, 3, 4, 7});
    const auto add = [&](u32 type) {
        Ipv4Filter filter{};
        filter.type = type;
        EXPECT_EQ(QIR_Config_Ipv4Filter(&hdl_, &filter), 0u);
    };
    const FlowHdr tag3 = FilterHdr(e_FLOWHDR_VLAN3);
    // The bitmap of IPv4, which lies where tag 3 keeps its list, is 0: the free list, 23 unwritten nodes.
    std::string unwritten = "------ Filter VlanHdr[3] ------\n";
    for (int i = 0; i < 23; ++i) {
        unwritten += "type" + Err("Dump_VlanFilterReq", "Unknown filter type <2779096485> ") +
                     Assertion("qirapi_private", "Dump_CmpOp", "(cmpOp < e_CMP_MAX)") + "cmpOp" +
                     Err("Dump_CmpOp", "Unknown cmpOp <2779096485>") + ", \n";
    }
    ExpectRefused(Dump(tag3), 0, unwritten);
    add(e_IPV4_FILT_DA); // 8: the UDP list's head, an empty list
    EXPECT_EQ(fcb_.filterBlk.ipv4.hdr.curBmap, 0x8);
    ExpectRefused(Dump(tag3), 0, "------ Filter VlanHdr[3] ------\n");
    add(e_IPV4_FILT_PROTO); // 0x208: no node
    EXPECT_EQ(fcb_.filterBlk.ipv4.hdr.curBmap, 0x208);
    ExpectRefused(Dump(tag3), 0, "------ Filter VlanHdr[3] ------\n");
    ExpectRefused(Dump(FilterHdr(e_FLOWHDR_IPV4)), 0,
                  "type<e_IPV4_FILT_DA> <0.0.0.0> </0> cmpOp<e_CMP_EQ>, \n"
                  "type<e_IPV4_FILT_PROTO> <0> cmpOp<e_CMP_EQ>, \n"
                  "\n\n\n\n");
}

TEST_F(BlockDump, HalfAllocatedIpv4ShowsNoTcpAndUdpRequests) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH});
    DrainPool(fcb_, 1);
    const FlowHdr ipv4 = FilterHdr(e_FLOWHDR_IPV4);
    CaptureMasked([&] { EXPECT_EQ(qir::Alloc_Hdr(&fcb_, &ipv4), 12u); });
    ExpectRefused(Dump(ipv4), 0, "\n\n\n\n");
    u8 count = 9;
    TcpFilter tcp{};
    ExpectRefused([&] { return QIR_Get_TcpFilter(&hdl_, &tcp, 1, &count); }, 0, "");
    EXPECT_EQ(count, 0);
    void *info = nullptr;
    UdpFilter udp{};
    qir::getNextUdpFilter(&fcb_, &info, &udp);
    EXPECT_EQ(info, nullptr);
}

} // namespace
} // namespace flows
