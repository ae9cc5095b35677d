// What the operations look at in a request before its rules: numbers that are out of range, and the headers
// of the flow. (The order of all checks is in the table of return codes.)
#include "tests/requests/request_kit.h"

namespace test {
namespace {

class Ranges : public RequestTest {};

// Values far out of range are not taken for small ones.
TEST_F(Ranges, OutOfRangeWordsAreComparedAsTheyAre) {
    u8 count = 0;
    for (const Member &m : Members()) {
        SCOPED_TRACE(m.Label());
        Restore(m);
        const auto expect = [&](u32 code, const std::function<void(AnyRequest *)> &spoil) {
            AnyRequest req = Good(m, 0);
            spoil(&req);
            EXPECT_EQ(QuietConfig(m, req), code);
        };
        for (const u32 op : {1u, 2u, 256u, 0x80000000u, 0xFFFFFFFFu}) {
            expect(45, [&](AnyRequest *req) { SetOp(req, op); });
        }
        for (const u32 cmpOp : {3u, 4u, 256u, 257u, 0xFFFFFFFFu}) {
            if (m.isFilter) {
                expect(46, [&](AnyRequest *req) { SetCmpOp(m, req, cmpOp); });
            }
        }
        for (const u32 type : {m.NumTypes(), m.NumTypes() + 1, 16u, 31u, 32u, 256u, 65536u, 0xFFFFFFFFu}) {
            expect(m.BadType(), [&](AnyRequest *req) { SetType(m, req, type); });
            AnyRequest query = Make(m, type, 0);
            EXPECT_EQ(Quiet([&] { return m.get(&hdl_, &query, 1, &count); }), m.BadQueryType()) << type;
        }
        for (const u32 tag : {2u, 3u, 255u, 256u, 0xFFFFFFFFu}) {
            if (m.IsVlan()) {
                expect(44, [&](AnyRequest *req) { SetTag(m, req, tag); });
                AnyRequest query = Make(m, 0, 0);
                SetTag(m, &query, tag);
                EXPECT_EQ(Quiet([&] { return m.get(&hdl_, &query, 1, &count); }), 44u) << tag;
            }
        }
        EXPECT_EQ(FcbDiff(Fresh(m), *fcb_), "");
    }
}

// Each operation looks at the bit of its own header in its own block, and at no other. TCP and UDP look at
// the IPv4 header's.
TEST_F(Ranges, HeaderBitOfEachOperation) {
    for (const Member &m : Members()) {
        SCOPED_TRACE(m.Label());
        Restore(m);
        AnyRequest req = Good(m, 0);
        *m.Headers(fcb_) = static_cast<u16>(~(1u << m.bit));
        *m.OtherHeaders(fcb_) = 0xFFFF;
        const ContextSnapshot before;
        EXPECT_EQ(QuietConfig(m, req), 11u);
        EXPECT_EQ(Quiet([&] { return Get(m, &req); }), 11u);
        EXPECT_TRUE(before.Unchanged());
        *m.Headers(fcb_) = static_cast<u16>(1u << m.bit);
        *m.OtherHeaders(fcb_) = 0;
        EXPECT_EQ(QuietConfig(m, req), 0u);
        EXPECT_EQ(Get(m, &req), 0u);
    }
}

// Called on their own, the checks of VLAN requests look at the tag too, which the operations have done by
// then.
TEST_F(Ranges, TagOfARequestThatIsCheckedOnItsOwn) {
    for (const char *label : {"Vlan0Filter", "Vlan0Action"}) {
        const Member &m = Of(label);
        Restore(m);
        AnyRequest req = Good(m, 0);
        SetTag(m, &req, 2);
        const Outcome config = Run([&] { return m.validateConfig(fcb_, &req); });
        EXPECT_EQ(config.code, 44u);
        EXPECT_EQ(config.lines, Code(m.Fn("Validate_Config_"), 44));
        u8 count = 0;
        const Outcome get = Run([&] { return m.validateGet(&req, 1, &count); });
        EXPECT_EQ(get.code, 44u);
        EXPECT_EQ(get.lines, Code(m.Fn("Validate_Get_"), 44));
        EXPECT_EQ(FcbDiff(Fresh(m), *fcb_), "");
    }
}

} // namespace
} // namespace test
