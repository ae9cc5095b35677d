// Processes that go on sending requests when the program has ended.
#include "tests/orxemu_run/run_kit.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace run_test {

namespace {

using OutlivingTest = RunTest;

// A minute is for a machine that is busy.
bool Ends(const Child &child) {
    siginfo_t ended = {};
    for (int i = 0; i < 60000 && ended.si_pid != child.pid(); ++i) {
        waitid(P_PID, static_cast<id_t>(child.pid()), &ended, WEXITED | WNOHANG | WNOWAIT);
        usleep(1000);
    }
    return ended.si_pid == child.pid();
}

// They take turns with the tool, which ends the log between two requests.
TEST_F(OutlivingTest, ThoseThatSendAllTheTime) {
    const std::string end = Path("end");
    Child child(RunWords({"--log", Path("a.json"), "--state", Path("s.json")},
                         {DEVICE_USER, "flood=" + end, "flood=" + end, "flood=" + end, "exit=0"}),
                {});
    ASSERT_TRUE(Ends(child)) << "the tool waits for what outlives the program";
    const Outcome outcome = child.Finish();
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadLog("a.json").end.lost, 0u);
    ReadState("s.json");
    Write(end, "");
}

// Nobody gets a turn, and one does not wait for its own: there would always be another message.
TEST_F(OutlivingTest, OneThatSendsAllTheTimeWhileTheToolCannotHaveATurn) {
    const std::string end = Path("end");
    Child child(RunWords({"--log", Path("a.json")},
                         {DEVICE_USER, "status=0", "hold-lock=" + end, "flood-behind=" + end, "exit=0"}),
                {});
    ASSERT_TRUE(Ends(child)) << "the tool reads without end";
    Write(end, "");
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
