// The order of the checks of a query: one that breaks two of them is refused by the first, and neither the
// caller's records nor the count are touched.
#include "tests/filters/filter_kit.h"

#include <functional>
#include <vector>

namespace test {
namespace {

// A check of a query: how it is broken and what is answered.
struct GetCall {
    FlowHdl hdl;
    bool nullFlow = false;
    bool nullRecord = false;
    bool nullCount = false;
    u8 size = 2;
    AnyFilter req;
};

struct QueryCheck {
    const char *name;
    std::function<void(const FilterMember &, Fcb *, GetCall *)> breakIt;
    u32 code;
    std::string lines;
};

std::vector<QueryCheck> ValidateGetChecks(const FilterMember &m) {
    const std::string fn = m.Fn("Validate_Get_");
    std::vector<QueryCheck> checks;
    if (m.IsVlan()) {
        checks.push_back(
            {"tag", [](const FilterMember &, Fcb *, GetCall *q) { SetTag(&q->req, 2); }, 44, Code(fn, 44)});
    }
    checks.push_back({"type",
                      [](const FilterMember &f, Fcb *, GetCall *q) { SetType(f, &q->req, f.NumTypes()); }, 47,
                      Code(fn, 47)});
    checks.push_back(
        {"count", [](const FilterMember &, Fcb *, GetCall *q) { q->nullCount = true; }, 2, Code(fn, 2)});
    checks.push_back(
        {"size", [](const FilterMember &, Fcb *, GetCall *q) { q->size = 0; }, 25, Code(fn, 25)});
    return checks;
}

std::vector<QueryCheck> PublicGetChecks(const FilterMember &m) {
    const std::string fn = m.Fn("QIR_Get_");
    std::vector<QueryCheck> checks = {
        {"null flow", [](const FilterMember &, Fcb *, GetCall *q) { q->nullFlow = true; }, 2, Code(fn, 2)},
        {"null record", [](const FilterMember &, Fcb *, GetCall *q) { q->nullRecord = true; }, 2,
         Code(fn, 2)},
        {"handle", [](const FilterMember &, Fcb *, GetCall *q) { q->hdl.f1.id = 65535; }, 3,
         Err("Validate_FlowHdl", "Value out of range for flowHdl<65535>") + Code("Validate_FlowHdl", 3)},
        {"free", [](const FilterMember &, Fcb *, GetCall *q) { q->hdl.f1.id = 4; }, 3,
         Err("Validate_FlowHdl", "Invalid flowHdl<4> FCB is free") + Code("Validate_FlowHdl", 3)},
    };
    for (const QueryCheck &check : ValidateGetChecks(m)) {
        checks.push_back(check);
    }
    checks.push_back({"header",
                      [](const FilterMember &f, Fcb *fcb, GetCall *) {
                          fcb->filterBlk.hdrBmap = static_cast<u16>(fcb->filterBlk.hdrBmap & ~(1u << f.bit));
                      },
                      11, Code(fn, 11)});
    return checks;
}

class FilterQueryOrder : public FilterFlowTest {
  protected:
    using Run = std::function<u32(const GetCall &, AnyFilter *, u8 *)>;

