// Global settings, port settings and the numbers of requests.
#include "tests/emu/emu_test.h"

#include <algorithm>
#include <cerrno>

namespace emu_test {

namespace {

using EmuSettingsTest = EmuTest;

struct SettingRow {
    const char *given;
    int request;
    Record record;
    int err;
};

// A row that is refused must leave everything as it was.
void ExpectAnswers(const std::vector<SettingRow> &rows, int (*send)(int, Record &)) {
    for (const SettingRow &row : rows) {
        SCOPED_TRACE(row.given);
        const StateSnapshot before;
        Record record = row.record;
        EXPECT_EQ(send(row.request, record), row.err);
        EXPECT_EQ(record.Bytes(), row.record.Bytes()) << "a setting has no answer in its record";
        EXPECT_EQ(before.Unchanged(), row.err != 0);
    }
}

TEST_F(EmuSettingsTest, FlowMissActionIsKept) {
    for (const std::uint32_t action : {2u, 1u, 0u}) {
        EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, action)), 0);
        EXPECT_EQ(State().flowMissAction, action);
    }
}

TEST_F(EmuSettingsTest, PortSettingsAreKeptPerPort) {
    EXPECT_EQ(Send(kSetPortCfg, AclRecord(8, 1)), 0);
    EXPECT_EQ(Send(kSetPortCfg, PadRecord(7, 255)), 0);
    EXPECT_EQ(Send(kSetPortCfg, TpidRecord(3, {0x8100, 0x88A8, 0x9100, 0xFFFF})), 0);
    for (std::size_t port = 0; port < 9; ++port) {
        SCOPED_TRACE(port);
        EXPECT_EQ(State().portDefAcl[port], port == 8 ? 1u : 0u);
        EXPECT_EQ(State().portPadLen[port], port == 7 ? 255u : 0u);
        EXPECT_EQ(State().portTpid[port][0], port == 3 ? 0x8100 : 0);
        EXPECT_EQ(State().portTpid[port][1], port == 3 ? 0x88A8 : 0);
        EXPECT_EQ(State().portTpid[port][2], port == 3 ? 0x9100 : 0);
        EXPECT_EQ(State().portTpid[port][3], port == 3 ? 0xFFFF : 0);
    }
}

// The parts that are not meant hold 0xA5 bytes, far out of every range.
TEST_F(EmuSettingsTest, OnlyTheNamedPartOfThePortRecordIsRead) {
    EXPECT_EQ(Send(kSetPortCfg, AclRecord(0, 1)), 0);
    EXPECT_EQ(Send(kSetPortCfg, PadRecord(0, 64)), 0);
    EXPECT_EQ(Send(kSetPortCfg, TpidRecord(0, {1, 2, 3, 4})), 0);
    EXPECT_EQ(State().portDefAcl[0], 1u);
    EXPECT_EQ(State().portPadLen[0], 64u);
    EXPECT_EQ(State().portTpid[0][3], 4);
}

TEST_F(EmuSettingsTest, EndsOfTheRanges) {
    const std::array<std::uint16_t, 4> tpid = {1, 2, 3, 4};
    ExpectAnswers(
        {
            {"flow-miss action 2", kSetGblCfg, GblRecord(1, 2), 0},
            {"flow-miss action 3", kSetGblCfg, GblRecord(1, 3), EINVAL},
            {"flow-miss action all ones", kSetGblCfg, GblRecord(1, kMinusOne), EINVAL},
            {"ACL port 8", kSetPortCfg, AclRecord(8, 1), 0},
            {"ACL port 9", kSetPortCfg, AclRecord(9, 1), EINVAL},
            {"ACL type 2", kSetPortCfg, AclRecord(1, 2), EINVAL},
            {"TPID port 8", kSetPortCfg, TpidRecord(8, tpid), 0},
            {"TPID port 9", kSetPortCfg, TpidRecord(9, tpid), EINVAL},
            {"pad length of port 7", kSetPortCfg, PadRecord(7, 64), 0},
            {"pad length of port 8", kSetPortCfg, PadRecord(8, 64), EINVAL},
            {"pad length 255", kSetPortCfg, PadRecord(1, 255), 0},
            {"pad length 256", kSetPortCfg, PadRecord(1, 256), EINVAL},
        },
        [](int request, Record &record) { return Send(request, record); });
}

TEST_F(EmuSettingsTest, UnknownTypeWordsAreRefused) {
    std::vector<SettingRow> rows;
    for (const std::uint32_t type : {0u, 2u, 3u, kNotSet}) {
        rows.push_back({"global", kSetGblCfg, GblRecord(type, 1), EINVAL});
    }
    // Combined types too, although every part is valid.
    for (const std::uint32_t type : {0u, 3u, 5u, 6u, 7u, 8u, kNotSet}) {
        Record record(32);
        std::memset(record.Data(), 0, 32);
        rows.push_back({"port", kSetPortCfg, record.Put32(0, type).Put32(8, 1).Put32(28, 64), EINVAL});
    }
    ExpectAnswers(rows, [](int request, Record &record) { return Send(request, record); });
}

TEST_F(EmuSettingsTest, UnknownNumbersAreRefused) {
    std::vector<int> numbers = {-1, -17, 256 + 17, 0x7FFFFFFF, 0x5401};
    for (int number = 0; number < 100; ++number) {
        const bool known = std::any_of(kKnownRequests.begin(), kKnownRequests.end(),
                                       [number](const KnownRequest &row) { return row.request == number; });
        if (!known) {
            numbers.push_back(number);
        }
    }
    ASSERT_EQ(numbers.size(), 5u + 100u - 16u);
    for (const int number : numbers) {
        SCOPED_TRACE(number);
        const StateSnapshot before;
        Record record(512);
        EXPECT_EQ(Send(number, record), ENOTTY);
        EXPECT_TRUE(before.Unchanged());
        EXPECT_EQ(record.Bytes(), Record(512).Bytes());
        EXPECT_EQ(LastRequest().request, number);
        EXPECT_EQ(LastRequest().err, ENOTTY);
        EXPECT_EQ(LastRequest().recordSize, 0u);
    }
}

TEST_F(EmuSettingsTest, UnknownNumberDoesNotLookAtTheRecord) {
    EXPECT_EQ(SendAt(18, nullptr), ENOTTY);
}

} // namespace

} // namespace emu_test
