// Printed filter requests, and the diagnostic read-back.
#include "qirapi/private/filters.h"
#include "tests/filters/filter_kit.h"

namespace test {
namespace {

class FilterDumps : public FilterFlowTest {
  protected:
    static std::string Dump(const FilterMember &m, const AnyFilter &req) {
        return CaptureMasked([&] { m.dump(&req); });
    }
};

// Value bytes that are not part of the value hold 0xEE.
TEST_F(FilterDumps, LabelAndValueOfEveryType) {
    const struct {
        const char *header;
        u32 type;
        u32 cmpOp;
        u32 value;
        const char *text;
    } rows[] = {
        {"Eth", 0, 0, 1, "type<e_ETH_FILT_MCAST> cmpOp<e_CMP_EQ>, \n"},
        {"Eth", 1, 0, 0, "type<e_ETH_FILT_BCAST> cmpOp<e_CMP_EQ>, \n"},
        {"Eth", 2, 0, 0x0A,
         "type<e_ETH_FILT_DA> <0x0a:0a:0a:0a:0a:0a> <0xee:ee:ee:ee:ee:ee> cmpOp<e_CMP_EQ>, \n"},
        {"Eth", 3, 0, 0xB0,
         "type<e_ETH_FILT_SA> val<0xb0:b0:b0:b0:b0:b0> <0xee:ee:ee:ee:ee:ee> cmpOp<e_CMP_EQ>, \n"},
        {"Eth", 4, 0, 0x0800, "type<e_ETH_FILT_ETHTYPE> val<0x0800> cmpOp<e_CMP_EQ>, \n"},
        {"Eth", 4, 1, 0xFFFF, "type<e_ETH_FILT_ETHTYPE> val<0xffff> cmpOp<e_CMP_NEQ>, \n"},
        {"Vlan[0]", 0, 0, 0x8100007B, "type<e_VLAN_FILT_TAG> val<0x8100007b> cmpOp<e_CMP_EQ>, \n"},
        {"Vlan[0]", 0, 0, 0x1F, "type<e_VLAN_FILT_TAG> val<0x0000001f> cmpOp<e_CMP_EQ>, \n"},
        {"Vlan[1]", 1, 1, 0x88A8, "type<e_VLAN_FILT_TPID> val<0x88a8> cmpOp<e_CMP_NEQ>, \n"},
        {"Vlan[0]", 2, 0, 0x0ABC, "type<e_VLAN_FILT_TCI> val<0x0abc> cmpOp<e_CMP_EQ>, \n"},
        {"Vlan[1]", 3, 0, 7, "type<e_VLAN_FILT_PBITS> val<7> cmpOp<e_CMP_EQ>, \n"},
        {"Vlan[0]", 4, 0, 1, "type<e_VLAN_FILT_DEI> val<1> cmpOp<e_CMP_EQ>, \n"},
        {"Vlan[0]", 5, 0, 4095, "type<e_VLAN_FILT_VID> val<4095> cmpOp<e_CMP_EQ>, \n"},
        {"Pppoe", 0, 0, 1, "type<e_PPPOE_FILT_VER> <1> cmpOp<e_CMP_EQ>, \n"},
        {"Pppoe", 1, 1, 1, "type<e_PPPOE_FILT_TYPE> <1> cmpOp<e_CMP_NEQ>, \n"},
        {"Pppoe", 2, 0, 254, "type<e_PPPOE_FILT_CODE> <254> cmpOp<e_CMP_EQ>, \n"},
        {"Pppoe", 3, 0, 65534, "type<e_PPPOE_FILT_SESID> <65534> cmpOp<e_CMP_EQ>, \n"},
        {"Pppoe", 4, 0, 0x8021, "type<e_PPPOE_FILT_PROTO> <32801> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 0, 0, 4, "type<e_IPV4_FILT_VER> <4> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 1, 0, 254, "type<e_IPV4_FILT_IHL> <254> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 2, 0, 8, "type<e_IPV4_FILT_SA> <10.0.0.1> </8> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 3, 0, 32, "type<e_IPV4_FILT_DA> <10.0.0.1> </32> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 4, 0, 1, "type<e_IPV4_FILT_MCAST> <1> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 5, 0, 200, "type<e_IPV4_FILT_TOS> <200> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 6, 0, 46, "type<e_IPV4_FILT_DSCP> <46> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 6, 1, 46, "type<e_IPV4_FILT_DSCP> <46> cmpOp<e_CMP_NEQ>, \n"},
        {"Ipv4", 6, 2, 46, "type<e_IPV4_FILT_DSCP> <46> - <63> cmpOp<e_CMP_IN_RANGE>, \n"},
        {"Ipv4", 7, 0, 7, "type<e_IPV4_FILT_DSCP_1P> <7> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 8, 0, 1, "type<e_IPV4_FILT_TTL_GT1> <1> cmpOp<e_CMP_EQ>, \n"},
        {"Ipv4", 9, 1, 65534, "type<e_IPV4_FILT_PROTO> <65534> cmpOp<e_CMP_NEQ>, \n"},
        {"Ipv4", 10, 0, 0x0101, "type<e_IPV4_FILT_FRAG> <257> cmpOp<e_CMP_EQ>, \n"},
        {"Tcp", 0, 0, 80, "type<e_TCP_FILT_SPORT> <80> cmpOp<e_CMP_EQ>, \n"},
        {"Tcp", 1, 1, 65535, "type<e_TCP_FILT_DPORT> <65535> cmpOp<e_CMP_NEQ>, \n"},
        {"Tcp", 2, 0, 1, "type<e_TCP_FILT_SYN> <1> cmpOp<e_CMP_EQ>, \n"},
        {"Tcp", 3, 0, 0, "type<e_TCP_FILT_ACK> <0> cmpOp<e_CMP_EQ>, \n"},
        {"Tcp", 4, 0, 1, "type<e_TCP_FILT_FIN> <1> cmpOp<e_CMP_EQ>, \n"},
        {"Tcp", 5, 0, 255, "type<e_TCP_FILT_RST> <255> cmpOp<e_CMP_EQ>, \n"},
        {"Tcp", 6, 0, 63, "type<e_TCP_FILT_CTRL> <63> cmpOp<e_CMP_EQ>, \n"},
        {"Udp", 0, 0, 53, "type<e_UDP_FILT_SPORT> <53> cmpOp<e_CMP_EQ>, \n"},
        {"Udp", 1, 1, 65535, "type<e_UDP_FILT_DPORT> <65535> cmpOp<e_CMP_NEQ>, \n"},
    };
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.header);
        EXPECT_EQ(Dump(m, MakeFilter(m, row.type, row.cmpOp, row.value, 0xEE)), row.text);
    }
}

TEST_F(FilterDumps, AddressesAndMasks) {
    EthFilter eth{};
    eth.type = e_ETH_FILT_DA;
    const u8 mac[12] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0xFF, 0xFE, 0xFD, 0xFC, 0x0B, 0x00};
    std::memcpy(eth.val.bytes, mac, sizeof mac);
    EXPECT_EQ(Capture([&] { qir::Dump_EthFilterReq(&eth); }),
              "type<e_ETH_FILT_DA> <0x00:11:22:33:44:55> <0xff:fe:fd:fc:0b:00> cmpOp<e_CMP_EQ>, \n");
    eth.type = e_ETH_FILT_SA;
    EXPECT_EQ(Capture([&] { qir::Dump_EthFilterReq(&eth); }),
              "type<e_ETH_FILT_SA> val<0x00:11:22:33:44:55> <0xff:fe:fd:fc:0b:00> cmpOp<e_CMP_EQ>, \n");
    Ipv4Filter ip{};
    ip.type = e_IPV4_FILT_DA;
    ip.val.ip.addr = 0xE0FF0280; // most significant byte first
    ip.val.ip.prefixLen = 4000000000u;
    EXPECT_EQ(Capture([&] { qir::Dump_Ipv4FilterReq(&ip); }),
              "type<e_IPV4_FILT_DA> <224.255.2.128> </4000000000> cmpOp<e_CMP_EQ>, \n");
}

