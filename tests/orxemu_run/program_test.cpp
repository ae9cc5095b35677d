// The program under test: its exit status, its streams, its environment and its signals are its own.
#include "tests/orxemu_run/run_kit.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace run_test {

namespace {

using ProgramTest = RunTest;

TEST_F(ProgramTest, ItsExitStatusIsTheStatus) {
    const std::pair<const char *, int> rows[] = {
        {"exit=0", 0},
        {"exit=7", 7},
        {"exit=125", 125},
        {"exit=255", 255},
        {"signal=2", 128 + SIGINT},
        {"signal=9", 128 + SIGKILL},
        {"signal=15", 128 + SIGTERM},
    };
    for (const auto &[step, status] : rows) {
        const Outcome outcome = RunSteps({}, {step});
        EXPECT_EQ(outcome.status, status) << step << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "") << step;
    }
}

TEST_F(ProgramTest, ItsStreamsAndArgumentsAreItsOwn) {
    const std::string input("first\nsecond \0 third", 20);
    const Outcome outcome =
        RunSteps({}, {"copy-input", "error=[a,b]", "error=", "error=--fail 3 {}"}, {.input = input});
    EXPECT_EQ(outcome.out, input);
    EXPECT_EQ(outcome.err, "[a,b]\n\n--fail 3 {}\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(RunSteps({}, {"--", "--help"}).err, "no such step: --\n");
}

TEST_F(ProgramTest, OrxtestPrintsWhatItPrintsOnTheStandIn) {
    for (int test = 0; test <= 5; ++test) {
        const Outcome outcome = RunOrxtest({}, test);
        EXPECT_EQ(outcome.out,
                  FileText(std::string(GOLDENS_DIR "/standin_test") + std::to_string(test) + ".txt"));
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 0) << "test " << test;
    }
}

TEST_F(ProgramTest, ProgramIsFoundInPath) {
    const std::filesystem::path program = DEVICE_USER;
    const std::string path = "PATH=/nowhere:" + program.parent_path().string() + ":" + std::getenv("PATH");
    const Outcome outcome = Finished(RunWords({}, {program.filename(), "status=1"}), {.environment = {path}});
    EXPECT_EQ(outcome.out, "status 1: ok\n") << outcome.err;
}

// --- Streams that are closed when the tool starts

// The tool, started by a shell that closes these.
Outcome RunWithout(const std::string &closed, const Words &words) {
    std::string line = "exec \"$@\"";
    for (const char c : closed) {
        line += c == '0' ? " <&-" : std::string(" ") + c + ">&-";
    }
    Words all = {"/bin/sh", "-c", line, "sh"};
    all.insert(all.end(), words.begin(), words.end());
    return Finished(all);
}

TEST_F(ProgramTest, NothingIsWrittenIntoFilesThatTakeTheNumbersOfClosedStreams) {
    if (Emulated()) {
        GTEST_SKIP() << "the emulator itself would take the numbers";
    }
    for (const std::string closed : {"0", "1", "2", "12", "02", "012"}) {
        // The message at the end is about the fault that is not met.
        const Outcome outcome = RunWithout(
            closed, RunWords({"--log", Path("a.json"), "--state", Path("s.json"), "--summary", "--fail", "9"},
                             Steps({"status=1", "error=text"})));
        EXPECT_EQ(outcome.status, 0) << closed;
        EXPECT_EQ(ReadLog().entries.size(), 1u) << closed;
        EXPECT_EQ(ReadState()->rlStatus, 1u) << closed;
        EXPECT_EQ(outcome.out, closed.find('1') == std::string::npos ? "status 1: ok\n" : "") << closed;
    }
    const std::string before = FileText(Path("a.json"));
    const Words replay = {"replay", Path("a.json"), "--device", "/dev/null", "--log", Path("b.json")};
    EXPECT_EQ(RunWithout("2", Tool(replay)).status, 1);
    EXPECT_EQ(ReadLog("b.json").entries.size(), 1u);
    EXPECT_EQ(RunWithout("1", Tool({"show", Path("a.json")})).status, 2) << "there is nowhere to show it";
    EXPECT_EQ(FileText(Path("a.json")), before);
    // The program finds them as the tool has.
    EXPECT_EQ(RunWithout("0", RunWords({}, {"/bin/sh", "-c", "[ -e /proc/self/fd/0 ] || echo closed"})).out,
              "closed\n");
}

// --- Signals

// Sent to the tool at last, and passed on. It has the highest number, so that what has come before is noted
// before.
constexpr int kLast = SIGPWR;

// A program that says each time when `signal` comes, until the last one.
Words Noting(int signal, const Words &steps = {}) {
    Words all = {"note-signal=" + std::to_string(signal)};
    all.insert(all.end(), steps.begin(), steps.end());
    all.push_back("await-signal=" + std::to_string(kLast));
    return RunWords({}, Steps(all));
}
std::string Noted(int signal) {
    return "noted " + std::to_string(signal % 10) + "\n";
}
std::string LastCame() {
    return "signal " + std::to_string(kLast) + "\n";
}

class Terminal {
  public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        EXPECT_EQ(grantpt(master_), 0);
        EXPECT_EQ(unlockpt(master_), 0);
        slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_GE(slave_, 0);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    ~Terminal() {
        close(slave_);
        HangUp();
    }
    Conditions OnIt() const { return {.terminal = slave_}; }
    void Press(char key) const { EXPECT_EQ(write(master_, &key, 1), 1); }
    void HangUp() { close(std::exchange(master_, -1)); }

