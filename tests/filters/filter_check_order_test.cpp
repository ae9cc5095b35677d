// The order of the checks of the filter operations: a request that breaks two of them is refused by the
// first, with its code, its lines and its state.
#include "qirapi/private/fcb.h"
#include "tests/filters/filter_kit.h"

#include <functional>

namespace test {
namespace {

// A type of the member that can be excluded and that has a value to refuse.
struct Probe {
    const char *header;
    u32 type;
    u32 excluder;
    u32 badValue;
};

const Probe kProbes[] = {
    {"Eth", e_ETH_FILT_MCAST, e_ETH_FILT_BCAST, 2},     {"Vlan[0]", e_VLAN_FILT_PBITS, e_VLAN_FILT_TCI, 8},
    {"Vlan[1]", e_VLAN_FILT_PBITS, e_VLAN_FILT_TAG, 8}, {"Pppoe", e_PPPOE_FILT_VER, e_PPPOE_FILT_VER, 2},
    {"Ipv4", e_IPV4_FILT_TOS, e_IPV4_FILT_DSCP, 255},   {"Tcp", e_TCP_FILT_SYN, e_TCP_FILT_CTRL, 2},
    {"Udp", e_UDP_FILT_SPORT, e_UDP_FILT_SPORT, 0},
};

// One call: the flow prepared for it, the pointers and the record it passes.
struct Call {
    const FilterMember &m;
    const Probe &probe;
    Fcb *fcb;
    FlowHdl hdl;
    bool nullFlow = false;
    bool nullRecord = false;
    AnyFilter req;
};

// A check: how a call breaks it, and what the call then answers.
struct Check {
    const char *name;
    std::function<void(Call &)> breakIt;
    // Code and lines of internal functions and of the operation, without the closing line. Changes the FCB as
    // the refusal leaves it.
    std::function<Outcome(const Call &, Fcb *)> refusal;
};

using Checks = std::vector<Check>;

Outcome ByPublic(const Call &call, u32 code) {
    return {code, Code(call.m.Fn("QIR_Config_"), code)};
}

Outcome ByValidate(const Call &call, u32 code) {
    return {code, Code(call.m.Fn("Validate_Config_"), code)};
}

// What the public operation looks at before validation.
Checks EntryChecks(const FilterMember &m) {
    Checks checks = {
        {"null flow", [](Call &c) { c.nullFlow = true; },
         [](const Call &c, Fcb *) { return ByPublic(c, 2); }},
        {"null record", [](Call &c) { c.nullRecord = true; },
         [](const Call &c, Fcb *) { return ByPublic(c, 2); }},
        {"handle out of range", [](Call &c) { c.hdl.f1.id = 512; },
         [](const Call &, Fcb *) {
             return Outcome{3, Err("Validate_FlowHdl", "Value out of range for flowHdl<512>") +
                                   Code("Validate_FlowHdl", 3)};
         }},
        {"flow free", [](Call &c) { c.hdl.f1.id = 6; },
         [](const Call &, Fcb *) {
             return Outcome{3, Err("Validate_FlowHdl", "Invalid flowHdl<6> FCB is free") +
                                   Code("Validate_FlowHdl", 3)};
         }},
    };
    if (m.IsVlan()) {
        checks.push_back({"tag", [](Call &c) { SetTag(&c.req, 2); },
                          [](const Call &c, Fcb *) { return ByPublic(c, 44); }});
    }
    checks.push_back({"header",
                      [](Call &c) {
                          c.fcb->filterBlk.hdrBmap =
                              static_cast<u16>(c.fcb->filterBlk.hdrBmap & ~(1u << c.m.bit));
                      },
                      [](const Call &c, Fcb *) { return ByPublic(c, 11); }});
    return checks;
}

// What validation looks at.
Checks ValidationChecks(const FilterMember &m, bool direct) {
    Checks checks = {
        {"op", [](Call &c) { SetOp(&c.req, 1); }, [](const Call &c, Fcb *) { return ByValidate(c, 45); }},
        {"operator out of range", [](Call &c) { SetCmpOp(c.m, &c.req, 3); },
         [](const Call &c, Fcb *) { return ByValidate(c, 46); }},
        {"type", [](Call &c) { SetType(c.m, &c.req, c.m.NumTypes()); },
         [](const Call &c, Fcb *) { return ByValidate(c, 47); }},
    };
    if (m.IsVlan() && direct) {
        checks.push_back({"tag", [](Call &c) { SetTag(&c.req, 2); },
                          [](const Call &c, Fcb *) { return ByValidate(c, 44); }});
    }
    checks.push_back({"operator of the type", [](Call &c) { SetCmpOp(c.m, &c.req, e_CMP_IN_RANGE); },
                      [](const Call &c, Fcb *) {
                          Outcome refused = ByValidate(c, 21);
                          if (c.m.IsUdp()) {
                              refused.code = 25;
                              refused.lines += Code(c.m.Fn("Validate_Config_"), 25);
                          }
                          return refused;
                      }});
    checks.push_back({"excluded",
                      [](Call &c) { c.m.Entry(c.fcb)->curBmap = static_cast<u16>(1u << c.probe.excluder); },
                      [](const Call &c, Fcb *) {
                          return Outcome{22, Code(c.m.Chk(), 22)};
                      }});
    checks.push_back({"limit", [](Call &c) { *c.m.Counter(c.fcb, e_CMP_EQ, c.probe.type) = 1; },
                      [](const Call &c, Fcb *after) {
                          HdrEntry *const entry = c.m.Entry(after);
                          entry->curBmap = static_cast<u16>(entry->curBmap | (1u << c.probe.type));
                          return Outcome{21, Err(c.m.Chk(), "Invalid Cmp Op") + Code(c.m.Chk(), 21)};
                      }});
    if (!m.IsUdp()) {
        checks.push_back({"value",
                          [](Call &c) {
                              const AnyFilter bad = MakeFilter(c.m, c.probe.type, e_CMP_EQ, c.probe.badValue);
                              const std::size_t at = c.m.IsVlan() ? 16 : 12;
                              std::memcpy(c.req.bytes + at, bad.bytes + at, 4);
                          },
                          [](const Call &c, Fcb *after) {
                              HdrEntry *const entry = c.m.Entry(after);
                              entry->curBmap = static_cast<u16>(entry->curBmap | (1u << c.probe.type));
                              ++*c.m.Counter(after, e_CMP_EQ, c.probe.type);
                              return ByValidate(c, 25);
                          }});
    }
    return checks;
}

// What storing looks at.
Check PoolCheck() {
    return {"pool", [](Call &c) { DrainPool(c.fcb); },
            [](const Call &c, Fcb *after) {
                HdrEntry *const entry = c.m.Entry(after);
                entry->curBmap = static_cast<u16>(entry->curBmap | (1u << c.probe.type));
                ++*c.m.Counter(after, e_CMP_EQ, c.probe.type);
                return Outcome{12, Code("Alloc_ReqNode", 12) + CaptureMasked([&] { qir::Dump_FCB(c.fcb); })};
            }};
}

class FilterCheckOrder : public FilterFlowTest {
  protected:
    using Run = std::function<u32(const Call &)>;

