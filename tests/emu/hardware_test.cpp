// What the hardware accepts, refuses, keeps and answers.
#include "tests/emu/emu_test.h"

#include <algorithm>
#include <cerrno>

namespace emu_test {

namespace {

using EmuHardwareTest = EmuTest;
using Config = std::array<std::uint32_t, 4>; // of a limiter: TCI, rate, unit, burst size
constexpr Config kConfig = {0x1234, 100, 0, 0xFFFFFFFF};

void PutFcb32(std::size_t offset, std::uint32_t value) {
    std::memcpy(fcb.data() + offset, &value, sizeof value);
}

std::vector<std::uint8_t> OwnFcb() {
    return BytesAt(fcb.data(), fcb.size());
}

std::vector<std::uint8_t> KeptFcb(std::uint32_t flowIdx) {
    return BytesAt(orxemu_state()->flow[flowIdx].fcb, kFcbBytes);
}

std::uint8_t Seed(std::size_t n) {
    return static_cast<std::uint8_t>(11 * n + 1);
}

// --- A request on a hardware that holds something

struct Row {
    std::string given;
    int request;
    Record record;
    int err;
};

class EmuRequestsTest : public EmuTest {
  protected:
    // AS and DSCP tables 0 to 2, PAC tables 0 and 1, flows 0 and 1, limiter 0:3. What stands behind the flows is
    // not zero, so that it does not look like an inactive one.
    static void Prepare() {
        orxemu_reset();
        for (const TblKind &kind : kTblKinds) {
            const int num = kind.activate == kActivatePacTbl ? 2 : 3;
            for (int n = 0; n < num; ++n) {
                Activate(kind.activate, TblRecord(kind.bytes, kNotSet, 1));
            }
        }
        Activate(kActivateFlow, FlowRecord(kNotSet, 0)); // with a PAC table
        ActivateFlow();
        ASSERT_EQ(Send(kActivateRl, RlRecord(0, 3, kConfig)), 0);
        ASSERT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    }

