// The pools and the rate limiters as start-up leaves them, byte by byte.
#include "tests/context/byte_image.h"
#include "tests/support/library.h"

#include "qirapi/private/fcb.h"
#include "qirapi/private/startup.h"

#include <algorithm>
#include <iterator>

namespace context_test {
namespace {

using Pools = test::LibraryTest;

constexpr uint32_t kNotInHardware = 0xFFFFFFFF;

template <class Record, std::size_t Count>
void ExpectAll(const Record (&pool)[Count], std::size_t expectedCount, const ByteImage &expected) {
    EXPECT_EQ(Count, expectedCount);
    ASSERT_EQ(sizeof(Record), expected.Size());
    for (std::size_t i = 0; i < Count; ++i) {
        EXPECT_EQ(expected.DifferenceFrom(&pool[i]), "") << "index " << i;
    }
}

ByteImage FreeAsTable() {
    ByteImage table(468);
    table.U32(4, kNotInHardware).U32(8, 0x5).U16(12, 0).U32(16, 0);
    for (std::size_t slot = 0; slot < 8; ++slot) {
        table.U32(20 + 56 * slot + 52, 0);
    }
    return table;
}

ByteImage FreeDscpTable() {
    return ByteImage(88).U32(4, kNotInHardware).U16(16, 0).U32(20, 0);
}

ByteImage FreeEpTable() {
    return ByteImage(84).U32(4, kNotInHardware).U16(12, 0).U32(16, 0);
}

ByteImage FreePacTable() {
    return ByteImage(268).U32(4, kNotInHardware).U16(36, 0).U32(40, 0).Zero(44, 8 * 28);
}

TEST_F(Pools, AsTablesAreFreeWithTheirDefaultPortsAndEmptySlots) {
    ExpectAll(qirCtxt_gp->asTblPool, 16, FreeAsTable());
}

TEST_F(Pools, DscpTablesAreFreeAndTheirRowsUnwritten) {
    ExpectAll(qirCtxt_gp->dscpTblPool, 6, FreeDscpTable());
}

TEST_F(Pools, EpTablesAreFree) {
    ExpectAll(qirCtxt_gp->epTblPool, 6, FreeEpTable());
}

TEST_F(Pools, PacTablesAreFreeWithZeroEntriesAndUnwrittenConfiguration) {
    ExpectAll(qirCtxt_gp->pacTblPool, 16, FreePacTable());
}

TEST_F(Pools, RateLimitersAreClearedAndDisabled) {
    ExpectAll(qirCtxt_gp->rlTbl[0], 16, ByteImage(20, 0));
    ExpectAll(qirCtxt_gp->rlTbl[1], 16, ByteImage(20, 0));
    EXPECT_EQ(std::size(qirCtxt_gp->rlTbl), 2u);
    EXPECT_EQ(qirCtxt_gp->rlStatus, 0u);
}

TEST_F(Pools, OneRateLimiterIsClearedAlone) {
    std::memset(static_cast<void *>(qirCtxt_gp), 0x3C, sizeof *qirCtxt_gp);
    const test::ContextSnapshot before;
    qir::Init_RL(1, 15);
    EXPECT_EQ(ByteImage(20, 0).DifferenceFrom(&qirCtxt_gp->rlTbl[1][15]), "");
    const std::vector<std::size_t> changed = before.ChangedBytes();
    ASSERT_EQ(changed.size(), 20u);
    EXPECT_EQ(changed.front(), offsetof(qir::QirCtxt, rlTbl) + 31 * 20);
    EXPECT_EQ(changed.back(), offsetof(qir::QirCtxt, rlTbl) + 32 * 20 - 1);
}

} // namespace
} // namespace context_test
