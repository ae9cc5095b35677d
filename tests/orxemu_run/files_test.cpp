// Logs and states that runs write, and files that cannot be read or written.
#include "tests/orxemu_run/run_kit.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace run_test {

namespace {

namespace fs = std::filesystem;

using LogTest = RunTest;
using StateTest = RunTest;
using SummaryTest = RunTest;

#ifdef SYS_rename
constexpr long kRename = SYS_rename;
#else
constexpr long kRename = SYS_renameat;
#endif

int ActiveFlows(const OrxEmuState &state) {
    int active = 0;
    for (const OrxEmuFlow &flow : state.flow) {
        active += flow.active;
    }
    return active;
}

TEST_F(LogTest, EveryRequest) {
    EXPECT_EQ(RunOrxtest({"--log", Path("a.json")}, 3).status, 0);
    const auto log = ReadLog();
    const int requests[] = {27, 21, 29, 29, 29, 29};
    ASSERT_EQ(log.entries.size(), std::size(requests));
    for (std::size_t i = 0; i < std::size(requests); ++i) {
        const auto &entry = log.entries[i];
        EXPECT_EQ(entry.request, requests[i]) << i;
        EXPECT_EQ(entry.err, 0) << i;
        EXPECT_EQ(entry.in.size(), i == 0 ? 272u : i == 1 ? 472u : 20u) << i;
        EXPECT_EQ(entry.fcb.size(), i < 2 ? 0u : 1884u) << i;
        // Each flow gets the next index.
        EXPECT_EQ(orxemu::journal::Load(entry.out, 0, 4, log.order), i < 2 ? 0 : i - 2);
    }
    EXPECT_EQ(log.order, orxemu::journal::kHostOrder);
    EXPECT_EQ(log.end.requests, 6u);
    EXPECT_EQ(log.end.failedOpens, 0u);
    EXPECT_EQ(log.end.openDescriptors, 0);

    RunSteps({"--log", Path("a.json")}, {"request=99", "status=2"});
    const auto refused = ReadLog();
    ASSERT_EQ(refused.entries.size(), 2u);
    EXPECT_EQ(refused.entries[0].err, ENOTTY);
    EXPECT_TRUE(refused.entries[0].in.empty());
    EXPECT_EQ(refused.entries[1].err, EINVAL);
    EXPECT_EQ(refused.entries[1].in.size(), 4u);
    EXPECT_EQ(RunSteps({"--log", Path("a.json")}, {}).status, 0);
    EXPECT_EQ(ReadLog().end.requests, 0u);
}

TEST_F(StateTest, HardwareOutlivesTheRun) {
    for (int run = 1; run <= 2; ++run) {
        EXPECT_EQ(RunOrxtest({"--state", Path("s.json")}, 3).status, 0);
        const auto state = ReadState();
        EXPECT_EQ(ActiveFlows(*state), 4 * run);
        EXPECT_EQ(state->pacTbl[run - 1].active, 1);
        EXPECT_EQ(state->pacTbl[run].active, 0);
    }
    EXPECT_EQ(Files(), Words({"s.json"}));
}

TEST_F(StateTest, StateIsWrittenHoweverTheProgramEnds) {
    const Words options = {"--state", Path("s.json")};
    EXPECT_EQ(RunSteps(options, {"status=1", "exit=3"}).status, 3);
    EXPECT_EQ(ReadState()->rlStatus, 1u);
    EXPECT_EQ(RunSteps(options, {"status=0", "signal=9"}).status, 137);
    EXPECT_EQ(ReadState()->rlStatus, 0u);
    const fs::file_time_type before = fs::last_write_time(Path("s.json"));
    EXPECT_EQ(Finished(RunWords(options, {Path("nothing")})).status, 127);
    EXPECT_EQ(fs::last_write_time(Path("s.json")), before) << "nothing has run";
}

TEST_F(StateTest, DamagedOrForeignStateIsRefusedAndLeft) {
    ASSERT_EQ(RunOrxtest({"--state", Path("good"), "--log", Path("log")}, 3).status, 0);
    const std::string good = FileText(Path("good"));
    std::string edited = good;
    edited.replace(edited.find("\"rlStatus\":0"), 12, "\"rlStatus\":x");
    const std::pair<const char *, std::string> files[] = {
        {"empty", ""},
        {"text", "hello\n"},
        {"a log", FileText(Path("log"))},
        {"without its last line", good.substr(0, good.rfind("{\"end\""))},
        {"cut in the middle", good.substr(0, good.size() / 2)},
        {"edited", edited},
        {"behind its end", good + "{}\n"},
        {"zeros", std::string(5000, '\0')},
    };
    for (const auto &[name, text] : files) {
        SCOPED_TRACE(name);
        WriteFile(Path("bad"), text);
        ExpectRefused(RunWords({"--state", Path("bad"), "--log", Path("new")}, Steps({"error=ran"})), 125,
                      Path("bad:"));
        EXPECT_EQ(FileText(Path("bad")), text);
        EXPECT_FALSE(fs::exists(Path("new"))) << "the log of an earlier run would be gone";
    }
}

TEST_F(StateTest, PlacesThatCannotBe) {
    fs::create_directory(Path("folder"));
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    fs::create_symlink("pipe", Path("link"));
    fs::create_symlink("no/s.json", Path("away"));
    fs::create_symlink("circle", Path("circle"));
    const std::string places[][2] = {
        {Path("away"), "leads to " + Path("no/s.json") + ": its folder is not there"},
        {Path("circle"), "cannot be opened: Too many levels of symbolic links"},
        {Path("folder"), "is no regular file"},
        {Path("pipe"), "is no regular file"},
        {Path("link"), "is no regular file"},
        {"/dev/null", "is no regular file"},
        {"/dev/zero", "is no regular file"},
        {Path("no/s.json"), "its folder is not there"},
    };
    for (const auto &[place, message] : places) {
        ExpectRefused(RunWords({"--state", place}, Steps({"error=ran"})), 125, place + ": " + message + "\n");
    }
    EXPECT_TRUE(fs::is_fifo(Path("pipe")));
}

// Names of one file, there or not; tests/journal has them all.
TEST_F(StateTest, LogAndStateAreTwoFiles) {
    ASSERT_EQ(RunSteps({"--state", Path("s.json")}, {}).status, 0);
    fs::create_symlink("s.json", Path("link"));
    fs::create_hard_link(Path("s.json"), Path("hard"));
    fs::create_symlink("new", Path("to new"));
    const Words files = Files();
    const std::string before = FileText(Path("s.json"));
    const std::pair<const char *, const char *> pairs[] = {
        {"s.json", "s.json"}, {"link", "s.json"}, {"hard", "s.json"}, {"new", "./new"}, {"to new", "new"}};
    for (const auto &[log, state] : pairs) {
        ExpectRefused(RunWords({"--log", Path(log), "--state", Path(state)}, Steps({"error=ran"})), 125,
                      "--log and --state are the same file\n");
    }
    EXPECT_EQ(FileText(Path("s.json")), before);
    EXPECT_EQ(Files(), files);
}

// The limit is larger than what the program prints and smaller than log and state.
TEST_F(StateTest, FullDiskHarmsNeitherTheProgramNorTheOldState) {
    const Words options = {"--log", Path("a.json"), "--state", Path("s.json")};
    ASSERT_EQ(RunSteps(options, {"status=1"}).status, 0);
    const std::string before = FileText(Path("s.json"));
    const Conditions conditions = {.fileLimit = 8192};
    const Outcome outcome = RunOrxtest(options, 3, conditions);
    EXPECT_EQ(outcome.out, FileText(GOLDENS_DIR "/standin_test3.txt"));
    const std::string told = ": cannot be written: File too large\n";
    EXPECT_EQ(outcome.err, "orxemu: " + Path("a.json") + told + "orxemu: " + Path("s.json") + told);
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(FileText(Path("s.json")), before);
    EXPECT_EQ(Files(), Words({"a.json", "s.json"}));
    EXPECT_EQ(RunSteps(options, {"processes", "exit=3"}, conditions).status, 3)
        << "the program's own failure comes first";
}

TEST_F(StateTest, ToolThatIsKilledWhileItWritesLeavesTheOldState) {
    if (Emulated()) {
        GTEST_SKIP() << "an emulator has no filters of system calls";
    }
    ASSERT_EQ(RunSteps({"--state", Path("s.json")}, {"status=1"}).status, 0);
    const std::string before = FileText(Path("s.json"));
    for (const std::vector<long> &calls :
         {std::vector<long>{SYS_fsync}, {SYS_renameat, SYS_renameat2, kRename}}) {
        EXPECT_EQ(RunOrxtest({"--state", Path("s.json")}, 3, {.deadlyCalls = calls}).status,
                  kKilled + SIGSYS);
        EXPECT_EQ(FileText(Path("s.json")), before);
    }
    EXPECT_EQ(Files().size(), 3u) << "both have begun a file";
    EXPECT_EQ(RunOrxtest({"--state", Path("s.json")}, 3).status, 0);
    EXPECT_EQ(ActiveFlows(*ReadState()), 4) << "and none of the runs that were killed";
}

TEST_F(SummaryTest, WhatTheHardwareHolds) {
    auto state = std::make_unique<OrxEmuState>();
    std::memset(state.get(), 0, sizeof *state);
    state->flowMissAction = 2;
    state->rlTci[1][0] = 0x12;
    state->portTpid[3][0] = 0x8100;
    state->portTpid[3][2] = 0x88A8;
    state->portPadLen[7] = 64;
    state->portDefAcl[8] = 1;
    for (const int flow : {0, 1, 2, 5, 510, 511}) {
        state->flow[flow].active = 1;
        state->flow[flow].numFlows = 1;
        state->flow[flow].pacTblIdx = -1;
        state->flow[flow].epTblIdx = -1;
    }
    state->rl[1][4].active = 1;
    WriteFile(Path("s.json"), orxemu::journal::StateText(*state));
    const Outcome outcome = RunSteps({"--state", Path("s.json"), "--summary"}, {"status=1"});
    EXPECT_EQ(outcome.out, "status 1: ok\n");
    EXPECT_EQ(outcome.err, "what the hardware holds     active   of  indexes\n"
                           "AS tables                        0   16  -\n"
                           "DSCP tables                      0    6  -\n"
                           "PAC tables                       0   16  -\n"
                           "flows                            6  512  0-2 5 510-511\n"
                           "rate limiters, direction 0       0   16  -\n"
                           "rate limiters, direction 1       1   16  4\n"
                           "flow-miss action                 2\n"
                           "rate-limiter status              1\n"
                           "TCI, direction 1            0x0012 0x0000\n"
                           "port 3 TPIDs                0x8100 0x0000 0x88a8 0x0000\n"
                           "port 7 pad length               64\n"
                           "port 8 default ACL               1\n");
}

} // namespace

} // namespace run_test
