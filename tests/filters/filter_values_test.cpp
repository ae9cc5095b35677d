// Value limits of filters, on both sides, and what stays behind a refused value.
#include "tests/filters/filter_kit.h"

#include <set>

namespace test {
namespace {

class FilterValues : public FilterFlowTest {
  protected:
    // Validates `req` on a fresh flow and checks code, line and bytes.
    void Expect(const FilterMember &m, const AnyFilter &req, bool accepted) {
        Restore();
        const u32 type = TypeOf(m, req);
        Fcb expected;
        CopyFcb(&expected, fresh_);
        m.Entry(&expected)->curBmap = static_cast<u16>(1u << type);
        *m.Counter(&expected, CmpOpOf(m, req), type) = 1;
        u32 code = 99;
        const std::string out = CaptureMasked([&] { code = m.validateConfig(fcb_, &req); });
        EXPECT_EQ(code, accepted ? 0u : 25u);
        EXPECT_EQ(out, accepted ? "" : CodeLine(m.Fn("Validate_Config_"), "e_RET_ERR_INVALID_PARAM"));
        EXPECT_EQ(FcbDiff(expected, *fcb_), "")
            << "the type's bit and its counter stay, nothing else changes";
    }
};

struct Limit {
    const char *header;
    u32 type;
    std::vector<u32> accepted;
    std::vector<u32> refused;
};

// The limits as people know them; the values around each.
const Limit kLimits[] = {
    {"Eth", e_ETH_FILT_MCAST, {0, 1}, {2, 3, 128, 255}},
    {"Eth", e_ETH_FILT_BCAST, {0, 1}, {2, 3, 128, 255}},
    {"Eth", e_ETH_FILT_DA, {0, 1, 255}, {}},
    {"Eth", e_ETH_FILT_SA, {0, 1, 255}, {}},
    {"Eth",
     e_ETH_FILT_ETHTYPE,
     {0x0600, 0x0601, 0x0800, 0x8000, 0xFFFF},
     {0, 1, 0x00FF, 0x0100, 0x05FE, 0x05FF}},
    {"Vlan[0]", e_VLAN_FILT_TAG, {0, 1, 0x81000000, 0xFFFFFFFF}, {}},
    {"Vlan[0]", e_VLAN_FILT_TPID, {0, 1, 0x8100, 0xFFFF}, {}},
    {"Vlan[0]", e_VLAN_FILT_TCI, {0, 1, 0x8000, 0xFFFF}, {}},
    {"Vlan[0]", e_VLAN_FILT_PBITS, {0, 1, 6, 7}, {8, 9, 128, 255}},
    {"Vlan[0]", e_VLAN_FILT_DEI, {0, 1}, {2, 3, 128, 255}},
    {"Vlan[0]", e_VLAN_FILT_VID, {0, 1, 0x00FF, 0x0100, 4094, 4095}, {4096, 4097, 0x8000, 0xFFFF}},
    {"Pppoe", e_PPPOE_FILT_VER, {1}, {0, 2, 128, 255}},
    {"Pppoe", e_PPPOE_FILT_TYPE, {1}, {0, 2, 128, 255}},
    {"Pppoe", e_PPPOE_FILT_CODE, {0, 1, 253, 254}, {255}},
    {"Pppoe", e_PPPOE_FILT_SESID, {0, 1, 255, 0x8000, 65533, 65534}, {65535}},
    {"Pppoe", e_PPPOE_FILT_PROTO, {0, 1, 255, 65534, 65535}, {}},
    {"Ipv4", e_IPV4_FILT_VER, {4}, {0, 3, 5, 6, 255}},
    {"Ipv4", e_IPV4_FILT_IHL, {0, 5, 253, 254}, {255}},
    {"Ipv4", e_IPV4_FILT_SA, {0, 1, 31, 32}, {33, 64, 255, 256, 0x10000, 0x80000000, 0xFFFFFFFF}},
    {"Ipv4", e_IPV4_FILT_DA, {0, 1, 31, 32}, {33, 64, 255, 256, 0x10000, 0x80000000, 0xFFFFFFFF}},
    {"Ipv4", e_IPV4_FILT_MCAST, {0, 1}, {2, 3, 128, 255}},
    {"Ipv4", e_IPV4_FILT_TOS, {0, 1, 253, 254}, {255}},
    {"Ipv4", e_IPV4_FILT_DSCP, {0, 1, 62, 63}, {64, 65, 128, 255}},
    {"Ipv4", e_IPV4_FILT_DSCP_1P, {0, 1, 6, 7}, {8, 9, 255}},
    {"Ipv4", e_IPV4_FILT_TTL_GT1, {0, 1}, {2, 3, 255}},
    {"Ipv4", e_IPV4_FILT_PROTO, {0, 6, 255, 256, 65533, 65534}, {65535}},
    {"Ipv4", e_IPV4_FILT_FRAG, {0, 1}, {2, 3, 255, 256, 0x8000, 65535}},
    {"Tcp", e_TCP_FILT_SPORT, {0, 1, 65535}, {}},
    {"Tcp", e_TCP_FILT_DPORT, {0, 1, 65535}, {}},
    {"Tcp", e_TCP_FILT_SYN, {0, 1}, {2, 3, 255}},
    {"Tcp", e_TCP_FILT_ACK, {0, 1}, {2, 3, 255}},
    {"Tcp", e_TCP_FILT_FIN, {0, 1}, {2, 3, 255}},
    {"Tcp", e_TCP_FILT_RST, {0, 1}, {2, 3, 255}},
    {"Tcp", e_TCP_FILT_CTRL, {0, 1, 62, 63}, {64, 65, 255}},
    {"Udp", e_UDP_FILT_SPORT, {0, 1, 65535}, {}},
    {"Udp", e_UDP_FILT_DPORT, {0, 1, 65535}, {}},
};

// Bytes that do not belong to the value (the rest of the value area) are not looked at, whatever they hold.
TEST_F(FilterValues, LimitsOnBothSides) {
    std::set<std::pair<std::string, u32>> seen;
    for (const Limit &limit : kLimits) {
        const FilterMember &m = FilterOf(limit.header);
        seen.insert({limit.header, limit.type});
        for (const u8 fill : {u8{0x00}, u8{0xFF}}) {
            SCOPED_TRACE(m.Label() + " " + m.types[limit.type].name + " spare bytes " + std::to_string(fill));
            for (const u32 value : limit.accepted) {
                SCOPED_TRACE(value);
                Expect(m, MakeFilter(m, limit.type, e_CMP_EQ, value, fill), true);
            }
            for (const u32 value : limit.refused) {
                SCOPED_TRACE(value);
                Expect(m, MakeFilter(m, limit.type, e_CMP_EQ, value, fill), false);
            }
        }
    }
    EXPECT_EQ(seen.size(), 5u + 6u + 5u + 11u + 7u + 2u) << "a type is missing from the table";
}

TEST_F(FilterValues, InnerTagHasTheSameLimits) {
    const FilterMember &m = FilterOf("Vlan[1]");
    for (const Limit &limit : kLimits) {
        if (std::string(limit.header) != "Vlan[0]") {
            continue;
        }
        SCOPED_TRACE(m.types[limit.type].name);
        for (const u32 value : limit.accepted) {
            Expect(m, MakeFilter(m, limit.type, e_CMP_EQ, value), true);
        }
        for (const u32 value : limit.refused) {
            Expect(m, MakeFilter(m, limit.type, e_CMP_EQ, value), false);
        }
    }
}

// All 256 values of every 8-bit type, and all of the 16-bit types at a stride that meets every limit.
TEST_F(FilterValues, EveryValueOfTheSmallTypes) {
    Findings findings;
    unsigned long calls = 0;
    Capture([&] {
        for (const FilterMember &m : FilterMembers()) {
            for (u32 type = 0; type < m.NumTypes(); ++type) {
                const FilterType &rule = m.types[type];
                if (rule.field != Field::U8 && rule.field != Field::U16) {
                    continue;
                }
                const u32 last = rule.field == Field::U8 ? 0xFF : 0xFFFF;
                for (u32 value = 0; value <= last; value += value < 0x1100 || value > 0xFF00 ? 1 : 0x10) {
                    Restore();
                    const AnyFilter req = MakeFilter(m, type, e_CMP_EQ, value);
                    const u32 want = value >= rule.lowest && value <= rule.highest ? 0 : 25;
                    const u32 code = m.validateConfig(fcb_, &req);
                    ++calls;
                    if (code != want) {
                        findings.Add(m.Label() + " " + rule.name + " value " + std::to_string(value) +
                                     ": code " + std::to_string(code));
                    }
                }
            }
        }
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_GT(calls, 100000ul);
}

// The not-equal operator has the same limits.
TEST_F(FilterValues, LimitsUnderTheNotEqualOperator) {
    const struct {
        const char *header;
        u32 type;
        u32 value;
        bool accepted;
    } rows[] = {{"Eth", e_ETH_FILT_ETHTYPE, 0x05FF, false}, {"Eth", e_ETH_FILT_ETHTYPE, 0x0600, true},
                {"Vlan[0]", e_VLAN_FILT_TPID, 0, true},     {"Vlan[0]", e_VLAN_FILT_VID, 4095, true},
                {"Vlan[1]", e_VLAN_FILT_VID, 4096, false},  {"Pppoe", e_PPPOE_FILT_TYPE, 1, true},
                {"Pppoe", e_PPPOE_FILT_TYPE, 2, false},     {"Pppoe", e_PPPOE_FILT_PROTO, 65535, true},
                {"Ipv4", e_IPV4_FILT_PROTO, 65534, true},   {"Ipv4", e_IPV4_FILT_PROTO, 65535, false},
                {"Tcp", e_TCP_FILT_SPORT, 65535, true},     {"Tcp", e_TCP_FILT_DPORT, 0, true},
                {"Udp", e_UDP_FILT_SPORT, 65535, true},     {"Udp", e_UDP_FILT_DPORT, 0, true}};
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.header);
        SCOPED_TRACE(m.Label() + " " + m.types[row.type].name + " " + std::to_string(row.value));
        Expect(m, MakeFilter(m, row.type, e_CMP_NEQ, row.value), row.accepted);
    }
}

TEST_F(FilterValues, DscpRangeNeedsAnUpperBoundFromTheValueTo63) {
    const FilterMember &m = FilterOf("Ipv4");
    const u8 edges[] = {0, 1, 9, 10, 11, 62, 63, 64, 65, 127, 128, 255};
    for (const u8 low : edges) {
        for (const u8 high : edges) {
            SCOPED_TRACE(std::to_string(low) + " to " + std::to_string(high));
            AnyFilter req = MakeFilter(m, e_IPV4_FILT_DSCP, e_CMP_IN_RANGE, low);
            req.ipv4.val2.dscp = high;
            Expect(m, req, low <= 63 && high <= 63 && high >= low);
        }
    }
}

// Only the first byte of the second value is the bound, and only a range looks at it.
TEST_F(FilterValues, DscpUpperBoundIsOneByteOfARange) {
    const FilterMember &m = FilterOf("Ipv4");
    AnyFilter range = MakeFilter(m, e_IPV4_FILT_DSCP, e_CMP_IN_RANGE, 10, 0xFF);
    range.ipv4.val2.dscp = 20;
    Expect(m, range, true);
    AnyFilter equal = MakeFilter(m, e_IPV4_FILT_DSCP, e_CMP_EQ, 10);
    equal.ipv4.val2.dscp = 9;
    Expect(m, equal, true);
    equal.ipv4.val2.dscp = 255;
    Expect(m, equal, true);
}

// Through the public operation: the refused value's bit and counter stay, the request lists do not change,
// and the header then behaves as if the filter had been accepted.
TEST_F(FilterValues, RefusedValueBlocksTheTypesThatItExcludes) {
    for (const Limit &limit : kLimits) {
        if (limit.refused.empty()) {
            continue;
        }
        const FilterMember &m = FilterOf(limit.header);
        SCOPED_TRACE(m.Label() + " " + m.types[limit.type].name);
        Restore();
        Fcb expected;
        CopyFcb(&expected, fresh_);
        m.Entry(&expected)->curBmap = static_cast<u16>(1u << limit.type);
        *m.Counter(&expected, e_CMP_EQ, limit.type) = 1;

        u32 code = 0;
        std::string out = CaptureMasked(
            [&] { code = Config(m, MakeFilter(m, limit.type, e_CMP_EQ, limit.refused.front())); });
        EXPECT_EQ(code, 25u);
        EXPECT_EQ(out, CodeLine(m.Fn("Validate_Config_"), "e_RET_ERR_INVALID_PARAM") +
                           RetVal(m.Fn("QIR_Config_"), 25));
        EXPECT_EQ(FcbDiff(expected, *fcb_), "");

        out = CaptureMasked([&] { code = Config(m, GoodFilter(m, limit.type, e_CMP_EQ)); });
        const bool repeatable = m.types[limit.type].excludedBy.empty();
        EXPECT_EQ(code, repeatable ? 21u : 22u);
        EXPECT_EQ(out, (repeatable ? Err(m.Chk(), "Invalid Cmp Op") : "") + Code(m.Chk(), code) +
                           RetVal(m.Fn("QIR_Config_"), code));
        EXPECT_EQ(FcbDiff(expected, *fcb_), "");
    }
}

TEST_F(FilterValues, RefusedValuesUseUpTheOperatorsLimit) {
    const FilterMember &m = FilterOf("Eth");
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(QuietConfig(m, MakeFilter(m, e_ETH_FILT_ETHTYPE, e_CMP_NEQ, 0x05FF)), 25u);
    }
    EXPECT_EQ(QuietConfig(m, MakeFilter(m, e_ETH_FILT_ETHTYPE, e_CMP_NEQ, 0x0600)), 21u);
    EXPECT_EQ(fcb_->filterBlk.eth.hdr.reqCount, 0u);
    EXPECT_EQ(fcb_->filterBlk.eth.hdr.curBmap, 0x0010u);
    EXPECT_EQ(fcb_->filterBlk.eth.cmpOpCurCnt[1 * 5 + 4], 4u);
}

} // namespace
} // namespace test
