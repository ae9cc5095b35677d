// The acceptance matrix: header, type, operator, and what is already there.
#include "tests/filters/filter_kit.h"

#include <algorithm>

namespace test {
namespace {

class FilterMatrix : public FilterFlowTest {};

std::string Case(const FilterMember &m, u32 type, u32 cmpOp) {
    return m.Label() + " " + m.types[type].name + " operator " + std::to_string(cmpOp);
}

// An empty header, and a header with one filter: the code, every line, every byte of the context.
TEST_F(FilterMatrix, OnePredecessorWithLinesAndBytes) {
    for (const FilterMember &m : FilterMembers()) {
        for (u32 there = 0; there <= m.NumTypes(); ++there) {
            const bool empty = there == m.NumTypes();
            for (u32 at = 0; at < m.NumTypes() * e_CMP_MAX; ++at) {
                const u32 type = at % m.NumTypes();
                const u32 cmpOp = at / m.NumTypes();
                SCOPED_TRACE(Case(m, type, cmpOp) + " after " + (empty ? "nothing" : m.types[there].name));
                Restore();
                if (!empty) {
                    ASSERT_EQ(Config(m, GoodFilter(m, there, e_CMP_EQ)), 0u);
                }
                Fcb expected;
                CopyFcb(&expected, *fcb_);
                const AnyFilter req = GoodFilter(m, type, cmpOp);
                const Outcome want = JudgeAndStoreFilter(m, &expected, req);
                u32 code = 99;
                const std::string out = CaptureMasked([&] { code = Config(m, req); });
                const std::string fn = m.Fn("QIR_Config_");
                ASSERT_EQ(code, want.code);
                ASSERT_EQ(out, want.code == 0 ? "" : want.lines + RetVal(fn, want.code));
                ASSERT_EQ(FcbDiff(expected, *fcb_), "");
            }
        }
    }
}

// Adds (type, operator) in every order, one level per filter. Every call is compared with the rules: its
// code and all bytes of the FCB.
struct Walk {
    const FilterMember &m;
    FlowHdl *hdl;
    Fcb *fcb;
    Findings *findings;
    unsigned long calls = 0;

