// Iteration over stored filters for code outside the public operations.
#include "qirapi/access/flow_access.h"
#include "tests/filters/filter_kit.h"

namespace test {
namespace {

class FilterIteration : public FilterFlowTest {
  protected:
    static AnyFilter Blank() {
        AnyFilter blank;
        std::memset(blank.bytes, 0xEE, sizeof blank.bytes);
        return blank;
    }
    static bool Same(const AnyFilter &a, const AnyFilter &b) {
        return std::memcmp(a.bytes, b.bytes, sizeof a.bytes) == 0;
    }
};

TEST_F(FilterIteration, VisitsEveryRequestInTheOrderOfArrival) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        Restore();
        std::vector<AnyFilter> stored;
        std::vector<u16> nodes;
        for (const u32 type : {1u, 0u, 1u}) {
            stored.push_back(MakeFilter(m, type, 0, static_cast<u32>(stored.size()), 0x30));
            nodes.push_back(fcb_->reqPool[0].next);
            ASSERT_EQ(m.store(fcb_, &stored.back()), 0u);
        }
        const ContextSnapshot before;
        void *info = nullptr;
        for (std::size_t i = 0; i < stored.size(); ++i) {
            AnyFilter expected = Blank();
            std::memcpy(expected.bytes, stored[i].bytes, m.recordSize);
            AnyFilter got = Blank();
            EXPECT_EQ(Capture([&] { m.next(fcb_, m.tag, &info, &got); }), "");
            EXPECT_EQ(info, static_cast<void *>(fcb_->reqPool[nodes[i]].req)) << "request " << i;
            EXPECT_TRUE(Same(got, expected)) << "request " << i << ": the record and nothing behind it";
        }
        AnyFilter got = Blank();
        m.next(fcb_, m.tag, &info, &got);
        EXPECT_EQ(info, nullptr) << "null after the last";
        EXPECT_TRUE(Same(got, Blank()));
        m.next(fcb_, m.tag, &info, &got);
        EXPECT_EQ(info, static_cast<void *>(fcb_->reqPool[nodes[0]].req)) << "and from the start again";
        EXPECT_TRUE(before.Unchanged());
    }
}

TEST_F(FilterIteration, EmptyListYieldsNull) {
    for (const FilterMember &m : FilterMembers()) {
        void *info = nullptr;
        AnyFilter got = Blank();
        m.next(fcb_, m.tag, &info, &got);
        EXPECT_EQ(info, nullptr) << m.Label();
        EXPECT_TRUE(Same(got, Blank())) << m.Label();
    }
}

// The header's own bit decides, for TCP and UDP the IPv4 header's; the action block's does not matter.
TEST_F(FilterIteration, UnallocatedHeaderYieldsNull) {
    const struct {
        const char *header;
        u16 bit;
    } rows[] = {{"Eth", 0x01},  {"Vlan[0]", 0x02}, {"Vlan[1]", 0x04}, {"Pppoe", 0x20},
                {"Ipv4", 0x80}, {"Tcp", 0x80},     {"Udp", 0x80}};
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.header);
        SCOPED_TRACE(m.Label());
        Restore();
        const AnyFilter req = GoodFilter(m, 0, 0);
        ASSERT_EQ(m.store(fcb_, &req), 0u);
        for (const bool fromTheStart : {true, false}) {
            void *info = nullptr;
            AnyFilter got = Blank();
            fcb_->filterBlk.hdrBmap = row.bit;
            fcb_->actionBlk.hdrBmap = 0;
            if (!fromTheStart) {
                m.next(fcb_, m.tag, &info, &got);
                ASSERT_NE(info, nullptr);
                got = Blank();
            }
            fcb_->filterBlk.hdrBmap = static_cast<u16>(~row.bit);
            fcb_->actionBlk.hdrBmap = 0xFFFF;
            EXPECT_EQ(Capture([&] { m.next(fcb_, m.tag, &info, &got); }), "");
            EXPECT_EQ(info, nullptr);
            EXPECT_TRUE(Same(got, Blank()));
        }
    }
}

TEST_F(FilterIteration, HandleThatIsNotOnTheListYieldsNull) {
    for (const FilterMember &m : FilterMembers()) {
        Restore();
        const AnyFilter req = GoodFilter(m, 0, 0);
        ASSERT_EQ(m.store(fcb_, &req), 0u);
        // cppcheck-suppress constVariable ; it is
        void *const strays[] = {fcb_, fcb_->reqPool[31].req, fcb_->reqPool[m.Entry(fcb_)->reqList].req};
        for (void *const stray : strays) {
            void *info = stray;
            AnyFilter got = Blank();
            m.next(fcb_, m.tag, &info, &got);
            EXPECT_EQ(info, nullptr) << m.Label();
            EXPECT_TRUE(Same(got, Blank())) << m.Label();
        }
    }
}

