// What threads do at the same time, with and without a session.
#include "tests/orxemu_run/run_kit.h"

namespace run_test {

namespace {

using ThreadsTest = RunTest;

TEST_F(ThreadsTest, ThreadUsesDescriptorsWhileItsLibraryIsLoaded) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"load=" PLUG_IN, "status=1"});
    EXPECT_EQ(outcome.out, "loaded\nstatus 1: ok\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
}

// The kernel knows processes and not threads: each could seem to wait for the other.
TEST_F(ThreadsTest, LocksOfTheProgramsOwnAreNoDeadlocks) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"own-lock=" + Path("lock")});
    EXPECT_EQ(outcome.out, "lock: ok\nbeside the lock: ok\nunder the lock: ok\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("a.json").end.requests, 600u);
}

} // namespace

} // namespace run_test
