// The order of the checks of the action operations: a request that breaks two of them is refused by the
// first, with its code, its lines and its state.
#include "qirapi/private/fcb.h"
#include "tests/actions/action_kit.h"

#include <functional>

namespace test {
namespace {

// A type of the member and what stands in its way.
struct Probe {
    const char *header;
    u32 type;
    u32 excluder; // 99: nothing excludes it
    u32 badValue; // 0: every value is good
};

constexpr u32 kNothing = 99;

const Probe kProbes[] = {
    {"Eth", e_ETH_ACTION_ETHTYPE, e_ETH_ACTION_ETHTYPE, 0x05FF},
    {"Eth", e_ETH_ACTION_PUSH_TAG, kNothing, 0},
    {"Eth", e_ETH_ACTION_POP_TAG, kNothing, 0},
    {"Vlan[0]", e_VLAN_ACTION_SET_PBITS, e_VLAN_ACTION_SET_TAG, 8},
    {"Vlan[1]", e_VLAN_ACTION_COPY_VID_FROM_TAG, e_VLAN_ACTION_SET_TCI, 1},
    {"Pppoe", 0, 0, 0},
    {"Ipv4", e_IPV4_ACTION_TOS, e_IPV4_ACTION_DSCP, 0},
    {"Tcp", e_TCP_ACTION_SPORT, e_TCP_ACTION_SPORT, 0},
    {"Udp", e_UDP_ACTION_DPORT, e_UDP_ACTION_DPORT, 0},
};

struct Call {
    const ActionMember &m;
    const Probe &probe;
    Fcb *fcb;
    FlowHdl hdl;
    bool nullFlow = false;
    bool nullRecord = false;
    AnyAction req;
};

// A check: how a call breaks it, and what the call then answers. The refusal names code and lines without the
// closing line and changes the FCB as it leaves it.
struct Check {
    const char *name;
    std::function<void(Call &)> breakIt;
    std::function<Outcome(const Call &, Fcb *)> refusal;
};

using Checks = std::vector<Check>;

std::function<Outcome(const Call &, Fcb *)> By(const char *prefix, u32 code) {
    return [prefix, code](const Call &c, Fcb *) { return Outcome{code, Code(c.m.Fn(prefix), code)}; };
}

// A refusal behind the exclusion rules: the type's bit stays.
std::function<Outcome(const Call &, Fcb *)> ByStore(u32 code, const char *line = "") {
    return [code, line](const Call &c, Fcb *after) {
        HdrEntry *const entry = c.m.Entry(after);
        entry->curBmap = static_cast<u16>(entry->curBmap | (1u << c.probe.type));
        return Outcome{code, line + Code(c.m.Fn("Config_"), code)};
    };
}

Checks EntryChecks(const ActionMember &m, const char *op) {
    Checks checks = {
        {"null flow", [](Call &c) { c.nullFlow = true; }, By(op, 2)},
        {"null record", [](Call &c) { c.nullRecord = true; }, By(op, 2)},
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
        checks.push_back({"tag", [](Call &c) { SetTag(&c.req, 2); }, By(op, 44)});
    }
    checks.push_back({"header",
                      [](Call &c) {
                          c.fcb->actionBlk.hdrBmap =
                              static_cast<u16>(c.fcb->actionBlk.hdrBmap & ~(1u << c.m.bit));
                      },
                      By(op, 11)});
    return checks;
}

Checks ValidationChecks(const Probe &probe, bool direct) {
    const ActionMember &m = ActionOf(probe.header);
    const char *const fn = "Validate_Config_";
    Checks checks = {
        {"op", [](Call &c) { SetOp(&c.req, 1); }, By(fn, 45)},
        {"type", [](Call &c) { SetType(&c.req, c.m.NumTypes()); }, By(fn, 48)},
    };
    if (m.IsVlan() && direct) {
        checks.push_back({"tag", [](Call &c) { SetTag(&c.req, 2); }, By(fn, 44)});
    }
    if (probe.badValue != 0) {
        checks.push_back({"value",
                          [](Call &c) {
                              const AnyAction bad = MakeAction(c.m, c.probe.type, c.probe.badValue);
                              std::memcpy(c.req.bytes + 8, bad.bytes + 8, 4);
                          },
                          By(fn, 25)});
    }
    return checks;
}

Checks StoreChecks(const Probe &probe) {
    const ActionMember &m = ActionOf(probe.header);
    Checks checks;
    if (probe.excluder != kNothing) {
        checks.push_back(
            {"excluded",
             [](Call &c) { c.m.Entry(c.fcb)->curBmap = static_cast<u16>(1u << c.probe.excluder); },
             [](const Call &c, Fcb *) {
                 return Outcome{23, Code(c.m.Chk(), 23)};
             }});
    }
    if (m.IsEth() && probe.type == e_ETH_ACTION_PUSH_TAG) {
        checks.push_back({"push behind a rewrite",
                          [](Call &c) {
                              c.fcb->actionBlk.eth.reqCount = 1;
                              c.fcb->actionBlk.lastEthAction = e_ETH_ACTION_SA;
                          },
                          ByStore(9)});
        checks.push_back({"third tag", [](Call &c) { c.fcb->filterBlk.totalTags = 2; },
                          ByStore(25, "pushedTags=0 filter totalTags=2 \n")});
        checks.push_back({"header of the new tag",
                          [](Call &c) {
                              c.fcb->actionBlk.hdrBmap =
                                  static_cast<u16>(c.fcb->actionBlk.hdrBmap & ~0x0002u);
                          },
                          ByStore(25)});
    }
    if (m.IsEth() && probe.type == e_ETH_ACTION_POP_TAG) {
        checks.push_back({"pop without a tag",
                          [](Call &c) { c.fcb->actionBlk.poppedTags = c.fcb->filterBlk.totalTags; },
                          ByStore(25)});
    }
    if (m.IsEth() && probe.type == e_ETH_ACTION_ETHTYPE) {
        checks.push_back({"rewrite behind a pop",
                          [](Call &c) { c.fcb->actionBlk.lastEthAction = e_ETH_ACTION_POP_TAG; },
                          ByStore(9)});
    }
    checks.push_back(
        {"pool", [](Call &c) { DrainPool(c.fcb); },
         [](const Call &c, Fcb *after) {
             HdrEntry *const entry = c.m.Entry(after);
             entry->curBmap = static_cast<u16>(entry->curBmap | (1u << c.probe.type));
             return Outcome{12, Code("Alloc_ReqNode", 12) + CaptureMasked([&] { qir::Dump_FCB(c.fcb); })};
         }});
    return checks;
}

class ActionCheckOrder : public ActionFlowTest {
  protected:
    using Run = std::function<u32(const Call &)>;

