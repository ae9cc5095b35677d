// DSCP-to-pbits tables: default, ranges, rows, states and the order of checks.
#include "tests/tables/support.h"

namespace test::dscp_api {
namespace {

const char *const kSetDef = "QIR_Set_DscpToPbitsTable_DefPbits";
const char *const kGetDef = "QIR_Get_DscpToPbitsTable_DefPbits";
const char *const kSet = "QIR_Set_DscpToPbitsTable";
const char *const kGet = "QIR_Get_DscpToPbitsTable";

// Tables 0 allocated, 1 configured, 2 active (both for port 2 with default 3); 3 free.
class DscpTables : public LibraryTest {
  protected:
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

std::string Params2(const std::string &fn, unsigned id) {
    return Inf(fn, "Params2: dscpTblHdl<" + std::to_string(id) + ">");
}

std::string DefParams(const char *fn) {
    return Inf(fn, "Params: dscpTblHdl_p<0x<ptr>> defPbits_p<0x<ptr>>");
}
std::string DefHead(unsigned id, const std::string &srcPort, const std::string &pbits) {
    return DefParams(kSetDef) + Inf(kSetDef, "Params2: dscpTblHdl<" + std::to_string(id) + "> srcPort<" +
                                                 srcPort + "> pbits<" + pbits + ">");
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
