// Files on a disk that may be full, missing or somebody else's.
#include "emu/journal/state_file.h"
#include "tests/journal/sample_log.h"
#include "tests/support/temp_folder.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace journal_test;
using namespace orxemu::journal;

// Runs `body` in a child process; it has to hold there.
void ExpectInChild(const std::function<bool()> &body) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        _exit(body() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
    EXPECT_EQ(0, WEXITSTATUS(status)) << "what the child expected does not hold";
}

// The same, with files that end at `limit` bytes.
void ExpectInChildWithLimit(rlim_t limit, const std::function<bool()> &body) {
    ExpectInChild([limit, &body] {
        const rlimit files = {limit, RLIM_INFINITY};
        std::signal(SIGXFSZ, SIG_IGN);
        return setrlimit(RLIMIT_FSIZE, &files) == 0 && body();
    });
}

constexpr uid_t kNobody = 65534;

TEST(JournalFiles, AFileIsReadWhole) {
    const test::TempFolder folder;
    const std::string contents = std::string("a\0b\r\n", 5) + std::string(200000, 'x');
    test::WriteFile(folder.File("f"), contents);
    std::string text = "old";
    Problem problem;
    EXPECT_TRUE(ReadFile(folder.File("f"), text, problem));
    EXPECT_EQ(contents, text);
}

TEST(JournalFiles, AFileThatCannotBeReadIsAProblem) {
    const test::TempFolder folder;
    std::string text = "old";
    Problem problem;
    EXPECT_FALSE(ReadFile(folder.File("missing"), text, problem));
    EXPECT_EQ(folder.File("missing") + ": cannot be opened: No such file or directory", problem.Text());
    EXPECT_FALSE(ReadFile(folder.File(""), text, problem));
    EXPECT_EQ(folder.File("") + ": cannot be read: Is a directory", problem.Text());
    EXPECT_EQ("old", text);
}

TEST(JournalFiles, AtomicWritingMakesAndReplacesTheFileAndLeavesNothingBeside) {
    const test::TempFolder folder;
    Problem problem;
    for (const std::string &text : {std::string("first\n"), std::string(100000, 'y'), std::string()}) {
        EXPECT_TRUE(WriteFileAtomically(folder.File("state"), text, problem)) << problem.Text();
        EXPECT_EQ(text, test::FileText(folder.File("state")));
        EXPECT_EQ(1u, folder.Names().size());
    }
}

unsigned ModeOf(const std::string &path) {
    struct stat file = {};
    EXPECT_EQ(0, stat(path.c_str(), &file));
    return file.st_mode & 07777;
}

TEST(JournalFiles, AtomicWritingKeepsPermissionsAndHeedsTheMask) {
    const test::TempFolder folder;
    Problem problem;
    const mode_t before = umask(027);
    EXPECT_TRUE(WriteFileAtomically(folder.File("state"), "x", problem));
    EXPECT_EQ(0640u, ModeOf(folder.File("state")));
    ASSERT_EQ(0, chmod(folder.File("state").c_str(), 0604));
    EXPECT_TRUE(WriteFileAtomically(folder.File("state"), "y", problem));
    EXPECT_EQ(0604u, ModeOf(folder.File("state")));
    umask(before);
}

TEST(JournalFiles, AtomicWritingReplacesRegularFilesOnly) {
    const test::TempFolder folder;
    ASSERT_EQ(0, mkfifo(folder.File("pipe").c_str(), 0600));
    Problem problem;
    EXPECT_FALSE(WriteFileAtomically(folder.File("pipe"), "new", problem));
    EXPECT_EQ(folder.File("pipe") + ": cannot be written: it is no regular file", problem.Text());
    EXPECT_TRUE(std::filesystem::is_fifo(folder.File("pipe")));
    EXPECT_FALSE(WriteFileAtomically("/dev/null", "new", problem));
    EXPECT_EQ("/dev/null: cannot be written: it is no regular file", problem.Text());
    EXPECT_EQ(1u, folder.Names().size());
}

TEST(JournalFiles, AtomicWritingIntoAMissingFolderIsAProblem) {
    const test::TempFolder folder;
    Problem problem;
    EXPECT_FALSE(WriteFileAtomically(folder.File("none/state"), "new", problem));
    EXPECT_EQ(folder.File("none/state") + ": cannot be written: No such file or directory", problem.Text());
}

