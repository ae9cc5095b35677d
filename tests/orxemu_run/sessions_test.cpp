// What the processes of a session do with the device, at the same time and one after the other, and what becomes of
// them when the session ends.
#include "tests/orxemu_run/run_kit.h"

#include <algorithm>
#include <csignal>
#include <unistd.h>

namespace run_test {

namespace {

class SessionsTest : public RunTest {
  protected:
    Outcome RunLogged(const Words &steps) const {
        return RunSteps({"--log", Path("a.json"), "--state", Path("s.json")}, steps);
    }
};

TEST_F(SessionsTest, RequestsOfAllAreOneSequence) {
    const std::pair<const char *, unsigned> rows[] = {{"threads", 16 * 32}, {"processes", 8 * 2 * 32}};
    for (const auto &[step, requests] : rows) {
        const Outcome outcome = RunLogged({step, "status=1"});
        EXPECT_EQ(outcome.out, "failures: 0\nstatus 1: ok\n") << step;
        EXPECT_EQ(outcome.err, "") << step;
        EXPECT_EQ(outcome.status, 0) << step;
        auto log = ReadLog();
        EXPECT_EQ(log.end.requests, requests + 1);
        EXPECT_EQ(log.end.openDescriptors, 0);
        log.entries.pop_back();
        // In the log's order no table is activated twice.
        std::vector<bool> active(ORXEMU_AS_TABLES);
        for (const auto &entry : log.entries) {
            const bool activates = entry.request == 21;
            const auto index = orxemu::journal::Load(entry.out, 0, 4, orxemu::journal::kHostOrder);
            ASSERT_EQ(entry.err, 0);
            ASSERT_LT(index, active.size()) << step;
            ASSERT_NE(active[index], activates) << step << ": table " << index;
            active[index] = activates;
        }
        EXPECT_EQ(ReadState()->rlStatus, 1u);
    }
}

// A record whose answer cannot be written, one that cannot be read, not to its end, none; an FCB that cannot be
// read; and the same when they can. The slow way to look at addresses comes to the same.
TEST_F(SessionsTest, BadAddressesAreRefused) {
    const std::string out = "answer: EFAULT\nrecord: EFAULT\nend of record: EFAULT\nno record: EFAULT\n"
                            "FCB: EFAULT\ngood: ok\ngood: ok\n1\n";
    for (const Words &steps : {Words{"bad-addresses"}, Words{"refuse-to-tell", "bad-addresses"}}) {
        EXPECT_EQ(RunAlone(steps).out, (Emulated() && steps.size() > 1 ? "no filter\n" : "") + out);
        EXPECT_EQ(RunLogged(steps).out, (Emulated() && steps.size() > 1 ? "no filter\n" : "") + out);
        const auto entries = ReadLog().entries;
        ASSERT_EQ(entries.size(), 7u);
        const bool recordRead[] = {true, false, false, false, true, true, true};
        for (std::size_t i = 0; i < 7; ++i) {
            EXPECT_EQ(entries[i].err, i < 5 ? EFAULT : 0) << i;
            EXPECT_EQ(entries[i].recordRead, recordRead[i]) << i;
            EXPECT_EQ(entries[i].out, entries[i].err != 0 ? entries[i].in : entries[i].out) << i;
            EXPECT_EQ(entries[i].fcb.size(), i == 0 || i >= 5 ? 1884u : 0u) << i;
        }
        const auto state = ReadState();
        EXPECT_EQ(state->flow[1].active, 1);
        EXPECT_EQ(state->flow[2].active, 0);
        unlink(Path("s.json").c_str());
    }
}

// Numbers as they come: 3 for the first one.
TEST_F(SessionsTest, DescriptorsAreTheKernels) {
    const struct {
        Words steps;
        std::string out;
        int leftOpen; // when the process ends by exit() or from main
    } rows[] = {
        {{"leave-open", "status=1", "leave-open"}, "open: ok\nstatus 1: ok\nopen: ok\n", 2},
        {{"leave-open", "exit=0"}, "open: ok\n", 1},
        {{"leave-open", "quick-exit=0"}, "open: ok\n", 0},
        {{"in-child=leave-open", "in-child=leave-open"}, "open: ok\nopen: ok\n", 2},
        {{"leave-open", "in-child=print=x"}, "open: ok\nx\n", 1},
        {{"leave-open", "in-child=send-on=3", "send-on=3"}, "open: ok\nsend: ok\nsend: ok\n", 0},
        {{"leave-open", "close-from=3", "status=1"}, "open: ok\nstatus 1: ok\n", 0},
        {{"leave-open", "close-from=4", "status=1"}, "open: ok\nstatus 1: ok\n", 0},
        {{"leave-open", "in-child=execute=send-on=3", "send-on=3"}, "open: ok\nsend: ok\nsend: ok\n", 0},
        {{"leave-open", "in-child=execute=status=1", "send-on=3"}, "open: ok\nstatus 1: ok\nsend: ok\n", 0},
        {{"close-from=3", "in-child=execute=status=1"}, "status 1: ok\n", 0},
    };
    for (const auto &row : rows) {
        if (Emulated() && row.steps[1].find("execute") != std::string::npos) {
            continue; // an emulated program executes no other
        }
        const Outcome outcome = RunLogged(row.steps);
        EXPECT_EQ(outcome.out, row.out) << row.steps[1];
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(ReadLog().end.openDescriptors, row.leftOpen) << row.steps[0] << " " << row.steps[1];
        EXPECT_EQ(RunAlone(row.steps).out, row.out) << "without a session";
    }
}

TEST_F(SessionsTest, ProgramsOfAShell) {
    if (Emulated()) {
        GTEST_SKIP() << "an emulated program executes no other";
    }
    const std::string user = DEVICE_USER;
    const Words script = {
        "sh", "-c", user + " status=1; " + user + " status=0 & wait; " + user + " leave-open | cat; exit 6"};
    const Words options = {"--log", Path("a.json"), "--state", Path("s.json")};
    const Outcome outcome = Finished(RunWords(options, script));
    EXPECT_EQ(outcome.out, "status 1: ok\nstatus 0: ok\nopen: ok\n");
    EXPECT_EQ(outcome.status, 6);
    EXPECT_EQ(ReadLog().end.requests, 2u);
    EXPECT_EQ(ReadLog().end.openDescriptors, 1);
    EXPECT_EQ(ReadState()->rlStatus, 0u);

    const Words inner = Tool({"run", "--log", Path("inner"), "--fail", "1", "--", user, "status=1"});
    const Outcome ofInner = Finished(RunWords(options, inner));
    EXPECT_EQ(ofInner.out, "status 1: EIO\n") << "a run in a run has a hardware of its own";
    EXPECT_EQ(ofInner.status, 0);
    EXPECT_EQ(ReadLog("inner").end.requests, 1u);
    EXPECT_EQ(ReadLog().end.requests, 0u);
}

TEST_F(SessionsTest, KilledProgramLosesNothingThatItHasSent) {
    const Outcome outcome = RunLogged({"processes", "status=0", "status=1", "signal=9"});
    EXPECT_EQ(outcome.status, 128 + SIGKILL);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(ReadLog().end.requests, 8u * 2 * 32 + 2);
    EXPECT_EQ(ReadState()->rlStatus, 1u);
}

TEST_F(SessionsTest, ProcessThatOutlivesTheProgramHasNoDevice) {
    const std::string end = Path("end");
    const Outcome outcome = RunLogged({"status=0", "outlive=" + end, "exit=5"});
    EXPECT_EQ(outcome.status, 5) << "nobody waits for it";
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(ReadLog().end.requests, 1u);
    WriteFile(end, "");
    ASSERT_TRUE(Appears(end + ".done"));
    EXPECT_EQ(FileText(end + ".done"), "ENODEV ENODEV");
}

TEST_F(SessionsTest, ToolThatIsKilledDoesNotHarmTheProgram) {
    const std::string go = Path("go");
    Child child(RunWords({"--log", Path("a.json")},
                         Steps({"leave-open", "status=1", "wait=" + go, "send-on=3", "status=0"})));
    ASSERT_TRUE(child.Prints("status 1: ok\n"));
    kill(child.pid(), SIGKILL);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(child.pid()), &ended, WEXITED | WNOWAIT);
    WriteFile(go, "");
    EXPECT_TRUE(child.Prints("send: ENODEV\nstatus 0: ENODEV\n"));
    EXPECT_EQ(child.Finish().status, kKilled + SIGKILL);
}

// No device rather than one of its own.
TEST_F(SessionsTest, SessionThatIsNotThere) {
    for (const char *session : {"", "x", "orxemu-1-1"}) {
        EXPECT_EQ(
            RunAlone({"status=1", "request=99"}, {.environment = {std::string("ORXEMU_SESSION=") + session}})
                .out,
            "status 1: ENODEV\nrequest 99: ENODEV\n")
            << session;
    }
}

} // namespace

} // namespace run_test
