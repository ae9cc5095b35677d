// PAC tables: states, configuration and entries in and out, the order of checks. What a record may hold is in
// a file of its own.
#include "tests/tables/pac_support.h"

namespace test {
namespace {

const char *const kSetCfg = "QIR_Set_PacTableCfg";
const char *const kGetCfg = "QIR_Get_PacTableCfg";
const char *const kSetEnt = "QIR_Set_PacTableEntry";
const char *const kGetEnt = "QIR_Get_PacTableEntry";

std::string Params(const std::string &fn) {
    return Inf(fn, "Params: pacTblHdl_p<0x<ptr>>");
}
std::string Params2(const std::string &fn, unsigned id, const std::string &more = "") {
    return Inf(fn, "Params2: pacTblHdl<" + std::to_string(id) + ">" + more);
}
// "Params: " with both pointers; a null pointer is named "<nil>".
std::string TwoParams(const std::string &fn, const char *second, const char *hdl = "<ptr>",
                      const char *record = "<ptr>") {
    return Inf(fn, std::string("Params: pacTblHdl_p<0x") + hdl + "> " + second + "<0x" + record + ">");
}

// Null pointer, handle behind the pool, free table: the three that Free, Activate and Deactivate share.
std::vector<Refused> HandleRows(const std::string &fn, uint32_t (*op)(PacTblHdl *)) {
    return {
        {"null handle", OnNull(op), 2, Inf(fn, "Params: pacTblHdl_p<0x<nil>>"),
         Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"handle 16", On(op, 16), 3, Params(fn) + Params2(fn, 16),
         OutOfRange("Pac", "pacTblHdl", 16) + RetVal(fn, 3)},
        {"handle 255", On(op, 255), 3, Params(fn) + Params2(fn, 255),
         OutOfRange("Pac", "pacTblHdl", 255) + RetVal(fn, 3)},
        {"free table", On(op, kFree), 3, Params(fn) + Params2(fn, kFree),
         TableIsFree("Pac", "pacTblHdl", kFree) + RetVal(fn, 3)},
    };
}

TEST_F(PacTables, FreeRefuses) {
    const std::string fn = "QIR_Free_PacTable";
    ExpectRefused(HandleRows(fn, QIR_Free_PacTable));
    const Refused active{"active", On(QIR_Free_PacTable, kActive), 15, Params(fn) + Params2(fn, kActive),
                         Refusal(fn, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15)};
    ExpectRefused({active});
    Table(kActive)->refCnt = 2; // the state is looked at before the count
    ExpectRefused({active});
    for (const unsigned count : {1u, 2u, 512u, 65535u}) {
        for (const unsigned id : {kAlloc, kCfg}) {
            Table(id)->refCnt = static_cast<uint16_t>(count);
            ExpectRefused({{"in use by " + std::to_string(count), On(QIR_Free_PacTable, id), 13,
                            Params(fn) + Params2(fn, id),
                            Err(fn, "Non-zero RefCnt <" + std::to_string(count) + ">") +
                                Refusal(fn, "e_RET_ERR_RESRC_BUSY", 13)}});
        }
    }
}

TEST_F(PacTables, FreeTakesAllocatedAndConfiguredTables) {
    const std::string fn = "QIR_Free_PacTable";
    for (const unsigned id : {kAlloc, kCfg}) {
        for (uint32_t level = 0; level <= 3; ++level) {
            const uint32_t status = Table(id)->status;
            Image expected = Image::Of(*Table(id)).U32(40, e_STATUS_FREE);
            const ContextSnapshot before;
            ExpectAccepted(On(QIR_Free_PacTable, id), Params(fn) + Params2(fn, id), level);
            EXPECT_TRUE(expected.Is(Table(id)));
            EXPECT_TRUE(OnlyChanged(before, Table(id), 268));
            Table(id)->status = status;
        }
    }
}

TEST_F(PacTables, FreeingATableOfAFlowIsRefusedUntilTheFlowDropsIt) {
    FlowHdl flow{};
    ASSERT_EQ(QIR_Alloc_FCB(1, &flow), 0u);
    PacTblHdl pac = PacHdl(kCfg);
    ASSERT_EQ(QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 0, &pac), 0u);
    const Said said = Call(On(QIR_Free_PacTable, kCfg));
    EXPECT_EQ(said.code, 13u);
    EXPECT_EQ(said.out, "[ERROR orxapi] QIR_Free_PacTable,#: Non-zero RefCnt <1>\n"
                        "[ERROR orxapi] QIR_Free_PacTable,#: \"e_RET_ERR_RESRC_BUSY\"\n"
                        "[ERROR orxapi] QIR_Free_PacTable,#: retVal <13>\n");
    ASSERT_EQ(QIR_Set_PacInfo(&flow, e_TBLSTATUS_DISABLE, 0, &pac), 0u);
    EXPECT_EQ(Call(On(QIR_Free_PacTable, kCfg)).code, 0u);
    EXPECT_EQ(Table(kCfg)->status, e_STATUS_FREE);
}

TEST_F(PacTables, ActivateRefusesEveryStateButConfigured) {
    const std::string fn = "QIR_Activate_PacTable";
    ExpectRefused(HandleRows(fn, QIR_Activate_PacTable));
    for (const unsigned id : {kAlloc, kActive}) {
        ExpectRefused({{"state of table " + std::to_string(id), On(QIR_Activate_PacTable, id), 17,
                        Params(fn) + Params2(fn, id), Refusal(fn, "e_RET_ERR_STATE_NOTCFG", 17)}});
    }
}

TEST_F(PacTables, DeactivateRefuses) {
    const std::string fn = "QIR_Deactivate_PacTable";
    ExpectRefused(HandleRows(fn, QIR_Deactivate_PacTable));
    for (const unsigned id : {kAlloc, kCfg}) {
        ExpectRefused({{"not active", On(QIR_Deactivate_PacTable, id), 14, Params(fn) + Params2(fn, id),
                        Refusal(fn, "e_RET_ERR_RESRC_NOT_ACTIVE", 14)}});
    }
}

TEST_F(PacTables, ActivateAndDeactivatePrintPointerAndIndex) {
    const std::string on = "QIR_Activate_PacTable";
    const std::string off = "QIR_Deactivate_PacTable";
    for (uint32_t level = 0; level <= 3; ++level) {
        ExpectAccepted(On(QIR_Activate_PacTable, kCfg), Params(on) + Params2(on, kCfg), level);
        EXPECT_EQ(Table(kCfg)->status, e_STATUS_ACTIVE);
        ExpectAccepted(On(QIR_Deactivate_PacTable, kCfg), Params(off) + Params2(off, kCfg), level);
        EXPECT_EQ(Table(kCfg)->status, e_STATUS_CFG);
    }
}

TEST_F(PacTables, EntryOfAnAllocatedTableAndActivatingTwice) {
    const PacTblCfg record{};
    EXPECT_EQ(Call(On(QIR_Set_PacTableEntry, kAlloc, 0, &record)).code, 17u);
    EXPECT_EQ(Call(On(QIR_Activate_PacTable, kActive)).code, 17u);
}

const char *const kOvrd0 = " ovrd<0x 0>";

TEST_F(PacTables, SetCfgRefusesPointersHandlesAndStates) {
    constexpr auto op = QIR_Set_PacTableCfg;
    const PacTblCfg good{};
    const PacTblCfg bad = PacRecord([](PacTblCfg &r) { r.ovrd = 0x20; });
    const std::string null = Refusal(kSetCfg, "e_RET_ERR_NULL_PTR", 2);
    const std::string ovrd = Refusal(kSetCfg, "e_RET_ERR_INVALID_OVRD", 52);
    const std::string params = TwoParams(kSetCfg, "pacTblCfg_p");
    const std::string nullHdl = TwoParams(kSetCfg, "pacTblCfg_p", "<nil>");
    const std::string nullCfg = TwoParams(kSetCfg, "pacTblCfg_p", "<ptr>", "<nil>");
    const char *const ovrd20 = " ovrd<0x20>";
    ExpectRefused({
        {"null handle", OnNull(op, &good), 2, nullHdl, null},
        {"null configuration", On(op, kCfg, nullptr), 2, nullCfg, null},
        {"null handle before record", OnNull(op, &bad), 2, nullHdl, null},
        {"null configuration before handle 16", On(op, kBeyond, nullptr), 2, nullCfg, null},
        {"record before handle 16", On(op, kBeyond, &bad), 52, params + Params2(kSetCfg, 16, ovrd20), ovrd},
        {"record before free table", On(op, kFree, &bad), 52, params + Params2(kSetCfg, kFree, ovrd20), ovrd},
        {"record before state", On(op, kActive, &bad), 52, params + Params2(kSetCfg, kActive, ovrd20), ovrd},
        {"handle 16", On(op, kBeyond, &good), 3, params + Params2(kSetCfg, 16, kOvrd0),
         OutOfRange("Pac", "pacTblHdl", 16) + RetVal(kSetCfg, 3)},
        {"free table", On(op, kFree, &good), 3, params + Params2(kSetCfg, kFree, kOvrd0),
         TableIsFree("Pac", "pacTblHdl", kFree) + RetVal(kSetCfg, 3)},
        {"active", On(op, kActive, &good), 17, params + Params2(kSetCfg, kActive, kOvrd0),
         Refusal(kSetCfg, "e_RET_ERR_STATE_NOTCFG", 17)},
    });
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

TEST_F(PacTables, GetCfgRefuses) {
    constexpr auto op = QIR_Get_PacTableCfg;
    PacTblCfg out = FullPacRecord();
    const std::string null = Refusal(kGetCfg, "e_RET_ERR_NULL_PTR", 2);
    const std::string params = TwoParams(kGetCfg, "pacTblCfg_p");
    const std::string nullCfg = TwoParams(kGetCfg, "pacTblCfg_p", "<ptr>", "<nil>");
    ExpectRefused({
        {"null handle", OnNull(op, &out), 2, TwoParams(kGetCfg, "pacTblCfg_p", "<nil>"), null},
        {"null configuration", On(op, kCfg, nullptr), 2, nullCfg, null},
        {"null configuration before handle 16", On(op, kBeyond, nullptr), 2, nullCfg, null},
        {"handle 16", On(op, kBeyond, &out), 3, params + Params2(kGetCfg, 16),
         OutOfRange("Pac", "pacTblHdl", 16) + RetVal(kGetCfg, 3)},
        {"free table", On(op, kFree, &out), 3, params + Params2(kGetCfg, kFree),
         TableIsFree("Pac", "pacTblHdl", kFree) + RetVal(kGetCfg, 3)},
        {"allocated, never configured", On(op, kAlloc, &out), 17, params + Params2(kGetCfg, kAlloc),
         Refusal(kGetCfg, "e_RET_ERR_STATE_NOTCFG", 17)},
    });
    EXPECT_TRUE(Image::Of(FullPacRecord()).Is(&out));
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

TEST_F(PacTables, SetEntryRefusesPointersPbitsHandlesAndStates) {
    constexpr auto op = QIR_Set_PacTableEntry;
    const PacTblCfg good{};
    const PacTblCfg bad = PacRecord([](PacTblCfg &r) { r.ovrd = 0x20; });
    const std::string null = Refusal(kSetEnt, "e_RET_ERR_NULL_PTR", 2);
    const std::string pbits = Refusal(kSetEnt, "e_RET_ERR_INVALID_PBITS", 55);
    const std::string ovrd = Refusal(kSetEnt, "e_RET_ERR_INVALID_OVRD", 52);
    const std::string notCfg = Refusal(kSetEnt, "e_RET_ERR_STATE_NOTCFG", 17);
    const std::string params = TwoParams(kSetEnt, "pacEnt_p");
    const std::string nullHdl = TwoParams(kSetEnt, "pacEnt_p", "<nil>");
    const std::string nullEnt = TwoParams(kSetEnt, "pacEnt_p", "<ptr>", "<nil>");
    const auto head = [&](unsigned id, const std::string &more) {
        return params + Params2(kSetEnt, id, more);
    };
    ExpectRefused({
        {"null handle", OnNull(op, 0, &good), 2, nullHdl, null},
        {"null entry", On(op, kCfg, 0, nullptr), 2, nullEnt, null},
        {"null handle before pbits", OnNull(op, 8, &good), 2, nullHdl, null},
        {"null entry before pbits", On(op, kCfg, 8, nullptr), 2, nullEnt, null},
        {"pbits 8", On(op, kCfg, 8, &good), 55, head(kCfg, " pbits<8> ovrd<0x 0>"), pbits},
        {"pbits 255", On(op, kCfg, 255, &good), 55, head(kCfg, " pbits<255> ovrd<0x 0>"), pbits},
        {"pbits before record", On(op, kCfg, 8, &bad), 55, head(kCfg, " pbits<8> ovrd<0x20>"), pbits},
        {"pbits before handle 16", On(op, kBeyond, 8, &good), 55, head(16, " pbits<8> ovrd<0x 0>"), pbits},
        {"record before handle 16", On(op, kBeyond, 7, &bad), 52, head(16, " pbits<7> ovrd<0x20>"), ovrd},
        {"record before free table", On(op, kFree, 7, &bad), 52, head(kFree, " pbits<7> ovrd<0x20>"), ovrd},
        {"record before state", On(op, kAlloc, 7, &bad), 52, head(kAlloc, " pbits<7> ovrd<0x20>"), ovrd},
        {"handle 16", On(op, kBeyond, 7, &good), 3, head(16, " pbits<7> ovrd<0x 0>"),
         OutOfRange("Pac", "pacTblHdl", 16) + RetVal(kSetEnt, 3)},
        {"free table", On(op, kFree, 7, &good), 3, head(kFree, " pbits<7> ovrd<0x 0>"),
         TableIsFree("Pac", "pacTblHdl", kFree) + RetVal(kSetEnt, 3)},
        {"allocated", On(op, kAlloc, 7, &good), 17, head(kAlloc, " pbits<7> ovrd<0x 0>"), notCfg},
        {"active", On(op, kActive, 7, &good), 17, head(kActive, " pbits<7> ovrd<0x 0>"), notCfg},
    });
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

TEST_F(PacTables, GetEntryRefuses) {
    constexpr auto op = QIR_Get_PacTableEntry;
    PacTblCfg out = FullPacRecord();
    const std::string null = Refusal(kGetEnt, "e_RET_ERR_NULL_PTR", 2);
    const std::string pbits = Refusal(kGetEnt, "e_RET_ERR_INVALID_PBITS", 55);
    const std::string nullEnt = TwoParams(kGetEnt, "pacEnt_p", "<ptr>", "<nil>");
    const auto head = [](unsigned id, const std::string &more) {
        return TwoParams(kGetEnt, "pacEnt_p") + Params2(kGetEnt, id, more);
    };
    ExpectRefused({
        {"null handle", OnNull(op, 0, &out), 2, TwoParams(kGetEnt, "pacEnt_p", "<nil>"), null},
        {"null entry", On(op, kCfg, 0, nullptr), 2, nullEnt, null},
        {"null entry before pbits", On(op, kCfg, 8, nullptr), 2, nullEnt, null},
        {"pbits 8", On(op, kCfg, 8, &out), 55, head(kCfg, " pbits<8>"), pbits},
        {"pbits 255", On(op, kCfg, 255, &out), 55, head(kCfg, " pbits<255>"), pbits},
        {"pbits before handle 16", On(op, kBeyond, 8, &out), 55, head(16, " pbits<8>"), pbits},
        {"pbits before free table", On(op, kFree, 8, &out), 55, head(kFree, " pbits<8>"), pbits},
        {"pbits before state", On(op, kAlloc, 8, &out), 55, head(kAlloc, " pbits<8>"), pbits},
        {"handle 16", On(op, kBeyond, 7, &out), 3, head(16, " pbits<7>"),
         OutOfRange("Pac", "pacTblHdl", 16) + RetVal(kGetEnt, 3)},
        {"free table", On(op, kFree, 7, &out), 3, head(kFree, " pbits<7>"),
         TableIsFree("Pac", "pacTblHdl", kFree) + RetVal(kGetEnt, 3)},
        {"allocated", On(op, kAlloc, 7, &out), 17, head(kAlloc, " pbits<7>"),
         Refusal(kGetEnt, "e_RET_ERR_STATE_NOTCFG", 17)},
    });
    EXPECT_TRUE(Image::Of(FullPacRecord()).Is(&out));
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

} // namespace
} // namespace test
