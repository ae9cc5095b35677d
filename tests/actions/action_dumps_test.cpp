// Printed action requests, and the diagnostic read-back.
#include "qirapi/private/actions.h"
#include "tests/actions/action_kit.h"

namespace test {
namespace {

class ActionDumps : public ActionFlowTest {
  protected:
    static std::string Dump(const ActionMember &m, const AnyAction &req) {
        return CaptureMasked([&] { m.dump(&req); });
    }
};

// Value bytes that are not part of the value hold 0xEE.
TEST_F(ActionDumps, LabelAndValueOfEveryType) {
    const struct {
        const char *header;
        u32 type;
        u32 value;
        const char *text;
    } rows[] = {
        {"Eth", 0, 0x0A, "type<e_ETH_ACTION_DA> <0x0a:0a:0a:0a:0a:0a> , \n"},
        {"Eth", 1, 0xB0, "type<e_ETH_ACTION_SA> <0xb0:b0:b0:b0:b0:b0> , \n"},
        {"Eth", 2, 0x0800, "type<e_ETH_ACTION_ETHTYPE> val<0x0800> , \n"},
        {"Eth", 3, 0, "type<e_ETH_ACTION_PUSH_TAG> , \n"},
        {"Eth", 4, 0, "type<e_ETH_ACTION_POP_TAG> , \n"},
        {"Vlan[0]", 0, 0x8100007B, "type<e_VLAN_ACTION_SET_TAG> val<0x8100007b> , \n"},
        {"Vlan[1]", 1, 0x0021, "type<e_VLAN_ACTION_SET_TPID> val<0x0021> , \n"},
        {"Vlan[0]", 2, 0xFABC, "type<e_VLAN_ACTION_SET_TCI> val<0xfabc> , \n"},
        {"Vlan[0]", 3, 7, "type<e_VLAN_ACTION_SET_PBITS> val<7> , \n"},
        {"Vlan[0]", 4, 1, "type<e_VLAN_ACTION_SET_DEI> val<1> , \n"},
        {"Vlan[1]", 5, 4095, "type<e_VLAN_ACTION_SET_VID> val<4095> , \n"},
        {"Vlan[0]", 6, 1, "type<e_VLAN_ACTION_COPY_TAG_FROM_TAG> val<1> , \n"},
        {"Vlan[1]", 7, 0, "type<e_VLAN_ACTION_COPY_TPID_FROM_TAG> val<0> , \n"},
        {"Vlan[0]", 8, 1, "type<e_VLAN_ACTION_COPY_TCI_FROM_TAG> val<1> , \n"},
        {"Vlan[0]", 9, 4294967295, "type<e_VLAN_ACTION_COPY_PBITS_FROM_TAG> val<4294967295> , \n"},
        {"Vlan[0]", 10, 65536, "type<e_VLAN_ACTION_COPY_VID_FROM_TAG> val<65536> , \n"},
        {"Vlan[0]", 11, 16777216, "type<e_VLAN_ACTION_COPY_DEI_FROM_TAG> val<16777216> , \n"},
        {"Vlan[0]", 12, 0x12345678, "type<e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP> val<305419896> , \n"},
        {"Vlan[0]", 13, 0x12345678, "type<e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE> , \n"},
        {"Ipv4", 0, 0xE0FF0280, "type<e_IPV4_ACTION_DA> <224.255.2.128> </24> , \n"},
        {"Ipv4", 1, 0x0A000001, "type<e_IPV4_ACTION_SA> <10.0.0.1> </24> , \n"},
        {"Ipv4", 2, 255, "type<e_IPV4_ACTION_TOS> val<255> , \n"},
        {"Ipv4", 3, 46, "type<e_IPV4_ACTION_DSCP> val<46> , \n"},
        {"Tcp", 0, 80, "type<e_TCP_ACTION_SPORT> val<80> , \n"},
        {"Tcp", 1, 65535, "type<e_TCP_ACTION_DPORT> val<65535> , \n"},
        {"Udp", 0, 53, "type<e_UDP_ACTION_SPORT> val<53> , \n"},
        {"Udp", 1, 65535, "type<e_UDP_ACTION_DPORT> val<65535> , \n"},
    };
    for (const auto &row : rows) {
        const ActionMember &m = ActionOf(row.header);
        for (const u32 level : {0u, 3u}) {
            RaiseLog(level);
            EXPECT_EQ(Dump(m, MakeAction(m, row.type, row.value, 0xEE)), row.text);
        }
    }
}

TEST_F(ActionDumps, AddressBytesInOrder) {
    EthAction eth{};
    const u8 mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    std::memcpy(eth.val.mac, mac, sizeof mac);
    EXPECT_EQ(Capture([&] { qir::Dump_EthActionReq(&eth); }),
              "type<e_ETH_ACTION_DA> <0x00:11:22:33:44:55> , \n");
    eth.type = e_ETH_ACTION_SA;
    EXPECT_EQ(Capture([&] { qir::Dump_EthActionReq(&eth); }),
              "type<e_ETH_ACTION_SA> <0x00:11:22:33:44:55> , \n");
    Ipv4Action ip{};
    ip.val.ip.addr = 0xC0A80107;
    ip.val.ip.prefixLen = 4000000000u;
    EXPECT_EQ(Capture([&] { qir::Dump_Ipv4ActionReq(&ip); }),
              "type<e_IPV4_ACTION_DA> <192.168.1.7> </4000000000> , \n");
}

// PPPoE's only action has no label: every type of it is unknown.
TEST_F(ActionDumps, UnknownTypes) {
    const struct {
        const char *header;
        const char *fn;
        const char *text;
        std::vector<u32> types;
    } rows[] = {{"Eth", "Dump_EthActionReq", "Unknown action type", {5, 256, 0xFFFFFFFF}},
                {"Vlan[0]", "Dump_VlanActionReq", "Unknown VLAN action type", {14, 256, 0xFFFFFFFF}},
                {"Pppoe", "Dump_PppoeActionReq", "Unknown action type", {0, 1, 256, 0xFFFFFFFF}},
                {"Ipv4", "Dump_Ipv4ActionReq", "Unknown action type", {4, 256, 0xFFFFFFFF}},
                {"Tcp", "Dump_TcpActionReq", "Unknown action type", {2, 256, 0xFFFFFFFF}},
                {"Udp", "Dump_UdpActionReq", "Unknown action type", {2, 256, 0xFFFFFFFF}}};
    for (const auto &row : rows) {
        for (const u32 type : row.types) {
            EXPECT_EQ(Dump(ActionOf(row.header), MakeAction(ActionOf(row.header), type, 0)),
                      "type" + Err(row.fn, std::string(row.text) + " <" + std::to_string(type) + "> ") +
                          ", \n");
        }
    }
}

TEST_F(ActionDumps, ReadBackOfOneAction) {
    fcb_->filterBlk.totalTags = 1;
    const struct {
        const char *header;
        u32 type;
        const char *text;
    } rows[] = {
        {"Eth", 4, "\nDump of QIR_GetEthAction\nop type \n--------\n<0> <4>\n"},
        {"Vlan[0]", 13, "\nDump of QIR_GetVlanAction\nop tagNum type \n---------------\n<0>  <0>  <13>\n"},
        {"Vlan[1]", 5, "\nDump of QIR_GetVlanAction\nop tagNum type \n---------------\n<0>  <1>  <5>\n"},
        {"Pppoe", 0, "\nDump of QIR_GetPppoeAction\nop type \n--------\n<0> <0>\n"},
        {"Ipv4", 3, "\nDump of QIR_GetIpv4Action\nop type \n--------\n<0> <3>\n"},
        {"Tcp", 1, "\nDump of QIR_GetTcpAction\nop type \n--------\n<0> <1>\n"},
        {"Udp", 1, "\nDump of QIR_GetUdpAction\nop type \n--------\n<0> <1>\n"},
    };
    for (const auto &row : rows) {
        const ActionMember &m = ActionOf(row.header);
        SCOPED_TRACE(m.Label());
        ASSERT_EQ(Config(m, GoodAction(m, row.type)), 0u);
        const ContextSnapshot before;
        EXPECT_EQ(Capture([&] { m.dumpGet(&hdl_, m.tag, row.type); }), row.text);
        EXPECT_TRUE(before.Unchanged());
    }
}

// It reads through the public operation, whose lines show.
TEST_F(ActionDumps, ReadBackGoesThroughThePublicOperation) {
    for (const ActionMember &m : ActionMembers()) {
        SCOPED_TRACE(m.Label());
        const std::string fn = m.Fn("QIR_Get_");
        const std::string refused = CaptureMasked([&] { m.dumpGet(&hdl_, m.tag, 0); });
        const std::string lines = CodeLine("Get_Action", "e_RET_ERR_NO_SUCH_ENTRY") + RetVal(fn, 6);
        EXPECT_EQ(refused.substr(0, lines.size()), lines);
        RaiseLog(2);
        const std::string infos = CaptureMasked([&] { m.dumpGet(&hdl_, m.tag, 0); });
        const std::string params = Inf(fn, "Params: flowHdl_p<0x<ptr>> action_p<0x<ptr>>");
        EXPECT_EQ(infos.substr(0, params.size()), params);
        RaiseLog(1);
    }
}

} // namespace
} // namespace test
