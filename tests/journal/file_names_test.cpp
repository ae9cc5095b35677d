// Paths that lead to one file, or to none, and what becomes of links when a file is written.
#include "emu/journal/file_names.h"
#include "emu/journal/state_file.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace orxemu::journal;

namespace fs = std::filesystem;

class JournalNames : public ::testing::Test {
  protected:
    JournalNames() {
        fs::create_directory(folder_.File("folder"));
        fs::create_directory_symlink("folder", folder_.File("other"));
        test::WriteFile(folder_.File("folder/file"), "old");
        fs::create_symlink("folder/file", folder_.File("to file"));
        fs::create_symlink("folder/new", folder_.File("to new"));
        fs::create_symlink(folder_.File("to new"), folder_.File("to link"));
        fs::create_symlink("../to new", folder_.File("folder/up"));
        fs::create_symlink("no/file", folder_.File("to no folder"));
        fs::create_symlink("folder/file/x", folder_.File("into a file"));
        fs::create_symlink("circle b", folder_.File("circle a"));
        fs::create_symlink("circle a", folder_.File("circle b"));
    }
    const test::TempFolder folder_;
};

TEST_F(JournalNames, TheFileBehindLinksNeedNotBeThere) {
    const std::string rows[][2] = {
        {"folder/file", "folder/file"}, {"other/file", "folder/file"},
        {"to file", "folder/file"},     {"folder/new", "folder/new"},
        {"other/new", "folder/new"},    {"to new", "folder/new"},
        {"to link", "folder/new"},      {"folder/up", "folder/new"},
        {"other/up", "folder/new"},     {"./new", "new"},
        {"other/../new", "new"},
    };
    const fs::path here = fs::canonical(folder_.File("."));
    for (const auto &[path, file] : rows) {
        EXPECT_EQ(here / file, FileBehind(folder_.File(path))) << path;
    }
    EXPECT_EQ(fs::current_path() / "no such file", FileBehind("no such file"));
    EXPECT_EQ(here / "no/file", FileBehind(folder_.File("to no folder")));
    EXPECT_EQ(folder_.File("circle a"), FileBehind(folder_.File("circle a")));
}

TEST_F(JournalNames, NamesOfOneFile) {
    fs::create_hard_link(folder_.File("folder/file"), folder_.File("hard"));
    const struct {
        const char *a;
        const char *b;
        bool same;
    } rows[] = {
        {"to file", "other/file", true},  {"hard", "to file", true},         {"folder/up", "to link", true},
        {"new", "./new", true},           {"no/file", "no/file", true},      {"circle a", "circle a", true},
        {"circle a", "circle b", false},  {"no/file", "to no folder", true}, {"new", "folder/new", false},
        {"folder/file", "to new", false}, {"folder", "folder/file", false},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.same, NameOneFile(folder_.File(row.a), folder_.File(row.b))) << row.a << ", " << row.b;
        EXPECT_EQ(row.same, NameOneFile(folder_.File(row.b), folder_.File(row.a))) << row.b << ", " << row.a;
    }
}

TEST_F(JournalNames, AtomicWritingMakesTheFileThatALinkLeadsTo) {
    for (const char *link : {"to new", "to link", "folder/up", "to file"}) {
        const bool isNew = std::string(link) != "to file";
        const std::string file = folder_.File(isNew ? "folder/new" : "folder/file");
        Problem problem;
        EXPECT_TRUE(WriteFileAtomically(folder_.File(link), link, problem)) << problem.Text();
        EXPECT_TRUE(fs::is_symlink(folder_.File(link))) << link;
        EXPECT_EQ(link, test::FileText(file));
        if (isNew) {
            fs::remove(file);
        }
    }
    EXPECT_EQ(2, std::distance(fs::directory_iterator(folder_.File("folder")), fs::directory_iterator()));
}

TEST_F(JournalNames, AtomicWritingReplacesNoLinkThatLeadsNowhere) {
    const std::string rows[][2] = {{"to no folder", "No such file or directory"},
                                   {"into a file", "Not a directory"},
                                   {"circle a", "Too many levels of symbolic links"}};
    const std::size_t before = folder_.Names().size();
    for (const auto &[link, what] : rows) {
        Problem problem;
        EXPECT_FALSE(WriteFileAtomically(folder_.File(link), "new", problem)) << link;
        EXPECT_EQ(folder_.File(link) + ": cannot be written: " + what, problem.Text());
        EXPECT_TRUE(fs::is_symlink(folder_.File(link))) << link;
    }
    EXPECT_EQ(before, folder_.Names().size());
}

} // namespace
