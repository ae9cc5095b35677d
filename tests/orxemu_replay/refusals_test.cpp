// Requests that are refused, were refused, or are not known.
#include "tests/orxemu_replay/replay_test.h"
#include "tests/support/capture.h"

#include <cerrno>
#include <unistd.h>

namespace replay_test {

namespace {

using ReplayRefusalsTest = ReplayTest;

constexpr ReplayRules kKeepGoing = {.keepGoing = true, .withRefused = false};
constexpr ReplayRules kWithRefused = {.keepGoing = false, .withRefused = true};

std::string NameOf(const Log &log, std::size_t n) {
    return qir::FindRequest(log.entries[n - 1].request)->name;
}

std::string Refused(const Log &log, std::size_t n, const std::string &err) {
    return Line(n, NameOf(log, n) + " (request " + std::to_string(n) + ") refused: " + err);
}

TEST_F(ReplayRefusalsTest, StopsAtTheRefusedRequest) {
    SendSession();
    const Log log = Read(RecordedText());
    for (std::size_t n = 1; n <= kSessionRequests; ++n) {
        SCOPED_TRACE(n);
        orxemu_reset();
        orxemu_failRequest(0, static_cast<unsigned>(n), EIO);
        const ReplayRun run = RunReplay(log);
        EXPECT_EQ(run.end, ReplayEnd::Stopped);
        EXPECT_EQ(run.err, Refused(log, n, "EIO"));
        EXPECT_EQ(Told(run.counts), Told(n - 1, 0, 0, 1, 0, kSessionRequests - n));
        EXPECT_EQ(orxemu_numRequests(), n);
    }
}

// What names the index of a refused activation is skipped, everything else is sent.
TEST_F(ReplayRefusalsTest, KeepsGoingWithoutWhatDependsOnTheRefusedRequest) {
    SendSession();
    const Log log = Read(RecordedText());
    const std::map<std::size_t, std::vector<std::pair<std::size_t, std::string>>> dependent = {
        {7, {{21, "AS table 0"}}},
        {8, {{22, "DSCP table 0"}}},
        {9, {{11, "PAC table 0"}, {18, "PAC table 0"}}},
        {10, {{12, "PAC table 1"}, {15, "flow 1"}, {17, "PAC table 1"}}},
        {12, {{15, "flow 1"}, {17, "flow 1"}}},
        {13, {{14, "flow 2"}}},
        {19, {{20, "PAC table 0"}, {25, "flow 1"}, {26, "flow 1"}}},
        {20, {{25, "flow 1"}, {26, "flow 1"}}},
    };
    for (std::size_t n = 1; n <= kSessionRequests; ++n) {
        if (n == 16) {
            continue; // a rate limiter has no index that is assigned: its deactivation is sent, below
        }
        SCOPED_TRACE(n);
        orxemu_reset();
        orxemu_failRequest(0, static_cast<unsigned>(n), ENOMEM);
        const ReplayRun run = RunReplay(log, kKeepGoing);
        std::string err = Refused(log, n, "ENOMEM");
        std::size_t skipped = 0;
        if (const auto row = dependent.find(n); row != dependent.end()) {
            skipped = row->second.size();
            for (const auto &[other, object] : row->second) {
                err += Line(other, NameOf(log, other) + " (request " + std::to_string(other) +
                                       ") skipped: " + object + " of the log was not activated");
            }
        }
        EXPECT_EQ(run.end, ReplayEnd::Done);
        EXPECT_EQ(run.err, err);
        EXPECT_EQ(Told(run.counts), Told(kSessionRequests - 1 - skipped, skipped, 0, 1, 0, 0));
    }
}

TEST_F(ReplayRefusalsTest, KeepsGoingBehindSeveralRefusals) {
    SendSession();
    const Log log = Read(RecordedText());
    orxemu_reset();
    orxemu_failRequest(kActivateRl, 1, EIO);
    const ReplayRun run = RunReplay(log, kKeepGoing);
    EXPECT_EQ(run.end, ReplayEnd::Done);
    EXPECT_EQ(run.err, Refused(log, 16, "EIO") + Refused(log, 27, "ENOENT"));
    EXPECT_EQ(Told(run.counts), Told(kSessionRequests - 2, 0, 0, 2, 0, 0));
}

TEST_F(ReplayRefusalsTest, FullHardwareRefusesWhatDoesNotFit) {
    SendSession();
    const Log log = Read(RecordedText());
    orxemu_reset();
    for (unsigned i = 0; i < ORXEMU_FLOWS - 1; ++i) {
        ActivateFlow();
    }
    orxemu_clearLog();
    EXPECT_EQ(RunReplay(log).err, Refused(log, 12, "ENOSPC"));
    EXPECT_EQ(orxemu_numRequests(), 12u);
}

// Requests that were refused then changed nothing.
TEST_F(ReplayRefusalsTest, RequestsThatWereRefusedAreSkipped) {
    ASSERT_EQ(Send(kSetGblCfg, GblRecord(1, 3)), EINVAL);
    ASSERT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0);
    orxemu_failRequest(kActivateFlow, 1, EIO);
    ASSERT_EQ(Send(kActivateFlow, FlowRecord(kNotSet)), EIO);
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(7)), ENOENT);
    ActivateFlow();
    const OrxEmuState recorded = Held();
    const Log log = Read(RecordedText({{3, FaultMark::Fail}}));
    orxemu_reset();
    const ReplayRun run = RunReplay(log);
    EXPECT_EQ(run.end, ReplayEnd::Done);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Told(run.counts), Told(2, 3, 3, 0, 0, 0));
    EXPECT_EQ(Sent(), "17 29");
    ExpectHeld(recorded);
}

