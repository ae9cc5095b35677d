// Flows: activation, deactivation, hit counters and forwarding updates.
#include "tests/emu/emu_test.h"

#include <cerrno>

namespace emu_test {

namespace {

using EmuFlowsTest = EmuTest;

std::vector<std::uint8_t> KeptFcb(std::uint32_t flowIdx) {
    return BytesAt(orxemu_state()->flow[flowIdx].fcb, kFcbBytes);
}

std::vector<std::uint8_t> OwnFcb() {
    return BytesAt(fcb.data(), fcb.size());
}

void PutFcb32(std::size_t offset, std::uint32_t value) {
    std::memcpy(fcb.data() + offset, &value, sizeof value);
}

TEST_F(EmuFlowsTest, ActivationKeepsTheFcbAndAnswersTheIndexOnly) {
    Record record = FlowRecord(kNotSet);
    EXPECT_EQ(Send(kActivateFlow, record), 0);
    EXPECT_EQ(record.Bytes(), FlowRecord(0).Bytes());

    const OrxEmuFlow &flow = State().flow[0];
    EXPECT_EQ(flow.active, 1);
    EXPECT_EQ(KeptFcb(0), OwnFcb());
    EXPECT_EQ(flow.pacTblIdx, -1);
    EXPECT_EQ(flow.epTblIdx, -1);
    EXPECT_EQ(flow.numFlows, 1u);
    EXPECT_EQ(BytesAt(flow.hits, sizeof flow.hits), std::vector<std::uint8_t>(sizeof flow.hits));
}

TEST_F(EmuFlowsTest, FcbIsCopiedPerFlow) {
    std::vector<std::vector<std::uint8_t>> sent;
    for (std::uint32_t n = 0; n < 3; ++n) {
        FillFcb(static_cast<std::uint8_t>(40 * n));
        sent.push_back(OwnFcb());
        EXPECT_EQ(ActivateFlow(), n);
        EXPECT_EQ(BytesAt(LastRequest().fcb, LastRequest().fcbSize), sent.back());
    }
    FillFcb(200);
    for (std::uint32_t n = 0; n < 3; ++n) {
        EXPECT_EQ(KeptFcb(n), sent[n]) << n;
        EXPECT_NE(KeptFcb(n), OwnFcb()) << n;
    }
}

TEST_F(EmuFlowsTest, IndexesAreGivenInOrderUntilAllFlowsAreActive) {
    for (std::uint32_t n = 0; n < 512; ++n) {
        FillFcb(static_cast<std::uint8_t>(n));
        ASSERT_EQ(ActivateFlow(), n);
    }
    const StateSnapshot before;
    Record oneMore = FlowRecord(kNotSet);
    EXPECT_EQ(Send(kActivateFlow, oneMore), ENOSPC);
    EXPECT_EQ(oneMore.Word(0), kNotSet);
    EXPECT_TRUE(before.Unchanged());
    for (std::uint32_t n = 0; n < 512; ++n) {
        FillFcb(static_cast<std::uint8_t>(n));
        ASSERT_EQ(KeptFcb(n), OwnFcb()) << n;
    }

    for (const std::uint32_t idx : {511u, 300u}) {
        EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(idx)), 0);
    }
    EXPECT_EQ(ActivateFlow(), 300u);
    EXPECT_EQ(ActivateFlow(), 511u);
    EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet)), ENOSPC);
}

TEST_F(EmuFlowsTest, DeactivationFreesTheFlow) {
    const std::uint32_t idx = ActivateFlow();
    orxemu_addHits(idx, 0, 5);
    Record record = FlowRecord(idx);
    EXPECT_EQ(Send(kDeactivateFlow, record), 0);
    EXPECT_EQ(record.Bytes(), FlowRecord(idx).Bytes());
    const OrxEmuFlow released = {};
    EXPECT_EQ(std::memcmp(&State().flow[idx], &released, sizeof released), 0);
    EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(idx)), ENOENT);
}