TEST_F(FilterDumps, UnknownTypes) {
    const struct {
        const char *header;
        const char *fn;
        const char *text;
    } rows[] = {{"Eth", "Dump_EthFilterReq", "Unknown filter type"},
                {"Vlan[0]", "Dump_VlanFilterReq", "Unknown filter type"},
                {"Pppoe", "Dump_PppoeFilterReq", "Unknown PPPoE filter type"},
                {"Ipv4", "Dump_Ipv4FilterReq", "Unknown ipv4 filter type"},
                {"Tcp", "Dump_TcpFilterReq", "Unknown tcp filter type"},
                {"Udp", "Dump_UdpFilterReq", "Unknown udp filter type"}};
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.header);
        for (const u32 type : {m.NumTypes(), 256u, 0xFFFFFFFFu}) {
            EXPECT_EQ(Dump(m, MakeFilter(m, type, e_CMP_NEQ, 0)),
                      "type" + Err(row.fn, std::string(row.text) + " <" + std::to_string(type) + "> ") +
                          "cmpOp<e_CMP_NEQ>, \n");
        }
    }
}

TEST_F(FilterDumps, UnknownOperator) {
    for (const FilterMember &m : FilterMembers()) {
        const std::string good = Dump(m, MakeFilter(m, 1, e_CMP_EQ, 1));
        const std::size_t at = good.find("cmpOp");
        ASSERT_NE(at, std::string::npos) << good;
        EXPECT_EQ(Dump(m, MakeFilter(m, 1, 3, 1)),
                  good.substr(0, at) + Assertion("qirapi_private", "Dump_CmpOp", "(cmpOp < e_CMP_MAX)") +
                      "cmpOp" + Err("Dump_CmpOp", "Unknown cmpOp <3>") + ", \n");
    }
}