    // A request that is refused leaves the hardware and the record as they were.
    static void ExpectAnswers(const std::vector<Row> &rows) {
        for (const Row &row : rows) {
            SCOPED_TRACE(row.given);
            Prepare();
            const StateSnapshot before;
            Record record = row.record;
            EXPECT_EQ(Send(row.request, record), row.err);
            EXPECT_EQ(before.Unchanged(), row.err != 0);
            EXPECT_EQ(LastRequest().err, row.err);
            if (row.err != 0) {
                EXPECT_EQ(record.Bytes(), row.record.Bytes());
                EXPECT_EQ(BytesAt(LastRequest().out, ORXEMU_MAX_RECORD),
                          BytesAt(LastRequest().in, ORXEMU_MAX_RECORD));
            }
        }
    }
};

TEST_F(EmuRequestsTest, Settings) {
    const std::array<std::uint16_t, 4> tpid = {1, 2, 3, 4};
    std::vector<Row> rows = {
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
        {"limiters off", kSetRlStatus, RlStatusRecord(0), 0},
        {"limiter status 2", kSetRlStatus, RlStatusRecord(2), EINVAL},
        {"limiter status all ones", kSetRlStatus, RlStatusRecord(kMinusOne), EINVAL},
        {"TCI of direction 1", kSetRlTciCfg, RlTciRecord(1, 1, 1), 0},
        {"TCI of direction 2", kSetRlTciCfg, RlTciRecord(2, 1, 1), EINVAL},
        {"TCI of direction unset", kSetRlTciCfg, RlTciRecord(kNotSet, 1, 1), EINVAL},
    };
    for (const std::uint32_t type : {0u, 2u, 3u, kNotSet}) {
        rows.push_back({"global type", kSetGblCfg, GblRecord(type, 1), EINVAL});
    }
    // Combined types too, although every part is valid.
    for (const std::uint32_t type : {0u, 3u, 5u, 6u, 7u, 8u, kNotSet}) {
        Record record(32);
        std::memset(record.Data(), 0, 32);
        record.Put32(0, type).Put32(8, 1).Put32(28, 64);
        rows.push_back({"port type " + std::to_string(type), kSetPortCfg, record, EINVAL});
    }
    ExpectAnswers(rows);
}

TEST_F(EmuRequestsTest, IndexesThatAreNotActive) {
    std::vector<Row> rows;
    const auto add = [&rows](const std::string &what, std::uint32_t idx, int request, const Record &record) {
        rows.push_back({what + " " + std::to_string(idx), request, record, ENOENT});
    };
    for (const TblKind &kind : kTblKinds) {
        const auto num = static_cast<std::uint32_t>(kind.num);
        for (const std::uint32_t idx : {3u, num - 1, num, num + 1, kNotSet, kMinusOne}) {
            add(kind.name, idx, kind.deactivate, TblRecord(kind.bytes, idx, 1));
        }
    }
    for (const std::uint32_t idx : {2u, 511u, 512u, 513u, kNotSet, kMinusOne}) {
        add("flow", idx, kDeactivateFlow, FlowRecord(idx));
        add("hits", idx, kGetFlowHits, HitsRecord(idx));
        add("forwarding", idx, kUpdateFwdInfo, FwdRecord(idx, 0, 4, 1));
    }
    // AS and DSCP tables 2 are active, and are no PAC table.
    for (const std::uint32_t idx : {2u, 15u, 16u, 0xFFFFFFFEu, 0x80000000u, kNotSet}) {
        add("PAC table of a flow", idx, kActivateFlow, FlowRecord(kNotSet, idx));
    }
    for (const std::uint32_t idx : {0u, 5u, 0xFFFFFFFEu, kNotSet}) {
        add("EP table, of which there are none,", idx, kActivateFlow, FlowRecord(kNotSet, kMinusOne, idx));
    }
    ExpectAnswers(rows);
}

TEST_F(EmuRequestsTest, Flows) {
    std::vector<Row> rows = {
        {"with a PAC table", kActivateFlow, FlowRecord(kNotSet, 1), 0},
        {"which uses it", kDeactivatePacTbl, TblRecord(268, 0, 1), 0},
        {"whose tables have gone", kDeactivateFlow, FlowRecord(0, 9, 9), 0},
        {"forwarding at its end", kUpdateFwdInfo, FwdRecord(0, 31, 7, 1), 0},
        {"priority too high", kUpdateFwdInfo, FwdRecord(0, 32, 4, 1), EINVAL},
        {"unknown forwarding flag", kUpdateFwdInfo, FwdRecord(0, 0, 8, 1), EINVAL},
        // What is looked at first.
        {"size before FCB", kActivateFlow, FlowRecord(kNotSet).Put32(4, 1).Put32(8, 0), EINVAL},
        {"FCB before tables", kActivateFlow, FlowRecord(kNotSet, 9).Put32(8, 0), EFAULT},
        {"FCB before index", kDeactivateFlow, FlowRecord(9).Put32(8, 0), EFAULT},
        {"index before range", kUpdateFwdInfo, FwdRecord(2, 32, 8, 1), ENOENT},
    };
    for (const int request : {kActivateFlow, kDeactivateFlow}) {
        for (const std::uint32_t size : {0u, 1880u, 1883u, 1885u, 1888u, kNotSet}) {
            rows.push_back(
                {"FCB size " + std::to_string(size), request, FlowRecord(0).Put32(4, size), EINVAL});
        }
    }
    ExpectAnswers(rows);
}

TEST_F(EmuRequestsTest, ForwardingOfTheFcbIsCheckedOnceItIsSet) {
    struct FwdRow {
        const char *given;
        std::array<std::uint32_t, 3> words; // set, priority, flags
        std::uint32_t pacTblIdx;
        int err;
    };
    const FwdRow rows[] = {
        {"set, both at their end", {1, 31, 7}, kMinusOne, 0},
        {"set, priority too high", {1, 32, 4}, kMinusOne, EINVAL},
        {"set, unknown flag", {1, 0, 8}, kMinusOne, EINVAL},
        {"range before table", {1, 0, 8}, 9, EINVAL},
        {"not set", {0, 32, 8}, kMinusOne, 0},
        {"not set, fill pattern", {0, kNotSet, kNotSet}, kMinusOne, 0},
    };
    for (const FwdRow &row : rows) {
        PutFcb32(kFwdInfoSetOffset, row.words[0]);
        PutFcb32(kFwdInfoOffset, row.words[1]);
        PutFcb32(kFwdInfoOffset + 64, row.words[2]);
        const StateSnapshot before;
        EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet, row.pacTblIdx)), row.err) << row.given;
        EXPECT_EQ(before.Unchanged(), row.err != 0) << row.given;
    }
}

