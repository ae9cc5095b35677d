#include "tests/orxemu_replay/replay_test.h"

#include "tests/support/capture.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace replay_test {

namespace {

void SendAccepted(int request, Record record) {
    const int fd = ::open(kDevice, O_RDWR);
    ASSERT_EQ(::ioctl(fd, static_cast<unsigned long>(request), record.Data()), 0)
        << "request " << request << ": " << std::strerror(errno);
    ::close(fd);
}

} // namespace

Log Recorded(const Marks &marks) {
    Log log = journal_kit::RecordedLog();
    for (std::size_t i = 0; i < log.entries.size(); ++i) {
        log.entries[i].line = i + 2;
    }
    for (const auto &[n, mark] : marks) {
        log.entries[n - 1].fault = mark;
    }
    return log;
}

std::string RecordedText(const Marks &marks) {
    return TextOf(Recorded(marks));
}

Log Read(const std::string &text) {
    Log log;
    orxemu::journal::Problem problem;
    EXPECT_TRUE(ReadLog(text, kLogName, log, problem)) << problem.Text();
    return log;
}

ReplayRun RunReplay(const Log &log, ReplayRules rules, const std::string &node) {
    ReplayRun run;
    orxemu::tool::DeviceTarget device(node);
    orxemu::journal::LogWriter writer;
    orxemu::tool::Replay replay(log, kLogName, device, writer, rules);
    run.err = test::CaptureBoth([&] { run.end = replay.Run(); }).err;
    run.counts = replay.Counts();
    return run;
}

std::string Told(const ReplayCounts &counts) {
    return Told(counts.accepted, counts.skipped, counts.skippedRefused, counts.refused,
                counts.refusedAsRecorded, counts.notSent);
}

std::string Told(std::size_t accepted, std::size_t skipped, std::size_t skippedRefused, std::size_t refused,
                 std::size_t asRecorded, std::size_t notSent) {
    return std::to_string(accepted) + " sent, " + std::to_string(skipped) + " skipped (" +
           std::to_string(skippedRefused) + " refused then), " + std::to_string(refused) + " refused, " +
           std::to_string(asRecorded) + " as recorded, " + std::to_string(notSent) + " not sent";
}

std::string Line(std::size_t n, const std::string &text) {
    return std::string("orxemu: ") + kLogName + ":" + std::to_string(n + 1) + ": " + text + "\n";
}

std::string ReplayTest::Sent() {
    std::string sent;
    for (std::size_t i = 0; i < orxemu_numRequests(); ++i) {
        const OrxEmuRequest &request = *orxemu_request(i);
        sent += (i > 0 ? " " : "") + std::to_string(request.request);
        sent += request.err != 0 ? ":" + orxemu::journal::ErrnoName(request.err) : "";
    }
    return sent;
}

void SendSession() {
    // 1 to 6: settings
    SendAccepted(kSetGblCfg, GblRecord(1, 2));
    SendAccepted(kSetPortCfg, AclRecord(3, 1));
    SendAccepted(kSetPortCfg, TpidRecord(2, {0x8100, 0x88A8, 0x9100, 0}));
    SendAccepted(kSetPortCfg, PadRecord(1, 64));
    SendAccepted(kSetRlStatus, RlStatusRecord(1));
    SendAccepted(kSetRlTciCfg, RlTciRecord(1, 0x0123, 0x4567));
    // 7 to 10: tables, index 0 and, of PAC tables, 1
    SendAccepted(kActivateAsTbl, TblRecord(468, kNotSet, 1));
    SendAccepted(kActivateDscpTbl, TblRecord(88, kNotSet, 2));
    SendAccepted(kActivatePacTbl, TblRecord(268, kNotSet, 3));
    SendAccepted(kActivatePacTbl, TblRecord(268, kNotSet, 4));
    // 11 to 13: flows 0 to 2
    FillFcb(10);
    SendAccepted(kActivateFlow, FlowRecord(kNotSet, 0));
    FillFcb(11);
    SendAccepted(kActivateFlow, FlowRecord(kNotSet, 1));
    FillFcb(12);
    SendAccepted(kActivateFlow, FlowRecord(kNotSet));
    // 14 to 16
    SendAccepted(kGetFlowHits, HitsRecord(2));
    SendAccepted(kUpdateFwdInfo, FwdRecord(1, 5, 2, 9));
    SendAccepted(kActivateRl, RlRecord(1, 4, {0x123, 100, 1, 7}));
    // 17 to 22: flow 1, PAC table 0, AS and DSCP table 0 go, a flow and a PAC table take the numbers
    FillFcb(11);
    SendAccepted(kDeactivateFlow, FlowRecord(1, 1));
    SendAccepted(kDeactivatePacTbl, TblRecord(268, 0, 3));
    SendAccepted(kActivatePacTbl, TblRecord(268, kNotSet, 5));
    FillFcb(13);
    SendAccepted(kActivateFlow, FlowRecord(kNotSet, 0));
    SendAccepted(kDeactivateAsTbl, TblRecord(468, 0, 1));
    SendAccepted(kDeactivateDscpTbl, TblRecord(88, 0, 2));
    // 23 to 27
    SendAccepted(kActivateAsTbl, TblRecord(468, kNotSet, 6));
    SendAccepted(kActivateDscpTbl, TblRecord(88, kNotSet, 7));
    SendAccepted(kUpdateFwdInfo, FwdRecord(1, 6, 4, 8));
    SendAccepted(kGetFlowHits, HitsRecord(1));
    SendAccepted(kDeactivateRl, RlRecord(1, 4, {0x123, 0, 0, 0}));
}

} // namespace replay_test
