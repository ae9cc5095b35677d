// Every line of the filter operations, at each log level.
#include "tests/filters/filter_kit.h"

#include <cstdio>

namespace test {
namespace {

// A call of each operation, and what its second parameter line says of the record.
struct Row {
    const char *header;
    u32 type, cmpOp, value;
    const char *config; // behind "Params2: flowHdl<5> "
    const char *get;
    const char *dep; // dependency entry of the type
};

const Row kRows[] = {
    {"Eth", 4, 1, 0x88A8, "op<0> type<4> cmpOp<1> val<0x88a8> ", "op<0> type<4> cmpOp<1> ", "0x0000"},
    {"Vlan[0]", 0, 0, 0x8100007B, "op<0> toTagNum<0> type<0> cmpOp<0> val<0x8100007b> ",
     "op<0> toTagNum<0> type<0> cmpOp<0>", "0x003f"},
    {"Vlan[1]", 0, 0, 0x1F, "op<0> toTagNum<1> type<0> cmpOp<0> val<0x0000001f> ",
     "op<0> toTagNum<1> type<0> cmpOp<0>", "0x003f"},
    {"Pppoe", 4, 1, 0x0021, "op<0> type<4> cmpOp<1> val<0x0021", "op<0> type<4> cmpOp<1>", "0x0010"},
    {"Ipv4", 2, 0, 24, "op<0> type<2> cmpOp<0> val<0x0a000001>", "op<0> type<2> cmpOp<0>", "0x0004"},
    {"Tcp", 1, 1, 80, "op<0> type<1> cmpOp<1>", "op<0> type<1> cmpOp<1>", "0x0002"},
    {"Udp", 0, 0, 53, "op<0> type<0> cmpOp<0>", "op<0> type<0> cmpOp<0>", "0x0001"},
};

class FilterLogLines : public FilterFlowTest {
  protected:
    static std::string ConfigParams(const std::string &fn, const char *flow, const char *record) {
        return Inf(fn, std::string("Params: flowHdl_p<0x<") + flow + ">> filter_p<0x<" + record + ">>");
    }
    static std::string GetParams(const std::string &fn, const char *flow, const char *record, unsigned size,
                                 const char *count) {
        return Inf(fn, std::string("Params: flowHdl_p<0x<") + flow + ">> filter_p<0x<" + record + ">> size<" +
                           std::to_string(size) + ">elemCount_p<0x<" + count + ">>");
    }
    static std::string Params2(const std::string &fn, const std::string &rest) {
        return Inf(fn, "Params2: flowHdl<5> " + rest);
    }
};

TEST_F(FilterLogLines, AcceptedRequestAtEachLevel) {
    for (const Row &row : kRows) {
        const FilterMember &m = FilterOf(row.header);
        SCOPED_TRACE(m.Label());
        const std::string fn = m.Fn("QIR_Config_");
        const AnyFilter req = MakeFilter(m, row.type, row.cmpOp, row.value);
        const std::string infos = ConfigParams(fn, "ptr", "ptr") + Params2(fn, row.config);
        char bmap[16];
        std::snprintf(bmap, sizeof bmap, "0x%.4x", 1u << row.type);
        const std::string debugs =
            Dbg(m.Chk(), std::string("curBmap<0x0000> depBmap<") + row.dep + "> u16Bmap<0x0000>\n") +
            Dbg(m.Chk(), std::string("bmap after set<") + bmap + "> \n") +
            Dbg(m.Chk(), std::string("Cnt<0> GlobalCnt<") + (row.cmpOp == 1 ? "4" : "1") + "> \n");
        for (const auto &[level, text] :
             {std::pair<u32, std::string>{0, ""}, {1, ""}, {2, infos}, {3, infos + debugs}}) {
            SCOPED_TRACE(level);
            Restore();
            RaiseLog(level);
            EXPECT_EQ(CaptureMasked([&] { Config(m, req); }), text);
        }
    }
}

TEST_F(FilterLogLines, ReadBackAtEachLevel) {
    for (const Row &row : kRows) {
        const FilterMember &m = FilterOf(row.header);
        SCOPED_TRACE(m.Label());
        const std::string fn = m.Fn("QIR_Get_");
        const std::string infos = GetParams(fn, "ptr", "ptr", 7, "ptr") + Params2(fn, row.get);
        for (const auto &[level, text] : {std::pair<u32, std::string>{1, ""}, {2, infos}, {3, infos}}) {
            SCOPED_TRACE(level);
            AnyFilter records[7];
            records[0] = MakeFilter(m, row.type, row.cmpOp, row.value);
            u8 count = 0;
            RaiseLog(level);
            EXPECT_EQ(CaptureMasked([&] { m.get(&hdl_, &records[0], 7, &count); }), text);
        }
    }
}

// The parameter lines show the record as it came, before it is looked at.
TEST_F(FilterLogLines, ParametersAreShownBeforeTheyAreChecked) {
    const struct {
        const char *header;
        const char *config;
        const char *get;
    } rows[] = {
        {"Eth", "op<7> type<300> cmpOp<4294967295> val<0xeeee> ", "op<7> type<300> cmpOp<4294967295> "},
        {"Vlan[0]", "op<7> toTagNum<9> type<300> cmpOp<4294967295> val<0xeeeeeeee> ",
         "op<7> toTagNum<9> type<300> cmpOp<4294967295>"},
        {"Pppoe", "op<7> type<300> cmpOp<4294967295> val<0xeeee", "op<7> type<300> cmpOp<4294967295>"},
        {"Ipv4", "op<7> type<300> cmpOp<4294967295> val<0xeeeeeeee>", "op<7> type<300> cmpOp<4294967295>"},
        {"Tcp", "op<7> type<300> cmpOp<4294967295>", "op<7> type<300> cmpOp<4294967295>"},
        {"Udp", "op<7> type<300> cmpOp<4294967295>", "op<7> type<300> cmpOp<4294967295>"},
    };
    RaiseLog(2);
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.header);
        SCOPED_TRACE(m.Label());
        AnyFilter req = MakeFilter(m, 300, 0xFFFFFFFF, 0xEEEEEEEE, 0xEE);
        SetOp(&req, 7);
        if (m.IsVlan()) {
            SetTag(&req, 9);
        }
        FlowHdl bad = hdl_;
        bad.f1.id = 600;
        const std::string handle = Err("Validate_FlowHdl", "Value out of range for flowHdl<600>") +
                                   CodeLine("Validate_FlowHdl", "e_RET_ERR_INVALID_HDL");
        std::string fn = m.Fn("QIR_Config_");
        EXPECT_EQ(CaptureMasked([&] { m.config(&bad, &req); }),
                  ConfigParams(fn, "ptr", "ptr") +
                      Inf(fn, std::string("Params2: flowHdl<600> ") + row.config) + handle + RetVal(fn, 3));
        fn = m.Fn("QIR_Get_");
        u8 count = 0;
        EXPECT_EQ(CaptureMasked([&] { m.get(&bad, &req, 255, &count); }),
                  GetParams(fn, "ptr", "ptr", 255, "ptr") +
                      Inf(fn, std::string("Params2: flowHdl<600> ") + row.get) + handle + RetVal(fn, 3));
    }
}

