// Places where no request lies: tags that the bitmap has no bit for, and a list whose head is not in the pool.
#include "qirapi/access/flow_access.h"
#include "tests/filters/filter_kit.h"

namespace test {
namespace {

class FilterOddPlaces : public FilterFlowTest {};

// Tag 14 has the highest bit.
TEST_F(FilterOddPlaces, TagsWithoutABitAreNotAllocated) {
    fcb_->filterBlk.hdrBmap = 0x7FFF;
    for (const u32 tag : {14u, 15u, 16u, 17u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(tag);
        void *info = fcb_;
        VlanFilter got{};
        EXPECT_EQ(CaptureMasked([&] { qir::getNextVlanFilter(fcb_, tag, &info, &got); }),
                  Assertion("qirapi_access", "getNextVlanFilter", "(toTagNum < e_VLAN_TAG_MAX)"));
        EXPECT_EQ(info, nullptr);
    }
}

// The request is counted and takes its node, but it is on no list.
TEST_F(FilterOddPlaces, RequestOfAListOutsideThePoolIsCountedOnly) {
    for (const FilterMember &m : FilterMembers()) {
        for (const u16 head : {u16{QIR_MAX_FCBREQ}, u16{0xFFFF}}) {
            SCOPED_TRACE(testing::Message() << m.Label() << " head " << head);
            Restore();
            HdrEntry &entry = *m.Entry(fcb_);
            entry.reqList = head;
            const u16 node = fcb_->reqPool[0].next;
            const u16 left = fcb_->freeReqCount;
            const AnyFilter req = GoodFilter(m, 0, e_CMP_EQ);
            u32 code = 99;
            EXPECT_EQ(CaptureMasked([&] { code = Config(m, req); }), "");
            EXPECT_EQ(code, 0u);
            EXPECT_EQ(entry.reqCount, 1);
            EXPECT_EQ(entry.reqList, head);
            EXPECT_EQ(fcb_->freeReqCount, left - 1);
            EXPECT_EQ(fcb_->reqPool[node].next, node);
            EXPECT_EQ(fcb_->reqPool[node].prev, node);
            EXPECT_EQ(fcb_->reqPool[node].key, 0u);
        }
    }
}

} // namespace
} // namespace test
