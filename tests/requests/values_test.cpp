// Value limits, on both sides, and what stays behind a refused value.
#include "tests/requests/request_kit.h"

#include <algorithm>

namespace test {
namespace {

class Values : public RequestTest {
  protected:
    // Validates a request on a fresh flow: code, lines, bytes. Of a filter the type's bit and its counter
    // stay, whatever the value is; validation of an action looks at the request alone.
    void Expect(const Member &m, const AnyRequest &req, u32 cmpOp, bool accepted) {
        Restore(m);
        Fcb expected;
        CopyFcb(&expected, *fcb_);
        if (m.isFilter) {
            m.Entry(&expected)->curBmap = static_cast<u16>(1u << TypeOf(m, req));
            *m.Counter(&expected, cmpOp, TypeOf(m, req)) = 1;
        }
        const Outcome is = Run([&] { return m.validateConfig(fcb_, &req); });
        EXPECT_EQ(is.code, accepted ? 0u : 25u);
        EXPECT_EQ(is.lines, accepted ? "" : Code(m.Fn("Validate_Config_"), 25));
        EXPECT_EQ(FcbDiff(expected, *fcb_), "");
    }
};

// The highest value that the form holds.
u32 Last(Form form) {
    switch (form) {
    case Form::None:
        return 0;
    case Form::Mac:
    case Form::U8:
        return 0xFF;
    case Form::U16:
        return 0xFFFF;
    default:
        return 0xFFFFFFFF;
    }
}

bool IsAccepted(const RequestType &rule, u32 value) {
    return value >= rule.lowest && value <= rule.highest;
}

// Values around each limit, and large ones that end like small ones. Bytes that do not belong to the value
// are not looked at, whatever they hold.
TEST_F(Values, LimitsOnBothSides) {
    for (const Member &m : Members()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            const RequestType &rule = m.types[type];
            std::vector<u32> values = {0, 1, 128, 255, 256, 0x8000, 0xFFFF, 0x10001, 0x80000000, 0xFFFFFFFF};
            for (const u32 limit : {rule.lowest, rule.highest}) {
                values.insert(values.end(), {limit - 1, limit, limit + 1, limit + 0x100, limit + 0x10000});
            }
            for (const u32 cmpOp : {e_CMP_EQ, e_CMP_NEQ}) {
                for (const u32 value : values) {
                    if ((rule.operators >> cmpOp & 1u) == 0 || value > Last(rule.form)) {
                        continue;
                    }
                    SCOPED_TRACE(m.Label() + " " + rule.name + " " + std::to_string(value));
                    Expect(m, Make(m, type, value, cmpOp, 0x00), cmpOp, IsAccepted(rule, value));
                    Expect(m, Make(m, type, value, cmpOp, 0xFF), cmpOp, IsAccepted(rule, value));
                }
            }
        }
    }
}

// All values of the 8-bit types, and those of the 16-bit types at a stride that meets every limit.
TEST_F(Values, EveryValueOfTheSmallTypes) {
    Findings findings;
    unsigned long calls = 0;
    Capture([&] {
        for (const Member &m : Members()) {
            for (u32 type = 0; type < m.NumTypes(); ++type) {
                const RequestType &rule = m.types[type];
                const bool small = rule.form == Form::U8 || rule.form == Form::U16;
                for (u32 value = 0; small && value <= Last(rule.form);
                     value += value < 0x1100 || value > 0xFF00 ? 1 : 0x10) {
                    Restore(m);
                    const AnyRequest req = Make(m, type, value);
                    ++calls;
                    if (m.validateConfig(fcb_, &req) != (IsAccepted(rule, value) ? 0u : 25u)) {
                        findings.Add(m.Label() + " " + rule.name + " value " + std::to_string(value));
                    }
                }
            }
        }
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_GT(calls, 180000ul);
}

TEST_F(Values, DscpRangeNeedsAnUpperBoundFromTheValueTo63) {
    const Member &m = Of("Ipv4Filter");
    const u8 edges[] = {0, 1, 9, 10, 11, 62, 63, 64, 65, 127, 128, 255};
    for (const u8 low : edges) {
        for (const u8 high : edges) {
            for (const u8 fill :
                 {u8{0x00}, u8{0xFF}}) { // only the first byte of the second value is the bound
                SCOPED_TRACE(std::to_string(low) + " to " + std::to_string(high));
                AnyRequest req = Make(m, e_IPV4_FILT_DSCP, low, e_CMP_IN_RANGE, fill);
                req.ipv4Filter.val2.dscp = high;
                Expect(m, req, e_CMP_IN_RANGE, low <= 63 && high <= 63 && high >= low);
                SetCmpOp(m, &req, e_CMP_EQ); // and only a range looks at it
                Expect(m, req, e_CMP_EQ, low <= 63);
            }
        }
    }
}

// Through the operation. A refused filter has been recorded, and the header then behaves as if it had been
// accepted; a refused action leaves nothing behind.
TEST_F(Values, RefusedValueBlocksAFilterAndNotAnAction) {
    unsigned refused = 0;
    for (const Member &m : Members()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            const RequestType &rule = m.types[type];
            if (rule.highest >= Last(rule.form)) {
                continue;
            }
            SCOPED_TRACE(m.Label() + " " + rule.name);
            ++refused;
            Restore(m);
            const AnyRequest bad = Make(m, type, rule.highest + 1);
            const Outcome first = Run([&] { return Config(m, bad); });
            EXPECT_EQ(first.code, 25u);
            EXPECT_EQ(first.lines, Code(m.Fn("Validate_Config_"), 25) + RetVal(m.Fn("QIR_Config_"), 25));
            EXPECT_EQ(m.Entry(fcb_)->reqCount, 0u);
            EXPECT_EQ(m.Entry(fcb_)->curBmap, m.isFilter ? 1u << type : 0u);
            EXPECT_EQ(QuietConfig(m, Good(m, type)), !m.isFilter ? 0u : m.IsRepeatable(type) ? 21u : 22u);
        }
    }
    EXPECT_EQ(refused, 2u + 2 * 3 + 4 + 11 + 5 + 2 * 9);
}

TEST_F(Values, RefusedValuesUseUpTheOperatorsLimit) {
    const Member &m = Of("EthFilter");
    Restore(m);
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(QuietConfig(m, Make(m, e_ETH_FILT_ETHTYPE, 0x05FF, e_CMP_NEQ)), 25u);
    }
    EXPECT_EQ(QuietConfig(m, Good(m, e_ETH_FILT_ETHTYPE, e_CMP_NEQ)), 21u);
    EXPECT_EQ(fcb_->filterBlk.eth.hdr.reqCount, 0u);
}

} // namespace
} // namespace test
