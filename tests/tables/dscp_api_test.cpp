// DSCP-to-pbits tables: default, ranges, rows, states and the order of checks.
#include "tests/tables/support.h"

namespace test::dscp_api {
namespace {

const char *const kSetDef = "QIR_Set_DscpToPbitsTable_DefPbits";
const char *const kGetDef = "QIR_Get_DscpToPbitsTable_DefPbits";
const char *const kSet = "QIR_Set_DscpToPbitsTable";
const char *const kGet = "QIR_Get_DscpToPbitsTable";

// Tables 0 allocated, 1 configured, 2 active (both for port 2 with default 3); 3 free, 6 behind the pool.
class DscpTables : public LibraryTest {
  protected:
    static constexpr unsigned kBeyond = 6;

    void SetUp() override {
        LibraryTest::SetUp();
        for (unsigned id = 0; id < 3; ++id) {
            DscpTblHdl hdl{};
            ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&hdl), 0u);
            ASSERT_EQ(hdl.f1.id, id);
        }
        const DscpDefPbits def{2, 3, {0xD1, 0xD2, 0xD3}};
        ASSERT_EQ(On(QIR_Set_DscpToPbitsTable_DefPbits, kCfg, &def)(), 0u);
        ASSERT_EQ(On(QIR_Set_DscpToPbitsTable_DefPbits, kActive, &def)(), 0u);
        ASSERT_EQ(On(QIR_Activate_DscpToPbitsTable, kActive)(), 0u);
    }

    static qir::DscpTblInfo *Table(unsigned id) { return &qirCtxt_gp->dscpTblPool[id]; }
};

std::string Params(const std::string &fn) {
    return Inf(fn, "Params: dscpTblHdl_p<0x<ptr>>");
}
std::string Params2(const std::string &fn, unsigned id) {
    return Inf(fn, "Params2: dscpTblHdl<" + std::to_string(id) + ">");
}

// Null pointer, handle behind the pool, free table: the three that Free, Activate and Deactivate share.
std::vector<Refused> HandleRows(const std::string &fn, uint32_t (*op)(DscpTblHdl *)) {
    return {
        {"null handle", OnNull(op), 2, Inf(fn, "Params: dscpTblHdl_p<0x<nil>>"),
         Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"handle 6", On(op, 6), 3, Params(fn) + Params2(fn, 6),
         OutOfRange("Dscp", "dscpTblHdl", 6) + RetVal(fn, 3)},
        {"handle 255", On(op, 255), 3, Params(fn) + Params2(fn, 255),
         OutOfRange("Dscp", "dscpTblHdl", 255) + RetVal(fn, 3)},
        {"free table", On(op, kFree), 3, Params(fn) + Params2(fn, kFree),
         TableIsFree("Dscp", "dscpTblHdl", kFree) + RetVal(fn, 3)},
    };
}

TEST_F(DscpTables, FreeRefuses) {
    const std::string fn = "QIR_Free_DscpToPbitsTable";
    ExpectRefused(HandleRows(fn, QIR_Free_DscpToPbitsTable));
    ExpectRefused({{"active", On(QIR_Free_DscpToPbitsTable, kActive), 15, Params(fn) + Params2(fn, kActive),
                    Refusal(fn, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15)}});
}

TEST_F(DscpTables, FreeTakesAllocatedAndConfiguredTablesWhateverTheirReferenceCount) {
    const std::string fn = "QIR_Free_DscpToPbitsTable";
    for (const unsigned id : {kAlloc, kCfg}) {
        for (uint32_t level = 0; level <= 3; ++level) {
            const uint32_t status = Table(id)->status;
            Table(id)->refCnt = 1;
            Image expected = Image::Of(*Table(id)).U32(20, e_STATUS_FREE);
            const ContextSnapshot before;
            ExpectAccepted(On(QIR_Free_DscpToPbitsTable, id), Params(fn) + Params2(fn, id), level);
            EXPECT_TRUE(expected.Is(Table(id)));
            EXPECT_TRUE(OnlyChanged(before, Table(id), 88));
            Table(id)->status = status;
        }
    }
}

