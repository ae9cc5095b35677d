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

constexpr const char *kSummaryOfTest3 = "what the hardware holds     active   of  indexes\n"
                                        "AS tables                        1   16  0\n"
                                        "DSCP tables                      0    6  -\n"
                                        "PAC tables                       1   16  0\n"
                                        "flows                            4  512  0-3\n"
                                        "rate limiters, direction 0       0   16  -\n"
                                        "rate limiters, direction 1       0   16  -\n";

int ActiveFlows(const OrxEmuState &state) {
    int active = 0;
    for (const OrxEmuFlow &flow : state.flow) {
        active += flow.active;
    }
    return active;
}

TEST_F(LogTest, EveryRequestOfAScenario) {
    EXPECT_EQ(RunOrxtest({"--log", Path("a.json")}, 3).status, 0);
    const auto log = ReadLog();
    const int requests[] = {27, 21, 29, 29, 29, 29};
    const std::size_t sizes[] = {272, 472, 20, 20, 20, 20};
    ASSERT_EQ(log.entries.size(), std::size(requests));
    for (std::size_t i = 0; i < std::size(requests); ++i) {
        const auto &entry = log.entries[i];
        EXPECT_EQ(entry.request, requests[i]) << i;
        EXPECT_EQ(entry.err, 0) << i;
        EXPECT_EQ(entry.in.size(), sizes[i]) << i;
        EXPECT_EQ(entry.fcb.size(), requests[i] == 29 ? 1884u : 0u) << i;
        // Each flow gets the next index.
        if (requests[i] == 29) {
            EXPECT_EQ(orxemu::journal::Load(entry.out, 0, 4, orxemu::journal::kHostOrder), i - 2);
        }
    }
    EXPECT_EQ(log.order, orxemu::journal::kHostOrder);
    EXPECT_EQ(log.end.requests, 6u);
    EXPECT_EQ(log.end.failedOpens, 0u);
    EXPECT_EQ(log.end.openDescriptors, 0);
}

TEST_F(LogTest, RequestsThatAreRefused) {
    const Outcome outcome = RunSteps({"--log", Path("a.json")}, {"request=99", "status=2", "request=30"});
    EXPECT_EQ(outcome.out, "request 99: ENOTTY\nstatus 2: EINVAL\nrequest 30: EINVAL\n");
    const auto log = ReadLog();
    ASSERT_EQ(log.entries.size(), 3u);
    EXPECT_EQ(log.entries[0].request, 99);
    EXPECT_TRUE(log.entries[0].in.empty());
    EXPECT_TRUE(log.entries[1].recordRead);
    EXPECT_EQ(log.entries[1].err, EINVAL);
}

TEST_F(LogTest, EmptyRunHasAWholeLog) {
    EXPECT_EQ(RunSteps({"--log", Path("a.json")}, {}).status, 0);
    EXPECT_TRUE(ReadLog().complete);
    EXPECT_EQ(ReadLog().end.requests, 0u);
}

TEST_F(LogTest, LogThatCannotBeOpenedStopsTheRun) {
    const Outcome outcome = RunSteps({"--log", Path("no/a.json")}, {"error=ran"});
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(outcome.err,
              "orxemu: " + Path("no/a.json") + ": cannot be written: No such file or directory\n");
}

// The limit is larger than what the program prints and smaller than the log.
TEST_F(LogTest, FullDiskDoesNotHarmTheProgram) {
    const Conditions conditions = {.fileLimit = 8192};
    const Outcome outcome = RunOrxtest({"--log", Path("a.json")}, 3, conditions);
    EXPECT_EQ(outcome.out, FileText(GOLDENS_DIR "/standin_test3.txt"));
    EXPECT_EQ(outcome.err, "orxemu: " + Path("a.json") + ": cannot be written: File too large\n");
    EXPECT_EQ(outcome.status, 125);
    EXPECT_LE(FileText(Path("a.json")).size(), conditions.fileLimit);
    EXPECT_EQ(RunSteps({"--log", Path("a.json")}, {"processes", "exit=3"}, conditions).status, 3)
        << "the program's own failure comes first";
}

TEST_F(LogTest, FullDevice) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "needs /dev/full";
    }
    const Outcome outcome = RunSteps({"--log", "/dev/full"}, {"status=1"});
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(outcome.err, "orxemu: /dev/full: cannot be written: No space left on device\n");
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