    // Every check alone and every pair of checks. `closing` names the operation that ends with "retVal".
    void ExpectOrder(const FilterMember &m, const Probe &probe, const Checks &checks,
                     const std::string &closing, const Run &run) {
        for (std::size_t first = 0; first < checks.size(); ++first) {
            for (std::size_t second = first; second < checks.size(); ++second) {
                SCOPED_TRACE(m.Label() + ": " + checks[first].name + " before " + checks[second].name);
                Restore();
                Call call{m, probe, fcb_, hdl_, false, false, GoodFilter(m, probe.type, e_CMP_EQ)};
                checks[second].breakIt(call);
                checks[first].breakIt(call);
                Fcb expected;
                CopyFcb(&expected, *fcb_);
                const Outcome want = checks[first].refusal(call, &expected);
                const ContextSnapshot before;
                u32 code = 0;
                const std::string out = CaptureMasked([&] { code = run(call); });
                EXPECT_EQ(code, want.code);
                EXPECT_EQ(out, want.lines + (closing.empty() ? "" : RetVal(closing, want.code)));
                EXPECT_EQ(FcbDiff(expected, *fcb_), "");
                // What the refusal is allowed to change lies in the flow alone.
                for (const std::size_t offset : before.ChangedBytes()) {
                    EXPECT_TRUE(InFlow(offset)) << "byte " << offset << " of the context changed";
                }
            }
        }
    }