TEST_F(DscpTables, ActivateRefuses) {
    const std::string fn = "QIR_Activate_DscpToPbitsTable";
    ExpectRefused(HandleRows(fn, QIR_Activate_DscpToPbitsTable));
    ExpectRefused({{"allocated, no default yet", On(QIR_Activate_DscpToPbitsTable, kAlloc), 17,
                    Params(fn) + Params2(fn, kAlloc), Refusal(fn, "e_RET_ERR_STATE_NOTCFG", 17)},
                   {"active already", On(QIR_Activate_DscpToPbitsTable, kActive), 15,
                    Params(fn) + Params2(fn, kActive), Refusal(fn, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15)}});
}

TEST_F(DscpTables, DeactivateRefuses) {
    const std::string fn = "QIR_Deactivate_DscpToPbitsTable";
    ExpectRefused(HandleRows(fn, QIR_Deactivate_DscpToPbitsTable));
    for (const unsigned id : {kAlloc, kCfg}) {
        ExpectRefused({{"not active", On(QIR_Deactivate_DscpToPbitsTable, id), 14,
                        Params(fn) + Params2(fn, id), Refusal(fn, "e_RET_ERR_RESRC_NOT_ACTIVE", 14)}});
    }
}

TEST_F(DscpTables, ActivateAndDeactivatePrintPointerAndIndex) {
    const std::string on = "QIR_Activate_DscpToPbitsTable";
    const std::string off = "QIR_Deactivate_DscpToPbitsTable";
    for (uint32_t level = 0; level <= 3; ++level) {
        ExpectAccepted(On(QIR_Activate_DscpToPbitsTable, kCfg), Params(on) + Params2(on, kCfg), level);
        EXPECT_EQ(Table(kCfg)->status, e_STATUS_ACTIVE);
        ExpectAccepted(On(QIR_Deactivate_DscpToPbitsTable, kCfg), Params(off) + Params2(off, kCfg), level);
        EXPECT_EQ(Table(kCfg)->status, e_STATUS_CFG);
    }
}

TEST_F(DscpTables, ActivatingTwiceAndDeactivatingATableThatIsNotActive) {
    EXPECT_EQ(Call(On(QIR_Activate_DscpToPbitsTable, kCfg)).code, 0u);
    EXPECT_EQ(Call(On(QIR_Activate_DscpToPbitsTable, kCfg)).code, 15u);
    EXPECT_EQ(Call(On(QIR_Deactivate_DscpToPbitsTable, kCfg)).code, 0u);
    EXPECT_EQ(Call(On(QIR_Deactivate_DscpToPbitsTable, kCfg)).code, 14u);
}

std::string DefParams(const char *fn) {
    return Inf(fn, "Params: dscpTblHdl_p<0x<ptr>> defPbits_p<0x<ptr>>");
}
std::string DefHead(unsigned id, const std::string &srcPort, const std::string &pbits) {
    return DefParams(kSetDef) + Inf(kSetDef, "Params2: dscpTblHdl<" + std::to_string(id) + "> srcPort<" +
                                                 srcPort + "> pbits<" + pbits + ">");
}

