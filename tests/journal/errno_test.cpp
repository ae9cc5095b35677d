// Errors by their names, which machines share, and by their numbers, which they do not.
#include "tests/journal/sample_log.h"

namespace {

using namespace journal_test;
using namespace orxemu::journal;

// Those that some machines do not have or have for another value, and some that all have.
constexpr const char *kNames[] = {"EDEADLOCK", "EWOULDBLOCK", "ENOTSUP", "EINIT", "EREMDEV",
                                  "EDEADLK",   "EIO",         "E2BIG",   "EXFULL"};

TEST(JournalErrno, NamesOfAllMachinesAreKnown) {
    for (const char *name : kNames) {
        const int err = ErrnoOf(name);
        EXPECT_GT(err, 0) << name;
        EXPECT_EQ(err, ErrnoOf(ErrnoName(err))) << name;
    }
}

TEST(JournalErrno, OtherNamesAreThisMachinesValues) {
    EXPECT_EQ(EDEADLOCK, ErrnoOf("EDEADLOCK"));
    EXPECT_EQ(EWOULDBLOCK, ErrnoOf("EWOULDBLOCK"));
    EXPECT_EQ(ENOTSUP, ErrnoOf("ENOTSUP"));
    EXPECT_EQ(EDEADLK, ErrnoOf("EDEADLK"));
    EXPECT_EQ(0, ErrnoOf("EDEADLOCKS"));
    EXPECT_EQ(0, ErrnoOf("EDEAD"));
}

TEST(JournalErrno, EveryValueThatHasANameIsWrittenByIt) {
    EXPECT_EQ(EDEADLOCK == EDEADLK ? "EDEADLK" : "EDEADLOCK", ErrnoName(EDEADLOCK));
    EXPECT_EQ("EAGAIN", ErrnoName(EWOULDBLOCK));
    EXPECT_EQ("EOPNOTSUPP", ErrnoName(ENOTSUP));
    EXPECT_EQ("4000", ErrnoName(4000));
    EXPECT_EQ("0", ErrnoName(0));
}

// A log of one request, which failed with this errno on the machine that wrote it.
std::string LogText(const std::string &errnoText) {
    LogEntry entry = Sent(39, Image(4, kHostOrder).Put32(0, 1));
    entry.err = EIO;
    std::string line = LogEntryLine(entry, 1, kHostOrder);
    ReplaceOnce(line, "EIO", errnoText);
    return LogHeadLine(kHostOrder) + Sealed(line) +
           LogEndLine({.requests = 1, .failedOpens = 0, .openDescriptors = 0});
}

TEST(JournalErrno, NamesInLogsThatThisMachineLacksAreTheNearest) {
    for (const char *name : kNames) {
        Log log;
        Problem problem;
        EXPECT_TRUE(ReadLog(LogText(name), "log", log, problem)) << problem.Text();
        ASSERT_EQ(1u, log.entries.size()) << name;
        EXPECT_EQ(ErrnoOf(name), log.entries[0].err);
        EXPECT_EQ(ErrnoName(ErrnoOf(name)), ErrnoName(log.entries[0]));
    }
}

// It had none where the log was written; what has that number here is something else.
TEST(JournalErrno, NumbersInLogsHaveNoName) {
    for (const int err : {EIO, EDEADLOCK, 4000}) {
        Log log;
        Problem problem;
        const std::string text = LogText(std::to_string(err));
        EXPECT_TRUE(ReadLog(text, "log", log, problem)) << problem.Text();
        ASSERT_EQ(1u, log.entries.size());
        EXPECT_EQ(err, log.entries[0].err);
        EXPECT_EQ(std::to_string(err), ErrnoName(log.entries[0]));
        EXPECT_EQ(text,
                  LogHeadLine(log.order) + LogEntryLine(log.entries[0], 1, log.order) + LogEndLine(log.end))
            << "and is written as it was";
    }
}

TEST(JournalErrno, WhatIsNeitherIsRefused) {
    for (const char *text : {"", "EWHAT", "0", "-5", "5x", "+5", " 5"}) {
        Log log;
        Problem problem;
        EXPECT_FALSE(ReadLog(LogText(text), "log", log, problem)) << text;
        EXPECT_EQ("log:2: answer.errno is \"" + std::string(text) + "\", not a name or a number above 0",
                  problem.Text());
    }
}

} // namespace
