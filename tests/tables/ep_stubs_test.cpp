// The EP operations: they exist, answer 0 and do nothing.
#include "tests/tables/support.h"

namespace test {
namespace {

class EpTables : public LibraryTest {
  protected:
    // At every log level: 0, not a word, no change, no request.
    static void ExpectNothingHappens(const char *what, const Op &call) {
        for (uint32_t level = 0; level <= 3; ++level) {
            SCOPED_TRACE(what);
            const ContextSnapshot before;
            ExpectAccepted(call, "", level);
            EXPECT_TRUE(before.Unchanged());
            EXPECT_EQ(orxemu_numOpens(), 0u);
        }
    }
};

TEST_F(EpTables, EveryOperationReturns0AndLeavesTheHandleAlone) {
    EpTblCfg cfg{{1, 2, 3, 4}};
    EpEnt ent{{5, 6}};
    for (const unsigned id : {0u, 5u, 6u, 255u}) { // On() looks at the handle
        SCOPED_TRACE(id);
        ExpectNothingHappens("Alloc", On(QIR_Alloc_EpTable, id));
        ExpectNothingHappens("Free", On(QIR_Free_EpTable, id));
        ExpectNothingHappens("Activate", On(QIR_Activate_EpTable, id));
        ExpectNothingHappens("Deactivate", On(QIR_Deactivate_EpTable, id));
        ExpectNothingHappens("Set cfg", On(QIR_Set_EpTableCfg, id, &cfg));
        ExpectNothingHappens("Get cfg", On(QIR_Get_EpTableCfg, id, &cfg));
        for (const uint8_t slot : {uint8_t{0}, uint8_t{7}, uint8_t{8}, uint8_t{255}}) {
            ExpectNothingHappens("Set entry", On(QIR_Set_EpTableEntry, id, slot, &ent));
            ExpectNothingHappens("Get entry", On(QIR_Get_EpTableEntry, id, slot, &ent));
        }
    }
    EXPECT_TRUE(Image(4).U8(0, 1).U8(1, 2).U8(2, 3).U8(3, 4).Is(&cfg));
    EXPECT_TRUE(Image(2).U8(0, 5).U8(1, 6).Is(&ent));
}

TEST_F(EpTables, NullPointersAreNotChecked) {
    ExpectNothingHappens("Alloc", OnNull(QIR_Alloc_EpTable));
    ExpectNothingHappens("Free", OnNull(QIR_Free_EpTable));
    ExpectNothingHappens("Activate", OnNull(QIR_Activate_EpTable));
    ExpectNothingHappens("Deactivate", OnNull(QIR_Deactivate_EpTable));
    ExpectNothingHappens("Set cfg", OnNull(QIR_Set_EpTableCfg, nullptr));
    ExpectNothingHappens("Get cfg", OnNull(QIR_Get_EpTableCfg, nullptr));
    ExpectNothingHappens("Set entry", OnNull(QIR_Set_EpTableEntry, 0, nullptr));
    ExpectNothingHappens("Get entry", OnNull(QIR_Get_EpTableEntry, 0, nullptr));
}

// Even a table that is made active behind the operations' back stays as it is.
TEST_F(EpTables, TablesInAnyStateStayAsTheyAre) {
    EpTblCfg cfg{};
    EpEnt ent{};
    for (const uint32_t status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        qirCtxt_gp->epTblPool[2].status = status;
        ExpectNothingHappens("Free", On(QIR_Free_EpTable, 2));
        ExpectNothingHappens("Activate", On(QIR_Activate_EpTable, 2));
        ExpectNothingHappens("Deactivate", On(QIR_Deactivate_EpTable, 2));
        ExpectNothingHappens("Set cfg", On(QIR_Set_EpTableCfg, 2, &cfg));
        ExpectNothingHappens("Set entry", On(QIR_Set_EpTableEntry, 2, 0, &ent));
    }
}

} // namespace
} // namespace test