// A null pointer ends the call behind the first parameter line.
TEST_F(FilterLogLines, NullPointersAtInformationLevel) {
    RaiseLog(3);
    const ContextSnapshot before;
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        AnyFilter req = GoodFilter(m, 0, 0);
        u8 count = 0;
        std::string fn = m.Fn("QIR_Config_");
        const std::string refused = Refusal(fn, "e_RET_ERR_NULL_PTR", 2);
        EXPECT_EQ(CaptureMasked([&] { m.config(nullptr, &req); }), ConfigParams(fn, "nil", "ptr") + refused);
        EXPECT_EQ(CaptureMasked([&] { m.config(&hdl_, nullptr); }), ConfigParams(fn, "ptr", "nil") + refused);
        EXPECT_EQ(CaptureMasked([&] { m.config(nullptr, nullptr); }),
                  ConfigParams(fn, "nil", "nil") + refused);
        fn = m.Fn("QIR_Get_");
        const std::string unread = Refusal(fn, "e_RET_ERR_NULL_PTR", 2);
        EXPECT_EQ(CaptureMasked([&] { m.get(nullptr, &req, 3, &count); }),
                  GetParams(fn, "nil", "ptr", 3, "ptr") + unread);
        EXPECT_EQ(CaptureMasked([&] { m.get(&hdl_, nullptr, 0, nullptr); }),
                  GetParams(fn, "ptr", "nil", 0, "nil") + unread);
    }
    EXPECT_TRUE(before.Unchanged());
}

