// AS tables as a whole: their configuration. Entries have a file of their own.
#include "tests/tables/support.h"

namespace test {
namespace {

// The tables of the AS operations' tests: 0 allocated, 1 configured, 2 active, 3 free.
class AsTables : public LibraryTest {
  protected:
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

} // namespace
} // namespace test
