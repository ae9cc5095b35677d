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
    orxemu_failOpen(4, EPERM);
    const int other = ::open("/dev/null", O_RDWR);
    EXPECT_EQ(::close(other), 0) << "it is about the device only";
    EXPECT_EQ(Open(), 0);
    EXPECT_EQ(Open(), EACCES);
    EXPECT_EQ(Open(), 0);
    EXPECT_EQ(orxemu_numOpens(), 2u);
    orxemu_setPresent(0);
    EXPECT_EQ(Open(), EPERM) << "in front of a missing device";
    EXPECT_EQ(Open(), ENOENT);
}

TEST_F(EmuFaultsTest, RequestThatFailsAndAnswerThatIsLost) {
    orxemu_failRequest(kActivateFlow, 1, EIO);
    const StateSnapshot before;
    Record record = FlowRecord(kNotSet);
    EXPECT_EQ(Send(kActivateFlow, record), EIO);
    EXPECT_TRUE(before.Unchanged());
    EXPECT_EQ(record.Bytes(), FlowRecord(kNotSet).Bytes());
    EXPECT_EQ(LastRequest().err, EIO);
    EXPECT_EQ(BytesAt(LastRequest().out, 20), record.Bytes());
    EXPECT_EQ(LastRequest().fcbSize, 0u);
    orxemu_loseAnswer(kActivateFlow, 1, ETIMEDOUT);
    EXPECT_EQ(Send(kActivateFlow, record), ETIMEDOUT);
    EXPECT_EQ(record.Bytes(), FlowRecord(0).Bytes()) << "the record has been written";
    EXPECT_EQ(State().flow[0].active, 1);
    EXPECT_EQ(LastRequest().err, ETIMEDOUT);
    EXPECT_EQ(BytesAt(LastRequest().out, 20), record.Bytes());
    EXPECT_EQ(LastRequest().fcbSize, kFcbBytes);
}

using Arm = void (*)(int request, unsigned nth, int err);
constexpr Arm kFail = orxemu_failRequest;
constexpr Arm kLose = orxemu_loseAnswer;

struct FaultRow {
    const char *given;
    std::vector<std::tuple<Arm, int, unsigned, int>> armed;
    // Number, errno, whether the hardware takes it. 17 and 39 set something, 99 is not known.
    std::vector<std::tuple<int, int, bool>> sent;
};

TEST_F(EmuFaultsTest, WhichRequestsTheyMeet) {
    const FaultRow rows[] = {
        {"own number only",
         {{kFail, 17, 2, EIO}},
         {{39, 0, true}, {17, 0, true}, {39, 0, true}, {17, EIO, false}, {17, 0, true}}},
        {"any number", {{kFail, 0, 3, EIO}}, {{17, 0, true}, {99, ENOTTY, false}, {39, EIO, false}}},
        {"several",
         {{kFail, 17, 1, EIO}, {kFail, 17, 2, EPERM}, {kLose, 39, 1, EAGAIN}},
         {{17, EIO, false}, {17, EPERM, false}, {39, EAGAIN, true}, {17, 0, true}}},
        {"both are spent, the first one decides",
         {{kLose, 0, 1, EAGAIN}, {kFail, 17, 1, EIO}},
         {{17, EAGAIN, true}, {17, 0, true}}},
        {"turn 0 arms nothing", {{kFail, 0, 0, EIO}, {kLose, 0, 0, EIO}}, {{17, 0, true}, {39, 0, true}}},
        {"refused for its own sake", {{kLose, 99, 1, EIO}}, {{99, EIO, false}, {99, ENOTTY, false}}},
    };
    for (const FaultRow &row : rows) {
        SCOPED_TRACE(row.given);
        orxemu_reset();
        for (const auto &[arm, request, nth, err] : row.armed) {
            arm(request, nth, err);
        }
        for (const auto &[request, err, taken] : row.sent) {
            const StateSnapshot before;
            EXPECT_EQ(request == kSetRlStatus ? Send(request, RlStatusRecord(1 - State().rlStatus))
                                              : Send(request, GblRecord(1, 1 - State().flowMissAction)),
                      err);
            EXPECT_EQ(before.Unchanged(), !taken);
        }
    }
}