TEST_F(FilterDumps, PrintAtEveryLogLevel) {
    const FilterMember &m = FilterOf("Vlan[0]");
    const AnyFilter req = MakeFilter(m, e_VLAN_FILT_VID, e_CMP_EQ, 5);
    for (const u32 level : {0u, 1u, 2u, 3u}) {
        RaiseLog(level);
        EXPECT_EQ(Dump(m, req), "type<e_VLAN_FILT_VID> val<5> cmpOp<e_CMP_EQ>, \n");
    }
}

TEST_F(FilterDumps, ReadBackOfEthernetFilters) {
    const FilterMember &m = FilterOf("Eth");
    ASSERT_EQ(Config(m, GoodFilter(m, e_ETH_FILT_SA, 0)), 0u);
    ASSERT_EQ(Config(m, GoodFilter(m, e_ETH_FILT_ETHTYPE, 1)), 0u);
    ASSERT_EQ(Config(m, GoodFilter(m, e_ETH_FILT_ETHTYPE, 0)), 0u);
    const AnyFilter query = MakeFilter(m, e_ETH_FILT_ETHTYPE, 0, 0);
    const ContextSnapshot before;
    EXPECT_EQ(Capture([&] { qir::Dump_Get_EthFilter(&hdl_, &query.eth); }), "\n"
                                                                            "Dump of QIR_GetEthFilter\n"
                                                                            "idx  op type cmpOp\n"
                                                                            "-------------------\n"
                                                                            "<0> <0> <4>  <1>\n"
                                                                            "<1> <0> <4>  <0>\n");
    EXPECT_TRUE(before.Unchanged());
    EXPECT_EQ(query.eth.cmpOp, 0u) << "the caller's query is not the array that is read into";
}

TEST_F(FilterDumps, ReadBackOfVlanFilters) {
    const FilterMember &m = FilterOf("Vlan[1]");
    ASSERT_EQ(Config(m, GoodFilter(m, e_VLAN_FILT_VID, 1)), 0u);
    const AnyFilter query = MakeFilter(m, e_VLAN_FILT_VID, 0, 0);
    EXPECT_EQ(Capture([&] { qir::Dump_Get_VlanFilter(&hdl_, &query.vlan); }), "\n"
                                                                              "Dump of QIR_GetVlanFilter\n"
                                                                              "idx  op toTagNum type cmpOp\n"
                                                                              "-------------------\n"
                                                                              "<0> <0> <1>    <5>  <1>\n");
}