TEST_F(EmuRequestsTest, RateLimiters) {
    std::vector<Row> rows = {
        {"active already", kActivateRl, RlRecord(0, 3, {1, 2, 1, 4}), EBUSY},
        {"range before that", kActivateRl, RlRecord(0, 3, {1, 8065, 0, 4}), EINVAL},
        {"of the other direction", kActivateRl, RlRecord(1, 3, kConfig), 0},
        {"inactive", kDeactivateRl, RlRecord(0, 4, {}), ENOENT},
        {"inactive in the other direction", kDeactivateRl, RlRecord(1, 3, {}), ENOENT},
        // No configuration of a limiter stands there, so nothing has a range.
        {"with any words", kDeactivateRl, RlRecord(0, 3, {0xFFFF, kMinusOne, kMinusOne, kMinusOne}), 0},
    };
    const std::array<std::uint32_t, 2> places[] = {{2, 0},         {0, 16},        {2, 16},
                                                   {kMinusOne, 0}, {1, kMinusOne}, {kNotSet, kNotSet}};
    for (const auto &[dir, index] : places) {
        rows.push_back({"no such limiter", kActivateRl, RlRecord(dir, index, kConfig), EINVAL});
        rows.push_back({"no such limiter", kDeactivateRl, RlRecord(dir, index, {}), EINVAL});
    }
    const struct {
        std::uint32_t rate;
        std::uint32_t unit;
        int err;
    } rates[] = {{8064, 0, 0},   {8065, 0, EINVAL},      {1000, 1, 0},          {1001, 1, EINVAL},
                 {0, 2, EINVAL}, {0, kMinusOne, EINVAL}, {kMinusOne, 0, EINVAL}};
    for (const auto &[rate, unit, err] : rates) {
        rows.push_back({"rate " + std::to_string(rate) + " of unit " + std::to_string(unit), kActivateRl,
                        RlRecord(0, 0, {kMinusOne, rate, unit, kMinusOne}), err});
    }
    ExpectAnswers(rows);
}

TEST_F(EmuRequestsTest, NumbersThatAreNotKnown) {
    std::vector<int> numbers = {-1, -17, 256 + 17, 0x7FFFFFFF, 0x5401};
    for (int number = 0; number < 100; ++number) {
        if (std::none_of(kKnownRequests.begin(), kKnownRequests.end(),
                         [number](const KnownRequest &row) { return row.request == number; })) {
            numbers.push_back(number);
        }
    }
    ASSERT_EQ(numbers.size(), 5u + 100u - 16u);
    const StateSnapshot before;
    for (const int number : numbers) {
        Record record(512);
        for (void *place : {record.Data(), static_cast<void *>(nullptr)}) {
            EXPECT_EQ(SendAt(number, place), ENOTTY) << number;
            EXPECT_EQ(LastRequest().request, number);
            EXPECT_EQ(LastRequest().err, ENOTTY);
            EXPECT_EQ(LastRequest().recordSize, 0u);
        }
        EXPECT_EQ(record.Bytes(), Record(512).Bytes());
    }
    EXPECT_TRUE(before.Unchanged());
}

// --- What it keeps and answers

TEST_F(EmuHardwareTest, SettingsAreKept) {
    for (const std::uint32_t action : {2u, 1u, 0u}) {
        EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, action)), 0);
        EXPECT_EQ(State().flowMissAction, action);
    }
    for (const std::uint32_t status : {1u, 1u, 0u, 0u}) {
        EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(status)), 0);
        EXPECT_EQ(State().rlStatus, status);
    }
    const std::array<std::uint16_t, 4> tpid = {0x8100, 0x88A8, 0x9100, 0xFFFF};
    // The parts that are not meant hold 0xA5 bytes, far out of every range.
    EXPECT_EQ(Send(kSetPortCfg, AclRecord(8, 1)), 0);
    EXPECT_EQ(Send(kSetPortCfg, PadRecord(7, 255)), 0);
    EXPECT_EQ(Send(kSetPortCfg, TpidRecord(3, tpid)), 0);
    for (std::size_t port = 0; port < 9; ++port) {
        EXPECT_EQ(State().portDefAcl[port], port == 8 ? 1u : 0u) << port;
        EXPECT_EQ(State().portPadLen[port], port == 7 ? 255u : 0u) << port;
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(State().portTpid[port][i], port == 3 ? tpid[i] : 0) << port;
        }
    }
    EXPECT_EQ(Send(kSetRlTciCfg, RlTciRecord(0, 0x0102, 0x0304)), 0);
    EXPECT_EQ(Send(kSetRlTciCfg, RlTciRecord(1, 0xFFFF, 0x8000)), 0);
    const std::uint16_t tci[2][2] = {{0x0102, 0x0304}, {0xFFFF, 0x8000}};
    EXPECT_EQ(std::memcmp(State().rlTci, tci, sizeof tci), 0);
}

