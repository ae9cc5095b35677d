// PAC tables: configuration and entries in and out. What a record may hold is in a file of its own.
#include "tests/tables/pac_support.h"

namespace test {
namespace {

const char *const kGetCfg = "QIR_Get_PacTableCfg";
const char *const kGetEnt = "QIR_Get_PacTableEntry";

std::string Params2(const std::string &fn, unsigned id, const std::string &more = "") {
    return Inf(fn, "Params2: pacTblHdl<" + std::to_string(id) + ">" + more);
}
std::string TwoParams(const std::string &fn, const char *second) {
    return Inf(fn, std::string("Params: pacTblHdl_p<0x<ptr>> ") + second + "<0x<ptr>>");
}

TEST_F(PacTables, SetCfgStoresTheWholeRecordInConfigurationAndEntries) {
    PacTblCfg record = FullPacRecord();
    record.dstQid = 1;
    for (const unsigned id : {kAlloc, kCfg}) {
        SCOPED_TRACE(id);
        Image expected = Image::Of(*Table(id)).Bytes(8, &record, 28).U32(40, e_STATUS_CFG);
        for (std::size_t pbits = 0; pbits < 8; ++pbits) {
            expected.Bytes(44 + 28 * pbits, &record, 28);
        }
        const ContextSnapshot before;
        const Said said = Call(On(QIR_Set_PacTableCfg, id, &record));
        EXPECT_EQ(said.code, 0u);
        EXPECT_EQ(said.out, "");
        EXPECT_TRUE(expected.Is(Table(id)));
        EXPECT_TRUE(OnlyChanged(before, Table(id), 268));
    }
}

TEST_F(PacTables, ConfigurationAfterEntriesResetsAllEight) {
    const PacTblCfg entry = PacRecord([](PacTblCfg &r) { r.ovrd = 0x008, r.dstGemPort = 5; });
    for (uint8_t pbits = 0; pbits < 8; ++pbits) {
        ASSERT_EQ(Call(On(QIR_Set_PacTableEntry, kCfg, pbits, &entry)).code, 0u);
    }
    const PacTblCfg cfg = PacRecord([](PacTblCfg &r) { r.ovrd = 0x004, r.dstQid = 6; });
    ASSERT_EQ(Call(On(QIR_Set_PacTableCfg, kCfg, &cfg)).code, 0u);
    for (const PacTblCfg &now : Table(kCfg)->ent) {
        EXPECT_TRUE(Image::Of(cfg).Is(&now));
    }
}

TEST_F(PacTables, GetCfgReadsConfiguredAndActiveTables) {
    const ContextSnapshot before;
    for (const unsigned id : {kCfg, kActive}) {
        PacTblCfg out{};
        ExpectAccepted(On(QIR_Get_PacTableCfg, id, &out),
                       TwoParams(kGetCfg, "pacTblCfg_p") + Params2(kGetCfg, id) +
                           Inf(kGetCfg, "pacTblHdl<" + std::to_string(id) + "> ovrd<0x1d>") +
                           Inf(kGetCfg, "dstGemPort<31> dstQid<7>") +
                           Inf(kGetCfg, "ix<0> type<1> ofst<0> size<1>") +
                           Inf(kGetCfg, "val<0x 1> mask<0x f>") + Inf(kGetCfg, "val<0xab> mask<0xff>") +
                           Inf(kGetCfg, "ix<1> type<2> ofst<95> size<2>") +
                           Inf(kGetCfg, "val<0x80> mask<0x7f>") + Inf(kGetCfg, "val<0x 0> mask<0x10>"));
        EXPECT_TRUE(Image::Of(FullPacRecord()).Is(&out));
    }
    EXPECT_TRUE(before.Unchanged());
}

// The configuration's getter names the raw actions that have a type, the entry's getter names both.
TEST_F(PacTables, GettersDifferInRawActionsWithoutAType) {
    const PacTblCfg record = PacRecord([](PacTblCfg &r) {
        r.dstGemPort = 200;
        r.dstQid = 9;
        r.rawAction[0].val[1] = 0x0C;
        r.rawAction[1] = {.type = 1, .ofst = 3, .size = 2, .val = {1, 2}, .mask = {3, 4}, .rsvd = {}};
    });
    ASSERT_EQ(Call(On(QIR_Set_PacTableCfg, kCfg, &record)).code, 0u);
    PacTblCfg out{};
    const auto raw1 = [](const char *fn) {
        return Inf(fn, "ix<1> type<1> ofst<3> size<2>") + Inf(fn, "val<0x 1> mask<0x 3>") +
               Inf(fn, "val<0x 2> mask<0x 4>");
    };
    ExpectAccepted(On(QIR_Get_PacTableCfg, kCfg, &out),
                   TwoParams(kGetCfg, "pacTblCfg_p") + Params2(kGetCfg, kCfg) +
                       Inf(kGetCfg, "pacTblHdl<1> ovrd<0x 0>") + Inf(kGetCfg, "dstGemPort<200> dstQid<9>") +
                       raw1(kGetCfg));
    ExpectAccepted(On(QIR_Get_PacTableEntry, kCfg, 4, &out),
                   TwoParams(kGetEnt, "pacEnt_p") + Params2(kGetEnt, kCfg, " pbits<4>") +
                       Inf(kGetEnt, "pacTblHdl<1> pbits<4> ovrd<0x 0>") +
                       Inf(kGetEnt, "dstGemPort<200> dstQid<9>") +
                       Inf(kGetEnt, "ix<0> type<0> ofst<0> size<0>") + Inf(kGetEnt, "val<0x 0> mask<0x 0>") +
                       Inf(kGetEnt, "val<0x c> mask<0x 0>") + raw1(kGetEnt));
}

TEST_F(PacTables, SetEntryStoresTheWholeRecordInOneEntryOnly) {
    PacTblCfg record = FullPacRecord();
    record.dstQid = 0;
    for (uint8_t pbits = 0; pbits < 8; ++pbits) {
        SCOPED_TRACE(unsigned{pbits});
        record.dstGemPort = pbits;
        Image expected = Image::Of(*Table(kCfg)).Bytes(44u + 28u * pbits, &record, 28);
        const ContextSnapshot before;
        const Said said = Call(On(QIR_Set_PacTableEntry, kCfg, pbits, &record));
        EXPECT_EQ(said.code, 0u);
        EXPECT_EQ(said.out, "");
        EXPECT_TRUE(expected.Is(Table(kCfg)));
        EXPECT_TRUE(OnlyChanged(before, Table(kCfg), 268));
    }
}

TEST_F(PacTables, GetEntryReadsEveryEntryOfConfiguredAndActiveTables) {
    for (const unsigned id : {kCfg, kActive}) {
        for (uint8_t pbits = 0; pbits < 8; ++pbits) {
            SCOPED_TRACE("table " + std::to_string(id) + ", pbits " + std::to_string(pbits));
            Table(id)->ent[pbits].dstGemPort = pbits;
            const Image expected = Image::Of(Table(id)->ent[pbits]);
            const ContextSnapshot before;
            const std::string value = std::to_string(pbits);
            PacTblCfg out{};
            ExpectAccepted(
                On(QIR_Get_PacTableEntry, id, pbits, &out),
                TwoParams(kGetEnt, "pacEnt_p") + Params2(kGetEnt, id, " pbits<" + value + ">") +
                    Inf(kGetEnt, "pacTblHdl<" + std::to_string(id) + "> pbits<" + value + "> ovrd<0x1d>") +
                    Inf(kGetEnt, "dstGemPort<" + value + "> dstQid<7>") +
                    Inf(kGetEnt, "ix<0> type<1> ofst<0> size<1>") + Inf(kGetEnt, "val<0x 1> mask<0x f>") +
                    Inf(kGetEnt, "val<0xab> mask<0xff>") + Inf(kGetEnt, "ix<1> type<2> ofst<95> size<2>") +
                    Inf(kGetEnt, "val<0x80> mask<0x7f>") + Inf(kGetEnt, "val<0x 0> mask<0x10>"));
            EXPECT_TRUE(expected.Is(&out));
            EXPECT_TRUE(before.Unchanged());
        }
    }
}

// A read that is refused leaves the caller's record alone, of whatever kind the table is.
TEST_F(PacTables, RefusedReadsLeaveTheCallersRecord) {
    ASSERT_EQ(Call([] { return On(QIR_Free_PacTable, kAlloc)(); }).code, 0u);
    AsTblCfg asCfg{0x12345678};
    AsEnt asEnt{};
    asEnt.ipAddr = 0x12345678;
    DscpDefPbits def{77, 78, {79, 80, 81}};
    uint8_t pbits = 99;
    PacTblCfg pacCfg = FullPacRecord();
    const Image before[] = {Image::Of(asCfg), Image::Of(asEnt), Image::Of(def), Image::Of(pbits),
                            Image::Of(pacCfg)};
    for (const Op &read :
         {On(QIR_Get_AsTableCfg, 0, &asCfg), On(QIR_Get_AsTableEntry, 0, 0, &asEnt),
          On(QIR_Get_DscpToPbitsTable_DefPbits, 0, &def), On(QIR_Get_DscpToPbitsTable, 0, 0, &pbits),
          On(QIR_Get_PacTableCfg, 0, &pacCfg), On(QIR_Get_PacTableEntry, 0, 0, &pacCfg)}) {
        EXPECT_EQ(Call(read).code, 3u);
    }
    EXPECT_TRUE(before[0].Is(&asCfg));
    EXPECT_TRUE(before[1].Is(&asEnt));
    EXPECT_TRUE(before[2].Is(&def));
    EXPECT_TRUE(before[3].Is(&pbits));
    EXPECT_TRUE(before[4].Is(&pacCfg));
}

} // namespace
} // namespace test