TEST_F(EmuFaultsTest, FaultsHaveAnEnd) {
    orxemu_failOpen(0, EIO); // arms nothing
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
    const struct {
        int request;
        int err;
        Record in;
        Record out;
        std::size_t fcbSize;
    } rows[] = {
        {27, 0, TblRecord(268, kNotSet, 7), TblRecord(268, 0, 7), 0},
        {17, EINVAL, GblRecord(1, 3), GblRecord(1, 3), 0},
        {29, 0, FlowRecord(kNotSet, 0), FlowRecord(0, 0), kFcbBytes},
    };
    ASSERT_EQ(orxemu_numRequests(), std::size(rows));
    EXPECT_EQ(orxemu_request(3), nullptr);
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const OrxEmuRequest &entry = *orxemu_request(i);
        EXPECT_EQ(entry.request, rows[i].request);
        EXPECT_EQ(entry.err, rows[i].err);
        EXPECT_EQ(entry.recordSize, rows[i].in.Bytes().size());
        EXPECT_EQ(BytesAt(entry.in, entry.recordSize), rows[i].in.Bytes());
        EXPECT_EQ(BytesAt(entry.out, entry.recordSize), rows[i].out.Bytes());
        EXPECT_EQ(entry.fcbSize, rows[i].fcbSize);
        EXPECT_EQ(BytesAt(entry.fcb, entry.fcbSize), BytesAt(fcb.data(), rows[i].fcbSize));
    }
}

TEST_F(EmuLogTest, ClearForgetsTheRequestsOnly) {
    ActivateFlow();
    orxemu_failRequest(kSetGblCfg, 1, EIO);
    orxemu_clearLog();
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(orxemu_request(0), nullptr);
    EXPECT_EQ(State().flow[0].active, 1);
    // Nothing of the request that stood there before shows through.
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), EIO);
    OrxEmuRequest expected = {kSetGblCfg, EIO, 8, {}, {}, 0, {}};
    std::memcpy(expected.in, GblRecord(1, 1).Bytes().data(), 8);
    std::memcpy(expected.out, expected.in, 8);
    EXPECT_EQ(std::memcmp(&LastRequest(), &expected, sizeof expected), 0);
}

TEST_F(EmuLogTest, RequestsBehindTheEndAreCountedAndServed) {
    for (std::uint32_t n = 0; n < ORXEMU_MAX_LOG; ++n) {
        ASSERT_EQ(Send(kSetGblCfg, GblRecord(1, n % 3)), 0);
    }
    const OrxEmuRequest *last = &LastRequest();
    ActivateFlow();
    EXPECT_EQ(orxemu_numRequests(), ORXEMU_MAX_LOG + 1u);
    EXPECT_EQ(orxemu_request(ORXEMU_MAX_LOG - 1), last);
    EXPECT_EQ(orxemu_request(ORXEMU_MAX_LOG), nullptr);
    EXPECT_EQ(State().flow[0].active, 1);
}

TEST_F(EmuLogTest, ResetIsPowerOn) {
    for (const TblKind &kind : kTblKinds) {
        Activate(kind.activate, TblRecord(kind.bytes, kNotSet, 1));
    }
    Activate(kActivateFlow, FlowRecord(kNotSet, 0));
    EXPECT_EQ(orxemu_addHits(0, 0, 1), 0);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
    const int fd = ::open(kDevice, O_RDWR);
    orxemu_setPresent(0);
    orxemu_failOpen(1, EACCES);
    orxemu_failRequest(0, 1, EIO);
    orxemu_loseAnswer(0, 2, EIO);

    orxemu_reset();
    static const OrxEmuState powerOn = {};
    EXPECT_EQ(std::memcmp(&State(), &powerOn, sizeof powerOn), 0);
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(orxemu_numOpens(), 0u);
    EXPECT_EQ(orxemu_openDescriptors(), 1) << "an open descriptor stays open";
    EXPECT_EQ(::close(fd), 0);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
    EXPECT_EQ(ActivateFlow(), 0u);
}

} // namespace

} // namespace emu_test
