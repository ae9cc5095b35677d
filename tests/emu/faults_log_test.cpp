// Faults that tests arm, and the log of requests.
#include "tests/emu/emu_test.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace emu_test {

namespace {

using EmuFaultsTest = EmuTest;
using EmuLogTest = EmuTest;

// 0 or the errno of one opening.
int Open() {
    errno = 0;
    const int fd = ::open(kDevice, O_RDWR);
    return fd >= 0 ? ::close(fd) : errno;
}

TEST_F(EmuFaultsTest, OpeningFailsOnceAtItsTurn) {
    orxemu_failOpen(2, EACCES);
    EXPECT_EQ(Open(), 0);
    EXPECT_EQ(Open(), EACCES);
    EXPECT_EQ(Open(), 0);
    EXPECT_EQ(orxemu_numOpens(), 2u);
}

TEST_F(EmuFaultsTest, OpeningFaultConcernsTheDeviceOnly) {
    orxemu_failOpen(1, EACCES);
    const int other = ::open("/dev/null", O_RDWR);
    EXPECT_GE(other, 0);
    EXPECT_EQ(::close(other), 0);
    EXPECT_EQ(Open(), EACCES);
}

TEST_F(EmuFaultsTest, OpeningFaultComesBeforeAMissingDevice) {
    orxemu_setPresent(0);
    orxemu_failOpen(1, EACCES);
    EXPECT_EQ(Open(), EACCES);
    EXPECT_EQ(Open(), ENOENT);
}

TEST_F(EmuFaultsTest, FailedRequestIsNotTaken) {
    orxemu_failRequest(kActivateFlow, 1, EIO);
    const StateSnapshot before;
    Record record = FlowRecord(kNotSet);
    EXPECT_EQ(Send(kActivateFlow, record), EIO);
    EXPECT_TRUE(before.Unchanged());
    EXPECT_EQ(record.Bytes(), FlowRecord(kNotSet).Bytes());
    EXPECT_EQ(LastRequest().err, EIO);
    EXPECT_EQ(LastRequest().recordSize, 20u);
    EXPECT_EQ(BytesAt(LastRequest().in, 20), record.Bytes());
    EXPECT_EQ(BytesAt(LastRequest().out, 20), record.Bytes());
    EXPECT_EQ(LastRequest().fcbSize, 0u);

    EXPECT_EQ(ActivateFlow(), 0u) << "a fault fires once";
}

TEST_F(EmuFaultsTest, LostAnswerOfARequestThatWasTaken) {
    ActivateFlow();
    orxemu_loseAnswer(kActivateFlow, 1, ETIMEDOUT);
    Record record = FlowRecord(kNotSet);
    EXPECT_EQ(Send(kActivateFlow, record), ETIMEDOUT);
    EXPECT_EQ(record.Bytes(), FlowRecord(1).Bytes()) << "the record has been written";
    EXPECT_EQ(State().flow[1].active, 1);
    EXPECT_EQ(LastRequest().err, ETIMEDOUT);
    EXPECT_EQ(LastRequest().out[0] | LastRequest().out[3], 1);
    EXPECT_EQ(LastRequest().fcbSize, kFcbBytes);
    EXPECT_EQ(ActivateFlow(), 2u);

    orxemu_loseAnswer(kDeactivateFlow, 1, ETIMEDOUT);
    EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(0)), ETIMEDOUT);
    EXPECT_EQ(State().flow[0].active, 0);
}

TEST_F(EmuFaultsTest, LostAnswerOfARequestThatWasRefused) {
    orxemu_loseAnswer(kSetGblCfg, 1, EIO);
    const StateSnapshot before;
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 3)), EIO);
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(EmuFaultsTest, RequestFaultCountsItsOwnNumberOnly) {
    orxemu_failRequest(kSetGblCfg, 2, EIO);
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0);
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(0)), 0);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), EIO);
    EXPECT_EQ(State().flowMissAction, 1u);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
}