TEST_F(StateTest, StateIsWrittenWhenTheProgramFails) {
    EXPECT_EQ(RunSteps({"--state", Path("s.json")}, {"status=1", "exit=3"}).status, 3);
    EXPECT_EQ(ReadState()->rlStatus, 1u);
    EXPECT_EQ(RunSteps({"--state", Path("s.json")}, {"status=0", "signal=9"}).status, 137);
    EXPECT_EQ(ReadState()->rlStatus, 0u);
}

TEST_F(StateTest, StateStaysWhenNothingHasRun) {
    ASSERT_EQ(RunSteps({"--state", Path("s.json")}, {"status=1"}).status, 0);
    const std::string before = FileText(Path("s.json"));
    EXPECT_EQ(Finished(RunWords({"--state", Path("s.json")}, {Path("nothing")})).status, 127);
    EXPECT_EQ(FileText(Path("s.json")), before);
}

struct BadFile {
    const char *name;
    std::string text;
};

TEST_F(StateTest, DamagedOrForeignStateIsRefusedAndLeft) {
    ASSERT_EQ(RunOrxtest({"--state", Path("good"), "--log", Path("log")}, 3).status, 0);
    const std::string good = FileText(Path("good"));
    const std::string log = FileText(Path("log"));
    std::string edited = good;
    edited.replace(edited.find("\"rlStatus\":0"), 12, "\"rlStatus\":x");
    const BadFile files[] = {
        {"empty", ""},
        {"text", "hello\n"},
        {"a log", log},
        {"without its last line", good.substr(0, good.rfind("{\"end\""))},
        {"cut in the middle", good.substr(0, good.size() / 2)},
        {"edited", edited},
        {"behind its end", good + "{}\n"},
        {"zeros", std::string(5000, '\0')},
    };
    for (const BadFile &file : files) {
        WriteFile(Path("bad"), file.text);
        const Outcome outcome = RunSteps({"--state", Path("bad"), "--log", Path("new")}, {"error=ran"});
        EXPECT_EQ(outcome.status, 125) << file.name;
        EXPECT_EQ(outcome.err.rfind("orxemu: " + Path("bad") + ":", 0), 0u)
            << file.name << ": " << outcome.err;
        EXPECT_EQ(outcome.err.find("ran"), std::string::npos) << file.name;
        EXPECT_EQ(FileText(Path("bad")), file.text) << file.name;
        EXPECT_FALSE(fs::exists(Path("new"))) << file.name << ": the log of an earlier run would be gone";
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
        const Outcome outcome = RunSteps({"--state", place}, {"error=ran"});
        EXPECT_EQ(outcome.status, 125) << place;
        EXPECT_EQ(outcome.err, "orxemu: " + place + ": " + message + "\n");
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
        const Outcome outcome = RunSteps({"--log", Path(log), "--state", Path(state)}, {"error=ran"});
        EXPECT_EQ(outcome.status, 125) << log;
        EXPECT_EQ(outcome.err, "orxemu: --log and --state are the same file\n") << log;
    }
    EXPECT_EQ(FileText(Path("s.json")), before);
    EXPECT_EQ(Files(), files);
}

TEST_F(StateTest, StateIsWrittenWhereALinkLeads) {
    fs::create_symlink("new", Path("link"));
    for (int run = 1; run <= 2; ++run) { // it is not there at first
        EXPECT_EQ(RunSteps({"--state", Path("link")}, {"status=1"}).status, 0);
        EXPECT_TRUE(fs::is_symlink(Path("link"))) << "run " << run;
        EXPECT_EQ(ReadState("new")->rlStatus, 1u) << "run " << run;
    }
    EXPECT_EQ(Files(), Words({"link", "new"}));
}

TEST_F(StateTest, FullDiskLeavesTheOldState) {
    ASSERT_EQ(RunSteps({"--state", Path("s.json")}, {"status=1"}).status, 0);
    const std::string before = FileText(Path("s.json"));
    const Outcome outcome = RunOrxtest({"--state", Path("s.json")}, 3, {.fileLimit = 8192});
    EXPECT_EQ(outcome.out, FileText(GOLDENS_DIR "/standin_test3.txt"));
    EXPECT_EQ(outcome.err, "orxemu: " + Path("s.json") + ": cannot be written: File too large\n");
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(FileText(Path("s.json")), before);
    EXPECT_EQ(Files(), Words({"s.json"}));
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

TEST_F(SummaryTest, WhatAScenarioLeaves) {
    const Outcome outcome = RunOrxtest({"--summary"}, 3);
    EXPECT_EQ(outcome.out, FileText(GOLDENS_DIR "/standin_test3.txt"));
    EXPECT_EQ(outcome.err, kSummaryOfTest3);
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(SummaryTest, Settings) {
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