    bool InFlow(std::size_t offset) const {
        const auto begin = static_cast<std::size_t>(reinterpret_cast<const char *>(fcb_) -
                                                    reinterpret_cast<const char *>(qirCtxt_gp));
        return offset >= begin && offset < begin + sizeof(Fcb);
    }
};

TEST_F(FilterCheckOrder, PublicOperations) {
    for (const Probe &probe : kProbes) {
        const FilterMember &m = FilterOf(probe.header);
        Checks checks = EntryChecks(m);
        for (const Check &check : ValidationChecks(m, false)) {
            checks.push_back(check);
        }
        checks.push_back(PoolCheck());
        ASSERT_EQ(checks.size(), 4u + (m.IsVlan() ? 1 : 0) + 1 + 6 + (m.IsUdp() ? 0 : 1) + 1);
        ExpectOrder(m, probe, checks, m.Fn("QIR_Config_"), [&m](const Call &call) {
            FlowHdl hdl = call.hdl;
            return m.config(call.nullFlow ? nullptr : &hdl, call.nullRecord ? nullptr : &call.req);
        });
    }
}

TEST_F(FilterCheckOrder, ValidationFunctions) {
    for (const Probe &probe : kProbes) {
        const FilterMember &m = FilterOf(probe.header);
        const Checks checks = ValidationChecks(m, true);
        ASSERT_EQ(checks.size(), 6u + (m.IsVlan() ? 1 : 0) + (m.IsUdp() ? 0 : 1));
        ExpectOrder(m, probe, checks, "",
                    [&m](const Call &call) { return m.validateConfig(call.fcb, &call.req); });
    }
}

// Values far out of range are not taken for small ones.
TEST_F(FilterCheckOrder, OutOfRangeWordsAreComparedAsTheyAre) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        for (const u32 op : {1u, 2u, 256u, 0x80000000u, 0xFFFFFFFFu}) {
            AnyFilter req = GoodFilter(m, 0, e_CMP_EQ);
            SetOp(&req, op);
            EXPECT_EQ(QuietConfig(m, req), 45u) << "op " << op;
        }
        for (const u32 cmpOp : {3u, 4u, 256u, 257u, 0xFFFFFFFFu}) {
            EXPECT_EQ(QuietConfig(m, MakeFilter(m, 0, cmpOp, 0)), 46u) << "operator " << cmpOp;
        }
        for (const u32 type : {m.NumTypes(), m.NumTypes() + 1, 16u, 31u, 32u, 256u, 65536u, 0xFFFFFFFFu}) {
            EXPECT_EQ(QuietConfig(m, MakeFilter(m, type, e_CMP_EQ, 0)), 47u) << "type " << type;
        }
        EXPECT_EQ(FcbDiff(fresh_, *fcb_), "");
    }
    const FilterMember &vlan = FilterOf("Vlan[0]");
    for (const u32 tag : {2u, 3u, 255u, 256u, 0xFFFFFFFFu}) {
        AnyFilter req = GoodFilter(vlan, 0, e_CMP_EQ);
        SetTag(&req, tag);
        EXPECT_EQ(QuietConfig(vlan, req), 44u) << "tag " << tag;
    }
    EXPECT_EQ(FcbDiff(fresh_, *fcb_), "");
}

// Each operation looks at the bit of its own header in the filter block, and at no other.
TEST_F(FilterCheckOrder, HeaderBitOfEachOperation) {
    const struct {
        const char *header;
        u16 bit;
    } rows[] = {{"Eth", 0x01},  {"Vlan[0]", 0x02}, {"Vlan[1]", 0x04}, {"Pppoe", 0x20},
                {"Ipv4", 0x80}, {"Tcp", 0x80},     {"Udp", 0x80}};
    for (const auto &row : rows) {
        const FilterMember &m = FilterOf(row.header);
        SCOPED_TRACE(m.Label());
        Restore();
        fcb_->filterBlk.hdrBmap = static_cast<u16>(~row.bit);
        fcb_->actionBlk.hdrBmap = 0xFFFF;
        const ContextSnapshot before;
        EXPECT_EQ(QuietConfig(m, GoodFilter(m, 0, e_CMP_EQ)), 11u);
        EXPECT_TRUE(before.Unchanged());
        fcb_->filterBlk.hdrBmap = row.bit;
        fcb_->actionBlk.hdrBmap = 0;
        EXPECT_EQ(QuietConfig(m, GoodFilter(m, 0, e_CMP_EQ)), 0u);
    }
}

// The header of a third tag, were it there, would not let the tag in.
TEST_F(FilterCheckOrder, TagNumberIsTestedBeforeTheHeaderBit) {
    const FilterMember &m = FilterOf("Vlan[0]");
    for (const u16 bmap : {u16{0x0000}, u16{0xFFFF}}) {
        fcb_->filterBlk.hdrBmap = bmap;
        const ContextSnapshot before;
        AnyFilter req = GoodFilter(m, 0, e_CMP_EQ);
        SetTag(&req, 2);
        EXPECT_EQ(CaptureMasked([&] { Config(m, req); }),
                  Refusal("QIR_Config_VlanFilter", "e_RET_ERR_INVALID_TAGNUM", 44));
        EXPECT_TRUE(before.Unchanged());
    }
}

} // namespace
} // namespace test