TEST_F(DscpTables, SetDefaultRefuses) {
    constexpr auto op = QIR_Set_DscpToPbitsTable_DefPbits;
    const DscpDefPbits good{8, 7, {}};
    const DscpDefPbits port9{9, 7, {}};
    const DscpDefPbits portMax{0xFFFFFFFF, 7, {}};
    const DscpDefPbits pbits8{8, 8, {}};
    const DscpDefPbits pbits255{0, 255, {}};
    const DscpDefPbits both{9, 8, {}};
    const std::string null = Refusal(kSetDef, "e_RET_ERR_NULL_PTR", 2);
    const std::string srcPort = Refusal(kSetDef, "e_RET_ERR_INVALID_SRCPORT", 36);
    const std::string pbits = Refusal(kSetDef, "e_RET_ERR_INVALID_PBITS", 55);
    const std::string nullHdl = Inf(kSetDef, "Params: dscpTblHdl_p<0x<nil>> defPbits_p<0x<ptr>>");
    const std::string nullDef = Inf(kSetDef, "Params: dscpTblHdl_p<0x<ptr>> defPbits_p<0x<nil>>");
    ExpectRefused({
        {"null handle", OnNull(op, &good), 2, nullHdl, null},
        {"null default", On(op, kCfg, nullptr), 2, nullDef, null},
        {"null handle before port 9", OnNull(op, &both), 2, nullHdl, null},
        {"null default before handle 6", On(op, kBeyond, nullptr), 2, nullDef, null},
        {"port 9", On(op, kCfg, &port9), 36, DefHead(kCfg, "9", "7"), srcPort},
        {"port 0xFFFFFFFF", On(op, kCfg, &portMax), 36, DefHead(kCfg, "4294967295", "7"), srcPort},
        {"port before pbits", On(op, kCfg, &both), 36, DefHead(kCfg, "9", "8"), srcPort},
        {"port before handle 6", On(op, kBeyond, &port9), 36, DefHead(6, "9", "7"), srcPort},
        {"pbits 8", On(op, kCfg, &pbits8), 55, DefHead(kCfg, "8", "8"), pbits},
        {"pbits 255", On(op, kCfg, &pbits255), 55, DefHead(kCfg, "0", "255"), pbits},
        {"pbits before handle 6", On(op, kBeyond, &pbits8), 55, DefHead(6, "8", "8"), pbits},
        {"pbits before free table", On(op, kFree, &pbits8), 55, DefHead(kFree, "8", "8"), pbits},
        {"pbits before state", On(op, kActive, &pbits8), 55, DefHead(kActive, "8", "8"), pbits},
        {"handle 6", On(op, kBeyond, &good), 3, DefHead(6, "8", "7"),
         OutOfRange("Dscp", "dscpTblHdl", 6) + RetVal(kSetDef, 3)},
        {"free table", On(op, kFree, &good), 3, DefHead(kFree, "8", "7"),
         TableIsFree("Dscp", "dscpTblHdl", kFree) + RetVal(kSetDef, 3)},
        {"active", On(op, kActive, &good), 17, DefHead(kActive, "8", "7"),
         Refusal(kSetDef, "e_RET_ERR_STATE_NOTCFG", 17)},
    });
}

TEST_F(DscpTables, SetDefaultStoresTheWholeRecordAndAllRows) {
    for (const unsigned id : {kAlloc, kCfg}) {
        for (uint32_t srcPort = 0; srcPort < 9; ++srcPort) {
            for (uint8_t pbits = 0; pbits < 8; ++pbits) {
                SCOPED_TRACE("table " + std::to_string(id) + ", port " + std::to_string(srcPort) +
                             ", pbits " + std::to_string(pbits));
                if (id == kAlloc) {
                    Table(id)->status = e_STATUS_ALLOC;
                }
                const DscpDefPbits def{srcPort, pbits, {0xE1, 0xE2, 0xE3}};
                Image expected =
                    Image::Of(*Table(id)).Bytes(8, &def, 8).U32(20, e_STATUS_CFG).Fill(24, 64, pbits);
                const ContextSnapshot before;
                ExpectAccepted(On(QIR_Set_DscpToPbitsTable_DefPbits, id, &def),
                               DefHead(id, std::to_string(srcPort), std::to_string(pbits)), srcPort % 4);
                EXPECT_TRUE(expected.Is(Table(id)));
                EXPECT_TRUE(OnlyChanged(before, Table(id), 88));
            }
        }
    }
}

TEST_F(DscpTables, SourcePort8AndPbits7AreTheLast) {
    const auto code = [](DscpDefPbits def) {
        return Call(On(QIR_Set_DscpToPbitsTable_DefPbits, kCfg, &def)).code;
    };
    EXPECT_EQ(code({8, 0, {}}), 0u);
    EXPECT_EQ(code({9, 0, {}}), 36u);
    EXPECT_EQ(code({0, 7, {}}), 0u);
    EXPECT_EQ(code({0, 8, {}}), 55u);
}

