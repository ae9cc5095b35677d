// What programs do to many descriptors at once, and to those that they have inherited without knowing it.
#include "tests/orxemu_run/run_kit.h"

namespace run_test {

namespace {

using DescriptorsTest = RunTest;

std::string Joined(const Words &words) {
    std::string text;
    for (const std::string &word : words) {
        text += word + " ";
    }
    return text;
}

// As programs close what a child must not inherit.
TEST_F(DescriptorsTest, ClosingEverythingAtOnceLeavesTheStandIn) {
    struct Row {
        Words steps;
        std::string out;
    };
    const Row rows[] = {
        {{"close-range", "status=1"}, "close-range: ok\nleft 2\nstatus 1: ok\n"},
        {{"close-from", "status=1"}, "left 2\nstatus 1: ok\n"},
        {{"leave-open", "close-from", "status=1"}, "open: ok\nleft 2\nstatus 1: ok\n"},
        {{"leave-open", "close-range=cloexec", "status=1"},
         "open: ok\nclose-range: ok\nleft 2\nstatus 1: ok\n"},
        {{"in-clone=close-range", "status=1"}, "close-range: ok\nleft 2\nstatus 1: ok\n"},
        {{"close-range=cloexec", "execute=status=1"}, "close-range: ok\nleft 2\nstatus 1: ok\n"},
        {{"close-range", "execute=status=1"}, "close-range: ok\nleft 2\nstatus 1: ok\n"},
    };
    for (const Row &row : rows) {
        const std::string name = Joined(row.steps);
        if (Emulated() && name.find("execute") != std::string::npos) {
            continue; // an emulated program executes no other
        }
        const Outcome outcome = RunSteps({"--log", Path("a.json")}, row.steps);
        EXPECT_EQ(outcome.out, row.out) << name;
        EXPECT_EQ(outcome.err, "") << name;
        EXPECT_EQ(outcome.status, 0) << name;
        EXPECT_EQ(ReadLog("a.json").end.requests, 1u) << name;
    }
}

// The device's own go with the rest, and a child that runs in its parent's memory closes copies only.
TEST_F(DescriptorsTest, DescriptorsThatAreClosedAtOnceAreCounted) {
    struct Row {
        Words steps;
        int openDescriptors;
    };
    const Row rows[] = {
        {{"leave-open", "leave-open", "close-range"}, 0},
        {{"leave-open", "leave-open", "close-from"}, 0},
        {{"leave-open", "leave-open", "close-range=cloexec"}, 2},
        {{"leave-open", "in-child=close-range"}, 1},
        {{"leave-open", "in-clone=close-all"}, 1},
        {{"leave-open", "in-clone=close-all", "close-all"}, 0},
        {{"leave-open", "in-clone=close-range", "close-all"}, 0},
        {{"leave-open", "in-clone=close-from", "close-all"}, 0},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(RunSteps({"--log", Path("a.json")}, row.steps).status, 0) << Joined(row.steps);
        EXPECT_EQ(ReadLog("a.json").end.openDescriptors, row.openDescriptors) << Joined(row.steps);
    }
}

TEST_F(DescriptorsTest, NumbersOfTheSessionAreNotGivenAway) {
    for (const char *which : {"lock", "channel"}) {
        const Outcome outcome =
            RunSteps({"--log", Path("a.json")}, {std::string("dup-over=") + which, "status=1"});
        EXPECT_EQ(outcome.out, "dup2: EBUSY\ndup3: EBUSY\nof nothing: EBADF\nof itself: ok\nstatus 1: ok\n")
            << which;
        EXPECT_EQ(outcome.status, 0) << which << ": " << outcome.err;
        EXPECT_EQ(ReadLog("a.json").end.requests, 1u) << which;
    }
}

// Without the lock two processes would be on the hardware at once.
TEST_F(DescriptorsTest, HardwareIsNotUsedWithoutTheLock) {
    struct Row {
        Words steps;
        std::string out;
        std::size_t requests;
        std::uint32_t refused;
    };
    const Row rows[] = {
        {{"status=0", "lose=lock", "status=1", "status=1"},
         "status 0: ok\nstatus 1: ENODEV\nstatus 1: ENODEV\n",
         1,
         2},
        {{"lose-while-open"}, "ioctl: ENODEV\n", 0, 1},
        {{"in-child=lose-while-open", "status=0"}, "ioctl: ENODEV\nstatus 0: ok\n", 1, 1},
        {{"lose=lock", "execute=status=1"}, "status 1: ENODEV\n", 0, 1},
    };
    for (const Row &row : rows) {
        const std::string name = Joined(row.steps);
        if (Emulated() && name.find("execute") != std::string::npos) {
            continue;
        }
        const std::string told =
            "orxemu: a process had closed the descriptors of the stand-in: the device was refused to it with "
            "ENODEV\n";
        Outcome outcome = RunSteps({"--state", Path("s.json")}, row.steps);
        EXPECT_EQ(outcome.out, row.out) << name;
        EXPECT_EQ(outcome.err, told) << name;
        EXPECT_EQ(outcome.status, 125) << name;
        EXPECT_EQ(ReadState("s.json")->rlStatus, 0u) << name;

        outcome = RunSteps({"--log", Path("a.json")}, row.steps);
        EXPECT_NE(outcome.err.find(told), std::string::npos) << name << outcome.err;
        orxemu::journal::Log log;
        orxemu::journal::Problem problem;
        EXPECT_FALSE(orxemu::journal::ReadLog(FileText(Path("a.json")), "a.json", log, problem)) << name;
        EXPECT_EQ(log.entries.size(), row.requests) << name;
        EXPECT_EQ(log.end.lost, row.refused) << name;
    }
}

// The lock is what the hardware needs; what is lost is the message.
TEST_F(DescriptorsTest, HardwareIsUsedWithoutTheChannel) {
    const Outcome outcome = RunSteps({"--state", Path("s.json")}, {"lose=channel", "status=1"});
    EXPECT_EQ(outcome.out, "status 1: ok\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(ReadState("s.json")->rlStatus, 1u);
}

} // namespace

} // namespace run_test
