// Several processes on one hardware, processes that are killed, and what happens to the descriptors that they
// have inherited.
#include "tests/orxemu_run/run_kit.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>

namespace run_test {

namespace {

class ProcessesTest : public RunTest {
  protected:
    // A log that says itself what is missing in it; its reader refuses it at that line.
    void ExpectLost(const std::string &name, std::size_t requests, std::uint32_t lost) const {
        orxemu::journal::Log log;
        orxemu::journal::Problem problem;
        EXPECT_FALSE(orxemu::journal::ReadLog(FileText(Path(name)), name, log, problem));
        EXPECT_EQ(problem.Text(), name + ":" + std::to_string(requests + 2) +
                                      ": requests that are missing in this log: " + std::to_string(lost));
        EXPECT_EQ(log.entries.size(), requests);
        EXPECT_EQ(log.end.lost, lost);
        EXPECT_FALSE(log.complete);
    }
};

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

// What nobody has closed, however its process ended. A child's copies are not its own.
TEST_F(ProcessesTest, DescriptorsLeftOpenAreCountedAtAnyEnd) {
    struct Row {
        Words steps;
        int status;
        int openDescriptors;
    };
    const Row rows[] = {
        {{"leave-open", "status=1", "leave-open"}, 0, 2},
        {{"leave-open", "exit=3"}, 3, 1},
        {{"leave-open", "leave-open", "quick-exit=4"}, 4, 2},
        {{"leave-open", "signal=9"}, 128 + SIGKILL, 1},
        {{"leave-open", "signal=15"}, 128 + SIGTERM, 1},
        {{"status=1", "signal=9"}, 128 + SIGKILL, 0},
        {{"leave-open", "close-all"}, 0, 0},
        {{"leave-open", "in-child=close-all"}, 0, 1},
        {{"leave-open", "in-child=close-all", "close-all", "quick-exit=0"}, 0, 0},
        {{"in-child=leave-open", "in-child=leave-open"}, 0, 2},
        {{"leave-open", "in-child=leave-open", "close-all"}, 0, 1},
    };
    for (const Row &row : rows) {
        std::string name;
        for (const std::string &step : row.steps) {
            name += step + " ";
        }
        EXPECT_EQ(RunSteps({"--log", Path("a.json")}, row.steps).status, row.status) << name;
        EXPECT_EQ(ReadLog("a.json").end.openDescriptors, row.openDescriptors) << name;
    }
}

// The hardware may have taken its request, of which the log knows nothing.
TEST_F(ProcessesTest, DeathInTheMiddleOfARequestIsTold) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"status=0", "die-in-request", "status=1"});
    EXPECT_EQ(outcome.out, "status 0: ok\ndied\nstatus 1: ok\n");
    EXPECT_EQ(outcome.err.rfind("orxemu: " + Path("a.json") + ": 1 request is missing: ", 0), 0u)
        << outcome.err;
    EXPECT_EQ(outcome.status, 125);
    // How many there is room for in the channel is the system's affair.
    const std::string log = FileText(Path("a.json"));
    const auto lines = static_cast<std::size_t>(std::count(log.begin(), log.end(), '\n'));
    ExpectLost("a.json", lines - 2, 1);
}

TEST_F(ProcessesTest, StopInTheMiddleOfARequestLosesNothing) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"stop-in-request"});
    EXPECT_EQ(outcome.out, "went on\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("a.json").end.requests, 1000u);
}

// It is waited for, with an end.
TEST_F(ProcessesTest, ProcessThatStaysInARequestIsTold) {
    const std::string end = Path("end");
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"status=1", "hold-lock=" + end, "exit=0"});
    EXPECT_EQ(outcome.err, "orxemu: a process that outlives " DEVICE_USER
                           " stays in the middle of a request: what the hardware holds may not be whole\n");
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
    WriteFile(end, "");
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

constexpr const char *kRefused = "orxemu: a process had closed the descriptors of the stand-in: the device "
                                 "was refused to it with ENODEV\n";

TEST_F(ProcessesTest, DescriptorsThatAreGoneCostTheDevice) {
    const Words steps = {"status=0", "close-all-behind", "status=1", "status=1"};
    const Outcome outcome = RunSteps({"--log", Path("a.json"), "--state", Path("s.json")}, steps);
    EXPECT_EQ(outcome.out, "status 0: ok\nstatus 1: ENODEV\nstatus 1: ENODEV\n");
    EXPECT_EQ(
        outcome.err,
        "orxemu: " + Path("a.json") +
            ": 2 requests are missing: a process had closed the descriptors of the stand-in or ended in "
            "the middle of a request, or orxemu could not read them in time\n" +
            kRefused);
    EXPECT_EQ(outcome.status, 125);
    ExpectLost("a.json", 1, 2);
    EXPECT_EQ(ReadState("s.json")->rlStatus, 0u);
    EXPECT_EQ(RunSteps({"--state", Path("s.json")}, steps).err, kRefused) << "without a log, too";
}

// What a program has put under the numbers is its own, and is closed when it says so.
TEST_F(ProcessesTest, OthersUnderTheNumbersAreLeftAlone) {
    const Outcome outcome =
        RunSteps({"--state", Path("s.json")}, {"status=1", "cover-all", "status=0", "close-all", "status=0"});
    const std::size_t line = outcome.out.find("covered ");
    ASSERT_NE(line, std::string::npos) << outcome.out;
    const std::string number = outcome.out.substr(line + 8, outcome.out.find('\n', line) - line - 8);
    EXPECT_EQ(outcome.out, "status 1: ok\ncovered " + number + "\nstatus 0: ENODEV\nclosed " + number +
                               "\nstatus 0: ENODEV\n");
    EXPECT_EQ(outcome.err, kRefused);
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(ReadState("s.json")->rlStatus, 1u);
}

// A session that is not there any more, or one of another layout: no device rather than one of its own.
TEST_F(ProcessesTest, SessionThatCannotBeJoined) {
    for (const char *session :
         {"", "x", "1", "1,2,3,4,5,6", "-1,3,1,1,4,1,1", "999999999,3,1,1,4,1,1", "0,3,1,1,4,1,1,"}) {
        Conditions conditions;
        conditions.environment = {std::string("ORXEMU_SESSION=") + session};
        EXPECT_EQ(RunAlone({DEVICE_USER, "status=1"}, conditions).out, "status 1: ENOENT\n") << session;
    }
}

} // namespace

} // namespace run_test