TEST_F(DscpTables, GetDefaultRefuses) {
    constexpr auto op = QIR_Get_DscpToPbitsTable_DefPbits;
    DscpDefPbits out{77, 78, {79, 80, 81}};
    const Image untouched = Image::Of(out);
    const std::string null = Refusal(kGetDef, "e_RET_ERR_NULL_PTR", 2);
    const std::string nullHdl = Inf(kGetDef, "Params: dscpTblHdl_p<0x<nil>> defPbits_p<0x<ptr>>");
    const std::string nullDef = Inf(kGetDef, "Params: dscpTblHdl_p<0x<ptr>> defPbits_p<0x<nil>>");
    const auto head = [](unsigned id) { return DefParams(kGetDef) + Params2(kGetDef, id); };
    ExpectRefused({
        {"null handle", OnNull(op, &out), 2, nullHdl, null},
        {"null default", On(op, kCfg, nullptr), 2, nullDef, null},
        {"null default before handle 6", On(op, kBeyond, nullptr), 2, nullDef, null},
        {"handle 6", On(op, kBeyond, &out), 3, head(6),
         OutOfRange("Dscp", "dscpTblHdl", 6) + RetVal(kGetDef, 3)},
        {"free table", On(op, kFree, &out), 3, head(kFree),
         TableIsFree("Dscp", "dscpTblHdl", kFree) + RetVal(kGetDef, 3)},
        {"allocated, no default yet", On(op, kAlloc, &out), 17, head(kAlloc),
         Refusal(kGetDef, "e_RET_ERR_STATE_NOTCFG", 17)},
    });
    EXPECT_TRUE(untouched.Is(&out));
}

TEST_F(DscpTables, GetDefaultReadsTheWholeRecordOfConfiguredAndActiveTables) {
    const DscpDefPbits expected{2, 3, {0xD1, 0xD2, 0xD3}};
    const ContextSnapshot before;
    for (const unsigned id : {kCfg, kActive}) {
        DscpDefPbits out{};
        ExpectAccepted(
            On(QIR_Get_DscpToPbitsTable_DefPbits, id, &out),
            DefParams(kGetDef) + Params2(kGetDef, id) +
                Inf(kGetDef, "Params2: dscpTblHdl<" + std::to_string(id) + "> srcPort<2> pbits<3>"));
        EXPECT_TRUE(Image::Of(expected).Is(&out));
    }
    EXPECT_TRUE(before.Unchanged());
}

std::string RangeHead(unsigned id, const DscpMapping &range) {
    return Inf(kSet, "Params: dscpTblHdl_p<0x<ptr>> dscpMapping_p<0x<ptr>>") +
           Inf(kSet, "Params2: dscpTblHdl<" + std::to_string(id) + "> startDscp<" +
                         std::to_string(range.startDscp) + "> endDscp<" + std::to_string(range.endDscp) +
                         "> pbits<" + std::to_string(range.pbits) + ">");
}

TEST_F(DscpTables, SetRangeRefuses) {
    constexpr auto op = QIR_Set_DscpToPbitsTable;
    const DscpMapping good{0, 10, 20, 7};
    const std::string null = Refusal(kSet, "e_RET_ERR_NULL_PTR", 2);
    const std::string dscp = Refusal(kSet, "e_RET_ERR_INVALID_DSCPVAL", 56);
    const std::string pbits = Refusal(kSet, "e_RET_ERR_INVALID_PBITS", 55);
    const std::string notCfg = Refusal(kSet, "e_RET_ERR_STATE_NOTCFG", 17);
    const std::string nullHdl = Inf(kSet, "Params: dscpTblHdl_p<0x<nil>> dscpMapping_p<0x<ptr>>");
    const std::string nullRange = Inf(kSet, "Params: dscpTblHdl_p<0x<ptr>> dscpMapping_p<0x<nil>>");
    const DscpMapping start64{0, 64, 64, 7};
    ExpectRefused({
        {"null handle", OnNull(op, &good), 2, nullHdl, null},
        {"null range", On(op, kCfg, nullptr), 2, nullRange, null},
        {"null handle before range", OnNull(op, &start64), 2, nullHdl, null},
        {"null range before handle 6", On(op, kBeyond, nullptr), 2, nullRange, null},
        {"handle 6", On(op, kBeyond, &good), 3, RangeHead(6, good),
         OutOfRange("Dscp", "dscpTblHdl", 6) + RetVal(kSet, 3)},
        {"free table", On(op, kFree, &good), 3, RangeHead(kFree, good),
         TableIsFree("Dscp", "dscpTblHdl", kFree) + RetVal(kSet, 3)},
        {"allocated, no default yet", On(op, kAlloc, &good), 17, RangeHead(kAlloc, good), notCfg},
        {"active", On(op, kActive, &good), 17, RangeHead(kActive, good), notCfg},
    });

    struct Row {
        const char *what;
        DscpMapping range;
        uint32_t code;
    };
    const std::vector<Row> rows = {
        {"start 64", {0, 64, 64, 7}, 56},
        {"start 255", {0, 255, 255, 7}, 56},
        {"start 64, end below", {0, 64, 63, 7}, 56},
        {"end 64", {0, 0, 64, 7}, 56},
        {"end 255", {0, 63, 255, 7}, 56},
        {"end below start", {0, 20, 10, 7}, 56},
        {"end just below start", {0, 1, 0, 7}, 56},
        {"range before pbits", {0, 20, 10, 8}, 56},
        {"pbits 8", {0, 0, 63, 8}, 55},
        {"pbits 255", {0, 0, 0, 255}, 55},
    };
    std::vector<Refused> refused;
    for (const Row &row : rows) {
        for (const unsigned id : {kCfg, kAlloc, kActive, kFree, kBeyond}) {
            refused.push_back({std::string(row.what) + ", table " + std::to_string(id),
                               On(op, id, &row.range), row.code, RangeHead(id, row.range),
                               row.code == 56 ? dscp : pbits});
        }
    }
    ExpectRefused(refused);
}

