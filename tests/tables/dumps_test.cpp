// The table dumps as they are read, and the public operations that print them.
#include "tests/tables/kinds.h"

namespace test {
namespace {

// The AS dump up to its slots.
std::string AsHead(const std::string &hdl, const std::string &refCnt, const std::string &srcPortMask) {
    return "-------------------- AsTable -----------------------\n"
           "Hdl<" +
           hdl + "> RefCnt<" + refCnt +
           "> \n"
           "Configuration: \n"
           "  srcPortMask<0x" +
           srcPortMask +
           "> \n"
           "Table: \n"
           "  AsEntType \n"
           "  Idx         Status   "
           "aclType  aclMask            macAddr           macMask     "
           "           IPAddr           vid0 vid1 ethType ipProto destProto\n";
}

const char *const kAsTail = "----------------------------------------------------\n";

class TableDumps : public LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        for (unsigned id = 0; id < 3; ++id) {
            AsTblHdl as{};
            DscpTblHdl dscp{};
            PacTblHdl pac{};
            ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
            ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 0u);
            ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u);
        }
    }
};

TEST_F(TableDumps, AsTableWithEntriesOfEveryColumn) {
    const AsTblCfg cfg{0x1FF};
    ASSERT_EQ(On(QIR_Set_AsTableCfg, 2, &cfg)(), 0u);
    AsEnt all{.macDA = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55},
              .macDAMask = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
              .macSA = {0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB},
              .macSAMask = {0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00},
              .ipAddr = 0x0A000001,
              .ipPrefixLen = 32,
              .ethType = 0x0800,
              .vlanTag0 = 100,
              .vlanTag1 = 4095,
              .destPort = 8080,
              .ipProto = 6,
              .rsvd = {},
              .aclMask = 0x27F,
              .aclType = 1};
    ASSERT_EQ(On(QIR_Set_AsTableEntry, 2, 0, &all)(), 0u);
    AsEnt some = all;
    some.aclMask = 0x001 | 0x008;
    some.aclType = 0;
    ASSERT_EQ(On(QIR_Set_AsTableEntry, 2, 3, &some)(), 0u);
    some.aclMask = 0x080 | 0x200 | 0x010 | 0x004;
    ASSERT_EQ(On(QIR_Set_AsTableEntry, 2, 7, &some)(), 0u);
    qirCtxt_gp->asTblPool[2].refCnt = 12;

    const std::string expected = AsHead("2", "12", "1ff") +
                                 "  <0> <e_STATUS_ALLOC>       1 0x0000027f "
                                 "<0x00:11:22:33:44:55> <0xff:ff:ff:ff:ff:ff> "
                                 "<0x66:77:88:99:aa:bb> <0xff:ff:ff:00:00:00> "
                                 "<10.0.0.1> </32> "
                                 " 100 4095    2048       6     8080 \n"
                                 "  <1> <e_STATUS_FREE> \n"
                                 "  <2> <e_STATUS_FREE> \n"
                                 "  <3> <e_STATUS_ALLOC>       0 0x00000009 " +
                                 std::string(21, ' ') +
                                 "<0x66:77:88:99:aa:bb> <0xff:ff:ff:00:00:00> "
                                 "                     "
                                 " 100      " +
                                 std::string(8 + 8 + 9, ' ') +
                                 "\n"
                                 "  <4> <e_STATUS_FREE> \n"
                                 "  <5> <e_STATUS_FREE> \n"
                                 "  <6> <e_STATUS_FREE> \n"
                                 "  <7> <e_STATUS_ALLOC>       0 0x00000294 "
                                 "<0x00:11:22:33:44:55> <0xff:ff:ff:ff:ff:ff> " +
                                 std::string(21 + 21 + 5, ' ') + "4095    2048 " + std::string(8 + 9, ' ') +
                                 "\n" + kAsTail;
    EXPECT_EQ(Capture([] { qir::Dump_AsTable(&qirCtxt_gp->asTblPool[2]); }), expected);
    ExpectAccepted(On(QIR_Dump_AsTable, 2),
                   Inf("QIR_Dump_AsTable", "Params: asTblHdl_p<0x<ptr>>") +
                       Inf("QIR_Dump_AsTable", "Params2: asTblHdl<2>") + expected,
                   2);
}

