// Limiters and the driver: the driver comes first, the records of activation and deactivation, and what the
// hardware refuses on its own.
#include "tests/rate_limiters/limiters.h"

namespace rate_limiters {
namespace {

class RlAndDriver : public test::LibraryTest {};

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

} // namespace
} // namespace rate_limiters