    void ExpectOrder(const FilterMember &m, const std::vector<QueryCheck> &checks, const std::string &closing,
                     const Run &run) {
        for (std::size_t first = 0; first < checks.size(); ++first) {
            for (std::size_t second = first; second < checks.size(); ++second) {
                SCOPED_TRACE(m.Label() + ": " + checks[first].name + " before " + checks[second].name);
                Restore();
                GetCall query{hdl_, false, false, false, 2, MakeFilter(m, 0, 0, 0)};
                checks[second].breakIt(m, fcb_, &query);
                checks[first].breakIt(m, fcb_, &query);
                const ContextSnapshot before;
                AnyFilter records[3] = {query.req, query.req, query.req};
                u8 count = 0x99;
                u32 code = 0;
                const std::string out = CaptureMasked([&] { code = run(query, records, &count); });
                EXPECT_EQ(code, checks[first].code);
                EXPECT_EQ(out, checks[first].lines + (closing.empty() ? "" : RetVal(closing, code)));
                EXPECT_EQ(count, 0x99u) << "the count is not written before the walk";
                EXPECT_EQ(std::memcmp(&records[0], &query.req, sizeof query.req), 0);
                EXPECT_TRUE(before.Unchanged());
            }
        }
    }
};

TEST_F(FilterQueryOrder, PublicOperations) {
    for (const FilterMember &m : FilterMembers()) {
        const std::vector<QueryCheck> checks = PublicGetChecks(m);
        ASSERT_EQ(checks.size(), m.IsVlan() ? 9u : 8u);
        ExpectOrder(m, checks, m.Fn("QIR_Get_"), [&m](const GetCall &call, AnyFilter *records, u8 *count) {
            FlowHdl hdl = call.hdl;
            return m.get(call.nullFlow ? nullptr : &hdl, call.nullRecord ? nullptr : records, call.size,
                         call.nullCount ? nullptr : count);
        });
    }
}

TEST_F(FilterQueryOrder, ValidationFunctions) {
    for (const FilterMember &m : FilterMembers()) {
        const std::vector<QueryCheck> checks = ValidateGetChecks(m);
        ASSERT_EQ(checks.size(), m.IsVlan() ? 4u : 3u);
        ExpectOrder(m, checks, "", [&m](const GetCall &call, AnyFilter *records, u8 *count) {
            return m.validateGet(records, call.size, call.nullCount ? nullptr : count);
        });
    }
}

TEST_F(FilterQueryOrder, ValidQueriesPassSilently) {
    for (const FilterMember &m : FilterMembers()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            for (const u8 size : {u8{1}, u8{255}}) {
                const AnyFilter query = MakeFilter(m, type, 99, 0xFFFFFFFF, 0xFF);
                const u8 count = 0;
                u32 code = 99;
                EXPECT_EQ(Capture([&] { code = m.validateGet(&query, size, &count); }), "");
                EXPECT_EQ(code, 0u) << m.Label() << " " << type;
            }
        }
    }
}

TEST_F(FilterQueryOrder, OutOfRangeWordsAreComparedAsTheyAre) {
    u8 count = 0;
    for (const FilterMember &m : FilterMembers()) {
        for (const u32 type : {m.NumTypes(), 16u, 32u, 256u, 65536u, 0xFFFFFFFFu}) {
            const AnyFilter query = MakeFilter(m, type, 0, 0);
            u32 code = 0;
            Capture([&] { code = m.validateGet(&query, 1, &count); });
            EXPECT_EQ(code, 47u) << m.Label() << " " << type;
        }
    }
    const FilterMember &vlan = FilterOf("Vlan[0]");
    for (const u32 tag : {2u, 3u, 256u, 0xFFFFFFFFu}) {
        AnyFilter query = MakeFilter(vlan, 0, 0, 0);
        SetTag(&query, tag);
        u32 code = 0;
        EXPECT_EQ(CaptureMasked([&] { code = vlan.get(&hdl_, &query, 1, &count); }),
                  CodeLine("Validate_Get_VlanFilter", "e_RET_ERR_INVALID_TAGNUM") +
                      RetVal("QIR_Get_VlanFilter", 44));
        EXPECT_EQ(code, 44u) << tag;
    }
}

// Each operation looks at the bit of its own header in the filter block, and at no other.
TEST_F(FilterQueryOrder, HeaderBitOfEachOperation) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        Restore();
        AnyFilter query = MakeFilter(m, 0, 0, 0);
        u8 count = 0;
        u32 code = 0;
        fcb_->filterBlk.hdrBmap = static_cast<u16>(~(1u << m.bit));
        fcb_->actionBlk.hdrBmap = 0xFFFF;
        Capture([&] { code = m.get(&hdl_, &query, 1, &count); });
        EXPECT_EQ(code, 11u);
        fcb_->filterBlk.hdrBmap = static_cast<u16>(1u << m.bit);
        fcb_->actionBlk.hdrBmap = 0;
        EXPECT_EQ(m.get(&hdl_, &query, 1, &count), 0u);
    }
}

} // namespace
} // namespace test