TEST_F(TableDumps, AsTableWithoutEntries) {
    std::string expected = AsHead("1", "0", " 5");
    for (const char *idx : {"0", "1", "2", "3", "4", "5", "6", "7"}) {
        expected += std::string("  <") + idx + "> <e_STATUS_FREE> \n";
    }
    EXPECT_EQ(Capture([] { qir::Dump_AsTable(&qirCtxt_gp->asTblPool[1]); }), expected + kAsTail);
}

// Any slot that is not free shows its entry.
TEST_F(TableDumps, AsSlotsInAnyStateButFreeShowTheirEntry) {
    qir::AsTblInfo &info = qirCtxt_gp->asTblPool[0];
    std::memset(static_cast<void *>(info.ent), 0, sizeof info.ent);
    info.ent[1].status = e_STATUS_CFG;
    info.ent[2].status = e_STATUS_ACTIVE;
    const std::string blank = "      0 0x00000000 " + std::string(98, ' ') + "\n";
    EXPECT_EQ(Capture([&] { qir::Dump_AsTable(&info); }), AsHead("0", "0", " 5") +
                                                              "  <0> <e_STATUS_FREE> \n"
                                                              "  <1> <e_STATUS_CFG> " +
                                                              blank + "  <2> <e_STATUS_ACTIVE> " + blank +
                                                              "  <3> <e_STATUS_FREE> \n"
                                                              "  <4> <e_STATUS_FREE> \n"
                                                              "  <5> <e_STATUS_FREE> \n"
                                                              "  <6> <e_STATUS_FREE> \n"
                                                              "  <7> <e_STATUS_FREE> \n" +
                                                              kAsTail);
}

// A record that was never allocated shows the fill byte as its handle.
TEST_F(TableDumps, FreeAsRecordShowsTheFillByteAsHandle) {
    const std::string out = Capture([] { qir::Dump_AsTable(&qirCtxt_gp->asTblPool[9]); });
    EXPECT_EQ(out.substr(0, AsHead("165", "0", " 5").size()), AsHead("165", "0", " 5"));
}

TEST_F(TableDumps, DscpTableWithRanges) {
    const DscpDefPbits def{7, 3, {}};
    ASSERT_EQ(On(QIR_Set_DscpToPbitsTable_DefPbits, 1, &def)(), 0u);
    for (const DscpMapping &range :
         {DscpMapping{0, 0, 0, 7}, DscpMapping{0, 8, 17, 1}, DscpMapping{0, 63, 63, 0}}) {
        ASSERT_EQ(On(QIR_Set_DscpToPbitsTable, 1, &range)(), 0u);
    }
    qirCtxt_gp->dscpTblPool[1].refCnt = 4;

    const std::string expected = "--------- DscpTable -------------\n"
                                 "Hdl<1> RefCnt<4> \n"
                                 "Configuration: \n"
                                 "  srcPort<7> defPbits<3> \n"
                                 "Table: \n"
                                 "  <00>   7   3   3   3   3   3   3   3 \n"
                                 "  <08>   1   1   1   1   1   1   1   1 \n"
                                 "  <16>   1   1   3   3   3   3   3   3 \n"
                                 "  <24>   3   3   3   3   3   3   3   3 \n"
                                 "  <32>   3   3   3   3   3   3   3   3 \n"
                                 "  <40>   3   3   3   3   3   3   3   3 \n"
                                 "  <48>   3   3   3   3   3   3   3   3 \n"
                                 "  <56>   3   3   3   3   3   3   3   0 \n"
                                 "---------------------------------\n";
    EXPECT_EQ(Capture([] { qir::Dump_DscpToPbitsTable(1); }), expected);
    ExpectAccepted(On(QIR_Dump_DscpToPbitsTable, 1),
                   Inf("QIR_Dump_DscpToPbitsTable", "Params: dscpTblHdl_p<0x<ptr>>") +
                       Inf("QIR_Dump_DscpToPbitsTable", "Params2: dscpTblHdl<1>") + expected,
                   2);
}