TEST_F(EmuHardwareTest, TablesGetTheLowestFreeIndex) {
    for (const TblKind &kind : kTblKinds) {
        SCOPED_TRACE(kind.name);
        for (std::uint32_t n = 0; n < kind.num; ++n) {
            Record record = TblRecord(kind.bytes, kNotSet, Seed(n));
            EXPECT_EQ(Send(kind.activate, record), 0);
            EXPECT_EQ(record.Bytes(), TblRecord(kind.bytes, n, Seed(n)).Bytes()) << "the index only";
        }
        const StateSnapshot full;
        Record oneMore = TblRecord(kind.bytes, kNotSet, 99);
        EXPECT_EQ(Send(kind.activate, oneMore), ENOSPC);
        EXPECT_EQ(oneMore.Word(0), kNotSet);
        EXPECT_TRUE(full.Unchanged());
        for (std::uint32_t n = 0; n < kind.num; ++n) {
            OrxEmuTable expected = {};
            expected.active = 1;
            std::memcpy(expected.record, TblRecord(kind.bytes, n, Seed(n)).Bytes().data() + 4, kind.bytes);
            EXPECT_EQ(std::memcmp(&kind.slots()[n], &expected, sizeof expected), 0) << n;
        }
        for (const std::uint32_t idx : {4u, 1u, 3u}) {
            Record record = TblRecord(kind.bytes, idx, 0);
            EXPECT_EQ(Send(kind.deactivate, record), 0);
            EXPECT_EQ(record.Bytes(), TblRecord(kind.bytes, idx, 0).Bytes());
            const OrxEmuTable released = {};
            EXPECT_EQ(std::memcmp(&kind.slots()[idx], &released, sizeof released), 0) << idx;
        }
        EXPECT_EQ(Send(kind.deactivate, TblRecord(kind.bytes, 1, 0)), ENOENT);
        EXPECT_EQ(kind.slots()[2].active, 1);
        for (const std::uint32_t idx : {1u, 3u, 4u}) {
            EXPECT_EQ(Activate(kind.activate, TblRecord(kind.bytes, kNotSet, 77)), idx);
            EXPECT_EQ(kind.slots()[idx].record[0], 77);
        }
        EXPECT_EQ(Send(kind.activate, TblRecord(kind.bytes, kNotSet, 0)), ENOSPC);
    }
}

TEST_F(EmuHardwareTest, FlowsKeepTheirOwnFcbUntilAllAreActive) {
    for (std::uint32_t n = 0; n < 512; ++n) {
        FillFcb(static_cast<std::uint8_t>(n));
        Record record = FlowRecord(kNotSet);
        ASSERT_EQ(Send(kActivateFlow, record), 0);
        ASSERT_EQ(record.Bytes(), FlowRecord(n).Bytes()) << "the index only";
        ASSERT_EQ(BytesAt(LastRequest().fcb, LastRequest().fcbSize), OwnFcb());
    }
    const StateSnapshot full;
    EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet)), ENOSPC);
    EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet, 0)), ENOENT) << "the table is looked at first";
    EXPECT_TRUE(full.Unchanged());
    for (std::uint32_t n = 0; n < 512; ++n) {
        FillFcb(static_cast<std::uint8_t>(n));
        OrxEmuFlow expected = {};
        expected.active = 1;
        expected.pacTblIdx = -1;
        expected.epTblIdx = -1;
        expected.numFlows = 1;
        std::memcpy(expected.fcb, fcb.data(), kFcbBytes);
        ASSERT_EQ(std::memcmp(&State().flow[n], &expected, sizeof expected), 0) << n;
    }
    for (const std::uint32_t idx : {511u, 300u}) {
        EXPECT_EQ(orxemu_addHits(idx, 0, 5), 0);
        Record record = FlowRecord(idx);
        EXPECT_EQ(Send(kDeactivateFlow, record), 0);
        EXPECT_EQ(record.Bytes(), FlowRecord(idx).Bytes());
        EXPECT_EQ(BytesAt(LastRequest().fcb, LastRequest().fcbSize), OwnFcb()) << "copied into the log";
        const OrxEmuFlow released = {};
        EXPECT_EQ(std::memcmp(&State().flow[idx], &released, sizeof released), 0);
        EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(idx)), ENOENT);
    }
    EXPECT_EQ(ActivateFlow(), 300u);
    EXPECT_EQ(ActivateFlow(), 511u);
}

