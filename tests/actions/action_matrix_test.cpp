// The acceptance matrix of actions: header, type, and what is already there.
#include "tests/actions/action_kit.h"

namespace test {
namespace {

class ActionMatrix : public ActionFlowTest {};

// An empty header, and a header with one action: the code, every line, every byte of the flow.
TEST_F(ActionMatrix, OnePredecessorWithLinesAndBytes) {
    fcb_->filterBlk.totalTags = 1; // so that one pop and one push are there to have
    CopyFcb(&fresh_, *fcb_);
    for (const ActionMember &m : ActionMembers()) {
        for (u32 there = 0; there <= m.NumTypes(); ++there) {
            const bool empty = there == m.NumTypes();
            for (u32 type = 0; type < m.NumTypes(); ++type) {
                SCOPED_TRACE(m.Label() + " " + m.types[type].name + " after " +
                             (empty ? "nothing" : m.types[there].name));
                Restore();
                if (!empty) {
                    ASSERT_EQ(Config(m, GoodAction(m, there)), 0u);
                }
                Fcb expected;
                CopyFcb(&expected, *fcb_);
                const AnyAction req = GoodAction(m, type);
                const Outcome want = JudgeAndStoreAction(m, &expected, req);
                u32 code = 99;
                const std::string out = CaptureMasked([&] { code = Config(m, req); });
                ASSERT_EQ(code, want.code);
                ASSERT_EQ(out, want.code == 0 ? "" : want.lines + RetVal(m.Fn("QIR_Config_"), want.code));
                ASSERT_EQ(FcbDiff(expected, *fcb_), "");
            }
        }
    }
}

// Adds every type in every order, one level per action. Every call is compared with the rules: its code and
// all bytes of the FCB.
struct Walk {
    const ActionMember &m;
    FlowHdl *hdl;
    Fcb *fcb;
    Findings *findings;
    unsigned long calls = 0;

    void Add(unsigned depth, const std::string &path) {
        Fcb before;
        CopyFcb(&before, *fcb);
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            const AnyAction req = GoodAction(m, type);
            Fcb expected;
            CopyFcb(&expected, before);
            const Outcome want = JudgeAndStoreAction(m, &expected, req);
            const u32 code = m.config(hdl, &req);
            ++calls;
            const std::string step = path + " " + m.types[type].name;
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

TEST_F(ActionMatrix, EveryPairOfPredecessors) {
    const ContextSnapshot before;
    Findings findings;
    unsigned long calls = 0;
    unsigned long wanted = 0;
    Capture([&] {
        for (const ActionMember &m : ActionMembers()) {
            Walk walk{m, &hdl_, fcb_, &findings};
            walk.Add(3, "");
            calls += walk.calls;
            const unsigned long n = m.NumTypes();
            wanted += n + n * n + n * n * n;
        }
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_EQ(calls, wanted);
    EXPECT_TRUE(before.Unchanged()) << "a byte outside the flow changed";
}

// Every subset of types that may be there, prepared in the header's entry: the store step alone.
TEST_F(ActionMatrix, EverySubsetOfPresentTypes) {
    Findings findings;
    unsigned long calls = 0;
    Capture([&] {
        for (const ActionMember &m : ActionMembers()) {
            for (u32 present = 0; present < 1u << m.NumTypes(); ++present) {
                if (m.IsVlan() && m.tag == 1 && __builtin_popcount(present) > 2) {
                    continue; // the inner tag's rules are the outer one's
                }
                for (u32 type = 0; type < m.NumTypes(); ++type) {
                    Restore();
                    m.Entry(fcb_)->curBmap = static_cast<u16>(present);
                    Fcb expected;
                    CopyFcb(&expected, *fcb_);
                    const AnyAction req = GoodAction(m, type);
                    const Outcome want = JudgeAndStoreAction(m, &expected, req);
                    const u32 code = m.store(fcb_, &req);
                    ++calls;
                    const std::string diff = FcbDiff(expected, *fcb_);
                    if (code != want.code || !diff.empty()) {
                        findings.Add(m.Label() + " " + m.types[type].name + " beside " +
                                     std::to_string(present) + ": code " + std::to_string(code) + " for " +
                                     std::to_string(want.code) + diff);
                    }
                }
            }
        }
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_EQ(calls, 5ul * 32 + 14ul * 16384 + 14ul * (1 + 14 + 91) + 2 + 4ul * 16 + 2ul * 2 * 4);
}

// What one header holds says nothing about another.
TEST_F(ActionMatrix, HeadersDoNotShareTheirRecords) {
    fcb_->filterBlk.totalTags = 1;
    CopyFcb(&fresh_, *fcb_);
    for (const ActionMember &full : ActionMembers()) {
        for (const ActionMember &m : ActionMembers()) {
            if (&m == &full) {
                continue;
            }
            for (u32 type = 0; type < m.NumTypes(); ++type) {
                Restore();
                full.Entry(fcb_)->curBmap = 0xFFFF;
                EXPECT_EQ(QuietConfig(m, GoodAction(m, type)), 0u)
                    << m.Label() << " " << m.types[type].name << " beside a full " << full.Label();
            }
        }
    }
}

// Filters and actions of one header do not know of each other.
TEST_F(ActionMatrix, FiltersDoNotExcludeActions) {
    AllocAllHdrs(e_BLKTYPE_FILTER);
    fcb_->filterBlk.eth.hdr.curBmap = 0xFFFF;
    fcb_->filterBlk.vlan[0].hdr.curBmap = 0xFFFF;
    fcb_->filterBlk.ipv4.hdr.curBmap = 0xFFFF;
    for (const char *label : {"Eth", "Vlan[0]", "Ipv4"}) {
        const ActionMember &m = ActionOf(label);
        EXPECT_EQ(QuietConfig(m, GoodAction(m, 0)), 0u) << label;
    }
}

} // namespace
} // namespace test
