// The functions behind the operations: clearing one limiter or all, copying a configuration in and out.
#include "tests/rate_limiters/limiters.h"

#include "qirapi/access/rl_access.h"
#include "qirapi/private/startup.h"

namespace rate_limiters {
namespace {

class RlInternals : public test::LibraryTest {
  protected:
    // Every byte of what belongs to the rate limiters.
    static void Fill(int byte) {
        std::memset(&qirCtxt_gp->rlTciCfgTbl, byte, sizeof qirCtxt_gp->rlTciCfgTbl);
        std::memset(&qirCtxt_gp->rlTbl, byte, sizeof qirCtxt_gp->rlTbl);
        std::memset(&qirCtxt_gp->rlStatus, byte, sizeof qirCtxt_gp->rlStatus);
    }

    // Runs `fn`, which prints nothing and asks nothing of the driver.
    static void Silently(const std::function<void()> &fn) {
        AtEveryLevel([&](u32 level) {
            const Called called = Call(
                [&] {
                    fn();
                    return 0u;
                },
                level);
            EXPECT_EQ(called.out, "");
            EXPECT_EQ(called.err, "");
        });
        EXPECT_EQ(orxemu_numOpens(), 0u);
    }
};

TEST_F(RlInternals, InitClearsOneLimiterAndItsState) {
    ForEachLimiter([](const Limiter &rl) {
        Fill(0x5A);
        const ContextSnapshot before;
        Silently([&] { qir::Init_RL(rl.dir, rl.index); });
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(SlotOf(rl))}));
        EXPECT_EQ(BytesOf(&SlotOf(rl), 20), Bytes(20, 0));
    });
}

TEST_F(RlInternals, InitTblClearsAllLimitersAndTheStatusButNoTci) {
    Fill(0x5A);
    const ContextSnapshot before;
    Silently([] { qir::Init_RLTbl(); });
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(qirCtxt_gp->rlTbl), Place(qirCtxt_gp->rlStatus)}));
    EXPECT_EQ(BytesOf(&qirCtxt_gp->rlTbl, 640), Bytes(640, 0));
    EXPECT_EQ(qirCtxt_gp->rlStatus, 0u);
    EXPECT_EQ(BytesOf(&qirCtxt_gp->rlTciCfgTbl, 8), Bytes(8, 0x5A));
}

TEST_F(RlInternals, StartUpPutsEveryLimiterInFree) {
    Fill(0x5A);
    ASSERT_EQ(QIR_Init_Sys(), 0u);
    EXPECT_EQ(BytesOf(&qirCtxt_gp->rlTbl, 640), Bytes(640, 0));
    EXPECT_EQ(qirCtxt_gp->rlStatus, 0u);
    EXPECT_EQ(BytesOf(&qirCtxt_gp->rlTciCfgTbl, 8), Bytes(8, 0x5A));
}

TEST_F(RlInternals, SetCopiesTheConfigurationAndLeavesTheState) {
    ForEachLimiter([](const Limiter &rl) {
        const u32 state = (rl.dir + rl.index) % e_STATUS_MAX;
        Fill(0x5A);
        SlotOf(rl).state = state;
        const ContextSnapshot before;
        Silently([&] { qir::setRL(rl.dir, rl.index, &kNewEnt); });
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(SlotOf(rl).ent)}));
        ExpectSlot(rl, kNewEnt, state);
    });
}

TEST_F(RlInternals, GetCopiesTheConfigurationInEveryState) {
    ForEachLimiter([](const Limiter &rl) {
        for (u32 state = e_STATUS_FREE; state < e_STATUS_MAX; ++state) {
            Fill(0x5A);
            SlotOf(rl) = {kOldEnt, state};
            const ContextSnapshot before;
            RlEnt read = kZeroEnt;
            Silently([&] { qir::getRL(rl.dir, rl.index, &read); });
            EXPECT_TRUE(before.Unchanged());
            EXPECT_EQ(WordsOf(read), WordsOf(kOldEnt));
        }
    });
}

} // namespace
} // namespace rate_limiters
