// The program under test: its exit status, its streams, its environment and its signals are its own.
#include "tests/orxemu_run/run_kit.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace run_test {

namespace {

using ProgramTest = RunTest;

// Waits for a file; a minute is for a machine that is busy.
bool Appears(const std::string &path) {
    for (int i = 0; i < 60000 && !std::filesystem::exists(path); ++i) {
        usleep(1000);
    }
    return std::filesystem::exists(path);
}

struct StatusRow {
    const char *name;
    Words steps;
    int status;
};

TEST_F(ProgramTest, ItsExitStatusIsTheStatus) {
    const StatusRow rows[] = {
        {"ends well", {}, 0},
        {"a status", {"exit=7"}, 7},
        {"a status as orxemu's own", {"exit=125"}, 125},
        {"the highest", {"exit=255"}, 255},
        {"interrupted", {"signal=2"}, 128 + SIGINT},
        {"killed", {"signal=9"}, 128 + SIGKILL},
        {"terminated", {"signal=15"}, 128 + SIGTERM},
    };
    for (const StatusRow &row : rows) {
        const Outcome outcome = RunSteps({}, row.steps);
        EXPECT_EQ(outcome.status, row.status) << row.name << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "") << row.name;
    }
}

TEST_F(ProgramTest, ItsStreamsAreItsOwn) {
    Conditions conditions;
    conditions.input = std::string("first\nsecond \0 third", 20);
    const Outcome outcome = RunSteps({}, {"copy-input", "error=of the program"}, conditions);
    EXPECT_EQ(outcome.out, conditions.input);
    EXPECT_EQ(outcome.err, "of the program\n");
    EXPECT_EQ(outcome.status, 0);
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
    Conditions conditions;
    conditions.environment = {"PATH=/nowhere:" + program.parent_path().string() + ":" + std::getenv("PATH")};
    const Outcome outcome = Finished(RunWords({}, {program.filename(), "status=1"}), conditions);
    EXPECT_EQ(outcome.out, "status 1: ok\n") << outcome.err;
}

// The library's own path, and what has to stand in front of it, as LD_PRELOAD takes them.
TEST_F(ProgramTest, PreloadOfTheUserStaysBehind) {
    if (Emulated()) {
        GTEST_SKIP() << "the variable would be for the emulator too";
    }
    const std::string other = Path("libother.so");
    std::filesystem::create_symlink(STAND_IN, other);
    Conditions conditions;
    conditions.environment = {std::string("LD_PRELOAD=") + STAND_IN_PRELOAD + ":" + other};
    const Outcome outcome = RunSteps({}, {"environment=LD_PRELOAD", "status=1"}, conditions);
    EXPECT_EQ(outcome.out, std::string("LD_PRELOAD=") + STAND_IN_PRELOAD + ":" + STAND_IN_PRELOAD + ":" +
                               other + "\nstatus 1: ok\n");
}

// Signs that the loader, or an emulator, would take for the end of a path.
TEST_F(ProgramTest, LibraryMayLieAnywhere) {
    for (const char *name : {"with blank", "with:colon", "with,comma", "with$ORIGIN", "plain"}) {
        std::filesystem::create_directory(Path(name));
        const std::string library = Path(name) + "/lib of mine.so";
        std::filesystem::create_symlink(STAND_IN, library);
        std::filesystem::create_directory(Path("temporary"));
        Conditions conditions;
        conditions.environment = {"TMPDIR=" + Path("temporary")};
        const Outcome outcome = RunSteps({"--library", library}, {"status=1"}, conditions);
        EXPECT_EQ(outcome.out, "status 1: ok\n") << name;
        EXPECT_EQ(outcome.err, "") << name;
        EXPECT_TRUE(std::filesystem::is_empty(Path("temporary"))) << name;
    }
}

// As `cmake --install` places the two on systems of one kind and another.
TEST_F(ProgramTest, LibraryIsFoundWhereItIsInstalled) {
    namespace fs = std::filesystem;
    const std::string tool = Path("bin/orxemu");
    fs::create_directory(Path("bin"));
    fs::copy_file(ORXEMU_TOOL, tool);
    Words words = RunWords({}, {DEVICE_USER, "status=1"});
    std::replace(words.begin(), words.end(), std::string(ORXEMU_TOOL), tool);
    const Outcome missing = Finished(words);
    EXPECT_EQ(missing.status, 125);
    EXPECT_EQ(missing.err, "orxemu: liborxemu.so is neither in " + Path("bin") +
                               " nor in the library folder beside it; --library FILE says where it is\n");
    for (const char *folder : {"lib/some-linux-gnu", "lib64", "lib", "bin"}) {
        fs::create_directories(Path(folder));
        fs::create_symlink(STAND_IN, Path(folder) + "/liborxemu.so");
        const Outcome outcome = Finished(words);
        EXPECT_EQ(outcome.out, "status 1: ok\n") << folder << outcome.err;
        fs::remove(Path(folder) + "/liborxemu.so");
    }
}