TEST_F(FilterDumps, ReadBackWithoutMatchPrintsNothing) {
    const AnyFilter eth = MakeFilter(FilterOf("Eth"), 0, 0, 0);
    const AnyFilter vlan = MakeFilter(FilterOf("Vlan[0]"), 0, 0, 0);
    EXPECT_EQ(Capture([&] { qir::Dump_Get_EthFilter(&hdl_, &eth.eth); }), "");
    EXPECT_EQ(Capture([&] { qir::Dump_Get_VlanFilter(&hdl_, &vlan.vlan); }), "");
}

TEST_F(FilterDumps, ReadBackThatIsRefusedPrintsTheRefusalOnly) {
    fcb_->filterBlk.hdrBmap = 0;
    const AnyFilter eth = MakeFilter(FilterOf("Eth"), 0, 0, 0);
    const AnyFilter vlan = MakeFilter(FilterOf("Vlan[0]"), 0, 0, 0);
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_Get_EthFilter(&hdl_, &eth.eth); }),
              Refusal("QIR_Get_EthFilter", "e_RET_ERR_HDRNOTCFG", 11));
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_Get_VlanFilter(&hdl_, &vlan.vlan); }),
              Refusal("QIR_Get_VlanFilter", "e_RET_ERR_HDRNOTCFG", 11));
}

// Four records at most: of five the first four are printed, behind the overflow's lines.
TEST_F(FilterDumps, ReadBackHoldsFourRecords) {
    const FilterMember &eth = FilterOf("Eth");
    for (const u32 cmpOp : {1u, 0u, 1u, 1u}) {
        ASSERT_EQ(Config(eth, GoodFilter(eth, e_ETH_FILT_ETHTYPE, cmpOp)), 0u);
    }
    const std::string four = "\nDump of QIR_GetEthFilter\nidx  op type cmpOp\n-------------------\n"
                             "<0> <0> <4>  <1>\n<1> <0> <4>  <0>\n<2> <0> <4>  <1>\n<3> <0> <4>  <1>\n";
    const AnyFilter query = MakeFilter(eth, e_ETH_FILT_ETHTYPE, 0, 0);
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_Get_EthFilter(&hdl_, &query.eth); }), four);
    ASSERT_EQ(Config(eth, GoodFilter(eth, e_ETH_FILT_ETHTYPE, 1)), 0u);
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_Get_EthFilter(&hdl_, &query.eth); }),
              CodeLine("Get_Filter", "e_RET_ERR_OVERFLOW") + RetVal("QIR_Get_EthFilter", 7) + four);

    const FilterMember &vlan = FilterOf("Vlan[0]");
    const AnyFilter vid = MakeFilter(vlan, e_VLAN_FILT_VID, 1, 7);
    for (unsigned i = 0; i < 5; ++i) {
        ASSERT_EQ(vlan.store(fcb_, &vid), 0u);
    }
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_Get_VlanFilter(&hdl_, &vid.vlan); }),
              CodeLine("Get_Filter", "e_RET_ERR_OVERFLOW") + RetVal("QIR_Get_VlanFilter", 7) +
                  "\nDump of QIR_GetVlanFilter\nidx  op toTagNum type cmpOp\n-------------------\n"
                  "<0> <0> <0>    <5>  <1>\n<1> <0> <0>    <5>  <1>\n"
                  "<2> <0> <0>    <5>  <1>\n<3> <0> <0>    <5>  <1>\n");
}

// It reads through the public operation, whose parameter lines show.
TEST_F(FilterDumps, ReadBackGoesThroughThePublicOperation) {
    RaiseLog(2);
    const AnyFilter query = MakeFilter(FilterOf("Eth"), e_ETH_FILT_SA, 2, 0);
    EXPECT_EQ(
        CaptureMasked([&] { qir::Dump_Get_EthFilter(&hdl_, &query.eth); }),
        Inf("QIR_Get_EthFilter", "Params: flowHdl_p<0x<ptr>> filter_p<0x<ptr>> size<4>elemCount_p<0x<ptr>>") +
            Inf("QIR_Get_EthFilter", "Params2: flowHdl<5> op<0> type<3> cmpOp<2> "));
}

} // namespace
} // namespace test
