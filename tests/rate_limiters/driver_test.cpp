// Limiters and the driver: the driver comes first, the records of activation and deactivation, and what the
// hardware refuses on its own.
#include "tests/rate_limiters/limiters.h"

namespace rate_limiters {
namespace {

class RlAndDriver : public test::LibraryTest {};

TEST_F(RlAndDriver, FailedActivationLeavesTheLimiterConfigured) {
    for (const Limiter &rl : kCorners) {
        for (const Failure &failure : kFailures) {
            AtEveryLevel([&](u32 level) {
                Prepare(rl, e_STATUS_CFG);
                Hardware expected;
                Put(expected, rl, true, kOldEnt);
                ExpectFailed(level, failure, Activate(rl), "QIR_Activate_RL", Params("QIR_Activate_RL", rl),
                             ActivateRecord(rl, kOldEnt));
                ExpectSlot(rl, kOldEnt, e_STATUS_CFG);
                EXPECT_EQ(expected.IsNow(), failure.taken);
            });
        }
    }
}

TEST_F(RlAndDriver, FailedDeactivationLeavesTheLimiterActive) {
    for (const Limiter &rl : kCorners) {
        for (const Failure &failure : kFailures) {
            AtEveryLevel([&](u32 level) {
                Prepare(rl, e_STATUS_ACTIVE);
                Hardware expected;
                Put(expected, rl, false, kZeroEnt);
                ExpectFailed(level, failure, Deactivate(rl), "QIR_Deactivate_RL",
                             Params("QIR_Deactivate_RL", rl), DeactivateRecord(rl, 0));
                ExpectSlot(rl, kOldEnt, e_STATUS_ACTIVE);
                EXPECT_EQ(expected.IsNow(), failure.taken);
            });
        }
    }
}

TEST_F(RlAndDriver, StepSucceedsOnceTheFailureIsOver) {
    const Limiter rl = {1, 4};
    for (const Failure &failure : kFailures) {
        if (failure.taken) {
            continue;
        }
        SCOPED_TRACE(failure.how);
        Prepare(rl, e_STATUS_CFG);
        failure.arm(41);
        EXPECT_EQ(Call(Activate(rl)).rc, 1u);
        orxemu_setPresent(1);
        EXPECT_EQ(Call(Activate(rl)).rc, 0u);
        ExpectSlot(rl, kOldEnt, e_STATUS_ACTIVE);
        failure.arm(42);
        EXPECT_EQ(Call(Deactivate(rl)).rc, 1u);
        orxemu_setPresent(1);
        EXPECT_EQ(Call(Deactivate(rl)).rc, 0u);
        ExpectSlot(rl, kOldEnt, e_STATUS_CFG);
        EXPECT_EQ(orxemu_state()->rl[1][4].active, 0);
    }
}

// The two sides disagree after a lost answer, and the hardware has the last word.
TEST_F(RlAndDriver, LostAnswerLeavesTheTwoSidesApart) {
    const Limiter rl = {0, 9};
    Prepare(rl, e_STATUS_CFG);
    orxemu_loseAnswer(41, 1, EINTR);
    EXPECT_EQ(Call(Activate(rl)).rc, 1u);
    EXPECT_EQ(orxemu_state()->rl[0][9].active, 1);
    const Called again = Call(Activate(rl));
    EXPECT_EQ(again.rc, 1u);
    EXPECT_EQ(again.err, "pktOrxDevIoctl <41> error\n");
    EXPECT_EQ(orxemu_request(orxemu_numRequests() - 1)->err, EBUSY);
    ExpectSlot(rl, kOldEnt, e_STATUS_CFG);
    EXPECT_EQ(Call(Deactivate(rl)).rc, 14u);

    Prepare(rl, e_STATUS_ACTIVE);
    orxemu_loseAnswer(42, 1, EINTR);
    EXPECT_EQ(Call(Deactivate(rl)).rc, 1u);
    EXPECT_EQ(orxemu_state()->rl[0][9].active, 0);
    EXPECT_EQ(Call(Deactivate(rl)).rc, 1u);
    EXPECT_EQ(orxemu_request(orxemu_numRequests() - 1)->err, ENOENT);
    ExpectSlot(rl, kOldEnt, e_STATUS_ACTIVE);
    EXPECT_EQ(Call(Free(rl)).rc, 13u);
}

TEST_F(RlAndDriver, OnlyStatusTciActivationAndDeactivationReachTheDriver) {
    const Limiter rl = {1, 1};
    RlEnt rlEnt = kZeroEnt;
    RlTciCfg tci = {};
    u32 rlStatus = 0;
    orxemu_setPresent(0);
    for (const Op &op : std::vector<Op>{Alloc(rl), Free(rl), Set(rl, kOldEnt), Get(rl, &rlEnt),
                                        Set(rl, kNewEnt), [&] { return QIR_Get_RLStatus(&rlStatus); },
                                        [&] { return QIR_Get_RLTciCfg(1, &tci); }, Free(rl), Alloc(rl)}) {
        const Called called = Call(op);
        EXPECT_EQ(called.rc, 0u);
        EXPECT_EQ(called.err, "");
    }
    EXPECT_EQ(orxemu_numOpens(), 0u);
}

// ---- the TCI half of a deactivation ---------------------------------------------------------------

const OrxEmuRequest &LastRequest() {
    return *orxemu_request(orxemu_numRequests() - 1);
}

TEST_F(RlAndDriver, DeactivationCarriesTheFirstTciHalfOfItsDirection) {
    ForEachLimiter([](const Limiter &rl) {
        Prepare(rl, e_STATUS_ACTIVE);
        ASSERT_EQ(QIR_Set_RLTciCfg(0, RlTciCfg{{0x8123, 0x4567}}), 0u);
        ASSERT_EQ(QIR_Set_RLTciCfg(1, RlTciCfg{{0xFEDC, 0xBA98}}), 0u);
        ASSERT_EQ(QIR_Deactivate_RL(rl.dir, rl.index), 0u);
        ExpectSeen(LastRequest(), DeactivateRecord(rl, rl.dir == 0 ? 0x8123 : 0xFEDC));
        ExpectSlot(rl, kOldEnt, e_STATUS_CFG);
    });
}

// What counts is the half of the moment, and the driver's refusal of a new one leaves the old one.
TEST_F(RlAndDriver, DeactivationCarriesTheTciHalfThatTheShadowHolds) {
    const Limiter rl = {1, 6};
    Prepare(rl, e_STATUS_ACTIVE);
    const auto deactivated = [&](u16 firstTci) {
        ASSERT_EQ(QIR_Deactivate_RL(rl.dir, rl.index), 0u);
        ExpectSeen(LastRequest(), DeactivateRecord(rl, firstTci));
        ASSERT_EQ(QIR_Activate_RL(rl.dir, rl.index), 0u);
    };
    deactivated(0);
    ASSERT_EQ(QIR_Set_RLTciCfg(1, RlTciCfg{{1, 0xFFFF}}), 0u);
    deactivated(1);
    ASSERT_EQ(QIR_Set_RLTciCfg(0, RlTciCfg{{0x2222, 0x3333}}), 0u);
    deactivated(1);
    ASSERT_EQ(QIR_Set_RLTciCfg(1, RlTciCfg{{0xFFFF, 0}}), 0u);
    deactivated(0xFFFF);
    for (const bool taken : {false, true}) {
        (taken ? orxemu_loseAnswer : orxemu_failRequest)(40, 1, EIO);
        ASSERT_EQ(Call([] { return QIR_Set_RLTciCfg(1, RlTciCfg{{0x4444, 0x5555}}); }).rc, 1u);
        deactivated(0xFFFF);
    }
}

TEST_F(RlAndDriver, ActivationCarriesTheConfigurationOfTheMoment) {
    const Limiter rl = {0, 11};
    Prepare(rl, e_STATUS_CFG);
    ASSERT_EQ(QIR_Set_RL(rl.dir, rl.index, kNewEnt), 0u);
    ASSERT_EQ(QIR_Activate_RL(rl.dir, rl.index), 0u);
    ExpectSeen(LastRequest(), ActivateRecord(rl, kNewEnt));
}

// ---- start-up -------------------------------------------------------------------------------------

// The driver is not told: its limiter stays active, and refuses to be activated once more.
TEST_F(RlAndDriver, SecondStartForgetsTheLimiters) {
    const Limiter rl = {1, 15};
    Prepare(rl, e_STATUS_ACTIVE);
    ASSERT_EQ(QIR_Set_RL(0, 0, kNewEnt), 0u);
    ASSERT_EQ(QIR_Alloc_RL(0, 1), 0u);
    const Hardware hardware;
    ASSERT_EQ(QIR_Init_Sys(), 0u);
    EXPECT_TRUE(hardware.IsNow());
    EXPECT_EQ(orxemu_numRequests(), 0u);
    ForEachLimiter([](const Limiter &each) { ExpectSlot(each, kZeroEnt, e_STATUS_FREE); });
    EXPECT_EQ(Call(Deactivate(rl)).rc, 14u);
    ASSERT_EQ(QIR_Set_RL(rl.dir, rl.index, kNewEnt), 0u);
    EXPECT_EQ(Call(Activate(rl)).rc, 1u);
    EXPECT_EQ(LastRequest().err, EBUSY);
    ExpectSlot(rl, kNewEnt, e_STATUS_CFG);
    EXPECT_TRUE(hardware.IsNow());
}

// ---- requests past the library --------------------------------------------------------------------

TEST_F(RlAndDriver, HardwareRefusesDirectionsIndexesAndRatesOutOfRange) {
    Prepare({0, 0}, e_STATUS_ACTIVE);
    const ContextSnapshot context;
    const Hardware hardware;
    for (const Limiter &rl :
         {Limiter{2, 0}, Limiter{0, 16}, Limiter{2, 16}, Limiter{kAllOnes, 0}, Limiter{1, kAllOnes}}) {
        SCOPED_TRACE(TextOf(rl));
        EXPECT_EQ(SendDirectly(ActivateRecord(rl, kOldEnt)), EINVAL);
        EXPECT_EQ(SendDirectly(DeactivateRecord(rl, 0)), EINVAL);
        EXPECT_TRUE(hardware.IsNow());
    }
    const RlEnt ents[] = {{.tci = 0, .cirRate = 8065, .cirUnit = 0, .cbs = 0},
                          {.tci = 0, .cirRate = 1001, .cirUnit = 1, .cbs = 0},
                          {.tci = 0, .cirRate = 0, .cirUnit = 2, .cbs = 0},
                          {.tci = 0, .cirRate = kAllOnes, .cirUnit = kAllOnes, .cbs = 0}};
    for (const RlEnt &rlEnt : ents) {
        SCOPED_TRACE(rlEnt.cirRate);
        EXPECT_EQ(SendDirectly(ActivateRecord({1, 1}, rlEnt)), EINVAL);
        EXPECT_TRUE(hardware.IsNow());
    }
    EXPECT_TRUE(context.Unchanged());
}

TEST_F(RlAndDriver, HardwareKeepsTheStateOfActivation) {
    const Limiter rl = {1, 15};
    EXPECT_EQ(SendDirectly(DeactivateRecord(rl, 0)), ENOENT);
    Hardware expected;
    EXPECT_EQ(SendDirectly(ActivateRecord(rl, kNewEnt)), 0);
    Put(expected, rl, true, kNewEnt);
    EXPECT_TRUE(expected.IsNow());
    EXPECT_EQ(SendDirectly(ActivateRecord(rl, kOldEnt)), EBUSY);
    EXPECT_TRUE(expected.IsNow());
    EXPECT_EQ(SendDirectly(DeactivateRecord({0, 15}, 0)), ENOENT);
    EXPECT_EQ(SendDirectly(DeactivateRecord({1, 14}, 0)), ENOENT);
    EXPECT_TRUE(expected.IsNow());
    EXPECT_EQ(SendDirectly(DeactivateRecord(rl, 0xFFFF)), 0);
    Put(expected, rl, false, kZeroEnt);
    EXPECT_TRUE(expected.IsNow());
    EXPECT_EQ(SendDirectly(DeactivateRecord(rl, 0)), ENOENT);
}

} // namespace
} // namespace rate_limiters
