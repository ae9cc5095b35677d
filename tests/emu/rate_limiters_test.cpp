// Rate limiters.
#include "tests/emu/emu_test.h"

#include <cerrno>

namespace emu_test {

namespace {

using EmuRateLimitersTest = EmuTest;

using Config = std::array<std::uint32_t, 4>; // TCI, rate, unit, burst size
constexpr Config kConfig = {0x1234, 100, 0, 0xFFFFFFFF};

TEST_F(EmuRateLimitersTest, StatusIsKept) {
    for (const std::uint32_t status : {1u, 1u, 0u, 0u}) {
        EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(status)), 0);
        EXPECT_EQ(State().rlStatus, status);
    }
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(2)), EINVAL);
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(kMinusOne)), EINVAL);
    EXPECT_EQ(State().rlStatus, 1u);
}

TEST_F(EmuRateLimitersTest, TciIsKeptPerDirection) {
    EXPECT_EQ(Send(kSetRlTciCfg, RlTciRecord(0, 0x0102, 0x0304)), 0);
    EXPECT_EQ(Send(kSetRlTciCfg, RlTciRecord(1, 0xFFFF, 0x8000)), 0);
    EXPECT_EQ(State().rlTci[0][0], 0x0102);
    EXPECT_EQ(State().rlTci[0][1], 0x0304);
    EXPECT_EQ(State().rlTci[1][0], 0xFFFF);
    EXPECT_EQ(State().rlTci[1][1], 0x8000);

    const StateSnapshot before;
    EXPECT_EQ(Send(kSetRlTciCfg, RlTciRecord(2, 1, 1)), EINVAL);
    EXPECT_EQ(Send(kSetRlTciCfg, RlTciRecord(kNotSet, 1, 1)), EINVAL);
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(EmuRateLimitersTest, EveryLimiterHasItsOwnConfiguration) {
    for (std::uint32_t dir = 0; dir < 2; ++dir) {
        for (std::uint32_t index = 0; index < 16; ++index) {
            SCOPED_TRACE(std::to_string(dir) + ":" + std::to_string(index));
            const Config config = {100 * dir + index, index, dir, kMinusOne - index};
            Record record = RlRecord(dir, index, config);
            EXPECT_EQ(Send(kActivateRl, record), 0);
            EXPECT_EQ(record.Bytes(), RlRecord(dir, index, config).Bytes());
        }
    }
    for (std::uint32_t dir = 0; dir < 2; ++dir) {
        for (std::uint32_t index = 0; index < 16; ++index) {
            SCOPED_TRACE(std::to_string(dir) + ":" + std::to_string(index));
            const Config config = {100 * dir + index, index, dir, kMinusOne - index};
            EXPECT_EQ(State().rl[dir][index].active, 1);
            EXPECT_EQ(BytesAt(State().rl[dir][index].record, 16), BytesAt(config.data(), 16));
        }
    }
}

TEST_F(EmuRateLimitersTest, ActiveLimiterIsNotActivatedAgain) {
    EXPECT_EQ(Send(kActivateRl, RlRecord(1, 15, kConfig)), 0);
    const StateSnapshot before;
    EXPECT_EQ(Send(kActivateRl, RlRecord(1, 15, {1, 2, 1, 4})), EBUSY);
    EXPECT_TRUE(before.Unchanged());
    EXPECT_EQ(Send(kActivateRl, RlRecord(0, 15, kConfig)), 0) << "the other direction is another limiter";
}

TEST_F(EmuRateLimitersTest, DeactivationFreesTheLimiterAndTakesAnyWords) {
    EXPECT_EQ(Send(kActivateRl, RlRecord(1, 15, kConfig)), 0);
    EXPECT_EQ(Send(kActivateRl, RlRecord(1, 14, kConfig)), 0);
    // The direction's TCI half and zeros stand in place of a configuration; nothing in them has a range.
    EXPECT_EQ(Send(kDeactivateRl, RlRecord(1, 15, {0xFFFF, kMinusOne, kMinusOne, kMinusOne})), 0);
    const OrxEmuRl released = {};
    EXPECT_EQ(std::memcmp(&State().rl[1][15], &released, sizeof released), 0);
    EXPECT_EQ(State().rl[1][14].active, 1);
    EXPECT_EQ(Send(kActivateRl, RlRecord(1, 15, kConfig)), 0);
}

TEST_F(EmuRateLimitersTest, InactiveLimiterIsNotDeactivated) {
    EXPECT_EQ(Send(kActivateRl, RlRecord(0, 3, kConfig)), 0);
    const StateSnapshot before;
    EXPECT_EQ(Send(kDeactivateRl, RlRecord(1, 3, {})), ENOENT);
    EXPECT_EQ(Send(kDeactivateRl, RlRecord(0, 4, {})), ENOENT);
    EXPECT_TRUE(before.Unchanged());
    EXPECT_EQ(Send(kDeactivateRl, RlRecord(0, 3, {})), 0);
    EXPECT_EQ(Send(kDeactivateRl, RlRecord(0, 3, {})), ENOENT);
}

TEST_F(EmuRateLimitersTest, DirectionsAndIndexesHaveAnEnd) {
    struct Row {
        std::uint32_t dir;
        std::uint32_t index;
    };
    const StateSnapshot before;
    for (const Row &row :
         {Row{2, 0}, Row{0, 16}, Row{2, 16}, Row{kMinusOne, 0}, Row{1, kMinusOne}, Row{kNotSet, kNotSet}}) {
        SCOPED_TRACE(std::to_string(row.dir) + ":" + std::to_string(row.index));
        EXPECT_EQ(Send(kActivateRl, RlRecord(row.dir, row.index, kConfig)), EINVAL);
        EXPECT_EQ(Send(kDeactivateRl, RlRecord(row.dir, row.index, {})), EINVAL);
    }
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(EmuRateLimitersTest, RatesEndByUnit) {
    struct Row {
        const char *given;
        std::uint32_t rate;
        std::uint32_t unit;
        int err;
    };
    const Row rows[] = {
        {"unit 0, rate 8064", 8064, 0, 0},       {"unit 0, rate 8065", 8065, 0, EINVAL},
        {"unit 1, rate 1000", 1000, 1, 0},       {"unit 1, rate 1001", 1001, 1, EINVAL},
        {"unit 2, rate 0", 0, 2, EINVAL},        {"unit all ones", 0, kMinusOne, EINVAL},
        {"rate all ones", kMinusOne, 0, EINVAL},
    };
    std::uint32_t index = 0;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.given);
        EXPECT_EQ(Send(kActivateRl, RlRecord(0, index, {kMinusOne, row.rate, row.unit, kMinusOne})), row.err);
        EXPECT_EQ(State().rl[0][index].active, row.err == 0 ? 1 : 0);
        ++index;
    }
}

} // namespace

} // namespace emu_test