TEST_F(TableDumps, DscpTableBeforeItsConfigurationShowsTheFillByte) {
    std::string expected = "--------- DscpTable -------------\n"
                           "Hdl<2> RefCnt<0> \n"
                           "Configuration: \n"
                           "  srcPort<2779096485> defPbits<165> \n"
                           "Table: \n";
    for (const char *dscp : {"00", "08", "16", "24", "32", "40", "48", "56"}) {
        expected += std::string("  <") + dscp + ">   165   165   165   165   165   165   165   165 \n";
    }
    EXPECT_EQ(Capture([] { qir::Dump_DscpToPbitsTable(2); }),
              expected + "---------------------------------\n");
}

// The PAC dump between its first two lines and its entries.
std::string PacHead(const std::string &hdl, const std::string &refCnt, const std::string &configuration) {
    return "--------- PacTable -------------\n"
           "Hdl<" +
           hdl + "> RefCnt<" + refCnt +
           "> \n"
           "Configuration: \n" +
           configuration +
           "Table: \n"
           "                                     <------- Raw Actions  --------->\n"
           "  pbits   ovrd    dstGemPort dstQid  ix type ofst size  value    mask  \n";
}

TEST_F(TableDumps, PacTableWithEntriesOfEveryColumn) {
    PacTblCfg cfg{};
    cfg.ovrd = 0x00A; // unchecked
    cfg.dstGemPort = 31;
    cfg.dstQid = 7;
    cfg.rawAction[0] = {.type = 1, .ofst = 9, .size = 1, .val = {1, 2}, .mask = {3, 4}, .rsvd = {}};
    ASSERT_EQ(On(QIR_Set_PacTableCfg, 1, &cfg)(), 0u);
    PacTblCfg plain{};
    for (uint8_t pbits = 0; pbits < 8; ++pbits) {
        ASSERT_EQ(On(QIR_Set_PacTableEntry, 1, pbits, &plain)(), 0u);
    }
    PacTblCfg ent{};
    ent.ovrd = 0x01D;
    ent.dstGemPort = 5;
    ent.dstQid = 6;
    ASSERT_EQ(On(QIR_Set_PacTableEntry, 1, 1, &ent)(), 0u);
    ent.rawAction[0] = {
        .type = 1, .ofst = 95, .size = 2, .val = {0xAB, 0xCD}, .mask = {0xFF, 0x0F}, .rsvd = {}};
    ASSERT_EQ(On(QIR_Set_PacTableEntry, 1, 2, &ent)(), 0u);
    ent.rawAction[1] = {
        .type = 2, .ofst = 0, .size = 1, .val = {0x00, 0x01}, .mask = {0x80, 0x00}, .rsvd = {}};
    ASSERT_EQ(On(QIR_Set_PacTableEntry, 1, 3, &ent)(), 0u);
    ent.rawAction[0].type = 0;
    ASSERT_EQ(On(QIR_Set_PacTableEntry, 1, 7, &ent)(), 0u);
    PacTblCfg odd{};
    odd.ovrd = 0x002;
    odd.dstGemPort = 200;
    odd.dstQid = 255;
    odd.rawAction[1] = {.type = 100, .ofst = 255, .size = 254, .val = {9, 8}, .mask = {7, 6}, .rsvd = {}};
    ASSERT_EQ(On(QIR_Set_PacTableEntry, 1, 5, &odd)(), 0u);
    qirCtxt_gp->pacTblPool[1].refCnt = 300;

    const std::string expected =
        PacHead("1", "300", " ovrd<0x0a> dstGemPort<31> dstQid<7>\n") +
        "  <0>   <0x0000>     <00>     <0>    \n"
        "  <1>   <0x001d>     <05>     <6>    \n"
        "  <2>   <0x001d>     <05>     <6>    \n"
        "                                    <0> < 1> <95> < 2> <0xabcd> <0xff0f>\n"
        "  <3>   <0x001d>     <05>     <6>    \n"
        "                                    <0> < 1> <95> < 2> <0xabcd> <0xff0f>\n"
        "                                    <1> < 2> < 0> < 1> <0x0001> <0x8000>\n"
        "  <4>   <0x0000>     <00>     <0>    \n"
        "  <5>   <0x0002>     <200>     <255>    \n"
        "                                    <1> <100> <255> <254> <0x0908> <0x0706>\n"
        "  <6>   <0x0000>     <00>     <0>    \n"
        "  <7>   <0x001d>     <05>     <6>    \n"
        "                                    <1> < 2> < 0> < 1> <0x0001> <0x8000>\n"
        "---------------------------------\n";
    EXPECT_EQ(Capture([] { qir::Dump_PacTable(1); }), expected);
    ExpectAccepted(On(QIR_Dump_PacTable, 1),
                   Inf("QIR_Dump_PacTable", "Params: pacTblHdl_p<0x<ptr>>") +
                       Inf("QIR_Dump_PacTable", "Params2: pacTblHdl<1>") + expected,
                   2);
}