TEST_F(EmuFaultsTest, FaultOfAnyNumberCountsAllRequests) {
    orxemu_failRequest(0, 3, EIO);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0);
    EXPECT_EQ(Send(99, GblRecord(1, 1)), ENOTTY);
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), EIO);
    EXPECT_EQ(State().rlStatus, 0u);
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
}

TEST_F(EmuFaultsTest, SeveralFaultsAreArmedAtOnce) {
    orxemu_failRequest(kSetGblCfg, 1, EIO);
    orxemu_failRequest(kSetGblCfg, 2, EPERM);
    orxemu_loseAnswer(kSetRlStatus, 1, EAGAIN);
    orxemu_failOpen(4, ENODEV);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), EIO);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), EPERM);
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), EAGAIN);
    EXPECT_EQ(State().rlStatus, 1u);
    EXPECT_EQ(Open(), ENODEV);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0);
}

TEST_F(EmuFaultsTest, FirstArmedDecidesAndBothAreSpent) {
    orxemu_loseAnswer(0, 1, EAGAIN);
    orxemu_failRequest(kSetGblCfg, 1, EIO);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), EAGAIN);
    EXPECT_EQ(State().flowMissAction, 1u);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
}

TEST_F(EmuFaultsTest, TurnZeroArmsNothing) {
    orxemu_failOpen(0, EIO);
    orxemu_failRequest(0, 0, EIO);
    orxemu_loseAnswer(0, 0, EIO);
    for (int n = 0; n < 3; ++n) {
        EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0);
    }
}

TEST_F(EmuFaultsTest, FaultsHaveAnEnd) {
    for (int n = 0; n < ORXEMU_MAX_FAULTS; ++n) {
        orxemu_failRequest(kSetGblCfg, 1, EIO);
    }
    EXPECT_DEATH(orxemu_failRequest(kSetGblCfg, 1, EIO), "");
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), EIO);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0) << "all were due at once";
}

TEST_F(EmuLogTest, EveryRequestIsKeptInOrder) {
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(orxemu_request(0), nullptr);
    Activate(kActivatePacTbl, TblRecord(268, kNotSet, 7));
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 3)), EINVAL);
    Activate(kActivateFlow, FlowRecord(kNotSet, 0));

    ASSERT_EQ(orxemu_numRequests(), 3u);
    EXPECT_EQ(orxemu_request(3), nullptr);
    const OrxEmuRequest &pac = *orxemu_request(0);
    EXPECT_EQ(pac.request, 27);
    EXPECT_EQ(pac.err, 0);
    EXPECT_EQ(pac.recordSize, 272u);
    EXPECT_EQ(BytesAt(pac.in, 272), TblRecord(268, kNotSet, 7).Bytes());
    EXPECT_EQ(BytesAt(pac.out, 272), TblRecord(268, 0, 7).Bytes());
    EXPECT_EQ(pac.fcbSize, 0u);

    const OrxEmuRequest &gbl = *orxemu_request(1);
    EXPECT_EQ(gbl.request, 17);
    EXPECT_EQ(gbl.err, EINVAL);
    EXPECT_EQ(gbl.recordSize, 8u);
    EXPECT_EQ(BytesAt(gbl.in, 8), GblRecord(1, 3).Bytes());
    EXPECT_EQ(BytesAt(gbl.out, 8), GblRecord(1, 3).Bytes());

    const OrxEmuRequest &flow = *orxemu_request(2);
    EXPECT_EQ(flow.request, 29);
    EXPECT_EQ(flow.err, 0);
    EXPECT_EQ(flow.recordSize, 20u);
    EXPECT_EQ(BytesAt(flow.in, 20), FlowRecord(kNotSet, 0).Bytes());
    EXPECT_EQ(BytesAt(flow.out, 20), FlowRecord(0, 0).Bytes());
    EXPECT_EQ(flow.fcbSize, kFcbBytes);
    EXPECT_EQ(BytesAt(flow.fcb, kFcbBytes), BytesAt(fcb.data(), kFcbBytes));
}

