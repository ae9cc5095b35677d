// Printed requests, and the diagnostic read-back.
#include "qirapi/private/actions.h"
#include "qirapi/private/filters.h"
#include "tests/requests/request_kit.h"

namespace test {
namespace {

class Dumps : public RequestTest {
  protected:
    static std::string Dump(const Member &m, const AnyRequest &req) {
        return CaptureMasked([&] { m.dump(&req); });
    }
};

// At every log level. Value bytes that are not part of the value hold 0xEE.
TEST_F(Dumps, LabelAndValueOfEveryType) {
    const struct {
        const char *member;
        u32 type;
        u32 cmpOp;
        u32 value;
        const char *text; // between "type<" and ", "
    } rows[] = {
        {"EthFilter", 0, 0, 1, "e_ETH_FILT_MCAST> cmpOp<e_CMP_EQ>"},
        {"EthFilter", 1, 0, 0, "e_ETH_FILT_BCAST> cmpOp<e_CMP_EQ>"},
        {"EthFilter", 2, 0, 0x0A,
         "e_ETH_FILT_DA> <0x0a:0a:0a:0a:0a:0a> <0xee:ee:ee:ee:ee:ee> cmpOp<e_CMP_EQ>"},
        {"EthFilter", 3, 0, 0xB0,
         "e_ETH_FILT_SA> val<0xb0:b0:b0:b0:b0:b0> <0xee:ee:ee:ee:ee:ee> cmpOp<e_CMP_EQ>"},
        {"EthFilter", 4, 0, 0x0800, "e_ETH_FILT_ETHTYPE> val<0x0800> cmpOp<e_CMP_EQ>"},
        {"EthFilter", 4, 1, 0xFFFF, "e_ETH_FILT_ETHTYPE> val<0xffff> cmpOp<e_CMP_NEQ>"},
        {"Vlan0Filter", 0, 0, 0x8100007B, "e_VLAN_FILT_TAG> val<0x8100007b> cmpOp<e_CMP_EQ>"},
        {"Vlan0Filter", 0, 0, 0x1F, "e_VLAN_FILT_TAG> val<0x0000001f> cmpOp<e_CMP_EQ>"},
        {"Vlan1Filter", 1, 1, 0x88A8, "e_VLAN_FILT_TPID> val<0x88a8> cmpOp<e_CMP_NEQ>"},
        {"Vlan0Filter", 2, 0, 0x0ABC, "e_VLAN_FILT_TCI> val<0x0abc> cmpOp<e_CMP_EQ>"},
        {"Vlan1Filter", 3, 0, 7, "e_VLAN_FILT_PBITS> val<7> cmpOp<e_CMP_EQ>"},
        {"Vlan0Filter", 4, 0, 1, "e_VLAN_FILT_DEI> val<1> cmpOp<e_CMP_EQ>"},
        {"Vlan0Filter", 5, 0, 4095, "e_VLAN_FILT_VID> val<4095> cmpOp<e_CMP_EQ>"},
        {"PppoeFilter", 0, 0, 1, "e_PPPOE_FILT_VER> <1> cmpOp<e_CMP_EQ>"},
        {"PppoeFilter", 1, 1, 1, "e_PPPOE_FILT_TYPE> <1> cmpOp<e_CMP_NEQ>"},
        {"PppoeFilter", 2, 0, 254, "e_PPPOE_FILT_CODE> <254> cmpOp<e_CMP_EQ>"},
        {"PppoeFilter", 3, 0, 65534, "e_PPPOE_FILT_SESID> <65534> cmpOp<e_CMP_EQ>"},
        {"PppoeFilter", 4, 0, 0x8021, "e_PPPOE_FILT_PROTO> <32801> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 0, 0, 4, "e_IPV4_FILT_VER> <4> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 1, 0, 254, "e_IPV4_FILT_IHL> <254> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 2, 0, 8, "e_IPV4_FILT_SA> <10.0.0.1> </8> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 3, 0, 32, "e_IPV4_FILT_DA> <10.0.0.1> </32> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 4, 0, 1, "e_IPV4_FILT_MCAST> <1> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 5, 0, 200, "e_IPV4_FILT_TOS> <200> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 6, 0, 46, "e_IPV4_FILT_DSCP> <46> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 6, 1, 46, "e_IPV4_FILT_DSCP> <46> cmpOp<e_CMP_NEQ>"},
        {"Ipv4Filter", 6, 2, 46, "e_IPV4_FILT_DSCP> <46> - <63> cmpOp<e_CMP_IN_RANGE>"},
        {"Ipv4Filter", 7, 0, 7, "e_IPV4_FILT_DSCP_1P> <7> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 8, 0, 1, "e_IPV4_FILT_TTL_GT1> <1> cmpOp<e_CMP_EQ>"},
        {"Ipv4Filter", 9, 1, 65534, "e_IPV4_FILT_PROTO> <65534> cmpOp<e_CMP_NEQ>"},
        {"Ipv4Filter", 10, 0, 0x0101, "e_IPV4_FILT_FRAG> <257> cmpOp<e_CMP_EQ>"},
        {"TcpFilter", 0, 0, 80, "e_TCP_FILT_SPORT> <80> cmpOp<e_CMP_EQ>"},
        {"TcpFilter", 1, 1, 65535, "e_TCP_FILT_DPORT> <65535> cmpOp<e_CMP_NEQ>"},
        {"TcpFilter", 2, 0, 1, "e_TCP_FILT_SYN> <1> cmpOp<e_CMP_EQ>"},
        {"TcpFilter", 3, 0, 0, "e_TCP_FILT_ACK> <0> cmpOp<e_CMP_EQ>"},
        {"TcpFilter", 4, 0, 1, "e_TCP_FILT_FIN> <1> cmpOp<e_CMP_EQ>"},
        {"TcpFilter", 5, 0, 255, "e_TCP_FILT_RST> <255> cmpOp<e_CMP_EQ>"},
        {"TcpFilter", 6, 0, 63, "e_TCP_FILT_CTRL> <63> cmpOp<e_CMP_EQ>"},
        {"UdpFilter", 0, 0, 53, "e_UDP_FILT_SPORT> <53> cmpOp<e_CMP_EQ>"},
        {"UdpFilter", 1, 1, 65535, "e_UDP_FILT_DPORT> <65535> cmpOp<e_CMP_NEQ>"},
        {"EthAction", 0, 0, 0x0A, "e_ETH_ACTION_DA> <0x0a:0a:0a:0a:0a:0a> "},
        {"EthAction", 1, 0, 0xB0, "e_ETH_ACTION_SA> <0xb0:b0:b0:b0:b0:b0> "},
        {"EthAction", 2, 0, 0x0800, "e_ETH_ACTION_ETHTYPE> val<0x0800> "},
        {"EthAction", 3, 0, 0, "e_ETH_ACTION_PUSH_TAG> "},
        {"EthAction", 4, 0, 0, "e_ETH_ACTION_POP_TAG> "},
        {"Vlan0Action", 0, 0, 0x8100007B, "e_VLAN_ACTION_SET_TAG> val<0x8100007b> "},
        {"Vlan1Action", 1, 0, 0x0021, "e_VLAN_ACTION_SET_TPID> val<0x0021> "},
        {"Vlan0Action", 2, 0, 0xFABC, "e_VLAN_ACTION_SET_TCI> val<0xfabc> "},
        {"Vlan0Action", 3, 0, 7, "e_VLAN_ACTION_SET_PBITS> val<7> "},
        {"Vlan0Action", 4, 0, 1, "e_VLAN_ACTION_SET_DEI> val<1> "},
        {"Vlan1Action", 5, 0, 4095, "e_VLAN_ACTION_SET_VID> val<4095> "},
        {"Vlan0Action", 6, 0, 1, "e_VLAN_ACTION_COPY_TAG_FROM_TAG> val<1> "},
        {"Vlan1Action", 7, 0, 0, "e_VLAN_ACTION_COPY_TPID_FROM_TAG> val<0> "},
        {"Vlan0Action", 8, 0, 1, "e_VLAN_ACTION_COPY_TCI_FROM_TAG> val<1> "},
        {"Vlan0Action", 9, 0, 4294967295, "e_VLAN_ACTION_COPY_PBITS_FROM_TAG> val<4294967295> "},
        {"Vlan0Action", 10, 0, 65536, "e_VLAN_ACTION_COPY_VID_FROM_TAG> val<65536> "},
        {"Vlan0Action", 11, 0, 16777216, "e_VLAN_ACTION_COPY_DEI_FROM_TAG> val<16777216> "},
        {"Vlan0Action", 12, 0, 0x12345678, "e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP> val<305419896> "},
        {"Vlan0Action", 13, 0, 0x12345678, "e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE> "},
        {"Ipv4Action", 0, 0, 24, "e_IPV4_ACTION_DA> <10.0.0.1> </24> "},
        {"Ipv4Action", 1, 0, 24, "e_IPV4_ACTION_SA> <10.0.0.1> </24> "},
        {"Ipv4Action", 2, 0, 255, "e_IPV4_ACTION_TOS> val<255> "},
        {"Ipv4Action", 3, 0, 46, "e_IPV4_ACTION_DSCP> val<46> "},
        {"TcpAction", 0, 0, 80, "e_TCP_ACTION_SPORT> val<80> "},
        {"TcpAction", 1, 0, 65535, "e_TCP_ACTION_DPORT> val<65535> "},
        {"UdpAction", 0, 0, 53, "e_UDP_ACTION_SPORT> val<53> "},
        {"UdpAction", 1, 0, 65535, "e_UDP_ACTION_DPORT> val<65535> "},
    };
    for (const auto &row : rows) {
        const Member &m = Of(row.member);
        for (const u32 level : {0u, 3u}) {
            RaiseLog(level);
            EXPECT_EQ(Dump(m, Make(m, row.type, row.value, row.cmpOp, 0xEE)),
                      std::string("type<") + row.text + ", \n");
        }
    }
}

TEST_F(Dumps, AddressBytesInOrder) {
    const u8 mac[12] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0xFF, 0xFE, 0xFD, 0xFC, 0x0B, 0x00};
    EthFilter eth{};
    eth.type = e_ETH_FILT_DA;
    std::memcpy(eth.val.bytes, mac, sizeof mac);
    EXPECT_EQ(Capture([&] { qir::Dump_EthFilterReq(&eth); }),
              "type<e_ETH_FILT_DA> <0x00:11:22:33:44:55> <0xff:fe:fd:fc:0b:00> cmpOp<e_CMP_EQ>, \n");
    EthAction set{};
    std::memcpy(set.val.mac, mac, sizeof set.val.mac);
    EXPECT_EQ(Capture([&] { qir::Dump_EthActionReq(&set); }),
              "type<e_ETH_ACTION_DA> <0x00:11:22:33:44:55> , \n");
    Ipv4Filter ip{};
    ip.type = e_IPV4_FILT_DA;
    ip.val.ip.addr = 0xE0FF0280; // most significant byte first
    ip.val.ip.prefixLen = 4000000000u;
    EXPECT_EQ(Capture([&] { qir::Dump_Ipv4FilterReq(&ip); }),
              "type<e_IPV4_FILT_DA> <224.255.2.128> </4000000000> cmpOp<e_CMP_EQ>, \n");
}

// The only action of PPPoE has no label: every type of it is unknown.
TEST_F(Dumps, UnknownTypes) {
    const struct {
        const char *hdr;
        const char *filter;
        const char *action;
    } rows[] = {{"Eth", "Unknown filter type", "Unknown action type"},
                {"Vlan", "Unknown filter type", "Unknown VLAN action type"},
                {"Pppoe", "Unknown PPPoE filter type", "Unknown action type"},
                {"Ipv4", "Unknown ipv4 filter type", "Unknown action type"},
                {"Tcp", "Unknown tcp filter type", "Unknown action type"},
                {"Udp", "Unknown udp filter type", "Unknown action type"}};
    for (const auto &row : rows) {
        for (const Member &m : Members()) {
            for (const u32 type : {m.NumTypes(), m.NumTypes() - 1, 256u, 0xFFFFFFFFu}) {
                if (m.Is(row.hdr) && (type >= m.NumTypes() || m.Label() == "PppoeAction")) {
                    const std::string text = m.isFilter ? row.filter : row.action;
                    EXPECT_EQ(Dump(m, Make(m, type, 0, e_CMP_NEQ)),
                              "type" + Err(m.Fn("Dump_") + "Req", text + " <" + std::to_string(type) + "> ") +
                                  (m.isFilter ? "cmpOp<e_CMP_NEQ>, \n" : ", \n"));
                }
            }
        }
    }
}

TEST_F(Dumps, UnknownOperator) {
    for (const Member &m : Members()) {
        if (m.isFilter) {
            const std::string good = Dump(m, Make(m, 1, 1));
            EXPECT_EQ(Dump(m, Make(m, 1, 1, 3)),
                      good.substr(0, good.find("cmpOp")) +
                          Assertion("qirapi_private", "Dump_CmpOp", "(cmpOp < e_CMP_MAX)") + "cmpOp" +
                          Err("Dump_CmpOp", "Unknown cmpOp <3>") + ", \n");
        }
    }
}

// ---- read-back ------------------------------------------------------------------------------------

class DumpedReadBack : public RequestTest {
  protected:
    std::string Show(const AnyRequest &query, bool vlan) {
        return CaptureMasked([&] {
            if (vlan) {
                qir::Dump_Get_VlanFilter(&hdl_, &query.vlanFilter);
            } else {
                qir::Dump_Get_EthFilter(&hdl_, &query.ethFilter);
            }
        });
    }
};

const std::string kEthHead = "\nDump of QIR_GetEthFilter\nidx  op type cmpOp\n-------------------\n";
const std::string kVlanHead =
    "\nDump of QIR_GetVlanFilter\nidx  op toTagNum type cmpOp\n-------------------\n";

// Four records at most: of five the first four are printed, behind the overflow's lines.
TEST_F(DumpedReadBack, OfFilters) {
    const Member &eth = Of("EthFilter");
    Restore(eth);
    const AnyRequest query = Make(eth, e_ETH_FILT_ETHTYPE, 0);
    EXPECT_EQ(Show(query, false), "") << "no match prints nothing";
    for (const u32 cmpOp : {e_CMP_NEQ, e_CMP_EQ, e_CMP_NEQ, e_CMP_NEQ}) {
        ASSERT_EQ(Config(eth, Good(eth, e_ETH_FILT_ETHTYPE, cmpOp)), 0u);
    }
    const std::string four =
        kEthHead + "<0> <0> <4>  <1>\n<1> <0> <4>  <0>\n<2> <0> <4>  <1>\n<3> <0> <4>  <1>\n";
    const ContextSnapshot before;
    EXPECT_EQ(Show(query, false), four);
    EXPECT_TRUE(before.Unchanged());
    ASSERT_EQ(Config(eth, Good(eth, e_ETH_FILT_ETHTYPE, e_CMP_NEQ)), 0u);
    EXPECT_EQ(Show(query, false), Code("Get_Filter", 7) + RetVal("QIR_Get_EthFilter", 7) + four);

    const Member &vlan = Of("Vlan1Filter");
    const AnyRequest vid = Make(vlan, e_VLAN_FILT_VID, 7, e_CMP_NEQ);
    EXPECT_EQ(Show(vid, true), "");
    std::string rows;
    for (unsigned i = 0; i < 4; ++i) {
        ASSERT_EQ(vlan.store(fcb_, &vid), 0u);
        rows += "<" + std::to_string(i) + "> <0> <1>    <5>  <1>\n";
    }
    EXPECT_EQ(Show(vid, true), kVlanHead + rows);
    ASSERT_EQ(vlan.store(fcb_, &vid), 0u);
    EXPECT_EQ(Show(vid, true), Code("Get_Filter", 7) + RetVal("QIR_Get_VlanFilter", 7) + kVlanHead + rows);
}

// They read through the public operations, whose lines show.
TEST_F(DumpedReadBack, OfFiltersGoesThroughThePublicOperations) {
    const Member &eth = Of("EthFilter");
    const AnyRequest query = Make(eth, e_ETH_FILT_SA, 0, e_CMP_IN_RANGE);
    EXPECT_EQ(Show(query, false), Refusal("QIR_Get_EthFilter", "e_RET_ERR_HDRNOTCFG", 11));
    EXPECT_EQ(Show(Make(Of("Vlan0Filter"), 0, 0), true),
              Refusal("QIR_Get_VlanFilter", "e_RET_ERR_HDRNOTCFG", 11));
    Restore(eth);
    RaiseLog(2);
    EXPECT_EQ(
        Show(query, false),
        Inf("QIR_Get_EthFilter", "Params: flowHdl_p<0x<ptr>> filter_p<0x<ptr>> size<4>elemCount_p<0x<ptr>>") +
            Inf("QIR_Get_EthFilter", "Params2: flowHdl<5> op<0> type<3> cmpOp<2> "));
}

TEST_F(DumpedReadBack, OfActions) {
    const struct {
        const char *member;
        u32 type;
        std::function<void(FlowHdl *, u32 type)> dump;
        const char *text;
    } rows[] = {
        {"EthAction", 4, qir::Dump_Get_EthAction,
         "\nDump of QIR_GetEthAction\nop type \n--------\n<0> <4>\n"},
        {"Vlan0Action", 13, [](FlowHdl *hdl, u32 type) { qir::Dump_Get_VlanAction(hdl, 0, type); },
         "\nDump of QIR_GetVlanAction\nop tagNum type \n---------------\n<0>  <0>  <13>\n"},
        {"Vlan1Action", 5, [](FlowHdl *hdl, u32 type) { qir::Dump_Get_VlanAction(hdl, 1, type); },
         "\nDump of QIR_GetVlanAction\nop tagNum type \n---------------\n<0>  <1>  <5>\n"},
        {"PppoeAction", 0, qir::Dump_Get_PppoeAction,
         "\nDump of QIR_GetPppoeAction\nop type \n--------\n<0> <0>\n"},
        {"Ipv4Action", 3, qir::Dump_Get_Ipv4Action,
         "\nDump of QIR_GetIpv4Action\nop type \n--------\n<0> <3>\n"},
        {"TcpAction", 1, qir::Dump_Get_TcpAction,
         "\nDump of QIR_GetTcpAction\nop type \n--------\n<0> <1>\n"},
        {"UdpAction", 1, qir::Dump_Get_UdpAction,
         "\nDump of QIR_GetUdpAction\nop type \n--------\n<0> <1>\n"},
    };
    for (const auto &row : rows) {
        const Member &m = Of(row.member);
        SCOPED_TRACE(m.Label());
        const std::string fn = m.Fn("QIR_Get_");
        Restore(m);
        const auto dump = [&] { return CaptureMasked([&] { row.dump(&hdl_, row.type); }); };
        EXPECT_EQ(dump().find(Code("Get_Action", 6) + RetVal(fn, 6)), 0u) << "its refusal shows";
        fcb_->filterBlk.totalTags = 1;
        ASSERT_EQ(Config(m, Good(m, row.type)), 0u);
        const ContextSnapshot before;
        EXPECT_EQ(dump(), row.text);
        EXPECT_TRUE(before.Unchanged());
        RaiseLog(2);
        EXPECT_EQ(dump().find(Inf(fn, "Params: flowHdl_p<0x<ptr>> action_p<0x<ptr>>")), 0u);
        RaiseLog(1);
    }
}

} // namespace
} // namespace test
