// AS, DSCP-to-pbits and PAC tables.
#include "tests/emu/emu_test.h"

#include <cerrno>

namespace emu_test {

namespace {

using EmuTablesTest = EmuTest;

std::uint8_t Seed(std::size_t n) {
    return static_cast<std::uint8_t>(11 * n + 1);
}

TEST_F(EmuTablesTest, ActivationKeepsTheRecordAndAnswersTheIndexOnly) {
    for (const TblKind &kind : kTblKinds) {
        SCOPED_TRACE(kind.name);
        Record record = TblRecord(kind.bytes, kNotSet, 1);
        EXPECT_EQ(Send(kind.activate, record), 0);
        EXPECT_EQ(record.Bytes(), TblRecord(kind.bytes, 0, 1).Bytes());

        const OrxEmuTable &tbl = kind.slots()[0];
        EXPECT_EQ(tbl.active, 1);
        const std::vector<std::uint8_t> sent = TblRecord(kind.bytes, 0, 1).Bytes();
        EXPECT_EQ(BytesAt(tbl.record, kind.bytes), BytesAt(sent.data() + 4, kind.bytes));
        EXPECT_EQ(BytesAt(tbl.record + kind.bytes, sizeof tbl.record - kind.bytes),
                  std::vector<std::uint8_t>(sizeof tbl.record - kind.bytes));
    }
}

TEST_F(EmuTablesTest, KindsDoNotShareIndexes) {
    for (const TblKind &kind : kTblKinds) {
        SCOPED_TRACE(kind.name);
        EXPECT_EQ(Activate(kind.activate, TblRecord(kind.bytes, kNotSet, 1)), 0u);
    }
}

TEST_F(EmuTablesTest, IndexesAreGivenInOrderUntilTheTableOfTablesIsFull) {
    for (const TblKind &kind : kTblKinds) {
        SCOPED_TRACE(kind.name);
        for (std::size_t n = 0; n < kind.num; ++n) {
            EXPECT_EQ(Activate(kind.activate, TblRecord(kind.bytes, kNotSet, Seed(n))), n);
        }
        const StateSnapshot before;
        Record oneMore = TblRecord(kind.bytes, kNotSet, 99);
        EXPECT_EQ(Send(kind.activate, oneMore), ENOSPC);
        EXPECT_EQ(oneMore.Word(0), kNotSet);
        EXPECT_TRUE(before.Unchanged());
        for (std::size_t n = 0; n < kind.num; ++n) {
            EXPECT_EQ(kind.slots()[n].active, 1);
            EXPECT_EQ(kind.slots()[n].record[0], Seed(n)) << n;
        }
    }
}

TEST_F(EmuTablesTest, LowestFreeIndexIsGivenAgain) {
    for (const TblKind &kind : kTblKinds) {
        SCOPED_TRACE(kind.name);
        for (std::uint32_t n = 0; n < kind.num; ++n) {
            Activate(kind.activate, TblRecord(kind.bytes, kNotSet, Seed(n)));
        }
        const OrxEmuTable released = {};
        for (const std::uint32_t idx : {4u, 1u, 3u}) {
            EXPECT_EQ(Send(kind.deactivate, TblRecord(kind.bytes, idx, 0)), 0);
            EXPECT_EQ(std::memcmp(&kind.slots()[idx], &released, sizeof released), 0) << idx;
        }
        EXPECT_EQ(kind.slots()[2].active, 1);
        for (const std::uint32_t idx : {1u, 3u, 4u}) {
            EXPECT_EQ(Activate(kind.activate, TblRecord(kind.bytes, kNotSet, 77)), idx);
            EXPECT_EQ(kind.slots()[idx].record[0], 77);
        }
        EXPECT_EQ(Send(kind.activate, TblRecord(kind.bytes, kNotSet, 0)), ENOSPC);
    }
}

TEST_F(EmuTablesTest, DeactivationAnswersNothing) {
    for (const TblKind &kind : kTblKinds) {
        SCOPED_TRACE(kind.name);
        Activate(kind.activate, TblRecord(kind.bytes, kNotSet, 1));
        Record record = TblRecord(kind.bytes, 0, 1);
        EXPECT_EQ(Send(kind.deactivate, record), 0);
        EXPECT_EQ(record.Bytes(), TblRecord(kind.bytes, 0, 1).Bytes());
    }
}

TEST_F(EmuTablesTest, DeactivationOfATableThatIsNotActiveIsRefused) {
    for (const TblKind &kind : kTblKinds) {
        SCOPED_TRACE(kind.name);
        Activate(kind.activate, TblRecord(kind.bytes, kNotSet, 1));
        const auto num = static_cast<std::uint32_t>(kind.num);
        for (const std::uint32_t idx : {1u, num - 1, num, num + 1, kNotSet, kMinusOne}) {
            const StateSnapshot before;
            EXPECT_EQ(Send(kind.deactivate, TblRecord(kind.bytes, idx, 1)), ENOENT) << idx;
            EXPECT_TRUE(before.Unchanged());
        }
        EXPECT_EQ(Send(kind.deactivate, TblRecord(kind.bytes, 0, 1)), 0);
        EXPECT_EQ(Send(kind.deactivate, TblRecord(kind.bytes, 0, 1)), ENOENT);
    }
}

TEST_F(EmuTablesTest, PacTableOfAnActiveFlowMayBeDeactivated) {
    Activate(kActivatePacTbl, TblRecord(268, kNotSet, 1));
    const std::uint32_t flowIdx = Activate(kActivateFlow, FlowRecord(kNotSet, 0));
    EXPECT_EQ(Send(kDeactivatePacTbl, TblRecord(268, 0, 1)), 0);
    EXPECT_EQ(State().pacTbl[0].active, 0);
    EXPECT_EQ(State().flow[flowIdx].active, 1);
    EXPECT_EQ(State().flow[flowIdx].pacTblIdx, 0);
}

} // namespace

} // namespace emu_test