// The lines of a refusal in validation, between the parameter lines and the closing line.
TEST_F(FilterLogLines, RefusalsAtDebugLevel) {
    RaiseLog(3);
    const FilterMember &vlan = FilterOf("Vlan[1]");
    const std::string fn = "QIR_Config_VlanFilter";
    fcb_->filterBlk.vlan[1].hdr.curBmap = 0x0004;
    EXPECT_EQ(CaptureMasked([&] { Config(vlan, MakeFilter(vlan, e_VLAN_FILT_TAG, 0, 0x12345678)); }),
              ConfigParams(fn, "ptr", "ptr") +
                  Params2(fn, "op<0> toTagNum<1> type<0> cmpOp<0> val<0x12345678> ") +
                  Dbg("Chk_FilterDepBmapTbl", "curBmap<0x0004> depBmap<0x003f> u16Bmap<0x0004>\n") +
                  CodeLine("Chk_FilterDepBmapTbl", "e_RET_ERR_INVALID_FILTSEQ") + RetVal(fn, 22));
    EXPECT_EQ(CaptureMasked([&] { Config(vlan, MakeFilter(vlan, e_VLAN_FILT_TAG, 2, 0x12345678)); }),
              ConfigParams(fn, "ptr", "ptr") +
                  Params2(fn, "op<0> toTagNum<1> type<0> cmpOp<2> val<0x12345678> ") +
                  CodeLine("Validate_Config_VlanFilter", "e_RET_ERR_INVALID_CMPOPSEQ") + RetVal(fn, 21));
    const FilterMember &tcp = FilterOf("Tcp");
    EXPECT_EQ(CaptureMasked([&] { Config(tcp, MakeFilter(tcp, e_TCP_FILT_CTRL, 0, 64)); }),
              ConfigParams("QIR_Config_TcpFilter", "ptr", "ptr") +
                  Params2("QIR_Config_TcpFilter", "op<0> type<6> cmpOp<0>") +
                  Dbg("Chk_L4FilterDepBmapTbl", "curBmap<0x0000> depBmap<0x007c> u16Bmap<0x0000>\n") +
                  Dbg("Chk_L4FilterDepBmapTbl", "bmap after set<0x0040> \n") +
                  Dbg("Chk_L4FilterDepBmapTbl", "Cnt<0> GlobalCnt<1> \n") +
                  CodeLine("Validate_Config_TcpFilter", "e_RET_ERR_INVALID_PARAM") +
                  RetVal("QIR_Config_TcpFilter", 25));
}

// The code of a refusal does not depend on the log level, and its lines cannot be silenced.
TEST_F(FilterLogLines, ErrorLinesAtLevelZero) {
    qelLog_setGlobalLogLevel(0);
    RaiseLog(0);
    const FilterMember &udp = FilterOf("Udp");
    u32 code = 0;
    EXPECT_EQ(CaptureMasked([&] { code = Config(udp, MakeFilter(udp, 0, e_CMP_IN_RANGE, 0)); }),
              "[ERROR orxapi] Validate_Config_UdpFilter,#: \"e_RET_ERR_INVALID_CMPOPSEQ\"\n"
              "[ERROR orxapi] Validate_Config_UdpFilter,#: \"e_RET_ERR_INVALID_PARAM\"\n"
              "[ERROR orxapi] QIR_Config_UdpFilter,#: retVal <25>\n");
    EXPECT_EQ(code, 25u);
}

TEST_F(FilterLogLines, MplsOperationsSayAndDoNothing) {
    RaiseLog(3);
    u8 record[64];
    std::memset(record, 0x5A, sizeof record);
    u8 count = 0x99;
    FlowHdl bad = Flow(600);
    const ContextSnapshot before;
    u32 codes[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(Capture([&] {
                  codes[0] = QIR_Config_MplsFilter(nullptr, nullptr);
                  codes[1] = QIR_Config_MplsFilter(&hdl_, record);
                  codes[2] = QIR_Config_MplsFilter(&bad, record);
                  codes[3] = QIR_Get_MplsFilter(nullptr, nullptr, 0, nullptr);
                  codes[4] = QIR_Get_MplsFilter(&hdl_, record, 3, &count);
                  codes[5] = QIR_Get_MplsFilter(&bad, record, 0, &count);
              }),
              "");
    for (const u32 code : codes) {
        EXPECT_EQ(code, 0u);
    }
    EXPECT_EQ(count, 0x99u);
    for (const u8 byte : record) {
        ASSERT_EQ(byte, 0x5Au);
    }
    EXPECT_TRUE(before.Unchanged());
}

} // namespace
} // namespace test
