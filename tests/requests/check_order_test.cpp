// The order of the checks: a call that breaks two of them is refused by the first, with its code, its lines and
// its state.
#include "qirapi/private/fcb.h"
#include "tests/requests/request_kit.h"

namespace test {
namespace {

constexpr u32 kNone = 99;

// A type of the member, what excludes it and a value that it refuses.
struct Probe {
    const char *member;
    u32 type;
    u32 excluder;
    u32 badValue;
};

const Probe kProbes[] = {
    {"EthFilter", e_ETH_FILT_MCAST, e_ETH_FILT_BCAST, 2},
    {"Vlan0Filter", e_VLAN_FILT_PBITS, e_VLAN_FILT_TCI, 8},
    {"Vlan1Filter", e_VLAN_FILT_PBITS, e_VLAN_FILT_TAG, 8},
    {"PppoeFilter", e_PPPOE_FILT_VER, e_PPPOE_FILT_VER, 2},
    {"Ipv4Filter", e_IPV4_FILT_TOS, e_IPV4_FILT_DSCP, 255},
    {"TcpFilter", e_TCP_FILT_SYN, e_TCP_FILT_CTRL, 2},
    {"UdpFilter", e_UDP_FILT_SPORT, e_UDP_FILT_SPORT, kNone},
    {"EthAction", e_ETH_ACTION_ETHTYPE, e_ETH_ACTION_ETHTYPE, 0x05FF},
    {"EthAction", e_ETH_ACTION_PUSH_TAG, kNone, kNone},
    {"EthAction", e_ETH_ACTION_POP_TAG, kNone, kNone},
    {"Vlan0Action", e_VLAN_ACTION_SET_PBITS, e_VLAN_ACTION_SET_TAG, 8},
    {"Vlan1Action", e_VLAN_ACTION_COPY_VID_FROM_TAG, e_VLAN_ACTION_SET_TCI, 1},
    {"PppoeAction", 0, 0, kNone},
    {"Ipv4Action", e_IPV4_ACTION_TOS, e_IPV4_ACTION_DSCP, kNone},
    {"TcpAction", e_TCP_ACTION_SPORT, e_TCP_ACTION_SPORT, kNone},
    {"UdpAction", e_UDP_ACTION_DPORT, e_UDP_ACTION_DPORT, kNone},
};

// One call: the flow prepared for it, the pointers and the record it passes.
struct Call {
    const Member &m;
    const Probe &probe;
    Fcb *fcb;
    FlowHdl hdl;
    AnyRequest req;
    bool nullFlow = false;
    bool nullRecord = false;
    bool nullCount = false;
    u8 size = 2;
};

// How a call breaks a check, and its refusal without the closing line; this changes the FCB as the call leaves it.
struct Check {
    const char *name;
    std::function<void(Call &)> breakIt;
    std::function<Outcome(const Call &, Fcb *)> refusal;
};
using Checks = std::vector<Check>;

std::function<Outcome(const Call &, Fcb *)> By(const char *prefix, u32 code) {
    return [prefix, code](const Call &c, Fcb *) { return Outcome{code, Code(c.m.Fn(prefix), code)}; };
}

void Record(const Call &c, Fcb *after) {
    HdrEntry *const entry = c.m.Entry(after);
    entry->curBmap = static_cast<u16>(entry->curBmap | (1u << c.probe.type));
}

// A refusal of an Ethernet action behind the exclusion rules: the type's bit stays.
std::function<Outcome(const Call &, Fcb *)> ByStore(u32 code, const char *line = "") {
    return [code, line](const Call &c, Fcb *after) {
        Record(c, after);
        return Outcome{code, line + Code(c.m.Fn("Config_"), code)};
    };
}

Check BadTag(const char *prefix) {
    return {"tag", [](Call &c) { SetTag(c.m, &c.req, 2); }, By(prefix, 44)};
}

Check BadHeader(const char *op) {
    return {"header",
            [](Call &c) { *c.m.Headers(c.fcb) = static_cast<u16>(*c.m.Headers(c.fcb) & ~(1u << c.m.bit)); },
            By(op, 11)};
}

// What every operation looks at first.
Checks EntryChecks(const char *op) {
    const auto handle = [](const char *text) {
        return [text](const Call &, Fcb *) {
            return Outcome{3, Err("Validate_FlowHdl", text) + Code("Validate_FlowHdl", 3)};
        };
    };
    return {
        {"null flow", [](Call &c) { c.nullFlow = true; }, By(op, 2)},
        {"null record", [](Call &c) { c.nullRecord = true; }, By(op, 2)},
        {"handle out of range", [](Call &c) { c.hdl.f1.id = 512; },
         handle("Value out of range for flowHdl<512>")},
        {"flow free", [](Call &c) { c.hdl.f1.id = 6; }, handle("Invalid flowHdl<6> FCB is free")},
    };
}

Check BadType(const char *prefix, u32 code) {
    return {"type", [](Call &c) { SetType(c.m, &c.req, c.m.NumTypes()); }, By(prefix, code)};
}

Check Excluded() {
    return {"excluded", [](Call &c) { c.m.Entry(c.fcb)->curBmap = static_cast<u16>(1u << c.probe.excluder); },
            [](const Call &c, Fcb *) {
                return Outcome{c.m.Excluded(), Code(c.m.Chk(), c.m.Excluded())};
            }};
}

// Validation of a filter looks at the rules too, in front of the value.
void AddFilterRules(Checks *checks) {
    checks->push_back(
        {"operator of the type", [](Call &c) { SetCmpOp(c.m, &c.req, e_CMP_IN_RANGE); },
         [](const Call &c, Fcb *) {
             const std::string fn = c.m.Fn("Validate_Config_");
             return c.m.IsUdpFilter() ? Outcome{25, Code(fn, 21) + Code(fn, 25)} : Outcome{21, Code(fn, 21)};
         }});
    checks->push_back(Excluded());
    checks->push_back({"limit", [](Call &c) { *c.m.Counter(c.fcb, e_CMP_EQ, c.probe.type) = 1; },
                       [](const Call &c, Fcb *after) {
                           Record(c, after);
                           return Outcome{21, Err(c.m.Chk(), "Invalid Cmp Op") + Code(c.m.Chk(), 21)};
                       }});
}

Checks ValidationChecks(const Member &m, const Probe &probe, bool direct) {
    const char *const fn = "Validate_Config_";
    Checks checks = {{"op", [](Call &c) { SetOp(&c.req, 1); }, By(fn, 45)}};
    if (m.isFilter) {
        checks.push_back({"operator", [](Call &c) { SetCmpOp(c.m, &c.req, 3); }, By(fn, 46)});
    }
    checks.push_back(BadType(fn, m.BadType()));
    if (m.IsVlan() && direct) {
        checks.push_back(BadTag(fn));
    }
    if (m.isFilter) {
        AddFilterRules(&checks);
    }
    if (probe.badValue != kNone) {
        checks.push_back({"value", [](Call &c) { SetValue(c.m, &c.req, c.probe.type, c.probe.badValue); },
                          [](const Call &c, Fcb *after) {
                              if (c.m.isFilter) {
                                  Record(c, after);
                                  ++*c.m.Counter(after, e_CMP_EQ, c.probe.type);
                              }
                              return By("Validate_Config_", 25)(c, after);
                          }});
    }
    return checks;
}

Checks StoreChecks(const Member &m, const Probe &probe) {
    Checks checks;
    if (!m.isFilter && probe.excluder != kNone) {
        checks.push_back(Excluded());
    }
    if (m.IsEthAction() && probe.type == e_ETH_ACTION_PUSH_TAG) {
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
    if (m.IsEthAction() && probe.type == e_ETH_ACTION_POP_TAG) {
        checks.push_back({"pop without a tag",
                          [](Call &c) { c.fcb->actionBlk.poppedTags = c.fcb->filterBlk.totalTags; },
                          ByStore(25)});
    }
    if (m.IsEthAction() && probe.type == e_ETH_ACTION_ETHTYPE) {
        checks.push_back({"rewrite behind a pop",
                          [](Call &c) { c.fcb->actionBlk.lastEthAction = e_ETH_ACTION_POP_TAG; },
                          ByStore(9)});
    }
    checks.push_back({"pool", [](Call &c) { DrainPool(c.fcb); },
                      [](const Call &c, Fcb *after) {
                          const std::string dump = CaptureMasked([&] { qir::Dump_FCB(c.fcb); });
                          Record(c, after);
                          if (c.m.isFilter) {
                              ++*c.m.Counter(after, e_CMP_EQ, c.probe.type);
                          }
                          return Outcome{12, Code("Alloc_ReqNode", 12) + dump};
                      }});
    return checks;
}

Checks ConfigChecks(const Member &m, const Probe &probe) {
    Checks checks = EntryChecks("QIR_Config_");
    if (m.IsVlan()) {
        checks.push_back(BadTag("QIR_Config_"));
    }
    checks.push_back(BadHeader("QIR_Config_"));
    for (const Checks &more : {ValidationChecks(m, probe, false), StoreChecks(m, probe)}) {
        checks.insert(checks.end(), more.begin(), more.end());
    }
    return checks;
}

Checks ValidateGetChecks(const Member &m) {
    const char *const fn = "Validate_Get_";
    Checks checks;
    if (m.IsVlan() && m.isFilter) {
        checks.push_back(BadTag(fn));
    }
    checks.push_back(BadType(fn, m.BadQueryType()));
    if (m.isFilter) {
        checks.push_back({"count", [](Call &c) { c.nullCount = true; }, By(fn, 2)});
        checks.push_back({"size", [](Call &c) { c.size = 0; }, By(fn, 25)});
    } else if (m.IsVlan()) {
        checks.push_back(BadTag(fn));
    }
    return checks;
}

// Tag and header of an action come before its type, those of a filter behind it.
Checks GetChecks(const Member &m) {
    const char *const fn = "QIR_Get_";
    Checks checks = EntryChecks(fn);
    if (m.isFilter) {
        const Checks more = ValidateGetChecks(m);
        checks.insert(checks.end(), more.begin(), more.end());
        checks.push_back(BadHeader(fn));
        return checks;
    }
    if (m.IsVlan()) {
        checks.push_back(BadTag(fn));
    }
    checks.push_back(BadHeader(fn));
    checks.push_back(BadType("Validate_Get_", m.BadQueryType()));
    checks.push_back({"nothing stored", [](Call &) {},
                      [](const Call &, Fcb *) {
                          return Outcome{6, Code("Get_Action", 6)};
                      }});
    return checks;
}

class CheckOrder : public RequestTest {
  protected:
    // Every check alone and every pair of checks. `closing` names the operation that ends with "retVal".
    void ExpectOrder(const Member &m, const Probe &probe, const Checks &checks, const std::string &closing,
                     const std::function<u32(Call &)> &run) {
        for (std::size_t first = 0; first < checks.size(); ++first) {
            for (std::size_t second = first; second < checks.size(); ++second) {
                SCOPED_TRACE(m.Label() + " " + m.types[probe.type].name + ": " + checks[first].name +
                             " before " + checks[second].name);
                Restore(m);
                fcb_->filterBlk.totalTags = m.IsEthAction() && probe.type == e_ETH_ACTION_POP_TAG ? 1 : 0;
                Call call{m, probe, fcb_, hdl_, Good(m, probe.type)};
                checks[second].breakIt(call);
                checks[first].breakIt(call);
                Fcb expected;
                CopyFcb(&expected, *fcb_);
                Outcome want = checks[first].refusal(call, &expected);
                want.lines += closing.empty() ? "" : RetVal(closing, want.code);
                const ContextSnapshot before;
                const AnyRequest asked = call.req;
                const Outcome is = Run([&] { return run(call); });
                EXPECT_EQ(is.code, want.code);
                EXPECT_EQ(is.lines, want.lines);
                EXPECT_EQ(FcbDiff(expected, *fcb_), "");
                EXPECT_TRUE(Same(call.req, asked)) << "the caller's record is left alone";
                CopyFcb(fcb_, expected);
                EXPECT_LE(before.ChangedBytes().size(), 2u) << "at most a bit and a counter of the type";
            }
        }
    }
};

TEST_F(CheckOrder, Configuration) {
    for (const Probe &probe : kProbes) {
        const Member &m = Of(probe.member);
        ExpectOrder(m, probe, ConfigChecks(m, probe), m.Fn("QIR_Config_"), [&m](Call &call) {
            FlowHdl hdl = call.hdl;
            return m.config(call.nullFlow ? nullptr : &hdl, call.nullRecord ? nullptr : &call.req);
        });
        ExpectOrder(m, probe, ValidationChecks(m, probe, true), "",
                    [&m](Call &call) { return m.validateConfig(call.fcb, &call.req); });
        if (!m.isFilter) {
            ExpectOrder(m, probe, StoreChecks(m, probe), "",
                        [&m](Call &call) { return m.store(call.fcb, &call.req); });
        }
    }
}

TEST_F(CheckOrder, Queries) {
    for (const Probe &probe : kProbes) {
        const Member &m = Of(probe.member);
        u8 count = 0x99;
        ExpectOrder(m, probe, GetChecks(m), m.Fn("QIR_Get_"), [&](Call &call) {
            FlowHdl hdl = call.hdl;
            return m.get(call.nullFlow ? nullptr : &hdl, call.nullRecord ? nullptr : &call.req, call.size,
                         call.nullCount ? nullptr : &count);
        });
        ExpectOrder(m, probe, ValidateGetChecks(m), "", [&](Call &call) {
            return m.validateGet(&call.req, call.size, call.nullCount ? nullptr : &count);
        });
        EXPECT_EQ(count, 0x99u) << "the count is not written before the walk";
    }
}

// Values far out of range are not taken for small ones.
TEST_F(CheckOrder, OutOfRangeWordsAreComparedAsTheyAre) {
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

// Each operation looks at the bit of its own header in its own block, and at no other. TCP and UDP look at the
// IPv4 header's.
TEST_F(CheckOrder, HeaderBitOfEachOperation) {
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

} // namespace
} // namespace test
