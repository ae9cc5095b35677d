// Reading filters back: the query's checks, the walk, overflow, and what is left alone.
#include "qirapi/private/filters.h"
#include "tests/filters/filter_kit.h"

#include <algorithm>
#include <vector>

namespace test {
namespace {

// Requests of types 1, 0, 1, 1, 0 with their number in the value area.
class FilterReadBack : public FilterFlowTest {
  protected:
    static constexpr u8 kGuard = 0xEE;

    static AnyFilter Stored(const FilterMember &m, unsigned i) {
        static constexpr u32 kTypes[] = {1, 0, 1, 1, 0};
        return MakeFilter(m, kTypes[i], e_CMP_EQ, i, 0x40);
    }

    void Store(const FilterMember &m) {
        for (unsigned i = 0; i < 5; ++i) {
            const AnyFilter req = Stored(m, i);
            ASSERT_EQ(m.store(fcb_, &req), 0u);
        }
    }

    // An array of `records` guarded by kGuard bytes; the query stands in its first record.
    static std::vector<u8> Query(const FilterMember &m, u32 type, unsigned records) {
        std::vector<u8> array(m.recordSize * (records + 1), kGuard);
        const AnyFilter query = MakeFilter(m, type, 0, 0);
        std::memcpy(array.data(), query.bytes, m.recordSize);
        return array;
    }

    // Expects requests `which` at the head of the array, and the rest as it was.
    static void ExpectRecords(const FilterMember &m, const std::vector<u8> &array, std::vector<u8> before,
                              const std::vector<unsigned> &which) {
        for (std::size_t i = 0; i < which.size(); ++i) {
            std::memcpy(before.data() + i * m.recordSize, Stored(m, which[i]).bytes, m.recordSize);
        }
        EXPECT_EQ(array, before);
    }
};

TEST_F(FilterReadBack, EverySizeOfTheCallersArray) {
    for (const FilterMember &m : FilterMembers()) {
        Restore();
        Store(m);
        const ContextSnapshot before;
        for (unsigned size = 1; size <= 5; ++size) {
            SCOPED_TRACE(m.Label() + " size " + std::to_string(size));
            std::vector<unsigned> which = {0, 2, 3}; // type 1 in the order of arrival
            const bool overflow = size < which.size();
            which.resize(std::min<std::size_t>(size, which.size()));

            std::vector<u8> array = Query(m, 1, size);
            std::vector<u8> blank = array;
            u8 count = 0x99;
            u32 code = 99;
            std::string out =
                CaptureMasked([&] { code = m.read(fcb_, array.data(), static_cast<u8>(size), &count); });
            EXPECT_EQ(code, overflow ? 7u : 0u);
            EXPECT_EQ(count, which.size());
            EXPECT_EQ(out, overflow ? CodeLine("Get_Filter", "e_RET_ERR_OVERFLOW") : "");
            ExpectRecords(m, array, blank, which);

            array = blank;
            count = 0x99;
            out = CaptureMasked([&] { code = m.get(&hdl_, array.data(), static_cast<u8>(size), &count); });
            EXPECT_EQ(code, overflow ? 7u : 0u);
            EXPECT_EQ(count, which.size());
            EXPECT_EQ(out, overflow
                               ? CodeLine("Get_Filter", "e_RET_ERR_OVERFLOW") + RetVal(m.Fn("QIR_Get_"), 7)
                               : "");
            ExpectRecords(m, array, blank, which);
        }
        EXPECT_TRUE(before.Unchanged()) << "reading changed the context";
    }
}

TEST_F(FilterReadBack, LargestArray) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        Restore();
        Store(m);
        std::vector<u8> array = Query(m, 0, 255);
        const std::vector<u8> blank = array;
        u8 count = 0x99;
        EXPECT_EQ(m.get(&hdl_, array.data(), 255, &count), 0u);
        EXPECT_EQ(count, 2u);
        ExpectRecords(m, array, blank, {1, 4});
    }
}