TEST_F(ReplayRefusalsTest, RequestsThatWereRefusedAreSentOnDemand) {
    ASSERT_EQ(Send(kSetGblCfg, GblRecord(1, 3)), EINVAL);
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(7)), ENOENT);
    orxemu_failRequest(kActivatePacTbl, 1, EIO);
    ASSERT_EQ(Send(kActivatePacTbl, TblRecord(268, kNotSet, 1)), EIO);
    ASSERT_EQ(Activate(kActivatePacTbl, TblRecord(268, kNotSet, 2)), 0u);
    ASSERT_EQ(Send(kDeactivatePacTbl, TblRecord(268, 0, 2)), 0);
    const Log log = Read(RecordedText({{3, FaultMark::Fail}}));
    orxemu_reset();
    const ReplayRun run = RunReplay(log, kWithRefused);
    EXPECT_EQ(run.end, ReplayEnd::Done);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Told(run.counts), Told(3, 0, 0, 0, 2, 0));
    EXPECT_EQ(Sent(), "17:EINVAL 30:ENOENT 27 27 28");
    EXPECT_EQ(State().pacTbl[0].active, 1) << "the activation that was accepted this time";
    EXPECT_EQ(State().pacTbl[1].active, 0) << "the one that was deactivated";
}

// The recording has no index for it, and a number that the log uses for something from before is taken.
TEST_F(ReplayRefusalsTest, ActivationThatIsAcceptedThisTimeHasItsNumber) {
    ActivateFlow();
    orxemu_clearLog();
    orxemu_failRequest(kActivateFlow, 1, EIO);
    ASSERT_EQ(Send(kActivateFlow, FlowRecord(kNotSet)), EIO);
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(0)), 0);
    Log log = Recorded({{1, FaultMark::Fail}});
    log.entries[0].fcb.assign(kFcbBytes, 0); // which some recordings have, and others do not
    log = Read(TextOf(log));
    orxemu_reset();
    const ReplayRun run = RunReplay(log, kWithRefused);
    EXPECT_EQ(run.end, ReplayEnd::Stopped);
    EXPECT_EQ(run.err,
              Line(2, "deactivate-flow (request 2) not sent: flow 0 is now another one of this log"));
    EXPECT_EQ(Sent(), "29");
}

// Requests whose bytes the recording does not have cannot be sent again.
TEST_F(ReplayRefusalsTest, RequestsWithoutTheirBytesAreSkipped) {
    ASSERT_EQ(SendAt(kSetGblCfg, nullptr), EFAULT);
    ASSERT_EQ(Send(kActivateFlow, FlowRecord(kNotSet).Put32(8, 0)), EFAULT);
    ASSERT_EQ(Send(kActivateFlow, FlowRecord(kNotSet).Put32(4, 100)), EINVAL);
    Log log = Recorded();
    log.entries[0].recordRead = false;
    log.entries[0].in.clear();
    log.entries[0].out.clear();
    log = Read(TextOf(log));
    orxemu_reset();
    const ReplayRun run = RunReplay(log, kWithRefused);
    EXPECT_EQ(run.end, ReplayEnd::Done);
    EXPECT_EQ(run.err,
              Line(1, "set-global (request 1) skipped: its record could not be read when it was recorded") +
                  Line(2, "activate-flow (request 2) skipped: its FCB was not read when it was recorded") +
                  Line(3, "activate-flow (request 3) skipped: its FCB was not read when it was recorded"));
    EXPECT_EQ(Told(run.counts), Told(0, 3, 0, 0, 0, 0));
    EXPECT_EQ(Sent(), "");
}

// The hardware took it, whatever the program was told.
TEST_F(ReplayRefusalsTest, RequestsWhoseAnswerWasLostAreSent) {
    orxemu_loseAnswer(kActivatePacTbl, 1, EIO);
    orxemu_loseAnswer(kDeactivateFlow, 1, EINTR);
    ASSERT_EQ(Send(kActivatePacTbl, TblRecord(268, kNotSet, 1)), EIO);
    ASSERT_EQ(Activate(kActivateFlow, FlowRecord(kNotSet, 0)), 0u);
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(0)), EINTR);
    ASSERT_EQ(Activate(kActivateFlow, FlowRecord(kNotSet, 0)), 0u);
    OrxEmuState recorded = Held();
    const Log log = Read(RecordedText({{1, FaultMark::AnswerLost}, {3, FaultMark::AnswerLost}}));
    orxemu_reset();
    Activate(kActivatePacTbl, TblRecord(268, kNotSet, 2));
    recorded.pacTbl[1] = recorded.pacTbl[0];
    recorded.pacTbl[0] = State().pacTbl[0];
    recorded.flow[0].pacTblIdx = 1;
    const ReplayRun run = RunReplay(log);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Told(run.counts), Told(4, 0, 0, 0, 0, 0));
    ExpectHeld(recorded);
}

