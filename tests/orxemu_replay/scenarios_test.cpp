// What the scenarios of orxtest send, sent again.
#include "tests/app/app_test.h"
#include "tests/orxemu_replay/replay_test.h"

namespace replay_test {

namespace {

class ReplayScenariosTest : public app_test::AppTest, public ::testing::WithParamInterface<const char *> {};

TEST_P(ReplayScenariosTest, HardwareHoldsTheSameAgain) {
    ASSERT_EQ(app_test::RunOrxtest({"-t", GetParam()}).status, 0);
    const std::size_t sent = orxemu_numRequests();
    ASSERT_GT(sent, 0u);
    const OrxEmuState recorded = *orxemu_state();
    const Log ownOrder = Read(RecordedText());
    const Log otherOrder = Read(TextOf(InOtherOrder(Recorded())));
    for (const Log *log : {&ownOrder, &otherOrder}) {
        orxemu_reset();
        const ReplayRun run = RunReplay(*log);
        EXPECT_EQ(run.end, ReplayEnd::Done);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.counts.accepted + run.counts.skippedRefused, sent);
        EXPECT_EQ(std::memcmp(&recorded, orxemu_state(), sizeof recorded), 0)
            << "the hardware holds something else";
    }
}

INSTANTIATE_TEST_SUITE_P(Scenario, ReplayScenariosTest, ::testing::Values("0", "1", "2", "3", "4", "5"),
                         [](const auto &scenario) { return std::string(scenario.param); });

} // namespace

} // namespace replay_test