TEST_F(TableDumps, PacTableBeforeItsConfigurationShowsTheFillByteThereAndZeroEntries) {
    std::string expected = PacHead("2", "0", " ovrd<0xa5a5> dstGemPort<165> dstQid<165>\n");
    for (const char *pbits : {"0", "1", "2", "3", "4", "5", "6", "7"}) {
        expected += std::string("  <") + pbits + ">   <0x0000>     <00>     <0>    \n";
    }
    EXPECT_EQ(Capture([] { qir::Dump_PacTable(2); }), expected + "---------------------------------\n");
}

void DumpRecord(AsKind, unsigned id) {
    qir::Dump_AsTable(&qirCtxt_gp->asTblPool[id]);
}
void DumpRecord(DscpKind, unsigned id) {
    qir::Dump_DscpToPbitsTable(static_cast<uint8_t>(id));
}
void DumpRecord(PacKind, unsigned id) {
    qir::Dump_PacTable(static_cast<uint8_t>(id));
}

template <class Kind> class TableDumpOperation : public LibraryTest {};
TYPED_TEST_SUITE(TableDumpOperation, AllocKinds, KindName);

TYPED_TEST(TableDumpOperation, PrintsTheTableInAnyStateButFreeAndChangesNothing) {
    const unsigned id = TypeParam::kPoolSize - 1;
    const std::string hdl = TypeParam::kHdl;
    const std::string fn = std::string("QIR_Dump_") + TypeParam::kTable;
    for (const uint32_t status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        TypeParam::Pool()[id].status = status;
        const std::string dump = Capture([&] { DumpRecord(TypeParam{}, id); });
        ASSERT_FALSE(dump.empty());
        for (uint32_t level = 0; level <= 3; ++level) {
            SCOPED_TRACE("status " + std::to_string(status) + ", log level " + std::to_string(level));
            const ContextSnapshot before;
            const Said said = Call(On(TypeParam::Dump, id), level);
            EXPECT_EQ(said.code, 0u);
            EXPECT_EQ(said.out,
                      (level < 2 ? ""
                                 : Inf(fn, "Params: " + hdl + "_p<0x<ptr>>") +
                                       Inf(fn, "Params2: " + hdl + "<" + std::to_string(id) + ">")) +
                          dump);
            EXPECT_TRUE(before.Unchanged());
        }
    }
    EXPECT_EQ(orxemu_numOpens(), 0u);
}

} // namespace
} // namespace test