TEST_F(ReplayRefusalsTest, UnknownRequestsAreReportedAndSkipped) {
    Record nothing(4);
    ASSERT_EQ(Send(99, nothing), ENOTTY);
    ASSERT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    Log log = Recorded();
    log.entries.push_back(log.entries[0]);
    log.entries[2].request = 18;
    log.entries[2].err = 0; // by a driver that knows it
    log.end.requests = 3;
    log = Read(TextOf(log));
    for (const ReplayRules &rules : {ReplayRules{}, kWithRefused}) {
        orxemu_reset();
        const ReplayRun run = RunReplay(log, rules);
        EXPECT_EQ(run.end, ReplayEnd::Done);
        EXPECT_EQ(run.err, Line(1, "request 1 skipped: its number 99 is unknown") +
                               Line(3, "request 3 skipped: its number 18 is unknown"));
        EXPECT_EQ(Told(run.counts), Told(1, 2, 0, 0, 0, 0));
        EXPECT_EQ(Sent(), "39");
    }
}

TEST_F(ReplayRefusalsTest, FailedOpeningsAreNothingToSend) {
    ASSERT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    Log log = Recorded();
    LogEntry open;
    open.isOpen = true;
    open.err = ENOENT;
    log.entries.insert(log.entries.begin(), open);
    log.end.failedOpens = 1;
    log = Read(TextOf(log));
    orxemu_reset();
    const ReplayRun run = RunReplay(log);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Told(run.counts), Told(1, 0, 0, 0, 0, 0));
}

TEST_F(ReplayRefusalsTest, DeviceThatCannotBeOpenedEndsTheReplay) {
    SendSession();
    const Log log = Read(RecordedText());
    for (const ReplayRules &rules : {ReplayRules{}, kKeepGoing}) {
        orxemu_reset();
        orxemu_failOpen(3, EMFILE);
        const ReplayRun run = RunReplay(log, rules);
        EXPECT_EQ(run.end, ReplayEnd::Trouble);
        EXPECT_EQ(run.err, Line(3, "set-port (request 3) not sent: /dev/pktorx cannot be opened: EMFILE"));
        EXPECT_EQ(Told(run.counts), Told(2, 0, 0, 0, 0, kSessionRequests - 2));
        EXPECT_EQ(orxemu_numRequests(), 2u);
        EXPECT_EQ(orxemu_openDescriptors(), 0);
    }
}

// Accepts everything but request 39, and writes all over the records.
class CarelessTarget : public orxemu::tool::ReplayTarget {
  public:
    orxemu::tool::Answer Send(int request, std::span<std::uint8_t> record) override {
        for (std::uint8_t &byte : record) {
            byte = 0x11;
        }
        return {true, request == kSetRlStatus ? EIO : 0};
    }
    std::string Name() const override { return "a device"; }
};

// What is no answer is told, and left out of the log, which can be read.
TEST_F(ReplayRefusalsTest, ADeviceThatWritesElsewhereIsTold) {
    ASSERT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0);
    ASSERT_EQ(Activate(kActivateFlow, FlowRecord(kNotSet)), 0u);
    ASSERT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    const Log log = Read(RecordedText());
    const std::string path = testing::TempDir() + "replay_careless_" + std::to_string(getpid()) + ".json";
    orxemu::journal::LogWriter writer;
    ASSERT_TRUE(writer.Open(path, log.order));
    CarelessTarget target;
    orxemu::tool::Replay replay(log, kLogName, target, writer, kKeepGoing);
    const std::string err = test::CaptureBoth([&] { replay.Run(); }).err;
    EXPECT_TRUE(writer.Close(replay.WrittenEnd()));
    const char *const changed = "): a device changed bytes that are no answer";
    EXPECT_EQ(err, Line(1, std::string("set-global (request 1") + changed) +
                       Line(2, std::string("activate-flow (request 2") + changed) +
                       Line(3, std::string("set-rl-status (request 3") + changed) + Refused(log, 3, "EIO"));
    std::string text;
    orxemu::journal::Problem problem;
    EXPECT_TRUE(orxemu::journal::ReadFile(path, text, problem)) << problem.Text();
    unlink(path.c_str());
    const Log written = Read(text);
    ASSERT_EQ(written.entries.size(), 3u);
    EXPECT_EQ(written.entries[0].out, written.entries[0].in);
    EXPECT_EQ(orxemu::journal::Load(written.entries[1].out, 0, 4, log.order), 0x11111111u);
    EXPECT_EQ(written.entries[2].out, written.entries[2].in);
}

} // namespace

} // namespace replay_test
