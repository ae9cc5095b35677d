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

// An initialised FCB but for its status, which the caller sets.
ByteImage InitialisedFcb() {
    ByteImage fcb(1884);
    fcb.U32(12, 0).U16(16, 0).U32(20, 0);                // section, tblAssoc, asOverride
    fcb.U32(24, 0xFFFFFFFF).U32(28, 0xFFFFFFFF);         // reserved word, epTblHdl
    fcb.U16(40, 0).U8(40 + 174, 0);                      // filter block: hdrBmap, totalTags
    fcb.U16(216, 0).U32(216 + 44, 0);                    // action block: hdrBmap, last Ethernet action
    fcb.U8(216 + 48, 0).U8(216 + 49, 0).U8(216 + 50, 0); // totalTags, pushedTags, poppedTags
    fcb.U32(268, 0);                                     // fwdInfoSet
    fcb.U32(272, 0).U32(272 + 8, 0);                     // flow priority, source port mask
    fcb.U32(272 + 44, 0).U8(272 + 48 + 8, 0);            // destination GEM mask, queue of port 8
    fcb.U32(272 + 60, 0).U32(272 + 64, 4);               // destination port mask, learning enabled
    fcb.U16(342, 0).U16(344, 31);                        // free list: head, count
    for (std::size_t node = 0; node < 32; ++node) {
        const auto curr = static_cast<uint16_t>(node);
        const auto next = static_cast<uint16_t>(node == 31 ? 0 : node + 1);
        const auto prev = static_cast<uint16_t>(node == 0 ? 31 : node - 1);
        fcb.U16(348 + 48 * node, curr).U16(348 + 48 * node + 2, next).U16(348 + 48 * node + 4, prev);
    }
    return fcb;
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

TEST_F(Pools, FcbsAreFreeAndInitialised) {
    ExpectAll(qirCtxt_gp->fcbPool, 512, InitialisedFcb().U32(0, e_STATUS_FREE));
}

TEST_F(Pools, InitialisingAnFcbLeavesTheStatusToTheCaller) {
    qir::Fcb &fcb = qirCtxt_gp->fcbPool[300];
    std::memset(static_cast<void *>(&fcb), 0x3C, sizeof fcb);
    const test::ContextSnapshot before;
    qir::Init_FCB(&fcb);
    EXPECT_EQ(InitialisedFcb().DifferenceFrom(&fcb), "");
    EXPECT_EQ(fcb.status, 0xA5A5A5A5u);
    const std::size_t begin = offsetof(qir::QirCtxt, fcbPool) + 300 * sizeof fcb;
    for (const std::size_t offset : before.ChangedBytes()) {
        ASSERT_TRUE(offset >= begin && offset < begin + sizeof fcb) << "offset " << offset;
    }
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