TEST_F(EmuFlowsTest, IndexThatIsNotActiveIsRefused) {
    ActivateFlow();
    // Not zero, so that what stands behind the last flow does not look like an inactive one.
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    for (const std::uint32_t idx : {1u, 511u, 512u, 513u, kNotSet, kMinusOne}) {
        SCOPED_TRACE(idx);
        const StateSnapshot before;
        EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(idx)), ENOENT);
        Record hits = HitsRecord(idx);
        EXPECT_EQ(Send(kGetFlowHits, hits), ENOENT);
        EXPECT_EQ(hits.Bytes(), HitsRecord(idx).Bytes());
        EXPECT_EQ(Send(kUpdateFwdInfo, FwdRecord(idx, 0, 4, 1)), ENOENT);
        EXPECT_TRUE(before.Unchanged());
    }
}

TEST_F(EmuFlowsTest, FcbSizeMustBeRight) {
    ActivateFlow();
    for (const int request : {kActivateFlow, kDeactivateFlow}) {
        for (const std::uint32_t size : {0u, 1880u, 1883u, 1885u, 1888u, kNotSet}) {
            SCOPED_TRACE(std::to_string(request) + " with size " + std::to_string(size));
            const StateSnapshot before;
            Record record = FlowRecord(0).Put32(4, size);
            EXPECT_EQ(Send(request, record), EINVAL);
            EXPECT_EQ(record.Bytes(), FlowRecord(0).Put32(4, size).Bytes());
            EXPECT_TRUE(before.Unchanged());
            EXPECT_EQ(LastRequest().fcbSize, 0u);
        }
    }
}

TEST_F(EmuFlowsTest, PacTableMustBeActive) {
    Activate(kActivatePacTbl, TblRecord(268, kNotSet, 1));
    Activate(kActivatePacTbl, TblRecord(268, kNotSet, 2));
    for (const std::uint32_t idx : {2u, 15u, 16u, 0xFFFFFFFEu, 0x80000000u, kNotSet}) {
        SCOPED_TRACE(idx);
        const StateSnapshot before;
        Record record = FlowRecord(kNotSet, idx);
        EXPECT_EQ(Send(kActivateFlow, record), ENOENT);
        EXPECT_EQ(record.Word(0), kNotSet);
        EXPECT_TRUE(before.Unchanged());
    }
    const std::uint32_t flowIdx = Activate(kActivateFlow, FlowRecord(kNotSet, 1));
    EXPECT_EQ(State().flow[flowIdx].pacTblIdx, 1);
}

// An AS table with the same index is no PAC table.
TEST_F(EmuFlowsTest, TablesOfOtherKindsDoNotServeAsPacTable) {
    Activate(kActivateAsTbl, TblRecord(468, kNotSet, 1));
    Activate(kActivateDscpTbl, TblRecord(88, kNotSet, 1));
    EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet, 0)), ENOENT);
}

TEST_F(EmuFlowsTest, NoEpTableIsEverActive) {
    for (const std::uint32_t idx : {0u, 5u, 0xFFFFFFFEu, kNotSet}) {
        EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet, kMinusOne, idx)), ENOENT) << idx;
    }
    EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet, kMinusOne, kMinusOne)), 0);
}

// The table's index may be stale by then.
TEST_F(EmuFlowsTest, DeactivationDoesNotLookAtTheTables) {
    const std::uint32_t idx = ActivateFlow();
    EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(idx, 9, 9)), 0);
}

