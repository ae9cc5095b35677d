// Standard streams that are closed when the tool starts.
#include "tests/orxemu_run/run_kit.h"

namespace run_test {

namespace {

using StreamsTest = RunTest;

// The tool, started by a shell that closes what `closed` says ("1 2").
Outcome RunWithout(const std::string &closed, const Words &words) {
    std::string line = "exec \"$@\"";
    for (const char c : closed) {
        line += c == '0' ? " <&-" : c == ' ' ? "" : std::string(" ") + c + ">&-";
    }
    Words all = {"/bin/sh", "-c", line, "sh"};
    all.insert(all.end(), words.begin(), words.end());
    return Finished(all);
}

TEST_F(StreamsTest, NothingIsWrittenIntoFilesThatTakeTheirNumbers) {
    if (Emulated()) {
        GTEST_SKIP() << "the emulator itself would take the numbers";
    }
    for (const char *closed : {"0", "1", "2", "1 2", "0 2", "0 1 2"}) {
        // The message at the end is about the fault that is not met.
        const Outcome outcome = RunWithout(
            closed, RunWords({"--log", Path("a.json"), "--state", Path("s.json"), "--summary", "--fail", "9"},
                             {DEVICE_USER, "status=1", "error=text"}));
        EXPECT_EQ(outcome.status, 0) << closed;
        EXPECT_EQ(ReadLog("a.json").entries.size(), 1u) << closed;
        EXPECT_EQ(ReadState("s.json")->rlStatus, 1u) << closed;
        EXPECT_EQ(outcome.out, std::string(closed).find('1') == std::string::npos ? "status 1: ok\n" : "")
            << closed;
    }
    const std::string before = FileText(Path("a.json"));
    EXPECT_EQ(
        RunWithout("2", Tool({"replay", Path("a.json"), "--device", "/dev/null", "--log", Path("b.json")}))
            .status,
        1);
    EXPECT_EQ(ReadLog("b.json").entries.size(), 1u);
    EXPECT_EQ(RunWithout("1", Tool({"show", Path("a.json")})).status, 2) << "there is nowhere to show it";
    EXPECT_EQ(FileText(Path("a.json")), before);
}

// The program finds them as the tool has.
TEST_F(StreamsTest, ProgramFindsThemClosed) {
    if (Emulated()) {
        GTEST_SKIP() << "an emulated program executes no other";
    }
    const Outcome outcome = RunWithout(
        "0", RunWords({}, {"/bin/sh", "-c",
                           "if [ -e /proc/self/fd/0 ]; then echo open; else echo closed; fi; " DEVICE_USER
                           " status=1"}));
    EXPECT_EQ(outcome.out, "closed\nstatus 1: ok\n");
    EXPECT_EQ(outcome.err, "");
}

} // namespace

} // namespace run_test
