// Every line of the operations, at each log level.
#include "tests/requests/request_kit.h"

namespace test {
namespace {

// A call of each operation, and what its second parameter line says of the record behind "Params2: flowHdl<5>
// ".
struct Row {
    const char *member;
    u32 type, cmpOp, value;
    const char *config;
    const char *get;
    const char *dep; // dependency entry of the type
};

const Row kRows[] = {
    {"EthFilter", 4, 1, 0x88A8, "op<0> type<4> cmpOp<1> val<0x88a8> ", "op<0> type<4> cmpOp<1> ", "0x0000"},
    {"Vlan0Filter", 0, 0, 0x8100007B, "op<0> toTagNum<0> type<0> cmpOp<0> val<0x8100007b> ",
     "op<0> toTagNum<0> type<0> cmpOp<0>", "0x003f"},
    {"Vlan1Filter", 0, 0, 0x1F, "op<0> toTagNum<1> type<0> cmpOp<0> val<0x0000001f> ",
     "op<0> toTagNum<1> type<0> cmpOp<0>", "0x003f"},
    {"PppoeFilter", 4, 1, 0x0021, "op<0> type<4> cmpOp<1> val<0x0021", "op<0> type<4> cmpOp<1>", "0x0010"},
    {"Ipv4Filter", 2, 0, 24, "op<0> type<2> cmpOp<0> val<0x0a000001>", "op<0> type<2> cmpOp<0>", "0x0004"},
    {"TcpFilter", 1, 1, 80, "op<0> type<1> cmpOp<1>", "op<0> type<1> cmpOp<1>", "0x0002"},
    {"UdpFilter", 0, 0, 53, "op<0> type<0> cmpOp<0>", "op<0> type<0> cmpOp<0>", "0x0001"},
    {"EthAction", 2, 0, 0x0600, "op<0> type<2>", "op<0> type<2>", "0x0004"},
    {"EthAction", 3, 0, 0, "op<0> type<3>", "op<0> type<3>", "0x0000"},
    {"Vlan0Action", 13, 0, 0, "op<0> toTagNum<0> type<13>", "op<0> toTagNum<0> type<13>", "0x334d"},
    {"Vlan1Action", 2, 0, 0, "op<0> toTagNum<1> type<2>", "op<0> toTagNum<1> type<2>", "0x3f7d"},
    {"PppoeAction", 0, 0, 0, "op<0> type<0>", "op<0> type<0>", "0x0001"},
    {"Ipv4Action", 3, 0, 0, "op<0> type<3>", "op<0> type<3>", "0x000c"},
    {"TcpAction", 1, 0, 0, "op<0> type<1>", "op<0> type<1>", "0x0002"},
    {"UdpAction", 0, 0, 0, "op<0> type<0>", "op<0> type<0>", "0x0001"},
};

class LogLines : public RequestTest {
  protected:
    // The first parameter lines, with pointers as they are masked.
    static std::string ConfigParams(const Member &m, const char *flow, const char *record) {
        return Inf(m.Fn("QIR_Config_"), std::string("Params: flowHdl_p<0x<") + flow + ">> " + m.Pointer() +
                                            "<0x<" + record + ">>");
    }
    static std::string GetParams(const Member &m, const char *flow, const char *record, unsigned size = 0,
                                 const char *count = "ptr") {
        return Inf(
            m.Fn("QIR_Get_"),
            std::string("Params: flowHdl_p<0x<") + flow + ">> " + m.Pointer() + "<0x<" + record + ">>" +
                (m.isFilter ? " size<" + std::to_string(size) + ">elemCount_p<0x<" + count + ">>" : ""));
    }
};

TEST_F(LogLines, AcceptedRequestAndItsReadBackAtEachLevel) {
    for (const Row &row : kRows) {
        const Member &m = Of(row.member);
        const std::string params2 = "Params2: flowHdl<5> ";
        const std::string infos =
            ConfigParams(m, "ptr", "ptr") + Inf(m.Fn("QIR_Config_"), params2 + row.config);
        const std::string getInfos = GetParams(m, "ptr", "ptr", 7) + Inf(m.Fn("QIR_Get_"), params2 + row.get);
        char bmap[16];
        std::snprintf(bmap, sizeof bmap, "0x%.4x", 1u << row.type);
        std::string debugs =
            Dbg(m.Chk(), std::string("curBmap<0x0000> depBmap<") + row.dep + "> u16Bmap<0x0000>\n") +
            Dbg(m.Chk(), std::string("bmap after set<") + bmap + "> \n");
        if (m.isFilter) {
            debugs += Dbg(m.Chk(), std::string("Cnt<0> GlobalCnt<") + (row.cmpOp == 1 ? "4" : "1") + "> \n");
        }
        for (const u32 level : {0u, 1u, 2u, 3u}) {
            SCOPED_TRACE(m.Label() + " level " + std::to_string(level));
            Restore(m);
            RaiseLog(level);
            AnyRequest req[7];
            req[0] = Make(m, row.type, row.value, row.cmpOp);
            EXPECT_EQ(CaptureMasked([&] { Config(m, req[0]); }),
                      level < 2 ? "" : infos + (level < 3 ? "" : debugs));
            u8 count = 0;
            EXPECT_EQ(CaptureMasked([&] { m.get(&hdl_, req, 7, &count); }), level < 2 ? "" : getInfos);
        }
    }
}

// The parameter lines show the record as it came, before it is looked at.
TEST_F(LogLines, ParametersAreShownBeforeTheyAreChecked) {
    RaiseLog(2);
    const ContextSnapshot before;
    const std::string handle =
        Err("Validate_FlowHdl", "Value out of range for flowHdl<600>") + Code("Validate_FlowHdl", 3);
    for (const Member &m : Members()) {
        SCOPED_TRACE(m.Label());
        AnyRequest req = Make(m, 300, 0xEEEEEEEE, 0xFFFFFFFF, 0xEE);
        SetOp(&req, 7);
        if (m.IsVlan()) {
            SetTag(m, &req, 9);
        }
        FlowHdl bad = Flow(600);
        const std::string record = std::string("Params2: flowHdl<600> op<7> ") +
                                   (m.IsVlan() ? "toTagNum<9> " : "") + "type<300>" +
                                   (m.isFilter ? " cmpOp<4294967295>" : "");
        const std::string val = !m.isFilter || m.IsL4() ? ""
                                : m.Is("Eth")           ? " val<0xeeee> "
                                : m.Is("Vlan")          ? " val<0xeeeeeeee> "
                                : m.Is("Pppoe")         ? " val<0xeeee"
                                                        : " val<0xeeeeeeee>";
        std::string fn = m.Fn("QIR_Config_");
        EXPECT_EQ(CaptureMasked([&] { m.config(&bad, &req); }),
                  ConfigParams(m, "ptr", "ptr") + Inf(fn, record + val) + handle + RetVal(fn, 3));
        fn = m.Fn("QIR_Get_");
        u8 count = 0;
        EXPECT_EQ(CaptureMasked([&] { m.get(&bad, &req, 255, &count); }),
                  GetParams(m, "ptr", "ptr", 255) + Inf(fn, record + (m.isFilter && m.Is("Eth") ? " " : "")) +
                      handle + RetVal(fn, 3));
    }
    EXPECT_TRUE(before.Unchanged());
}

// A null pointer ends the call behind the first parameter line.
TEST_F(LogLines, NullPointersAtDebugLevel) {
    RaiseLog(3);
    const ContextSnapshot before;
    for (const Member &m : Members()) {
        SCOPED_TRACE(m.Label());
        AnyRequest req = Good(m, 0);
        for (const auto &[flow, record] :
             {std::pair<bool, bool>{false, true}, {true, false}, {false, false}}) {
            const char *const flowText = flow ? "ptr" : "nil";
            const char *const recordText = record ? "ptr" : "nil";
            FlowHdl *const hdl = flow ? &hdl_ : nullptr;
            AnyRequest *const to = record ? &req : nullptr;
            EXPECT_EQ(CaptureMasked([&] { m.config(hdl, to); }),
                      ConfigParams(m, flowText, recordText) +
                          Refusal(m.Fn("QIR_Config_"), "e_RET_ERR_NULL_PTR", 2));
            EXPECT_EQ(CaptureMasked([&] { m.get(hdl, to, 3, nullptr); }),
                      GetParams(m, flowText, recordText, 3, "nil") +
                          Refusal(m.Fn("QIR_Get_"), "e_RET_ERR_NULL_PTR", 2));
        }
    }
    EXPECT_TRUE(before.Unchanged());
}

// The lines of a refusal, between the parameter lines and the closing line.
TEST_F(LogLines, RefusalsAtDebugLevel) {
    const Member &vlan = Of("Vlan1Filter");
    Restore(vlan);
    vlan.Entry(fcb_)->curBmap = 0x0004;
    RaiseLog(3);
    std::string fn = "QIR_Config_VlanFilter";
    EXPECT_EQ(CaptureMasked([&] { Config(vlan, Make(vlan, e_VLAN_FILT_TAG, 0x12345678)); }),
              ConfigParams(vlan, "ptr", "ptr") +
                  Inf(fn, "Params2: flowHdl<5> op<0> toTagNum<1> type<0> cmpOp<0> val<0x12345678> ") +
                  Dbg("Chk_FilterDepBmapTbl", "curBmap<0x0004> depBmap<0x003f> u16Bmap<0x0004>\n") +
                  Code("Chk_FilterDepBmapTbl", 22) + RetVal(fn, 22));
    const Member &eth = Of("EthAction");
    Restore(eth);
    fcb_->filterBlk.totalTags = 2;
    fn = "QIR_Config_EthAction";
    EXPECT_EQ(CaptureMasked([&] { Config(eth, Good(eth, e_ETH_ACTION_PUSH_TAG)); }),
              ConfigParams(eth, "ptr", "ptr") + Inf(fn, "Params2: flowHdl<5> op<0> type<3>") +
                  Dbg("Chk_ActionDepBmapTbl", "curBmap<0x0000> depBmap<0x0000> u16Bmap<0x0000>\n") +
                  Dbg("Chk_ActionDepBmapTbl", "bmap after set<0x0008> \n") +
                  "pushedTags=0 filter totalTags=2 \n" + Code("Config_EthAction", 25) + RetVal(fn, 25));
}

// The code of a refusal does not depend on the log level, and its lines cannot be silenced.
TEST_F(LogLines, ErrorLinesAtLevelZero) {
    const Member &udp = Of("UdpFilter");
    Restore(udp);
    qelLog_setGlobalLogLevel(0);
    RaiseLog(0);
    const Outcome is = Run([&] { return Config(udp, Make(udp, 0, 0, e_CMP_IN_RANGE)); });
    EXPECT_EQ(is.lines, "[ERROR orxapi] Validate_Config_UdpFilter,#: \"e_RET_ERR_INVALID_CMPOPSEQ\"\n"
                        "[ERROR orxapi] Validate_Config_UdpFilter,#: \"e_RET_ERR_INVALID_PARAM\"\n"
                        "[ERROR orxapi] QIR_Config_UdpFilter,#: retVal <25>\n");
    EXPECT_EQ(is.code, 25u);
}

} // namespace
} // namespace test
