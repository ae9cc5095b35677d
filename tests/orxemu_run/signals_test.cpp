// Signals that the program may have got itself: those of its terminal, and those that are sent to a group.
#include "tests/orxemu_run/run_kit.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace run_test {

namespace {

// Sent to the tool at last, and passed on. It has the highest number, so that what has come before is noted
// before.
constexpr int kLast = SIGPWR;

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
    int slave() const { return slave_; }
    void Press(char key) const { EXPECT_EQ(write(master_, &key, 1), 1); }
    void HangUp() {
        if (master_ >= 0) {
            close(master_);
        }
        master_ = -1;
    }

  private:
    int master_;
    int slave_ = -1;
};

class SignalsTest : public RunTest {
  protected:
    // A program that says each time when `signal` comes, until the last one.
    static Words Noting(int signal, const Words &steps = {}) {
        Words program = {DEVICE_USER, "note-signal=" + std::to_string(signal)};
        program.insert(program.end(), steps.begin(), steps.end());
        program.push_back("await-signal=" + std::to_string(kLast));
        return program;
    }
    static std::string Noted(int signal) { return "noted " + std::to_string(signal % 10) + "\n"; }
    static std::string LastCame() { return "signal " + std::to_string(kLast) + "\n"; }

    Conditions OnTerminal() const {
        Conditions conditions;
        conditions.terminal = terminal_.slave();
        return conditions;
    }

    Terminal terminal_;
};

TEST_F(SignalsTest, ThoseSentToTheToolAreForTheProgram) {
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        Child child(RunWords({}, Noting(signal)), {});
        AwaitOutput(child, "ready\n");
        kill(child.pid(), signal);
        EXPECT_TRUE(Prints(child, Noted(signal))) << signal;
        kill(child.pid(), kLast);
        const Outcome outcome = child.Finish();
        EXPECT_EQ(outcome.out, "ready\n" + Noted(signal) + LastCame());
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST_F(SignalsTest, InterruptOfTheToolEndsAProgramThatDoesNotExpectIt) {
    for (const int signal : {SIGINT, SIGQUIT}) {
        Child child(
            RunWords({"--log", Path("a.json")}, {DEVICE_USER, "status=1", "parent", "wait=" + Path("never")}),
            {});
        AwaitOutput(child, "parent");
        kill(child.pid(), signal);
        EXPECT_EQ(child.Finish().status, 128 + signal);
        EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
    }
}

TEST_F(SignalsTest, KeysReachTheProgramOnce) {
    struct Row {
        char key;
        int signal;
    };
    for (const Row &row : {Row{'\x03', SIGINT}, Row{'\x1c', SIGQUIT}}) {
        Child child(RunWords({}, Noting(row.signal)), OnTerminal());
        AwaitOutput(child, "ready\n");
        terminal_.Press(row.key);
        AwaitOutput(child, Noted(row.signal));
        kill(child.pid(), kLast);
        EXPECT_EQ(child.Finish().out, "ready\n" + Noted(row.signal) + LastCame());
    }
}

// The system tells the first process of the session alone, which is the tool.
TEST_F(SignalsTest, TerminalThatIsGoneIsToldByTheTool) {
    Child child(RunWords({}, Noting(SIGHUP)), OnTerminal());
    AwaitOutput(child, "ready\n");
    terminal_.HangUp();
    EXPECT_TRUE(Prints(child, Noted(SIGHUP)));
    kill(child.pid(), kLast);
    EXPECT_EQ(child.Finish().out, "ready\n" + Noted(SIGHUP) + LastCame());
}

// It tells all when the first process, here a shell, has ended.
TEST_F(SignalsTest, SessionThatHasEndedIsToldOnce) {
    Words words = {"sh", "-c", "\"$@\" & wait", "sh"};
    const Words tool = RunWords({}, Noting(SIGHUP, {"parent"}));
    words.insert(words.end(), tool.begin(), tool.end());
    Child child(words, OnTerminal());
    AwaitOutput(child, "ready\n");
    const std::string out = child.OutputSoFar();
    const pid_t toolPid = std::atoi(out.c_str() + std::string("parent ").size());
    ASSERT_GT(toolPid, 0) << out;
    kill(child.pid(), SIGKILL);
    EXPECT_TRUE(Prints(child, Noted(SIGHUP)));
    kill(toolPid, kLast);
    EXPECT_TRUE(Prints(child, LastCame()));
    EXPECT_EQ(child.OutputSoFar(), out + Noted(SIGHUP) + LastCame());
}

TEST_F(SignalsTest, WhatTheProgramSendsToItsGroupDoesNotComeBack) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        Child child(RunWords({}, Noting(signal, {"signal-group=" + std::to_string(signal)})), OnTerminal());
        AwaitOutput(child, "ready\n");
        kill(child.pid(), kLast);
        const Outcome outcome = child.Finish();
        EXPECT_EQ(outcome.out, Noted(signal) + "ready\n" + LastCame());
        EXPECT_EQ(outcome.status, 0);
    }
}

} // namespace

} // namespace run_test