    void Add(unsigned depth, const std::string &path) {
        Fcb before;
        CopyFcb(&before, *fcb);
        for (u32 at = 0; at < m.NumTypes() * e_CMP_MAX; ++at) {
            const u32 type = at % m.NumTypes();
            const u32 cmpOp = at / m.NumTypes();
            const AnyFilter req = GoodFilter(m, type, cmpOp);
            Fcb expected;
            CopyFcb(&expected, before);
            const Outcome want = JudgeAndStoreFilter(m, &expected, req);
            const u32 code = m.config(hdl, &req);
            ++calls;
            const std::string step = path + " " + m.types[type].name + "/" + std::to_string(cmpOp);
            const std::string diff = FcbDiff(expected, *fcb);
            if (code != want.code || !diff.empty()) {
                findings->Add(m.Label() + step + ": code " + std::to_string(code) + " for " +
                              std::to_string(want.code) + diff);
            }
            if (depth > 1) {
                Add(depth - 1, step);
            }
            CopyFcb(fcb, before);
        }
    }
};

// Every pair of predecessors, in both orders and with every operator, and then every filter.
TEST_F(FilterMatrix, EveryPairOfPredecessors) {
    const ContextSnapshot before;
    Findings findings;
    unsigned long calls = 0;
    unsigned long wanted = 0;
    Capture([&] {
        for (const FilterMember &m : FilterMembers()) {
            Walk walk{m, &hdl_, fcb_, &findings};
            walk.Add(3, "");
            calls += walk.calls;
            const unsigned long steps = m.NumTypes() * 3ul;
            wanted += steps + steps * steps + steps * steps * steps;
        }
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_EQ(calls, wanted);
    EXPECT_TRUE(before.Unchanged()) << "a byte outside the flow changed";
}

// Every subset of types that may be there, prepared in the header's entry, with the request's own counter
// empty and at its limit.
TEST_F(FilterMatrix, EverySubsetOfPresentTypes) {
    const ContextSnapshot before;
    Findings findings;
    unsigned long calls = 0;
    Capture([&] {
        for (const FilterMember &m : FilterMembers()) {
            for (u32 present = 0; present < 1u << m.NumTypes(); ++present) {
                for (u32 at = 0; at < m.NumTypes() * e_CMP_MAX; ++at) {
                    const u32 type = at % m.NumTypes();
                    const u32 cmpOp = at / m.NumTypes();
                    const AnyFilter req = GoodFilter(m, type, cmpOp);
                    for (const u8 counter : {u8{0}, static_cast<u8>(kOperatorLimit[cmpOp])}) {
                        Restore();
                        m.Entry(fcb_)->curBmap = static_cast<u16>(present);
                        *m.Counter(fcb_, cmpOp, type) = counter;
                        Fcb expected;
                        CopyFcb(&expected, *fcb_);
                        const Outcome want = JudgeFilter(m, &expected, req);
                        const u32 code = m.validateConfig(fcb_, &req);
                        ++calls;
                        const std::string diff = FcbDiff(expected, *fcb_);
                        if (code != want.code || !diff.empty()) {
                            findings.Add(Case(m, type, cmpOp) + " beside " + std::to_string(present) +
                                         " counter " + std::to_string(counter) + ": code " +
                                         std::to_string(code) + " for " + std::to_string(want.code) + diff);
                        }
                    }
                }
            }
        }
        Restore();
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_EQ(calls, 2ul * 3 * (5 * 32 + 2 * 6 * 64 + 5 * 32 + 11 * 2048 + 7 * 128 + 2 * 4));
    EXPECT_TRUE(before.Unchanged());
}

// The two types that may come again: every order of equal and not-equal, seven filters long.
TEST_F(FilterMatrix, RepeatableTypesAreBoundedByTheOperatorLimit) {
    const struct {
        const char *header;
        u32 type;
    } rows[] = {{"Eth", e_ETH_FILT_ETHTYPE}, {"Ipv4", e_IPV4_FILT_PROTO}};
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.header);
        Findings findings;
        Capture([&] {
            for (unsigned order = 0; order < 128; ++order) {
                Restore();
                Fcb expected;
                CopyFcb(&expected, *fcb_);
                for (unsigned i = 0; i < 7; ++i) {
                    const AnyFilter req = GoodFilter(m, row.type, order >> i & 1u);
                    const Outcome want = JudgeAndStoreFilter(m, &expected, req);
                    const u32 code = Config(m, req);
                    const std::string diff = FcbDiff(expected, *fcb_);
                    if (code != want.code || !diff.empty()) {
                        findings.Add(m.Label() + " order " + std::to_string(order) + " step " +
                                     std::to_string(i) + diff);
                    }
                }
                const unsigned notEqual = static_cast<unsigned>(__builtin_popcount(order));
                const unsigned stored = std::min(notEqual, 4u) + std::min(7u - notEqual, 1u);
                if (m.Entry(fcb_)->reqCount != stored) {
                    findings.Add(m.Label() + " order " + std::to_string(order) + ": " +
                                 std::to_string(m.Entry(fcb_)->reqCount) + " stored");
                }
            }
        });
        EXPECT_EQ(findings.Text(), "");
    }
}

// What one header holds says nothing about another.
TEST_F(FilterMatrix, HeadersDoNotShareTheirRecords) {
    for (const FilterMember &full : FilterMembers()) {
        SCOPED_TRACE("full " + full.Label());
        Restore();
        full.Entry(fcb_)->curBmap = 0xFFFF;
        for (u32 i = 0; i < full.NumTypes() * e_CMP_MAX; ++i) {
            *full.Counter(fcb_, 0, i) = 0xFF;
        }
        for (const FilterMember &m : FilterMembers()) {
            if (&m == &full) {
                continue;
            }
            for (u32 type = 0; type < m.NumTypes(); ++type) {
                Fcb before;
                CopyFcb(&before, *fcb_);
                EXPECT_EQ(Config(m, GoodFilter(m, type, e_CMP_EQ)), 0u) << m.Label() << " " << type;
                CopyFcb(fcb_, before);
            }
        }
    }
}

// An empty header takes any type with any operator of its bitmap, and nothing else.
TEST_F(FilterMatrix, OperatorsOfAnEmptyHeader) {
    const struct {
        const char *label;
        std::vector<std::pair<u32, u32>> beyondEqual; // (type, operator) besides equal
    } rows[] = {
        {"Eth", {{e_ETH_FILT_ETHTYPE, 1}}},
        {"Vlan[0]", {{e_VLAN_FILT_TPID, 1}, {e_VLAN_FILT_VID, 1}}},
        {"Vlan[1]", {{e_VLAN_FILT_TPID, 1}, {e_VLAN_FILT_VID, 1}}},
        {"Pppoe", {{e_PPPOE_FILT_TYPE, 1}, {e_PPPOE_FILT_PROTO, 1}}},
        {"Ipv4", {{e_IPV4_FILT_PROTO, 1}, {e_IPV4_FILT_DSCP, 2}}},
        {"Tcp", {{e_TCP_FILT_SPORT, 1}, {e_TCP_FILT_DPORT, 1}}},
        {"Udp", {{e_UDP_FILT_SPORT, 1}, {e_UDP_FILT_DPORT, 1}}},
    };
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.label);
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            for (u32 cmpOp = 0; cmpOp < e_CMP_MAX; ++cmpOp) {
                SCOPED_TRACE(Case(m, type, cmpOp));
                bool accepted = cmpOp == e_CMP_EQ;
                for (const auto &[t, c] : row.beyondEqual) {
                    accepted = accepted || (t == type && c == cmpOp);
                }
                Restore();
                const u32 code = QuietConfig(m, GoodFilter(m, type, cmpOp));
                EXPECT_EQ(code, accepted ? 0u : m.IsUdp() ? 25u : 21u);
                EXPECT_EQ(m.Entry(fcb_)->curBmap, accepted ? 1u << type : 0u);
                EXPECT_EQ(*m.Counter(fcb_, cmpOp, type), accepted ? 1u : 0u);
            }
        }
    }
}

} // namespace
} // namespace test
