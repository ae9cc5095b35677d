// Faults of each kind: what the program gets, what the log says, and what the hardware holds afterwards.
#include "tests/orxemu_run/run_kit.h"

#include <algorithm>
#include <cstdio>

namespace run_test {

namespace {

using orxemu::journal::FaultMark;
using orxemu::journal::LogEntry;

using FaultsTest = RunTest;

// "39 EIO fail", "open ENOENT".
std::string Line(const LogEntry &entry) {
    std::string line = entry.isOpen ? "open" : std::to_string(entry.request);
    line += " ";
    line += entry.err == 0 ? "ok" : orxemu::journal::ErrnoName(entry.err);
    line += entry.fault == FaultMark::Fail         ? " fail"
            : entry.fault == FaultMark::AnswerLost ? " answer-lost"
                                                   : "";
    return line;
}

unsigned NumActiveFlows(const OrxEmuState &state) {
    return static_cast<unsigned>(std::count_if(std::begin(state.flow), std::end(state.flow),
                                               [](const OrxEmuFlow &flow) { return flow.active != 0; }));
}

struct FaultRow {
    Words options;
    Words steps;
    std::string out;
    Words log;
    std::uint32_t rlStatus;
    std::string left{}; // of the message about faults that were not met
};

TEST_F(FaultsTest, EveryKind) {
    const FaultRow rows[] = {
        {{"--fail", "2:EBUSY"},
         {"status=1", "status=0", "status=0"},
         "status 1: ok\nstatus 0: EBUSY\nstatus 0: ok\n",
         {"39 ok", "39 EBUSY fail", "39 ok"},
         0},
        {{"--fail", "1:5", "--fail", "2:28"},
         {"status=1", "status=1"},
         "status 1: EIO\nstatus 1: ENOSPC\n",
         {"39 EIO fail", "39 ENOSPC fail"},
         0},
        {{"--fail-after", "1"}, {"status=1"}, "status 1: EIO\n", {"39 EIO answer-lost"}, 1},
        // Refused for its own sake, so that the hardware has not taken it.
        {{"--fail-after", "1"}, {"status=2"}, "status 2: EIO\n", {"39 EIO fail"}, 0},
        {{"--fail-after=2:ETIMEDOUT"},
         {"status=0", "status=1"},
         "status 0: ok\nstatus 1: ETIMEDOUT\n",
         {"39 ok", "39 ETIMEDOUT answer-lost"},
         1},
        // Of all processes, whatever their connections.
        {{"--fail-open", "2:ENODEV", "--fail", "2"},
         {"in-child=status=1", "in-child=status=0", "status=0", "status=0"},
         "status 1: ok\nstatus 0: ENODEV\nstatus 0: EIO\nstatus 0: ok\n",
         {"39 ok", "open ENODEV fail", "39 EIO fail", "39 ok"},
         0},
        {{"--fail-request", "39:EPERM", "--fail-request", "set-rl-status:ENODEV"},
         {"status=1", "status=1", "status=1"},
         "status 1: EPERM\nstatus 1: ENODEV\nstatus 1: ok\n",
         {"39 EPERM fail", "39 ENODEV fail", "39 ok"},
         1},
        {{"--fail-request", "activate-flow"}, {"status=1"}, "status 1: ok\n", {"39 ok"}, 1, "1 fault was"},
        {{"--fail", "2", "--fail-after", "1", "--fail-open", "2"},
         {"status=1"},
         "status 1: EIO\n",
         {"39 EIO answer-lost"},
         1,
         "2 faults were"},
        {{"--fail", "4", "--fail-after", "2", "--fail-open", "3", "--fail-request", "set-rl-status:EPERM"},
         {"status=1", "status=1", "status=0", "status=0", "status=0"},
         "status 1: EPERM\nstatus 1: EIO\nstatus 0: EIO\nstatus 0: ok\nstatus 0: EIO\n",
         {"39 EPERM fail", "39 EIO answer-lost", "open EIO fail", "39 ok", "39 EIO fail"},
         0},
    };
    for (const FaultRow &row : rows) {
        SCOPED_TRACE(row.options[0] + " " + row.options.back());
        Words options = row.options;
        options.insert(options.end(), {"--log", Path("a.json"), "--state", Path("s.json")});
        std::remove(Path("s.json").c_str());
        const Outcome outcome = RunSteps(options, row.steps);
        EXPECT_EQ(outcome.out, row.out);
        const std::string told = " not met: there were not so many requests or openings\n";
        EXPECT_EQ(outcome.err, row.left.empty() ? "" : "orxemu: " + row.left + told);
        EXPECT_EQ(outcome.status, 0);
        Words lines;
        for (const LogEntry &entry : ReadLog().entries) {
            lines.push_back(Line(entry));
        }
        EXPECT_EQ(lines, row.log);
        EXPECT_EQ(ReadState()->rlStatus, row.rlStatus);
    }
}

// Each request of the product's own scenario fails in turn. What the hardware was left with is kept, and the next
// run goes on from there.
TEST_F(FaultsTest, OrxtestRunsOnWhatAFailedRunHasLeft) {
    const Words files = {"--log", Path("a.json"), "--state", Path("s.json")};
    for (const char *option : {"--fail", "--fail-after", "--fail-open"}) {
        for (unsigned n = 1; n <= 6; ++n) {
            SCOPED_TRACE(std::string(option) + " " + std::to_string(n));
            Words options = files;
            options.insert(options.end(), {option, std::to_string(n)});
            std::remove(Path("s.json").c_str());
            const Outcome outcome = RunOrxtest(options, 3);
            EXPECT_EQ(outcome.status, 0);
            const auto failed = ReadLog();
            EXPECT_EQ(failed.end.openDescriptors, 0);
            ASSERT_GE(failed.entries.size(), n);
            const LogEntry &entry = failed.entries[n - 1];
            EXPECT_NE(entry.fault, FaultMark::None);
            if (!entry.isOpen) {
                EXPECT_EQ(outcome.err, "pktOrxDevIoctl <" + std::to_string(entry.request) + "> error\n");
            }
            const unsigned left = NumActiveFlows(*ReadState());
            EXPECT_EQ(RunOrxtest(files, 3).status, 0);
            const auto next = ReadLog();
            EXPECT_EQ(next.entries.size(), 6u);
            EXPECT_TRUE(std::all_of(next.entries.begin(), next.entries.end(),
                                    [](const LogEntry &sent) { return sent.err == 0; }));
            EXPECT_EQ(NumActiveFlows(*ReadState()), left + 4);
        }
    }
}

TEST_F(FaultsTest, AsManyAsThereIsRoomFor) {
    Words options;
    for (int n = 1; n <= ORXEMU_MAX_FAULTS; ++n) {
        options.insert(options.end(), {"--fail", std::to_string(n)});
    }
    EXPECT_EQ(RunSteps(options, {"status=1"}).out, "status 1: EIO\n");
    options.insert(options.end(), {"--fail-open", "9"});
    const Outcome outcome = RunSteps(options, {"status=1"});
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(outcome.err, "orxemu: more than 64 faults\n");
    EXPECT_EQ(outcome.out, "") << "nothing has run";
}

} // namespace

} // namespace run_test
