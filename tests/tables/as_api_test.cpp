// AS tables as a whole: configuration, states, order of checks. Entries have a file of their own.
#include "tests/tables/support.h"

namespace test {
namespace {

// The tables of the AS operations' tests: 0 allocated, 1 configured, 2 active, 3 free, 16 behind the pool.
class AsTables : public LibraryTest {
  protected:
    static constexpr unsigned kBeyond = 16;

    void SetUp() override {
        LibraryTest::SetUp();
        for (unsigned id = 0; id < 3; ++id) {
            AsTblHdl hdl{};
            ASSERT_EQ(QIR_Alloc_AsTable(&hdl), 0u);
            ASSERT_EQ(hdl.f1.id, id);
        }
        const AsTblCfg cfg{0x21};
        ASSERT_EQ(On(QIR_Set_AsTableCfg, kCfg, &cfg)(), 0u);
        ASSERT_EQ(On(QIR_Set_AsTableCfg, kActive, &cfg)(), 0u);
        ASSERT_EQ(On(QIR_Activate_AsTable, kActive)(), 0u);
    }

    static qir::AsTblInfo *Table(unsigned id) { return &qirCtxt_gp->asTblPool[id]; }
};

std::string Params(const std::string &fn) {
    return Inf(fn, "Params: asTblHdl_p<0x<ptr>>");
}
std::string NullParams(const std::string &fn) {
    return Inf(fn, "Params: asTblHdl_p<0x<nil>>");
}
std::string Params2(const std::string &fn, unsigned id) {
    return Inf(fn, "Params2: asTblHdl<" + std::to_string(id) + ">");
}

// Null pointer, handle behind the pool, free table: the three that Free, Activate and Deactivate share.
std::vector<Refused> HandleRows(const std::string &fn, uint32_t (*op)(AsTblHdl *)) {
    return {
        {"null handle", OnNull(op), 2, NullParams(fn), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"handle 16", On(op, 16), 3, Params(fn) + Params2(fn, 16),
         OutOfRange("As", "asTblHdl", 16) + RetVal(fn, 3)},
        {"handle 255", On(op, 255), 3, Params(fn) + Params2(fn, 255),
         OutOfRange("As", "asTblHdl", 255) + RetVal(fn, 3)},
        {"free table", On(op, kFree), 3, Params(fn) + Params2(fn, kFree),
         TableIsFree("As", "asTblHdl", kFree) + RetVal(fn, 3)},
    };
}

TEST_F(AsTables, FreeRefuses) {
    const std::string fn = "QIR_Free_AsTable";
    ExpectRefused(HandleRows(fn, QIR_Free_AsTable));
    ExpectRefused({{"active", On(QIR_Free_AsTable, kActive), 19, Params(fn) + Params2(fn, kActive),
                    Refusal(fn, "e_RET_ERR_STATE_ALREADY_ACTIVE", 19)}});
}

TEST_F(AsTables, FreeTakesAllocatedAndConfiguredTablesAndKeepsTheirEntries) {
    const std::string fn = "QIR_Free_AsTable";
    for (const unsigned id : {kAlloc, kCfg}) {
        for (uint32_t level = 0; level <= 3; ++level) {
            SCOPED_TRACE(id);
            const uint32_t status = Table(id)->status;
            Image expected = Image::Of(*Table(id)).U32(16, e_STATUS_FREE);
            const ContextSnapshot before;
            ExpectAccepted(On(QIR_Free_AsTable, id), Params(fn) + Params2(fn, id), level);
            EXPECT_TRUE(expected.Is(Table(id)));
            EXPECT_TRUE(OnlyChanged(before, Table(id), 468));
            Table(id)->status = status;
        }
    }
    EXPECT_EQ(orxemu_numRequests(), 1u) << "only the activation of the set-up";
}

TEST_F(AsTables, ActivateRefuses) {
    const std::string fn = "QIR_Activate_AsTable";
    ExpectRefused(HandleRows(fn, QIR_Activate_AsTable));
    ExpectRefused({{"allocated, never configured", On(QIR_Activate_AsTable, kAlloc), 17,
                    Params(fn) + Params2(fn, kAlloc), Refusal(fn, "e_RET_ERR_STATE_NOTCFG", 17)},
                   {"active already", On(QIR_Activate_AsTable, kActive), 19,
                    Params(fn) + Params2(fn, kActive), Refusal(fn, "e_RET_ERR_STATE_ALREADY_ACTIVE", 19)}});
}

TEST_F(AsTables, DeactivateRefuses) {
    const std::string fn = "QIR_Deactivate_AsTable";
    ExpectRefused(HandleRows(fn, QIR_Deactivate_AsTable));
    ExpectRefused({{"allocated", On(QIR_Deactivate_AsTable, kAlloc), 18, Params(fn) + Params2(fn, kAlloc),
                    Refusal(fn, "e_RET_ERR_STATE_NOT_ACTIVE", 18)},
                   {"configured", On(QIR_Deactivate_AsTable, kCfg), 18, Params(fn) + Params2(fn, kCfg),
                    Refusal(fn, "e_RET_ERR_STATE_NOT_ACTIVE", 18)}});
}

TEST_F(AsTables, ActivateAndDeactivatePrintPointerAndIndex) {
    const std::string on = "QIR_Activate_AsTable";
    const std::string off = "QIR_Deactivate_AsTable";
    for (uint32_t level = 0; level <= 3; ++level) {
        ExpectAccepted(On(QIR_Activate_AsTable, kCfg), Params(on) + Params2(on, kCfg), level);
        EXPECT_EQ(Table(kCfg)->status, e_STATUS_ACTIVE);
        ExpectAccepted(On(QIR_Deactivate_AsTable, kCfg), Params(off) + Params2(off, kCfg), level);
        EXPECT_EQ(Table(kCfg)->status, e_STATUS_CFG);
    }
}

TEST_F(AsTables, ActivatingNeverConfiguredTwiceAndDeactivatingConfigured) {
    EXPECT_EQ(Call(On(QIR_Activate_AsTable, kAlloc)).code, 17u);
    EXPECT_EQ(Call(On(QIR_Activate_AsTable, kCfg)).code, 0u);
    EXPECT_EQ(Call(On(QIR_Activate_AsTable, kCfg)).code, 19u);
    EXPECT_EQ(Call(On(QIR_Deactivate_AsTable, kCfg)).code, 0u);
    EXPECT_EQ(Call(On(QIR_Deactivate_AsTable, kCfg)).code, 18u);
}

TEST_F(AsTables, FreeingAnActiveTableFailsAndAConfiguredOneSucceedsAlthoughFlowsCouldReferToIt) {
    EXPECT_EQ(Call(On(QIR_Free_AsTable, kActive)).code, 19u);
    Table(kCfg)->refCnt = 1;
    EXPECT_EQ(Call(On(QIR_Free_AsTable, kCfg)).code, 0u);
    EXPECT_EQ(Table(kCfg)->status, e_STATUS_FREE);
}

TEST_F(AsTables, SetCfgRefuses) {
    const std::string fn = "QIR_Set_AsTableCfg";
    const auto params = [&](unsigned id, const char *mask) {
        return Inf(fn, "Params: asTblHdl_p<0x<ptr>> asTblCfg_p<0x<ptr>>") +
               Inf(fn, "Params2: asTblHdl<" + std::to_string(id) + "> srcPortMask<0x" + mask + ">");
    };
    const AsTblCfg cfg{0x5};
    const AsTblCfg zero{0};
    ExpectRefused({
        {"null handle", OnNull(QIR_Set_AsTableCfg, &cfg), 2,
         Inf(fn, "Params: asTblHdl_p<0x<nil>> asTblCfg_p<0x<ptr>>"), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"null configuration", On(QIR_Set_AsTableCfg, kCfg, nullptr), 2,
         Inf(fn, "Params: asTblHdl_p<0x<ptr>> asTblCfg_p<0x<nil>>"), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"both null", OnNull(QIR_Set_AsTableCfg, nullptr), 2,
         Inf(fn, "Params: asTblHdl_p<0x<nil>> asTblCfg_p<0x<nil>>"), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"null handle before mask 0", OnNull(QIR_Set_AsTableCfg, &zero), 2,
         Inf(fn, "Params: asTblHdl_p<0x<nil>> asTblCfg_p<0x<ptr>>"), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"null configuration before handle 16", On(QIR_Set_AsTableCfg, kBeyond, nullptr), 2,
         Inf(fn, "Params: asTblHdl_p<0x<ptr>> asTblCfg_p<0x<nil>>"), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"mask 0", On(QIR_Set_AsTableCfg, kCfg, &zero), 37, params(kCfg, " 0"),
         Refusal(fn, "e_RET_ERR_INVALID_SRCPORTMASK", 37)},
        {"mask 0 before handle 16", On(QIR_Set_AsTableCfg, kBeyond, &zero), 37, params(16, " 0"),
         Refusal(fn, "e_RET_ERR_INVALID_SRCPORTMASK", 37)},
        {"mask 0 before free table", On(QIR_Set_AsTableCfg, kFree, &zero), 37, params(kFree, " 0"),
         Refusal(fn, "e_RET_ERR_INVALID_SRCPORTMASK", 37)},
        {"mask 0 before state", On(QIR_Set_AsTableCfg, kActive, &zero), 37, params(kActive, " 0"),
         Refusal(fn, "e_RET_ERR_INVALID_SRCPORTMASK", 37)},
        {"handle 16", On(QIR_Set_AsTableCfg, kBeyond, &cfg), 3, params(16, " 5"),
         OutOfRange("As", "asTblHdl", 16) + RetVal(fn, 3)},
        {"free table", On(QIR_Set_AsTableCfg, kFree, &cfg), 3, params(kFree, " 5"),
         TableIsFree("As", "asTblHdl", kFree) + RetVal(fn, 3)},
        {"active", On(QIR_Set_AsTableCfg, kActive, &cfg), 17, params(kActive, " 5"),
         Refusal(fn, "e_RET_ERR_STATE_NOTCFG", 17)},
    });
}

// No upper bound: any mask but 0 is taken, in ALLOC and in CFG.
TEST_F(AsTables, SetCfgStoresAnyMaskButZero) {
    const std::string fn = "QIR_Set_AsTableCfg";
    struct Row {
        uint32_t mask;
        const char *printed;
    };
    for (const Row &row : {Row{1, " 1"}, Row{0x100, "100"}, Row{0xFFFFFFFF, "ffffffff"}}) {
        for (const unsigned id : {kAlloc, kCfg}) {
            for (uint32_t level = 0; level <= 3; ++level) {
                SCOPED_TRACE(std::string(row.printed) + " on " + std::to_string(id));
                if (id == kAlloc) {
                    Table(id)->status = e_STATUS_ALLOC;
                }
                Image expected = Image::Of(*Table(id)).U32(8, row.mask).U32(16, e_STATUS_CFG);
                const ContextSnapshot before;
                const AsTblCfg cfg{row.mask};
                ExpectAccepted(On(QIR_Set_AsTableCfg, id, &cfg),
                               Inf(fn, "Params: asTblHdl_p<0x<ptr>> asTblCfg_p<0x<ptr>>") +
                                   Inf(fn, "Params2: asTblHdl<" + std::to_string(id) + "> srcPortMask<0x" +
                                               row.printed + ">"),
                               level);
                EXPECT_TRUE(expected.Is(Table(id)));
                EXPECT_TRUE(OnlyChanged(before, Table(id), 468));
            }
        }
    }
}

TEST_F(AsTables, GetCfgRefuses) {
    const std::string fn = "QIR_Get_AsTableCfg";
    const std::string params = Inf(fn, "Params: asTblHdl_p<0x<ptr>> asTblCfg_p<0x<ptr>>");
    AsTblCfg out{0x12345678};
    ExpectRefused({
        {"null handle", OnNull(QIR_Get_AsTableCfg, &out), 2,
         Inf(fn, "Params: asTblHdl_p<0x<nil>> asTblCfg_p<0x<ptr>>"), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"null configuration", On(QIR_Get_AsTableCfg, kCfg, nullptr), 2,
         Inf(fn, "Params: asTblHdl_p<0x<ptr>> asTblCfg_p<0x<nil>>"), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"null configuration before handle 16", On(QIR_Get_AsTableCfg, kBeyond, nullptr), 2,
         Inf(fn, "Params: asTblHdl_p<0x<ptr>> asTblCfg_p<0x<nil>>"), Refusal(fn, "e_RET_ERR_NULL_PTR", 2)},
        {"handle 16", On(QIR_Get_AsTableCfg, kBeyond, &out), 3, params,
         OutOfRange("As", "asTblHdl", 16) + RetVal(fn, 3)},
        {"free table", On(QIR_Get_AsTableCfg, kFree, &out), 3, params,
         TableIsFree("As", "asTblHdl", kFree) + RetVal(fn, 3)},
        {"allocated, never configured", On(QIR_Get_AsTableCfg, kAlloc, &out), 17, params,
         Refusal(fn, "e_RET_ERR_STATE_NOTCFG", 17)},
    });
    EXPECT_EQ(out.srcPortMask, 0x12345678u);
}

TEST_F(AsTables, GetCfgReadsConfiguredAndActiveTables) {
    const std::string fn = "QIR_Get_AsTableCfg";
    const ContextSnapshot before;
    for (const unsigned id : {kCfg, kActive}) {
        AsTblCfg out{};
        ExpectAccepted(On(QIR_Get_AsTableCfg, id, &out),
                       Inf(fn, "Params: asTblHdl_p<0x<ptr>> asTblCfg_p<0x<ptr>>") +
                           Inf(fn, "asTblHdl<" + std::to_string(id) + "> srcPortMask<0x21>"));
        EXPECT_EQ(out.srcPortMask, 0x21u);
    }
    EXPECT_TRUE(before.Unchanged());
}

// Error lines are printed at module level 0 as well, and whatever the global level is.
TEST_F(AsTables, ErrorLinesCannotBeSilenced) {
    qelLog_setGlobalLogLevel(0);
    EXPECT_EQ(Call(OnNull(QIR_Free_AsTable), 0).out,
              "[ERROR orxapi] QIR_Free_AsTable,#: \"e_RET_ERR_NULL_PTR\"\n"
              "[ERROR orxapi] QIR_Free_AsTable,#: retVal <2>\n");
}

TEST_F(AsTables, GlobalLevel1HidesParameterLines) {
    qelLog_setGlobalLogLevel(1);
    EXPECT_EQ(Call(On(QIR_Free_AsTable, kCfg), 3).out, "");
}

} // namespace
} // namespace test