TEST_F(FilterReadBack, NoMatchIsSuccess) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        for (const bool empty : {true, false}) {
            Restore();
            if (!empty) { // a filter of another type is there
                const AnyFilter req = Stored(m, 1);
                ASSERT_EQ(m.store(fcb_, &req), 0u);
            }
            std::vector<u8> array = Query(m, 1, 2);
            const std::vector<u8> blank = array;
            u8 count = 0x99;
            u32 code = 99;
            EXPECT_EQ(Capture([&] { code = m.get(&hdl_, array.data(), 2, &count); }), "");
            EXPECT_EQ(code, 0u);
            EXPECT_EQ(count, 0u);
            EXPECT_EQ(array, blank);
            count = 0x99;
            EXPECT_EQ(m.read(fcb_, array.data(), 2, &count), 0u);
            EXPECT_EQ(count, 0u);
            EXPECT_EQ(array, blank);
        }
    }
}

// The stored type is matched, not the record's operator or tag, and of the query only the type counts.
TEST_F(FilterReadBack, QueryIsItsTypeAlone) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        Restore();
        Store(m);
        AnyFilter query = MakeFilter(m, 0, 77, 0, 0xEE);
        SetOp(&query, 9);
        std::vector<u8> array = Query(m, 0, 3);
        std::memcpy(array.data(), query.bytes, m.recordSize);
        u8 count = 0;
        EXPECT_EQ(m.get(&hdl_, array.data(), 3, &count), 0u);
        EXPECT_EQ(count, 2u);
        EXPECT_EQ(std::memcmp(array.data(), Stored(m, 1).bytes, m.recordSize), 0);
    }
}

TEST_F(FilterReadBack, TagsHaveTheirOwnLists) {
    const FilterMember &outer = FilterOf("Vlan[0]");
    const FilterMember &inner = FilterOf("Vlan[1]");
    ASSERT_EQ(Config(outer, MakeFilter(outer, e_VLAN_FILT_VID, 0, 100)), 0u);
    ASSERT_EQ(Config(inner, MakeFilter(inner, e_VLAN_FILT_VID, 0, 200)), 0u);
    for (const auto &[m, vid] : {std::pair<const FilterMember &, u16>{outer, u16{100}},
                                 std::pair<const FilterMember &, u16>{inner, u16{200}}}) {
        AnyFilter query = MakeFilter(m, e_VLAN_FILT_VID, 0, 0);
        u8 count = 0;
        EXPECT_EQ(m.get(&hdl_, &query, 1, &count), 0u);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(query.vlan.val.vid, vid);
        EXPECT_EQ(query.vlan.toTagNum, m.tag);
    }
}

TEST_F(FilterReadBack, SharedWalkCopiesTheGivenRecordSize) {
    const FilterMember &eth = FilterOf("Eth");
    Store(eth);
    const ReqNode *head = &fcb_->reqPool[fcb_->filterBlk.eth.hdr.reqList];
    u8 bytes[20];
    std::memset(bytes, kGuard, sizeof bytes);
    u8 count = 0x99;
    EXPECT_EQ(qir::Get_Filter(fcb_, bytes, 1, 3, &count, head, 6), 0u);
    EXPECT_EQ(count, 3u);
    const unsigned which[] = {0, 2, 3};
    for (unsigned i = 0; i < 3; ++i) {
        EXPECT_EQ(std::memcmp(bytes + 6 * i, Stored(eth, which[i]).bytes, 6), 0) << i;
    }
    EXPECT_EQ(bytes[18], kGuard);
    u32 code = 0;
    EXPECT_EQ(CaptureMasked([&] { code = qir::Get_Filter(fcb_, bytes, 1, 0, &count, head, 6); }),
              CodeLine("Get_Filter", "e_RET_ERR_OVERFLOW"));
    EXPECT_EQ(code, 7u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(qir::Get_Filter(fcb_, bytes, 4, 0, &count, head, 6), 0u) << "no match needs no room";
}

} // namespace
} // namespace test
