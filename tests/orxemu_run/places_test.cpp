// Logs and states under names that lead to one place, or to none.
#include "tests/orxemu_run/run_kit.h"

#include <filesystem>

namespace run_test {

namespace {

namespace fs = std::filesystem;

class PlacesTest : public RunTest {
  protected:
    // A folder, another name of it, and a link into it that leads to no file yet.
    PlacesTest() {
        fs::create_directory(Path("folder"));
        fs::create_directory_symlink("folder", Path("other"));
        fs::create_symlink("folder/new", Path("link"));
    }
};

TEST_F(PlacesTest, LogAndStateThatWouldBecomeOneFile) {
    const std::string pairs[][2] = {
        {Path("a.json"), Path("a.json")},      {Path("a.json"), Path("./a.json")},
        {Path("folder/a"), Path("other/a")},   {Path("other/../a"), Path("a")},
        {Path("link"), Path("folder/new")},    {Path("other/new"), Path("link")},
        {Path("folder//a"), Path("folder/a")},
    };
    for (const auto &[log, state] : pairs) {
        const Outcome outcome = RunSteps({"--log", log, "--state", state}, {"error=ran"});
        EXPECT_EQ(outcome.status, 125) << log << " " << state;
        EXPECT_EQ(outcome.err, "orxemu: --log and --state are the same file\n") << log << " " << state;
    }
    EXPECT_EQ(Files(), Words({"folder", "link", "other"}));
    EXPECT_TRUE(fs::is_empty(Path("folder")));
}

TEST_F(PlacesTest, LogAndStateThatAreOneFileByAnotherName) {
    ASSERT_EQ(RunSteps({"--state", Path("s.json")}, {}).status, 0);
    fs::create_hard_link(Path("s.json"), Path("hard"));
    const std::string before = FileText(Path("s.json"));
    const Outcome outcome = RunSteps({"--log", Path("hard"), "--state", Path("s.json")}, {"error=ran"});
    EXPECT_EQ(outcome.err, "orxemu: --log and --state are the same file\n");
    EXPECT_EQ(FileText(Path("s.json")), before);
}

TEST_F(PlacesTest, TwoFilesAreNotTakenForOne) {
    const std::string pairs[][2] = {
        {Path("a"), Path("b")}, {Path("a"), Path("folder/a")}, {Path("folder/a"), Path("link")}};
    for (const auto &[log, state] : pairs) {
        const Outcome outcome = RunSteps({"--log", log, "--state", state}, {"status=1"});
        EXPECT_EQ(outcome.err, "") << log << " " << state;
        EXPECT_EQ(outcome.status, 0) << log << " " << state;
    }
}

TEST_F(PlacesTest, StateIsWrittenWhereALinkLeads) {
    for (int run = 1; run <= 2; ++run) { // it is not there at first
        EXPECT_EQ(RunSteps({"--state", Path("link")}, {"status=1"}).status, 0);
        EXPECT_TRUE(fs::is_symlink(Path("link"))) << "run " << run;
        EXPECT_EQ(ReadState("folder/new")->rlStatus, 1u) << "run " << run;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("folder")), fs::directory_iterator()), 1);
}

TEST_F(PlacesTest, StateWhereALinkLeadsNowhere) {
    fs::create_symlink("no/s.json", Path("away"));
    fs::create_symlink("circle", Path("circle"));
    const std::string rows[][2] = {
        {"away", "leads to " + Path("no/s.json") + ": its folder is not there"},
        {"circle", "cannot be opened: Too many levels of symbolic links"},
    };
    for (const auto &[link, message] : rows) {
        const Outcome outcome = RunSteps({"--state", Path(link)}, {"error=ran"});
        EXPECT_EQ(outcome.status, 125) << link;
        EXPECT_EQ(outcome.err, "orxemu: " + Path(link) + ": " + message + "\n");
        EXPECT_TRUE(fs::is_symlink(Path(link)));
    }
}

} // namespace

} // namespace run_test