TEST_F(DscpTables, SetRangeWritesItsRowsOnly) {
    struct Row {
        uint8_t start, end, pbits;
    };
    for (const Row &row : {Row{0, 0, 0}, Row{0, 63, 7}, Row{10, 20, 1}, Row{10, 10, 5}, Row{63, 63, 6}}) {
        for (uint32_t level = 0; level <= 3; ++level) {
            const DscpMapping range{0xEE, row.start, row.end, row.pbits};
            SCOPED_TRACE(RangeHead(kCfg, range));
            qir::DscpTblInfo *table = Table(kCfg);
            std::memset(table->pbits, 4, sizeof table->pbits);
            Image expected = Image::Of(*table).Fill(
                24u + row.start, static_cast<std::size_t>(row.end - row.start + 1), row.pbits);
            const ContextSnapshot before;
            ExpectAccepted(On(QIR_Set_DscpToPbitsTable, kCfg, &range), RangeHead(kCfg, range), level);
            EXPECT_TRUE(expected.Is(table));
            EXPECT_TRUE(OnlyChanged(before, table, 88));
        }
    }
}

TEST_F(DscpTables, RangeOfOneRowSwappedRangeAndEnd64) {
    const auto code = [](uint8_t start, uint8_t end) {
        const DscpMapping range{0, start, end, 7};
        return Call(On(QIR_Set_DscpToPbitsTable, kCfg, &range)).code;
    };
    EXPECT_EQ(code(10, 10), 0u);
    EXPECT_EQ(Table(kCfg)->pbits[9], 3u);
    EXPECT_EQ(Table(kCfg)->pbits[10], 7u);
    EXPECT_EQ(Table(kCfg)->pbits[11], 3u);
    EXPECT_EQ(code(20, 10), 56u);
    EXPECT_EQ(code(63, 63), 0u);
    EXPECT_EQ(code(63, 64), 56u);
}

TEST_F(DscpTables, RangeBeforeTheDefaultIsRefused) {
    const DscpMapping range{0, 1, 2, 3};
    EXPECT_EQ(Call(On(QIR_Set_DscpToPbitsTable, kAlloc, &range)).code, 17u);
}

TEST_F(DscpTables, DefaultAfterRangesResetsEveryRow) {
    const DscpMapping range{0, 5, 50, 1};
    ASSERT_EQ(Call(On(QIR_Set_DscpToPbitsTable, kCfg, &range)).code, 0u);
    const DscpDefPbits def{0, 6, {}};
    ASSERT_EQ(Call(On(QIR_Set_DscpToPbitsTable_DefPbits, kCfg, &def)).code, 0u);
    EXPECT_TRUE(Image(64, 6).Is(Table(kCfg)->pbits));
}