TEST(JournalFiles, AtomicWritingIntoAReadOnlyFolderIsAProblem) {
    const test::TempFolder folder;
    const std::string path = folder.File("state");
    test::WriteFile(path, "old");
    ASSERT_EQ(0, chmod(path.c_str(), 0666));
    ASSERT_EQ(0, chmod(folder.File("").c_str(), 0555));
    ExpectInChild([&path] {
        // The folder is not closed to root.
        Problem problem;
        return (geteuid() != 0 || setuid(kNobody) == 0) && !WriteFileAtomically(path, "new", problem) &&
               problem.Text() == path + ": cannot be written: Permission denied";
    });
    EXPECT_EQ("old", test::FileText(path));
    EXPECT_EQ(1u, folder.Names().size());
    ASSERT_EQ(0, chmod(folder.File("").c_str(), 0700));
}

TEST(JournalFiles, OnAFullDiskTheOldFileStays) {
    const test::TempFolder folder;
    const std::string path = folder.File("state");
    test::WriteFile(path, "old");
    ExpectInChildWithLimit(1000, [&path] {
        Problem problem;
        return !WriteFileAtomically(path, std::string(5000, 'x'), problem) &&
               problem.Text() == path + ": cannot be written: File too large";
    });
    EXPECT_EQ("old", test::FileText(path));
    EXPECT_EQ(1u, folder.Names().size());
}

// ---- Writing a log

LogEntry Status() {
    return Sent(39, Image(4, kHostOrder).Put32(0, 1));
}

TEST(JournalLogWriter, WritesWhatIsReadAgain) {
    const test::TempFolder folder;
    const std::string path = folder.File("log");
    LogWriter writer;
    EXPECT_FALSE(writer.IsOpen());
    ASSERT_TRUE(writer.Open(path, ByteOrder::Big)) << writer.problem().Text();
    EXPECT_TRUE(writer.IsOpen());
    std::string expected = LogHeadLine(ByteOrder::Big);
    EXPECT_EQ(expected, test::FileText(path));
    for (const LogEntry &entry : SampleEntries(ByteOrder::Big)) {
        writer.Write(entry);
    }
    // A line is in the file as soon as it is written.
    EXPECT_NE(std::string::npos, test::FileText(path).find("\"n\":12,"));
    EXPECT_TRUE(writer.Close(SampleEnd()));
    EXPECT_FALSE(writer.IsOpen());
    EXPECT_EQ(Joined(SampleLines(ByteOrder::Big)), test::FileText(path));
}

TEST(JournalLogWriter, AFileThatCannotBeCreatedIsAProblem) {
    const test::TempFolder folder;
    LogWriter writer;
    EXPECT_FALSE(writer.Open(folder.File("none/log"), kHostOrder));
    EXPECT_FALSE(writer.IsOpen());
    EXPECT_EQ(folder.File("none/log") + ": cannot be written: No such file or directory",
              writer.problem().Text());
    writer.Write(Status()); // goes nowhere
    EXPECT_FALSE(writer.Close({}));
}

TEST(JournalLogWriter, AfterTheFirstFailureNothingMoreIsWritten) {
    const test::TempFolder folder;
    const std::string path = folder.File("log");
    ExpectInChildWithLimit(400, [&path] {
        LogWriter writer;
        bool good = writer.Open(path, kHostOrder);
        for (int i = 0; i < 20; ++i) {
            writer.Write(Status());
        }
        const auto text = [&path] { return test::FileText(path); }; // the file's at that moment
        const std::string written = text();
        const rlimit files = {RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &files);
        writer.Write(Status());
        good = good && !writer.Close({});
        return good && written.size() == 400 && text() == written &&
               writer.problem().Text() == path + ": cannot be written: File too large";
    });
}

TEST(JournalLogWriter, AFullDiskIsAProblemAtOnce) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "no /dev/full";
    }
    LogWriter writer;
    EXPECT_FALSE(writer.Open("/dev/full", kHostOrder));
    EXPECT_EQ("/dev/full: cannot be written: No space left on device", writer.problem().Text());
    EXPECT_FALSE(writer.Close({}));
}

TEST(JournalLogWriter, AWriterMayBeUsedAgain) {
    const test::TempFolder folder;
    LogWriter writer;
    for (const char *name : {"a", "b"}) {
        ASSERT_TRUE(writer.Open(folder.File(name), kHostOrder));
        writer.Write(Status());
        ASSERT_TRUE(writer.Close({.requests = 1, .failedOpens = 0, .openDescriptors = 0}));
    }
    EXPECT_EQ(test::FileText(folder.File("a")), test::FileText(folder.File("b")));
    Log log;
    Problem problem;
    EXPECT_TRUE(ReadLog(test::FileText(folder.File("b")), "b", log, problem)) << problem.Text();
}

} // namespace
