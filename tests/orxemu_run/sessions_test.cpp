// Threads, processes and a tool that leave the session at a bad moment, and processes that cannot join it.
#include "tests/orxemu_run/run_kit.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace run_test {

namespace {

namespace fs = std::filesystem;

class SessionsTest : public RunTest {
  protected:
    // Entries of a log that may say that requests are missing.
    std::size_t EntriesOf(const std::string &name, std::uint32_t &lost) const {
        orxemu::journal::Log log;
        orxemu::journal::Problem problem;
        orxemu::journal::ReadLog(FileText(Path(name)), name, log, problem);
        lost = log.end.lost;
        return log.entries.size();
    }
};

// The thread gets its descriptor and its answer, and ends where a thread may.
TEST_F(SessionsTest, CancelledThreadLeavesNoLockBehind) {
    struct Row {
        const char *step;
        std::string out;
    };
    const Row rows[] = {
        {"cancel-open", "cancelled\nopen: ok\nioctl: ok\nunwound\n"},
        {"cancel-ioctl", "cancelled\n"},
    };
    for (const Row &row : rows) {
        const std::string end = Path(row.step);
        const Outcome outcome =
            RunSteps({"--log", Path("a.json")}, {row.step + ("=" + end), "threads=2", "status=0"});
        EXPECT_EQ(outcome.out, row.out + "failures 0\nstatus 0: ok\n") << row.step;
        EXPECT_EQ(outcome.err, "") << row.step;
        EXPECT_EQ(outcome.status, 0) << row.step;
        EXPECT_EQ(ReadLog("a.json").end.requests, 6u) << row.step;
        EXPECT_EQ(ReadLog("a.json").end.openDescriptors, 0) << row.step;
    }
}

// The others' messages are waited for as before.
TEST_F(SessionsTest, MessageThatAProcessCouldNotSendCostsNoOther) {
    const Outcome outcome =
        RunSteps({"--log", Path("a.json")}, {"lose=channel", "in-child=status=1", "status=1"});
    EXPECT_EQ(outcome.out, "status 1: ok\nstatus 1: ok\n");
    std::uint32_t lost = 0;
    EXPECT_EQ(EntriesOf("a.json", lost), 0u);
    EXPECT_EQ(lost, 2u);

    EXPECT_EQ(RunSteps({"--log", Path("a.json")}, {"in-child=unheard", "stop-in-request"}).out, "went on\n");
    EXPECT_EQ(EntriesOf("a.json", lost), 1000u);
    EXPECT_EQ(lost, 1u);
}

TEST_F(SessionsTest, ToolThatDoesNotReadIsWaitedForOnce) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"unread", "status=1"});
    EXPECT_EQ(outcome.out, "unread: ok\nstatus 1: ok\n");
    EXPECT_EQ(outcome.status, 125) << outcome.err;
    std::uint32_t lost = 0;
    const std::size_t entries = EntriesOf("a.json", lost);
    EXPECT_GT(lost, 0u);
    EXPECT_EQ(entries + lost, 1002u);
}

// It finds no device, and that is not to be taken for the program's own affair.
TEST_F(SessionsTest, ProcessThatCannotJoinIsTold) {
    if (Emulated()) {
        GTEST_SKIP() << "an emulated program executes no other";
    }
    // A folder that another user can read from.
    fs::permissions(Path(""), fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    fs::copy_file(DEVICE_USER, Path("program"));
    fs::copy_file(STAND_IN, Path("library"));
    struct Row {
        std::string step;
        bool needsRoot;
        std::string out;
        std::string reason; // empty: nothing is told
    };
    const Row rows[] = {
        {"execute-elsewhere=status=1", false, "status 1: ENOENT\n", "Invalid argument"},
        {"execute-as-nobody=status=1", true, "status 1: ENOENT\n", "Permission denied"},
        {"execute-as-nobody=touch=/dev/null", true, "", ""},
    };
    for (const Row &row : rows) {
        if (row.needsRoot && geteuid() != 0) {
            continue; // only root becomes another
        }
        const Outcome outcome =
            Finished(RunWords({"--library", Path("library"), "--log", Path("a.json")},
                              {Path("program"), "status=0", row.step, "execute=status=1"}));
        EXPECT_EQ(outcome.out, "status 0: ok\n" + row.out + "status 1: ok\n") << row.step;
        EXPECT_EQ(outcome.err, row.reason.empty() ? ""
                                                  : "orxemu: a process found no device, because it could not "
                                                    "reach what the session shares: " +
                                                        row.reason + "\n")
            << row.step;
        EXPECT_EQ(outcome.status, row.reason.empty() ? 0 : 125) << row.step;
        EXPECT_EQ(ReadLog("a.json").end.requests, 2u) << row.step;
    }
}

} // namespace

} // namespace run_test
