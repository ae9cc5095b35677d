// The corners of the rate limiters, one test each.
#include "tests/rate_limiters/limiters.h"

namespace rate_limiters {
namespace {

class RlEdgeCases : public test::LibraryTest {
  protected:
    static u32 SetRate(u32 rate, u32 unit) {
        return Call([=] { return QIR_Set_RL(0, 0, {.tci = 0, .cirRate = rate, .cirUnit = unit, .cbs = 0}); })
            .rc;
    }
};

TEST_F(RlEdgeCases, RatesEndAt8064InUnit0AndAt1000InUnit1) {
    EXPECT_EQ(SetRate(8064, 0), 0u);
    EXPECT_EQ(SetRate(8065, 0), 72u);
    ExpectSlot({0, 0}, {.tci = 0, .cirRate = 8064, .cirUnit = 0, .cbs = 0}, e_STATUS_CFG);
    EXPECT_EQ(SetRate(1000, 1), 0u);
    EXPECT_EQ(SetRate(1001, 1), 72u);
    ExpectSlot({0, 0}, {.tci = 0, .cirRate = 1000, .cirUnit = 1, .cbs = 0}, e_STATUS_CFG);
}

TEST_F(RlEdgeCases, AllocationNamesTheIndexAndConfigurationTheDirection) {
    const Called alloc = Call([] { return QIR_Alloc_RL(2, 16); });
    EXPECT_EQ(alloc.rc, 69u);
    EXPECT_EQ(alloc.out, "[ERROR orxapi] QIR_Alloc_RL,#: \"e_RET_ERR_INVALID_RLINDEX\"\n"
                         "[ERROR orxapi] QIR_Alloc_RL,#: retVal <69>\n");
    const Called set = Call([] { return QIR_Set_RL(2, 16, kOldEnt); });
    EXPECT_EQ(set.rc, 70u);
    EXPECT_EQ(set.out, "[ERROR orxapi] QIR_Set_RL,#: \"e_RET_ERR_INVALID_RLDIR\"\n"
                       "[ERROR orxapi] QIR_Set_RL,#: retVal <70>\n");
}

TEST_F(RlEdgeCases, EnablingTwiceFailsAndSoDoesDisablingAfterStartUp) {
    EXPECT_EQ(Call([] { return QIR_Set_RLStatus(0); }).rc, 14u);
    EXPECT_EQ(Call([] { return QIR_Set_RLStatus(1); }).rc, 0u);
    EXPECT_EQ(Call([] { return QIR_Set_RLStatus(1); }).rc, 15u);
    EXPECT_EQ(orxemu_numRequests(), 1u);
}

TEST_F(RlEdgeCases, DeactivationOfAConfiguredLimiterFailsWith14) {
    ASSERT_EQ(QIR_Alloc_RL(1, 3), 0u);
    ASSERT_EQ(QIR_Set_RL(1, 3, kOldEnt), 0u);
    const Called called = Call([] { return QIR_Deactivate_RL(1, 3); });
    EXPECT_EQ(called.rc, 14u);
    EXPECT_EQ(called.out, "[ERROR orxapi] QIR_Deactivate_RL,#: \"e_RET_ERR_RESRC_NOT_ACTIVE\"\n"
                          "[ERROR orxapi] QIR_Deactivate_RL,#: retVal <14>\n");
    EXPECT_EQ(orxemu_numOpens(), 0u);
}

TEST_F(RlEdgeCases, AllocatingTwicePrintsAlreadyUsedAndReturns12) {
    ASSERT_EQ(QIR_Alloc_RL(1, 15), 0u);
    const Called called = Call([] { return QIR_Alloc_RL(1, 15); });
    EXPECT_EQ(called.rc, 12u);
    EXPECT_EQ(called.out, "[ERROR orxapi] QIR_Alloc_RL,#: RL rlDir<1> rlIndex <15> already used\n"
                          "[ERROR orxapi] QIR_Alloc_RL,#: retVal <12>\n");
}

} // namespace
} // namespace rate_limiters
