// Every line of the action operations, at each log level.
#include "tests/actions/action_kit.h"

#include <cstdio>

namespace test {
namespace {

struct Row {
    const char *header;
    u32 type;
    const char *record; // behind "Params2: flowHdl<5> "
    const char *dep;    // dependency entry of the type
};

const Row kRows[] = {
    {"Eth", e_ETH_ACTION_ETHTYPE, "op<0> type<2>", "0x0004"},
    {"Eth", e_ETH_ACTION_PUSH_TAG, "op<0> type<3>", "0x0000"},
    {"Vlan[0]", e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE, "op<0> toTagNum<0> type<13>", "0x334d"},
    {"Vlan[1]", e_VLAN_ACTION_SET_TCI, "op<0> toTagNum<1> type<2>", "0x3f7d"},
    {"Pppoe", 0, "op<0> type<0>", "0x0001"},
    {"Ipv4", e_IPV4_ACTION_DSCP, "op<0> type<3>", "0x000c"},
    {"Tcp", e_TCP_ACTION_DPORT, "op<0> type<1>", "0x0002"},
    {"Udp", e_UDP_ACTION_SPORT, "op<0> type<0>", "0x0001"},
};

class ActionLogLines : public ActionFlowTest {
  protected:
    static std::string Params(const std::string &fn, const char *flow, const char *record) {
        return Inf(fn, std::string("Params: flowHdl_p<0x<") + flow + ">> action_p<0x<" + record + ">>");
    }
};

TEST_F(ActionLogLines, AcceptedRequestAndItsReadBackAtEachLevel) {
    for (const Row &row : kRows) {
        const ActionMember &m = ActionOf(row.header);
        SCOPED_TRACE(m.Label() + " " + m.types[row.type].name);
        char bmap[16];
        std::snprintf(bmap, sizeof bmap, "0x%.4x", 1u << row.type);
        const std::string debugs =
            Dbg(m.Chk(), std::string("curBmap<0x0000> depBmap<") + row.dep + "> u16Bmap<0x0000>\n") +
            Dbg(m.Chk(), std::string("bmap after set<") + bmap + "> \n");
        for (const u32 level : {0u, 1u, 2u, 3u}) {
            SCOPED_TRACE(level);
            Restore();
            RaiseLog(level);
            AnyAction req = GoodAction(m, row.type);
            std::string fn = m.Fn("QIR_Config_");
            const std::string params2 = std::string("Params2: flowHdl<5> ") + row.record;
            std::string infos = Params(fn, "ptr", "ptr") + Inf(fn, params2);
            EXPECT_EQ(CaptureMasked([&] { Config(m, req); }),
                      level < 2 ? "" : infos + (level < 3 ? "" : debugs));
            fn = m.Fn("QIR_Get_");
            infos = Params(fn, "ptr", "ptr") + Inf(fn, params2);
            EXPECT_EQ(CaptureMasked([&] { m.get(&hdl_, &req); }), level < 2 ? "" : infos);
        }
    }
}

// The parameter lines show the record as it came, before it is looked at.
TEST_F(ActionLogLines, ParametersAreShownBeforeTheyAreChecked) {
    RaiseLog(2);
    const ContextSnapshot before;
    for (const ActionMember &m : ActionMembers()) {
        SCOPED_TRACE(m.Label());
        AnyAction req = MakeAction(m, 4294967295, 0xEEEEEEEE, 0xEE);
        SetOp(&req, 7);
        if (m.IsVlan()) {
            SetTag(&req, 9);
        }
        FlowHdl bad = hdl_;
        bad.f1.id = 600;
        const std::string params2 = std::string("Params2: flowHdl<600> op<7> ") +
                                    (m.IsVlan() ? "toTagNum<9> " : "") + "type<4294967295>";
        const std::string handle = Err("Validate_FlowHdl", "Value out of range for flowHdl<600>") +
                                   CodeLine("Validate_FlowHdl", "e_RET_ERR_INVALID_HDL");
        std::string fn = m.Fn("QIR_Config_");
        EXPECT_EQ(CaptureMasked([&] { m.config(&bad, &req); }),
                  Params(fn, "ptr", "ptr") + Inf(fn, params2) + handle + RetVal(fn, 3));
        fn = m.Fn("QIR_Get_");
        EXPECT_EQ(CaptureMasked([&] { m.get(&bad, &req); }),
                  Params(fn, "ptr", "ptr") + Inf(fn, params2) + handle + RetVal(fn, 3));
    }
    EXPECT_TRUE(before.Unchanged());
}

// A null pointer ends the call behind the first parameter line.
TEST_F(ActionLogLines, NullPointersAtDebugLevel) {
    RaiseLog(3);
    const ContextSnapshot before;
    for (const ActionMember &m : ActionMembers()) {
        SCOPED_TRACE(m.Label());
        AnyAction req = GoodAction(m, 0);
        std::string fn = m.Fn("QIR_Config_");
        std::string refused = Refusal(fn, "e_RET_ERR_NULL_PTR", 2);
        EXPECT_EQ(CaptureMasked([&] { m.config(nullptr, &req); }), Params(fn, "nil", "ptr") + refused);
        EXPECT_EQ(CaptureMasked([&] { m.config(&hdl_, nullptr); }), Params(fn, "ptr", "nil") + refused);
        EXPECT_EQ(CaptureMasked([&] { m.config(nullptr, nullptr); }), Params(fn, "nil", "nil") + refused);
        fn = m.Fn("QIR_Get_");
        refused = Refusal(fn, "e_RET_ERR_NULL_PTR", 2);
        EXPECT_EQ(CaptureMasked([&] { m.get(nullptr, &req); }), Params(fn, "nil", "ptr") + refused);
        EXPECT_EQ(CaptureMasked([&] { m.get(&hdl_, nullptr); }), Params(fn, "ptr", "nil") + refused);
    }
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(ActionLogLines, RefusalsAtDebugLevel) {
    RaiseLog(3);
    const ActionMember &eth = ActionOf("Eth");
    const std::string fn = "QIR_Config_EthAction";
    const std::string params = Params(fn, "ptr", "ptr");
    fcb_->filterBlk.totalTags = 2;
    EXPECT_EQ(CaptureMasked([&] { Config(eth, GoodAction(eth, e_ETH_ACTION_PUSH_TAG)); }),
              params + Inf(fn, "Params2: flowHdl<5> op<0> type<3>") +
                  Dbg("Chk_ActionDepBmapTbl", "curBmap<0x0000> depBmap<0x0000> u16Bmap<0x0000>\n") +
                  Dbg("Chk_ActionDepBmapTbl", "bmap after set<0x0008> \n") +
                  "pushedTags=0 filter totalTags=2 \n" +
                  CodeLine("Config_EthAction", "e_RET_ERR_INVALID_PARAM") + RetVal(fn, 25));
    fcb_->actionBlk.lastEthAction = e_ETH_ACTION_POP_TAG;
    EXPECT_EQ(CaptureMasked([&] { Config(eth, GoodAction(eth, e_ETH_ACTION_DA)); }),
              params + Inf(fn, "Params2: flowHdl<5> op<0> type<0>") +
                  Dbg("Chk_ActionDepBmapTbl", "curBmap<0x0008> depBmap<0x0001> u16Bmap<0x0000>\n") +
                  Dbg("Chk_ActionDepBmapTbl", "bmap after set<0x0009> \n") +
                  CodeLine("Config_EthAction", "e_RET_ERR_REQOUTOFORDER") + RetVal(fn, 9));
    EXPECT_EQ(CaptureMasked([&] { Config(eth, GoodAction(eth, e_ETH_ACTION_DA)); }),
              params + Inf(fn, "Params2: flowHdl<5> op<0> type<0>") +
                  Dbg("Chk_ActionDepBmapTbl", "curBmap<0x0009> depBmap<0x0001> u16Bmap<0x0001>\n") +
                  CodeLine("Chk_ActionDepBmapTbl", "e_RET_ERR_INVALID_ACTIONSEQ") + RetVal(fn, 23));
    EXPECT_EQ(CaptureMasked([&] { Config(eth, MakeAction(eth, e_ETH_ACTION_ETHTYPE, 0x05FF)); }),
              params + Inf(fn, "Params2: flowHdl<5> op<0> type<2>") +
                  CodeLine("Validate_Config_EthAction", "e_RET_ERR_INVALID_PARAM") + RetVal(fn, 25));
    EthAction query{};
    query.type = 7;
    EXPECT_EQ(CaptureMasked([&] { QIR_Get_EthAction(&hdl_, &query); }),
              Params("QIR_Get_EthAction", "ptr", "ptr") +
                  Inf("QIR_Get_EthAction", "Params2: flowHdl<5> op<0> type<7>") +
                  CodeLine("Validate_Get_EthAction", "e_RET_ERR_INVALID_PARAM") +
                  RetVal("QIR_Get_EthAction", 25));
}

TEST_F(ActionLogLines, MplsOperationsSayAndDoNothing) {
    RaiseLog(3);
    u8 record[64];
    std::memset(record, 0x5A, sizeof record);
    FlowHdl bad = Flow(600);
    const ContextSnapshot before;
    u32 codes[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(Capture([&] {
                  codes[0] = QIR_Config_MplsAction(nullptr, nullptr);
                  codes[1] = QIR_Config_MplsAction(&hdl_, record);
                  codes[2] = QIR_Config_MplsAction(&bad, record);
                  codes[3] = QIR_Get_MplsAction(nullptr, nullptr);
                  codes[4] = QIR_Get_MplsAction(&hdl_, record);
                  codes[5] = QIR_Get_MplsAction(&bad, record);
              }),
              "");
    for (const u32 code : codes) {
        EXPECT_EQ(code, 0u);
    }
    for (const u8 byte : record) {
        ASSERT_EQ(byte, 0x5Au);
    }
    EXPECT_TRUE(before.Unchanged());
}

} // namespace
} // namespace test