TEST_F(EmuLogTest, RecordSizesOfAllRequests) {
    for (const KnownRequest &known : kKnownRequests) {
        SCOPED_TRACE(known.name);
        // One byte more than the record, which must not get into the log.
        Record record(known.size + 1);
        orxemu_failRequest(known.request, 1, EIO);
        EXPECT_EQ(Send(known.request, record), EIO);
        EXPECT_EQ(LastRequest().request, known.request);
        EXPECT_EQ(LastRequest().recordSize, known.size);
        EXPECT_EQ(BytesAt(LastRequest().in, known.size), Record(known.size).Bytes());
        EXPECT_EQ(LastRequest().in[known.size], 0);
        EXPECT_EQ(LastRequest().out[known.size], 0);
    }
}

TEST_F(EmuLogTest, HitsAnswerIsInTheLog) {
    ActivateFlow();
    EXPECT_EQ(orxemu_addHits(0, 1, 0x01020304), 0);
    Record record = HitsRecord(0);
    EXPECT_EQ(Send(kGetFlowHits, record), 0);
    EXPECT_EQ(BytesAt(LastRequest().in, 40), HitsRecord(0).Bytes());
    EXPECT_EQ(BytesAt(LastRequest().out, 40), record.Bytes());
    EXPECT_EQ(record.Word(12), 0x01020304u);
}

TEST_F(EmuLogTest, DeactivationOfAFlowCopiesTheFcbIntoTheLog) {
    ActivateFlow();
    FillFcb(99);
    EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(0)), 0);
    EXPECT_EQ(LastRequest().fcbSize, kFcbBytes);
    EXPECT_EQ(BytesAt(LastRequest().fcb, kFcbBytes), BytesAt(fcb.data(), kFcbBytes));
}

TEST_F(EmuLogTest, ClearForgetsTheRequestsOnly) {
    ActivateFlow();
    orxemu_failRequest(kSetGblCfg, 1, EIO);
    orxemu_clearLog();
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(orxemu_request(0), nullptr);
    EXPECT_EQ(State().flow[0].active, 1);
    EXPECT_EQ(orxemu_numOpens(), 1u);
    // Nothing of the request that stood there before shows through.
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), EIO);
    ASSERT_EQ(orxemu_numRequests(), 1u);
    EXPECT_EQ(BytesAt(LastRequest().in + 8, ORXEMU_MAX_RECORD - 8),
              std::vector<std::uint8_t>(ORXEMU_MAX_RECORD - 8));
    EXPECT_EQ(LastRequest().fcbSize, 0u);
    EXPECT_EQ(BytesAt(LastRequest().fcb, kFcbBytes), std::vector<std::uint8_t>(kFcbBytes));
}

TEST_F(EmuLogTest, RequestsBehindTheEndAreCountedAndServed) {
    for (std::uint32_t n = 0; n < ORXEMU_MAX_LOG; ++n) {
        ASSERT_EQ(Send(kSetGblCfg, GblRecord(1, n % 3)), 0);
    }
    const OrxEmuRequest *last = &LastRequest();
    EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet)), 0);
    EXPECT_EQ(Send(kSetPortCfg, AclRecord(1, 1)), 0);
    EXPECT_EQ(orxemu_numRequests(), ORXEMU_MAX_LOG + 2u);
    EXPECT_EQ(orxemu_request(ORXEMU_MAX_LOG - 1), last);
    EXPECT_EQ(last->request, 17);
    EXPECT_EQ(orxemu_request(ORXEMU_MAX_LOG), nullptr);
    EXPECT_EQ(orxemu_request(ORXEMU_MAX_LOG + 1), nullptr);
    EXPECT_EQ(State().flow[0].active, 1);
    EXPECT_EQ(State().portDefAcl[1], 1u);
}

} // namespace

} // namespace emu_test
