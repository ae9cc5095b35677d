// Processes that go on sending requests when the program has ended.
#include "tests/orxemu_run/run_kit.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace run_test {

namespace {

using OutlivingTest = RunTest;

// Whether it has ended, without waiting for that.
bool HasEnded(const Child &child) {
    siginfo_t ended = {};
    return waitid(P_PID, static_cast<id_t>(child.pid()), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == child.pid();
}

// They take turns with the tool, which ends the log between two requests.
TEST_F(OutlivingTest, ThoseThatSendAllTheTime) {
    const std::string end = Path("end");
    Child child(RunWords({"--log", Path("a.json"), "--state", Path("s.json")},
                         {DEVICE_USER, "flood=" + end, "flood=" + end, "flood=" + end, "exit=0"}),
                {});
    const Outcome outcome = child.Finish();
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("a.json").end.lost, 0u);
    ReadState("s.json");
    WriteFile(end, "");
}

// Nobody gets a turn, and some send what they have made up. They are faster than the log, a pipe that is read
// from in small pieces, so that there is always another message.
TEST_F(OutlivingTest, ThoseThatSendAllTheTimeWhileTheToolCannotHaveATurn) {
    ASSERT_EQ(mkfifo(Path("a.json").c_str(), 0600), 0);
    const int log = open(Path("a.json").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(log, 0);
    const std::string end = Path("end");
    Child child(RunWords({"--log", Path("a.json")}, {DEVICE_USER, "status=0", "hold-lock=" + end,
                                                     "flood-channel=" + end, "flood-channel=" + end}),
                {});
    for (int i = 0; i < 12000 && !HasEnded(child); ++i) { // a minute is for a machine that is busy
        char piece[4096];
        [[maybe_unused]] const ssize_t size = read(log, piece, sizeof piece);
        usleep(5000);
    }
    ASSERT_TRUE(HasEnded(child)) << "the tool reads without end";
    close(log);
    WriteFile(end, "");
    const Outcome outcome = child.Finish();
    EXPECT_EQ(outcome.err.rfind("orxemu: a process that outlives " DEVICE_USER
                                " stays in the middle of a request: what the hardware holds may not be "
                                "whole\n",
                                0),
              0u)
        << outcome.err;
    EXPECT_EQ(outcome.status, 125);
}

} // namespace

} // namespace run_test
