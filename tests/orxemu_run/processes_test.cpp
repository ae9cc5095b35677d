// Several processes on one hardware, processes that are killed, and what happens to the descriptors that they
// have inherited.
#include "tests/orxemu_run/run_kit.h"

#include <csignal>
#include <cstdlib>

namespace run_test {

namespace {

using ProcessesTest = RunTest;

TEST_F(ProcessesTest, RequestsOfAllProcessesAreOneSequence) {
    const Outcome outcome =
        RunSteps({"--log", Path("a.json"), "--state", Path("s.json")}, {"status=0", "processes=20"});
    EXPECT_EQ(outcome.out, "status 0: ok\nfailures 0\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    const auto log = ReadLog("a.json");
    EXPECT_EQ(log.end.requests, 401u);
    for (const auto &entry : log.entries) {
        ASSERT_TRUE(entry.request == 39 && entry.err == 0 && entry.in.size() == 4);
    }
    EXPECT_EQ(ReadState("s.json")->rlStatus, 1u);
}

TEST_F(ProcessesTest, RequestsOfAllThreadsAreOneSequence) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"threads=16"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(ReadLog("a.json").end.requests, 256u);
    EXPECT_EQ(ReadLog("a.json").end.openDescriptors, 0);
}

TEST_F(ProcessesTest, TwoAtOnceNeverGetTheSameTable) {
    for (const char *step : {"tables=16", "thread-tables=16"}) {
        const Outcome outcome = RunSteps({"--log", Path("a.json"), "--state", Path("s.json")}, {step});
        EXPECT_EQ(outcome.out, "failures 0\n") << step;
        EXPECT_EQ(outcome.status, 0) << step << ": " << outcome.err;
        EXPECT_EQ(ReadLog("a.json").end.requests, 512u) << step;
        // In the log's order no table is activated twice.
        std::vector<bool> active(ORXEMU_AS_TABLES);
        for (const auto &entry : ReadLog("a.json").entries) {
            const bool activates = entry.request == 21;
            const auto index = orxemu::journal::Load(entry.out, 0, 4, orxemu::journal::kHostOrder);
            ASSERT_LT(index, active.size()) << step;
            ASSERT_NE(active[index], activates) << step << ": table " << index;
            active[index] = activates;
        }
    }
}

TEST_F(ProcessesTest, RunInARunHasAHardwareOfItsOwn) {
    if (Emulated()) {
        GTEST_SKIP() << "an emulated program executes no other";
    }
    const Words inner =
        Tool({"run", "--log", Path("inner.json"), "--fail", "1", "--", DEVICE_USER, "status=1"});
    const Outcome outcome = Finished(RunWords({"--log", Path("outer.json")}, inner));
    EXPECT_EQ(outcome.out, "status 1: EIO\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("inner.json").end.requests, 1u);
    EXPECT_EQ(ReadLog("outer.json").end.requests, 0u);
}

TEST_F(ProcessesTest, ProgramsOfAShellScript) {
    if (Emulated()) {
        GTEST_SKIP() << "an emulated program executes no other";
    }
    const std::string user = DEVICE_USER;
    const Words script = {
        "sh", "-c", user + " status=1; " + user + " status=0 & wait; " + user + " leave-open | cat; exit 6"};
    const Outcome outcome = Finished(RunWords({"--log", Path("a.json"), "--state", Path("s.json")}, script));
    EXPECT_EQ(outcome.out, "status 1: ok\nstatus 0: ok\nopen: ok\n");
    EXPECT_EQ(outcome.status, 6);
    EXPECT_EQ(ReadLog("a.json").end.requests, 2u);
    EXPECT_EQ(ReadLog("a.json").end.openDescriptors, 1);
    EXPECT_EQ(ReadState("s.json")->rlStatus, 0u);
}

TEST_F(ProcessesTest, KilledProgramLosesNothingThatItHasSent) {
    const Outcome outcome = RunSteps({"--log", Path("a.json"), "--state", Path("s.json")},
                                     {"processes=10", "status=0", "status=1", "signal=9"});
    EXPECT_EQ(outcome.status, 128 + SIGKILL);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(ReadLog("a.json").end.requests, 102u);
    EXPECT_EQ(ReadState("s.json")->rlStatus, 1u);
}

TEST_F(ProcessesTest, ClosingEverythingLeavesTheStandIn) {
    const Outcome outcome =
        RunSteps({"--log", Path("a.json")}, {"close-all", "status=1", "close-all", "status=0"});
    EXPECT_EQ(outcome.out.substr(outcome.out.find("status 1")), "status 1: ok\nclosed 0\nstatus 0: ok\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("a.json").end.requests, 2u);
}

TEST_F(ProcessesTest, DescriptorsThatAreGoneCostTheLogOnly) {
    const Words steps = {"status=0", "close-all-behind", "status=1", "status=1"};
    const Outcome outcome = RunSteps({"--log", Path("a.json"), "--state", Path("s.json")}, steps);
    EXPECT_EQ(outcome.out, "status 0: ok\nstatus 1: ok\nstatus 1: ok\n");
    EXPECT_EQ(outcome.err,
              "orxemu: " + Path("a.json") +
                  ": 2 requests are missing: a process had closed the descriptors of the stand-in, or "
                  "orxemu could not read them in time\n");
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
    EXPECT_EQ(ReadState("s.json")->rlStatus, 1u);
    EXPECT_EQ(RunSteps({"--state", Path("s.json")}, steps).status, 0) << "nobody asked for a log";
}

// What a program has put under the numbers is its own, and is closed when it says so.
TEST_F(ProcessesTest, OthersUnderTheNumbersAreLeftAlone) {
    const Outcome outcome =
        RunSteps({"--state", Path("s.json")}, {"cover-all", "status=1", "close-all", "status=1"});
    const std::string covered = outcome.out.substr(0, outcome.out.find('\n'));
    EXPECT_EQ(covered.rfind("covered ", 0), 0u) << outcome.out;
    EXPECT_EQ(outcome.out, covered + "\nstatus 1: ok\nclosed " + covered.substr(8) + "\nstatus 1: ok\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(ReadState("s.json")->rlStatus, 1u);
}

// A session that is not there any more, or one of another layout: no device rather than one of its own.
TEST_F(ProcessesTest, SessionThatCannotBeJoined) {
    for (const char *session :
         {"", "x", "1", "1,2,3,4,5,6", "-1,3,1,1,4,1,1", "999999999,3,1,1,4,1,1", "0,3,1,1,4,1,1,"}) {
        Conditions conditions;
        conditions.environment = {std::string("ORXEMU_SESSION=") + session};
        Words words = {DEVICE_USER, "status=1"};
        if (Emulated()) {
            std::string emulator = EMULATOR;
            conditions.environment.push_back(std::string("QEMU_SET_ENV=LD_PRELOAD=") + STAND_IN_PRELOAD);
            words = {"sh", "-c", "exec " + emulator + " \"$@\"", "sh", DEVICE_USER, "status=1"};
        } else {
            conditions.environment.push_back(std::string("LD_PRELOAD=") + STAND_IN_PRELOAD);
        }
        EXPECT_EQ(Finished(words, conditions).out, "status 1: ENOENT\n") << session;
    }
}

} // namespace

} // namespace run_test