TEST_F(FilterIteration, TagsHaveTheirOwnLists) {
    const FilterMember &outer = FilterOf("Vlan[0]");
    const FilterMember &inner = FilterOf("Vlan[1]");
    ASSERT_EQ(Config(outer, MakeFilter(outer, e_VLAN_FILT_VID, 0, 100)), 0u);
    ASSERT_EQ(Config(inner, MakeFilter(inner, e_VLAN_FILT_VID, 0, 200)), 0u);
    VlanFilter got{};
    void *info = nullptr;
    qir::getNextVlanFilter(fcb_, 0, &info, &got);
    EXPECT_EQ(got.val.vid, 100u);
    info = nullptr;
    qir::getNextVlanFilter(fcb_, 1, &info, &got);
    EXPECT_EQ(got.val.vid, 200u);
}

TEST_F(FilterIteration, DebugLinesOfTheWalk) {
    const FilterMember &m = FilterOf("Udp");
    for (const u32 type : {0u, 1u}) {
        ASSERT_EQ(Config(m, GoodFilter(m, type, 0)), 0u);
    }
    RaiseLog(3);
    void *info = nullptr;
    AnyFilter got = Blank();
    EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, 0, &info, &got); }),
              Dbg("getNextReq", "params: *req_pp <0x<nil>>\n") +
                  Dbg("getNextReq", "first returned *req_pp<0x<ptr>>\n"));
    EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, 0, &info, &got); }),
              Dbg("getNextReq", "params: *req_pp <0x<ptr>>\n") +
                  Dbg("getNextReq", "found next returned *req_pp<0x<ptr>>\n"));
    EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, 0, &info, &got); }),
              Dbg("getNextReq", "params: *req_pp <0x<ptr>>\n"));
    fcb_->filterBlk.hdrBmap = 0;
    EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, 0, &info, &got); }), "");
}

// A tag beyond the inner one is asserted; its header bit is clear, so that the call ends there.
TEST_F(FilterIteration, TagNumberIsAsserted) {
    for (const u32 tag : {2u, 3u}) {
        void *info = fcb_;
        VlanFilter got{};
        EXPECT_EQ(CaptureMasked([&] { qir::getNextVlanFilter(fcb_, tag, &info, &got); }),
                  Assertion("qirapi_access", "getNextVlanFilter", "(toTagNum < e_VLAN_TAG_MAX)"));
        EXPECT_EQ(info, nullptr);
    }
}

// A null record is asserted, and not needed while there is nothing to copy.
TEST_F(FilterIteration, NullRecordIsAsserted) {
    for (const FilterMember &m : FilterMembers()) {
        const std::string fn = m.Fn("getNext");
        void *info = nullptr;
        EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, m.tag, &info, nullptr); }),
                  Assertion("qirapi_access", fn, "(filter_p != NULL)"))
            << "empty list";
        EXPECT_EQ(info, nullptr);
        const u16 bmap = fcb_->filterBlk.hdrBmap;
        fcb_->filterBlk.hdrBmap = 0;
        info = fcb_;
        EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, m.tag, &info, nullptr); }),
                  Assertion("qirapi_access", fn, "(filter_p != NULL)"))
            << "no header";
        EXPECT_EQ(info, nullptr);
        fcb_->filterBlk.hdrBmap = bmap;
    }
}

// An IPv4 header whose allocation ran out of nodes leaves lists that are no lists: the walk stays in the
// pool.
TEST_F(FilterIteration, HalfAllocatedHeaderDoesNotCrash) {
    for (const char *label : {"Ipv4", "Tcp", "Udp"}) {
        const FilterMember &m = FilterOf(label);
        Restore();
        m.Entry(fcb_)->reqList = 0xA5A5;
        void *info = nullptr;
        AnyFilter got = Blank();
        m.next(fcb_, 0, &info, &got);
        EXPECT_EQ(info, nullptr) << label;
        AnyFilter query = MakeFilter(m, 0, 0, 0);
        u8 count = 0x99;
        EXPECT_EQ(m.get(&hdl_, &query, 1, &count), 0u) << label;
        EXPECT_EQ(count, 0u) << label;
    }
}

} // namespace
} // namespace test