TEST_F(DscpTables, Dscp63HasTheDefaultUnlessARangeCoversIt) {
    const auto pbitsOf63 = [] {
        uint8_t pbits = 99;
        EXPECT_EQ(Call(On(QIR_Get_DscpToPbitsTable, kCfg, 63, &pbits)).code, 0u);
        return pbits;
    };
    EXPECT_EQ(pbitsOf63(), 3u);
    const DscpMapping below{0, 0, 62, 1};
    ASSERT_EQ(Call(On(QIR_Set_DscpToPbitsTable, kCfg, &below)).code, 0u);
    EXPECT_EQ(pbitsOf63(), 3u);
    const DscpMapping last{0, 63, 63, 7};
    ASSERT_EQ(Call(On(QIR_Set_DscpToPbitsTable, kCfg, &last)).code, 0u);
    EXPECT_EQ(pbitsOf63(), 7u);
}

std::string RowHead(unsigned id, const std::string &dscp) {
    return Inf(kGet, "Params: dscpTblHdl_p<0x<ptr>> dscp<" + dscp + "> pbits<0x<ptr>>") +
           Inf(kGet, "Params2: dscpTblHdl<" + std::to_string(id) + "> dscp<" + dscp + ">");
}

TEST_F(DscpTables, GetRowRefuses) {
    constexpr auto op = QIR_Get_DscpToPbitsTable;
    uint8_t out = 99;
    const std::string null = Refusal(kGet, "e_RET_ERR_NULL_PTR", 2);
    const std::string dscp = Refusal(kGet, "e_RET_ERR_INVALID_DSCPVAL", 56);
    ExpectRefused({
        {"null handle", OnNull(op, 1, &out), 2,
         Inf(kGet, "Params: dscpTblHdl_p<0x<nil>> dscp<1> pbits<0x<ptr>>"), null},
        {"null result", On(op, kCfg, 1, nullptr), 2,
         Inf(kGet, "Params: dscpTblHdl_p<0x<ptr>> dscp<1> pbits<0x<nil>>"), null},
        {"null result before DSCP 64", On(op, kCfg, 64, nullptr), 2,
         Inf(kGet, "Params: dscpTblHdl_p<0x<ptr>> dscp<64> pbits<0x<nil>>"), null},
        {"DSCP 64", On(op, kCfg, 64, &out), 56, RowHead(kCfg, "64"), dscp},
        {"DSCP 255", On(op, kCfg, 255, &out), 56, RowHead(kCfg, "255"), dscp},
        {"DSCP before handle 6", On(op, kBeyond, 64, &out), 56, RowHead(6, "64"), dscp},
        {"DSCP before free table", On(op, kFree, 64, &out), 56, RowHead(kFree, "64"), dscp},
        {"DSCP before state", On(op, kAlloc, 64, &out), 56, RowHead(kAlloc, "64"), dscp},
        {"handle 6", On(op, kBeyond, 63, &out), 3, RowHead(6, "63"),
         OutOfRange("Dscp", "dscpTblHdl", 6) + RetVal(kGet, 3)},
        {"free table", On(op, kFree, 63, &out), 3, RowHead(kFree, "63"),
         TableIsFree("Dscp", "dscpTblHdl", kFree) + RetVal(kGet, 3)},
        {"allocated, no default yet", On(op, kAlloc, 63, &out), 17, RowHead(kAlloc, "63"),
         Refusal(kGet, "e_RET_ERR_STATE_NOTCFG", 17)},
    });
    EXPECT_EQ(out, 99u);
}

TEST_F(DscpTables, GetRowReadsEveryRowOfConfiguredAndActiveTables) {
    for (const unsigned id : {kCfg, kActive}) {
        for (uint8_t dscp = 0; dscp < 64; ++dscp) {
            Table(id)->pbits[dscp] = static_cast<uint8_t>((dscp + id) % 8);
        }
        const ContextSnapshot before;
        for (uint8_t dscp = 0; dscp < 64; ++dscp) {
            SCOPED_TRACE("table " + std::to_string(id) + ", DSCP " + std::to_string(dscp));
            const std::string idx = std::to_string(dscp);
            uint8_t pbits = 99;
            ExpectAccepted(On(QIR_Get_DscpToPbitsTable, id, dscp, &pbits),
                           RowHead(id, idx) +
                               Inf(kGet, "dscpTblHdl<" + std::to_string(id) + "> dscp<" + idx + "> pbits<" +
                                             std::to_string((dscp + id) % 8) + ">"),
                           dscp % 4u);
            EXPECT_EQ(pbits, (dscp + id) % 8);
        }
        EXPECT_TRUE(before.Unchanged());
    }
}

} // namespace
} // namespace test::dscp_api