TEST_F(EmuHardwareTest, HitsStartAtZeroAndCountPerFlow) {
    ActivateFlow();
    ActivateFlow();
    Record fresh = HitsRecord(1);
    EXPECT_EQ(Send(kGetFlowHits, fresh), 0);
    EXPECT_EQ(fresh.Bytes(), HitsRecord(1).Put32(4, 1).Bytes()) << "one flow, no hits";

    Record expected = HitsRecord(1).Put32(4, 1);
    for (std::uint32_t counter = 0; counter < 8; ++counter) {
        EXPECT_EQ(orxemu_addHits(1, counter, 100 + counter), 0);
        expected.Put32(8 + 4 * counter, (counter == 3 ? 1000u : 0u) + 100 + counter);
    }
    EXPECT_EQ(orxemu_addHits(1, 3, 1000), 0);
    // The bytes behind the index are the driver's, whatever they held.
    Record counted = Record(40).Put32(0, 1);
    EXPECT_EQ(Send(kGetFlowHits, counted), 0);
    EXPECT_EQ(counted.Bytes(), expected.Bytes());
    EXPECT_EQ(BytesAt(LastRequest().in, 40), Record(40).Put32(0, 1).Bytes());
    EXPECT_EQ(BytesAt(LastRequest().out, 40), expected.Bytes());
    Record other = HitsRecord(0);
    EXPECT_EQ(Send(kGetFlowHits, other), 0);
    EXPECT_EQ(other.Bytes(), HitsRecord(0).Put32(4, 1).Bytes());

    EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(1)), 0);
    EXPECT_EQ(orxemu_addHits(1, 0, 1), -1);
    EXPECT_EQ(ActivateFlow(), 1u);
    Record again = HitsRecord(1);
    EXPECT_EQ(Send(kGetFlowHits, again), 0);
    EXPECT_EQ(again.Bytes(), fresh.Bytes()) << "the next activation starts at zero";
    EXPECT_EQ(orxemu_addHits(1, 8, 1), -1);
    EXPECT_EQ(orxemu_addHits(2, 0, 1), -1);
    EXPECT_EQ(orxemu_addHits(512, 0, 1), -1);
    EXPECT_EQ(orxemu_addHits(kMinusOne, 0, 1), -1);
}

TEST_F(EmuHardwareTest, ForwardingUpdateReplacesTheForwardingBytesOfTheKeptFcb) {
    ActivateFlow();
    ActivateFlow();
    Record record = FwdRecord(1, 31, 7, 90);
    EXPECT_EQ(Send(kUpdateFwdInfo, record), 0);
    EXPECT_EQ(record.Bytes(), FwdRecord(1, 31, 7, 90).Bytes());
    std::vector<std::uint8_t> expected = OwnFcb();
    std::memcpy(expected.data() + kFwdInfoOffset, record.Bytes().data() + 4, kFwdInfoBytes);
    EXPECT_EQ(KeptFcb(1), expected);
    EXPECT_EQ(KeptFcb(0), OwnFcb());
}

TEST_F(EmuHardwareTest, EveryLimiterHasItsOwnConfiguration) {
    const auto config = [](std::uint32_t dir, std::uint32_t index) {
        return Config{100 * dir + index, index, dir, kMinusOne - index};
    };
    for (std::uint32_t n = 0; n < 32; ++n) {
        Record record = RlRecord(n / 16, n % 16, config(n / 16, n % 16));
        EXPECT_EQ(Send(kActivateRl, record), 0);
        EXPECT_EQ(record.Bytes(), RlRecord(n / 16, n % 16, config(n / 16, n % 16)).Bytes());
    }
    for (std::uint32_t n = 0; n < 32; ++n) {
        OrxEmuRl expected = {1, {}};
        std::memcpy(expected.record, config(n / 16, n % 16).data(), 16);
        EXPECT_EQ(std::memcmp(&State().rl[n / 16][n % 16], &expected, sizeof expected), 0) << n;
    }
    EXPECT_EQ(Send(kDeactivateRl, RlRecord(1, 15, {})), 0);
    const OrxEmuRl released = {};
    EXPECT_EQ(std::memcmp(&State().rl[1][15], &released, sizeof released), 0);
    EXPECT_EQ(State().rl[1][14].active, 1);
    EXPECT_EQ(Send(kActivateRl, RlRecord(1, 15, kConfig)), 0);
}

} // namespace

} // namespace emu_test
