// Static programs that only start others: run when the user says that this is what they do.
#include "tests/orxemu_run/run_kit.h"

#include <filesystem>

namespace run_test {

namespace {

class LauncherTest : public RunTest {
  protected:
    void SetUp() override {
        if (Emulated()) {
            GTEST_SKIP() << "an emulated program executes no other";
        }
    }
};

TEST_F(LauncherTest, IsRefusedWithoutTheOption) {
    const Outcome outcome = Finished(RunWords({}, {STATIC_LAUNCHER, DEVICE_USER, "error=ran"}));
    EXPECT_EQ(outcome.status, 126);
    EXPECT_EQ(outcome.err, "orxemu: " STATIC_LAUNCHER " is linked statically and cannot load the stand-in; "
                           "when it only starts programs that can, --launcher runs it\n");
}

TEST_F(LauncherTest, WhatItStartsIsOnTheStandIn) {
    const Words program = {STATIC_LAUNCHER, DEVICE_USER, "status=1", "exit=3"};
    const Outcome outcome =
        Finished(RunWords({"--launcher", "--log", Path("a.json"), "--state", Path("s.json")}, program));
    EXPECT_EQ(outcome.out, "status 1: ok\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(ReadLog("a.json").end.requests, 1u);
    EXPECT_EQ(ReadState("s.json")->rlStatus, 1u);
}

TEST_F(LauncherTest, MayRunAScript) {
    WriteFile(Path("script"), std::string("#!" STATIC_LAUNCHER " " DEVICE_USER "\n"));
    std::filesystem::permissions(Path("script"), std::filesystem::perms::owner_all);
    // The script's own name comes as a word behind the program's, and is no step of it.
    const Outcome outcome = Finished(RunWords({"--launcher"}, {Path("script"), "status=1"}));
    EXPECT_EQ(outcome.err, "no such step: " + Path("script") + "\n");
    EXPECT_EQ(outcome.status, 99);
}

TEST_F(LauncherTest, ThatStartsNothingIsNoticed) {
    const Outcome outcome = Finished(RunWords({"--launcher"}, {STATIC_LAUNCHER}));
    EXPECT_EQ(outcome.err.rfind("orxemu: " STATIC_LAUNCHER " did not load the stand-in: ", 0), 0u)
        << outcome.err;
    EXPECT_EQ(outcome.status, 125);
}

// The option is about nothing but the loader: a program of another processor does not run for it.
TEST_F(LauncherTest, OtherProgramsRunAsEver) {
    const Outcome outcome = RunSteps({"--launcher"}, {"status=1", "exit=4"});
    EXPECT_EQ(outcome.out, "status 1: ok\n");
    EXPECT_EQ(outcome.status, 4);
}

} // namespace

} // namespace run_test
