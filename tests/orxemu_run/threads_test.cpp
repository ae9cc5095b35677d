// What threads do at the same time, with and without a session.
#include "tests/orxemu_run/run_kit.h"

namespace run_test {

namespace {

using ThreadsTest = RunTest;

TEST_F(ThreadsTest, ThreadUsesDescriptorsWhileItsLibraryIsLoaded) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"load=" PLUG_IN, "status=1"});
    EXPECT_EQ(outcome.out, "so far nothing\nloaded\nstatus 1: ok\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
}

// Without a tool there is no lock of a file, and no one to hear of it. They do not meet each time.
TEST_F(ThreadsTest, TwoAtOnceNeverGetTheSameTableAlone) {
    constexpr std::size_t kTimes = 32;
    for (const char *step : {"threads=8", "thread-tables=16"}) {
        Words program = {DEVICE_USER};
        std::string out;
        for (std::size_t i = 0; i < kTimes; ++i) {
            program.emplace_back(step);
            out += "failures 0\n";
        }
        const Outcome outcome = RunAlone(program);
        EXPECT_EQ(outcome.out, out) << step;
        EXPECT_EQ(outcome.err, "") << step;
        EXPECT_EQ(outcome.status, 0) << step;
    }
}

// The kernel knows processes and not threads: each could seem to wait for the other.
TEST_F(ThreadsTest, LocksOfTheProgramsOwnAreNoDeadlocks) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"own-lock=" + Path("lock")});
    EXPECT_EQ(outcome.out, "pipe: ok\nunder own lock: ok\nown lock: ok\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
}

} // namespace

} // namespace run_test