TEST_F(ProgramTest, ArgumentsArriveAsTheyAre) {
    const Outcome outcome = RunSteps({}, {"error=[a,b]", "error=", "error=--", "error=--fail 3 {}"});
    EXPECT_EQ(outcome.err, "[a,b]\n\n--\n--fail 3 {}\n");
    const Outcome mark = RunSteps({}, {"--", "--help"});
    EXPECT_EQ(mark.err, "no such step: --\n");
    EXPECT_EQ(mark.status, 99);
}

TEST_F(ProgramTest, WhatWouldEndTheToolIsPassedOn) {
    std::vector<int> signals = {SIGTERM,   SIGHUP,  SIGUSR1, SIGUSR2, SIGALRM,
                                SIGVTALRM, SIGPROF, SIGABRT, SIGIO,   SIGPWR};
#ifdef SIGSTKFLT
    signals.push_back(SIGSTKFLT);
#endif
    if (!Emulated()) { // which has real-time signals of its own
        signals.insert(signals.end(), {SIGRTMIN, SIGRTMAX});
    }
    for (const int signal : signals) {
        Child child(RunWords({"--log", Path("a.json")},
                             {DEVICE_USER, "await-signal=" + std::to_string(signal), "status=1", "exit=3"}),
                    {});
        AwaitOutput(child, "ready\n");
        kill(child.pid(), signal);
        const Outcome outcome = child.Finish();
        EXPECT_EQ(outcome.out, "ready\nsignal " + std::to_string(signal) + "\nstatus 1: ok\n");
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(ReadLog("a.json").end.requests, 1u) << "the log goes on to the end of the program";
    }
}

TEST_F(ProgramTest, WhatIsPassedOnEndsAProgramThatDoesNotExpectIt) {
    for (const int signal : {SIGUSR1, SIGALRM}) {
        Child child(RunWords({"--log", Path("a.json")},
                             {DEVICE_USER, "status=1", "environment=none", "wait=" + Path("never")}),
                    {});
        AwaitOutput(child, "none=");
        kill(child.pid(), signal);
        EXPECT_EQ(child.Finish().status, 128 + signal);
        EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
    }
}

TEST_F(ProgramTest, ProgramInheritsHowSignalsAreHandled) {
    EXPECT_EQ(RunSteps({}, {"handling=1", "handling=2", "handling=3", "handling=13", "handling=15"}).out,
              "signal 1 default\nsignal 2 default\nsignal 3 default\nsignal 13 default\nsignal 15 default\n");
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGUSR1, SIGALRM}) {
        const Words step = {"handling=" + std::to_string(signal)};
        Conditions conditions;
        conditions.ignoredSignal = signal;
        EXPECT_EQ(RunSteps({}, step, conditions).out, "signal " + std::to_string(signal) + " ignored\n");
        conditions.ignoredSignal = 0;
        conditions.blockedSignal = signal;
        EXPECT_EQ(RunSteps({}, step, conditions).out,
                  "signal " + std::to_string(signal) + " default blocked\n");
    }
}

TEST_F(ProgramTest, ToolThatIsKilledDoesNotHarmTheProgram) {
    const std::string go = Path("go");
    const std::string done = Path("done");
    Child child(
        RunWords({"--log", Path("a.json")}, {DEVICE_USER, "status=1", "error=ready", "environment=ready",
                                             "wait=" + go, "status=0", "request=99", "touch=" + done}),
        {});
    AwaitOutput(child, "ready");
    kill(child.pid(), SIGKILL);
    EXPECT_EQ(child.Finish().status, kKilled + SIGKILL);
    WriteFile(go, "");
    EXPECT_TRUE(Appears(done)) << "the program went on to its end";
}

TEST_F(ProgramTest, ToolDoesNotWaitForWhatOutlivesTheProgram) {
    const std::string end = Path("end");
    const Outcome outcome = RunSteps({"--log", Path("a.json"), "--state", Path("s.json")},
                                     {"status=1", "outlive=" + end, "exit=5"});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
    EXPECT_EQ(ReadState("s.json")->rlStatus, 1u);
    WriteFile(end, "");
    EXPECT_TRUE(Appears(end + ".done")) << "it goes on without the tool";
}

TEST_F(ProgramTest, ProgramWithoutTheStandInIsNoticed) {
    if (Emulated()) {
        GTEST_SKIP() << "needs a library of the C library's";
    }
    // Something to preload that is no stand-in.
    std::string library;
    for (const char *folder : {"/lib/x86_64-linux-gnu", "/lib64", "/lib/aarch64-linux-gnu", "/lib"}) {
        if (library.empty() && std::filesystem::exists(std::string(folder) + "/libm.so.6")) {
            library = std::string(folder) + "/libm.so.6";
        }
    }
    ASSERT_NE(library, "");
    const Outcome outcome = RunSteps({"--library", library}, {});
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(outcome.err,
              "orxemu: " DEVICE_USER " did not load the stand-in: it is linked statically or has more "
              "rights than its user, or the library is of another version\n");
    EXPECT_EQ(RunSteps({"--library", library}, {"exit=3"}).status, 3)
        << "the program's own failure comes first";
}

} // namespace

} // namespace run_test