  private:
    int master_;
    int slave_ = -1;
};

TEST_F(ProgramTest, SignalsThatWouldEndTheToolArePassedOn) {
    std::vector<int> signals = {SIGINT,  SIGQUIT,   SIGTERM, SIGHUP,  SIGUSR1, SIGUSR2,
                                SIGALRM, SIGVTALRM, SIGPROF, SIGABRT, SIGIO,   SIGPWR};
#ifdef SIGSTKFLT
    signals.push_back(SIGSTKFLT);
#endif
    if (!Emulated()) { // which has real-time signals of its own
        signals.insert(signals.end(), {SIGRTMIN, SIGRTMAX});
    }
    for (const int signal : signals) {
        const Words steps = {"await-signal=" + std::to_string(signal), "status=1", "exit=3"};
        Child child(RunWords({"--log", Path("a.json")}, Steps(steps)));
        ASSERT_TRUE(child.Prints("ready\n"));
        kill(child.pid(), signal);
        const Outcome outcome = child.Finish();
        EXPECT_EQ(outcome.out, "ready\nsignal " + std::to_string(signal) + "\nstatus 1: ok\n");
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(ReadLog().end.requests, 1u) << "the log goes on to the end of the program";
    }
    for (const int signal : {SIGINT, SIGUSR1, SIGALRM}) { // that the program does not expect
        Child child(
            RunWords({"--log", Path("a.json")}, Steps({"status=1", "print=waits", "wait=" + Path("never")})));
        ASSERT_TRUE(child.Prints("waits\n"));
        kill(child.pid(), signal);
        EXPECT_EQ(child.Finish().status, 128 + signal);
        EXPECT_EQ(ReadLog().end.requests, 1u);
    }
}

TEST_F(ProgramTest, ItsEndIsNoticedThoughTheCallerIgnoresItsChildren) {
    EXPECT_EQ(RunSteps({}, {"status=1", "exit=4"}, {.ignoredSignal = SIGCHLD}).status, 4);
}

TEST_F(ProgramTest, ProgramInheritsHowSignalsAreHandled) {
    EXPECT_EQ(RunSteps({}, {"handling=1", "handling=2", "handling=3", "handling=13", "handling=15"}).out,
              "1 default\n2 default\n3 default\n13 default\n15 default\n");
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGUSR1, SIGALRM}) {
        const Words step = {"handling=" + std::to_string(signal)};
        EXPECT_EQ(RunSteps({}, step, {.ignoredSignal = signal}).out, std::to_string(signal) + " ignored\n");
        EXPECT_EQ(RunSteps({}, step, {.blockedSignal = signal}).out,
                  std::to_string(signal) + " default blocked\n");
    }
}

TEST_F(ProgramTest, KeysReachTheProgramOnce) {
    const Terminal terminal;
    for (const auto &[key, signal] : {std::pair{'\x03', SIGINT}, std::pair{'\x1c', SIGQUIT}}) {
        Child child(Noting(signal), terminal.OnIt());
        ASSERT_TRUE(child.Prints("ready\n"));
        terminal.Press(key);
        ASSERT_TRUE(child.Prints(Noted(signal)));
        kill(child.pid(), kLast);
        EXPECT_EQ(child.Finish().out, "ready\n" + Noted(signal) + LastCame());
    }
}

// The system tells the first process of the session alone, which is the tool.
TEST_F(ProgramTest, TerminalThatIsGoneIsToldByTheTool) {
    Terminal terminal;
    Child child(Noting(SIGHUP), terminal.OnIt());
    ASSERT_TRUE(child.Prints("ready\n"));
    terminal.HangUp();
    EXPECT_TRUE(child.Prints(Noted(SIGHUP)));
    kill(child.pid(), kLast);
    EXPECT_EQ(child.Finish().out, "ready\n" + Noted(SIGHUP) + LastCame());
}

// It tells all when the first process, here a shell, has ended.
TEST_F(ProgramTest, TerminalWhoseSessionHasEndedIsToldOnce) {
    const Terminal terminal;
    Words words = {"sh", "-c", "\"$@\" & wait", "sh"};
    const Words tool = Noting(SIGHUP, {"parent"});
    words.insert(words.end(), tool.begin(), tool.end());
    Child child(words, terminal.OnIt());
    ASSERT_TRUE(child.Prints("ready\n"));
    const std::string out = child.OutputSoFar();
    const pid_t toolPid = std::atoi(out.c_str() + std::string("parent ").size());
    ASSERT_GT(toolPid, 0) << out;
    kill(child.pid(), SIGKILL);
    EXPECT_TRUE(child.Prints(Noted(SIGHUP)));
    kill(toolPid, kLast);
    EXPECT_TRUE(child.Prints(LastCame()));
    EXPECT_EQ(child.OutputSoFar(), out + Noted(SIGHUP) + LastCame());
}

TEST_F(ProgramTest, WhatTheProgramSendsToItsGroupDoesNotComeBack) {
    const Terminal terminal;
    ASSERT_GE(terminal.OnIt().terminal, 0) << "without a terminal the group would be the test's own";
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        Child child(Noting(signal, {"signal-group=" + std::to_string(signal)}), terminal.OnIt());
        ASSERT_TRUE(child.Prints("ready\n"));
        kill(child.pid(), kLast);
        const Outcome outcome = child.Finish();
        EXPECT_EQ(outcome.out, Noted(signal) + "ready\n" + LastCame());
        EXPECT_EQ(outcome.status, 0);
    }
}

} // namespace

} // namespace run_test