TEST_F(EmuFlowsTest, ForwardingOfTheFcbIsCheckedOnceItIsSet) {
    struct Row {
        const char *given;
        std::uint32_t isSet;
        std::uint32_t flowPrio;
        std::uint32_t fwdAction;
        int err;
    };
    const Row rows[] = {
        {"set, both at their end", 1, 31, 7, 0},
        {"set, priority too high", 1, 32, 4, EINVAL},
        {"set, unknown flag", 1, 0, 8, EINVAL},
        {"not set", 0, 32, 8, 0},
        {"not set, fill pattern", 0, kNotSet, kNotSet, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.given);
        PutFcb32(kFwdInfoSetOffset, row.isSet);
        PutFcb32(kFwdInfoOffset, row.flowPrio);
        PutFcb32(kFwdInfoOffset + 64, row.fwdAction);
        const StateSnapshot before;
        EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet)), row.err);
        EXPECT_EQ(before.Unchanged(), row.err != 0);
    }
}

TEST_F(EmuFlowsTest, HitsStartAtZeroAndCountPerFlow) {
    ActivateFlow();
    ActivateFlow();
    Record fresh = HitsRecord(1);
    EXPECT_EQ(Send(kGetFlowHits, fresh), 0);
    EXPECT_EQ(fresh.Bytes(), HitsRecord(1).Put32(4, 1).Bytes()) << "one flow, no hits";

    for (std::uint32_t counter = 0; counter < 8; ++counter) {
        EXPECT_EQ(orxemu_addHits(1, counter, 100 + counter), 0);
    }
    EXPECT_EQ(orxemu_addHits(1, 3, 1000), 0);
    // The bytes behind the index are the driver's, whatever they held.
    Record counted = Record(40).Put32(0, 1);
    EXPECT_EQ(Send(kGetFlowHits, counted), 0);
    EXPECT_EQ(counted.Word(0), 1u);
    EXPECT_EQ(counted.Word(4), 1u);
    for (std::uint32_t counter = 0; counter < 8; ++counter) {
        EXPECT_EQ(counted.Word(8 + 4 * counter), (counter == 3 ? 1000u : 0u) + 100 + counter) << counter;
    }

    Record other = HitsRecord(0);
    EXPECT_EQ(Send(kGetFlowHits, other), 0);
    EXPECT_EQ(other.Bytes(), HitsRecord(0).Put32(4, 1).Bytes());
}

TEST_F(EmuFlowsTest, HitsStartAtZeroAgainWithTheNextActivation) {
    const std::uint32_t idx = ActivateFlow();
    EXPECT_EQ(orxemu_addHits(idx, 7, 9), 0);
    EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(idx)), 0);
    EXPECT_EQ(ActivateFlow(), idx);
    Record hits = HitsRecord(idx);
    EXPECT_EQ(Send(kGetFlowHits, hits), 0);
    EXPECT_EQ(hits.Word(36), 0u);
}

TEST_F(EmuFlowsTest, HitsAreAddedToActiveFlowsOnly) {
    ActivateFlow();
    EXPECT_EQ(orxemu_addHits(0, 7, 1), 0);
    EXPECT_EQ(orxemu_addHits(0, 8, 1), -1);
    EXPECT_EQ(orxemu_addHits(1, 0, 1), -1);
    EXPECT_EQ(orxemu_addHits(512, 0, 1), -1);
    EXPECT_EQ(orxemu_addHits(kMinusOne, 0, 1), -1);
    EXPECT_EQ(Send(kDeactivateFlow, FlowRecord(0)), 0);
    EXPECT_EQ(orxemu_addHits(0, 0, 1), -1);
}

TEST_F(EmuFlowsTest, ForwardingUpdateReplacesTheForwardingBytesOfTheKeptFcb) {
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

TEST_F(EmuFlowsTest, ForwardingUpdateOutOfRangeIsRefused) {
    ActivateFlow();
    const StateSnapshot before;
    EXPECT_EQ(Send(kUpdateFwdInfo, FwdRecord(0, 32, 4, 1)), EINVAL);
    EXPECT_EQ(Send(kUpdateFwdInfo, FwdRecord(0, 0, 8, 1)), EINVAL);
    EXPECT_TRUE(before.Unchanged());
}

} // namespace

} // namespace emu_test