    // Every check alone and every pair of checks. `closing` names the operation that ends with "retVal".
    void ExpectOrder(const Probe &probe, const Checks &checks, const std::string &closing, const Run &run) {
        const ActionMember &m = ActionOf(probe.header);
        for (std::size_t first = 0; first < checks.size(); ++first) {
            for (std::size_t second = first; second < checks.size(); ++second) {
                SCOPED_TRACE(m.Label() + " " + m.types[probe.type].name + ": " + checks[first].name +
                             " before " + checks[second].name);
                Restore();
                fcb_->filterBlk.totalTags = probe.type == e_ETH_ACTION_POP_TAG && m.IsEth() ? 1 : 0;
                Call call{m, probe, fcb_, hdl_, false, false, GoodAction(m, probe.type)};
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
                CopyFcb(fcb_, expected);
                EXPECT_LE(before.ChangedBytes().size(), 1u) << "at most a bit of the type's bitmap";
            }
        }
    }
};

TEST_F(ActionCheckOrder, PublicOperations) {
    for (const Probe &probe : kProbes) {
        const ActionMember &m = ActionOf(probe.header);
        Checks checks = EntryChecks(m, "QIR_Config_");
        for (const Checks &more : {ValidationChecks(probe, false), StoreChecks(probe)}) {
            checks.insert(checks.end(), more.begin(), more.end());
        }
        ExpectOrder(probe, checks, m.Fn("QIR_Config_"), [&m](const Call &call) {
            FlowHdl hdl = call.hdl;
            return m.config(call.nullFlow ? nullptr : &hdl, call.nullRecord ? nullptr : &call.req);
        });
    }
}

TEST_F(ActionCheckOrder, ValidationFunctions) {
    for (const Probe &probe : kProbes) {
        const ActionMember &m = ActionOf(probe.header);
        const Checks checks = ValidationChecks(probe, true);
        ASSERT_EQ(checks.size(), 2u + (m.IsVlan() ? 1 : 0) + (probe.badValue != 0 ? 1 : 0));
        ExpectOrder(probe, checks, "", [&m](const Call &call) { return m.validateConfig(&call.req); });
    }
}

TEST_F(ActionCheckOrder, StoreFunctions) {
    for (const Probe &probe : kProbes) {
        const ActionMember &m = ActionOf(probe.header);
        ExpectOrder(probe, StoreChecks(probe), "",
                    [&m](const Call &call) { return m.store(call.fcb, &call.req); });
    }
}

// A query's checks: the tag and the header bit come before the type, unlike those of filters.
Checks QueryChecks(const ActionMember &m, bool direct) {
    const char *const fn = "Validate_Get_";
    Checks checks = direct ? Checks{} : EntryChecks(m, "QIR_Get_");
    checks.push_back({"type", [](Call &c) { SetType(&c.req, c.m.NumTypes()); }, By(fn, m.IsEth() ? 25 : 48)});
    if (m.IsVlan() && direct) {
        checks.push_back({"tag", [](Call &c) { SetTag(&c.req, 2); }, By(fn, 44)});
    }
    if (!direct) {
        checks.push_back({"nothing stored", [](Call &) {},
                          [](const Call &, Fcb *) {
                              return Outcome{6, Code("Get_Action", 6)};
                          }});
    }
    return checks;
}

TEST_F(ActionCheckOrder, PublicQueries) {
    for (const Probe &probe : kProbes) {
        const ActionMember &m = ActionOf(probe.header);
        bool untouched = true;
        ExpectOrder(probe, QueryChecks(m, false), m.Fn("QIR_Get_"), [&](const Call &call) {
            FlowHdl hdl = call.hdl;
            AnyAction record = call.req;
            const u32 code = m.get(call.nullFlow ? nullptr : &hdl, call.nullRecord ? nullptr : &record);
            untouched = untouched && std::memcmp(record.bytes, call.req.bytes, sizeof record.bytes) == 0;
            return code;
        });
        EXPECT_TRUE(untouched) << m.Label() << ": a refused query leaves the caller's record alone";
    }
}

TEST_F(ActionCheckOrder, QueryValidationFunctions) {
    for (const Probe &probe : kProbes) {
        const ActionMember &m = ActionOf(probe.header);
        ExpectOrder(probe, QueryChecks(m, true), "",
                    [&m](const Call &call) { return m.validateGet(&call.req); });
    }
}

// Values far out of range are not taken for small ones.
TEST_F(ActionCheckOrder, OutOfRangeWordsAreComparedAsTheyAre) {
    const ContextSnapshot before;
    for (const ActionMember &m : ActionMembers()) {
        SCOPED_TRACE(m.Label());
        for (const u32 op : {1u, 2u, 256u, 0x80000000u, 0xFFFFFFFFu}) {
            AnyAction req = GoodAction(m, 0);
            SetOp(&req, op);
            EXPECT_EQ(QuietConfig(m, req), 45u) << "op " << op;
        }
        for (const u32 type : {m.NumTypes(), m.NumTypes() + 1, 16u, 32u, 256u, 65536u, 0xFFFFFFFFu}) {
            AnyAction req = MakeAction(m, type, 0);
            EXPECT_EQ(QuietConfig(m, req), 48u) << "type " << type;
            u32 code = 0;
            Capture([&] { code = m.get(&hdl_, &req); });
            EXPECT_EQ(code, m.IsEth() ? 25u : 48u) << "query of type " << type;
        }
    }
    const ActionMember &vlan = ActionOf("Vlan[0]");
    for (const u32 tag : {2u, 3u, 255u, 256u, 0xFFFFFFFFu}) {
        AnyAction req = GoodAction(vlan, 0);
        SetTag(&req, tag);
        EXPECT_EQ(QuietConfig(vlan, req), 44u) << "tag " << tag;
        u32 code = 0;
        EXPECT_EQ(CaptureMasked([&] { code = vlan.get(&hdl_, &req); }),
                  Refusal("QIR_Get_VlanAction", "e_RET_ERR_INVALID_TAGNUM", 44));
        EXPECT_EQ(code, 44u);
    }
    EXPECT_TRUE(before.Unchanged());
}

// Each operation looks at the bit of its own header in the action block, and at no other.
TEST_F(ActionCheckOrder, HeaderBitOfEachOperation) {
    const struct {
        const char *header;
        u16 bit;
    } rows[] = {{"Eth", 0x01},  {"Vlan[0]", 0x02}, {"Vlan[1]", 0x04}, {"Pppoe", 0x20},
                {"Ipv4", 0x80}, {"Tcp", 0x80},     {"Udp", 0x80}};
    for (const auto &row : rows) {
        const ActionMember &m = ActionOf(row.header);
        SCOPED_TRACE(m.Label());
        Restore();
        AnyAction req = GoodAction(m, 0);
        fcb_->actionBlk.hdrBmap = static_cast<u16>(~row.bit);
        fcb_->filterBlk.hdrBmap = 0xFFFF;
        const ContextSnapshot before;
        u32 code = 0;
        EXPECT_EQ(QuietConfig(m, req), 11u);
        Capture([&] { code = m.get(&hdl_, &req); });
        EXPECT_EQ(code, 11u);
        EXPECT_TRUE(before.Unchanged());
        fcb_->actionBlk.hdrBmap = row.bit;
        fcb_->filterBlk.hdrBmap = 0;
        EXPECT_EQ(QuietConfig(m, req), 0u);
        EXPECT_EQ(m.get(&hdl_, &req), 0u);
    }
}

} // namespace
} // namespace test
