// `orxemu diff` as a user starts it.
#include "qirapi/driver/driver_records.h"
#include "tests/orxemu_show/journal_kit.h"

namespace {

using namespace journal_kit;
using orxemu::journal::Store;
using test::ChildResult;

class OrxemuDiff : public JournalTest {};

Log Sample() {
    FlowHdl flow = TranslatingFlow(200, 1200);
    EXPECT_EQ(QIR_Set_FlowMissAction(1), e_RET_OK);
    EXPECT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    EXPECT_EQ(QIR_Set_PortDefAcl(3, 1), e_RET_OK);
    return RecordedLog();
}

TEST_F(OrxemuDiff, EqualLogsPrintNothing) {
    const Log log = Sample();
    const TemporaryFile a(TextOf(log));
    const TemporaryFile b(TextOf(InOtherOrder(log)));
    for (const auto &args :
         {std::vector<std::string>{"diff", a.Path(), b.Path()}, {"diff", "-q", a.Path(), b.Path()}}) {
        const ChildResult result = RunTool(args);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(OrxemuDiff, EachSortOfDifference) {
    const Log log = Sample();
    Log other = log;
    other.entries.erase(other.entries.begin());
    Store(other.entries[0].fcb, offsetof(qir::Fcb, fwdInfo) + offsetof(FwdInfo, dst.gemPortIdxMask), 4,
          other.order, 4);
    ASSERT_EQ(QIR_Set_PortPadLen(3, 64), e_RET_OK);
    other.entries.push_back(RecordedLog().entries.back());
    Recount(other);
    const TemporaryFile a(TextOf(log));
    const TemporaryFile b(TextOf(other));
    const ChildResult result = RunTool({"diff", a.Path(), b.Path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "- 1  set-global flow-miss action 1\n"
                          "~ 2 → 1  activate-flow\n"
                          "    fcb.forwarding.dst.gemPortIdxMask: 0x8 → 0x4\n"
                          "+ 3  set-port uni3 pad length 64\n");
    const ChildResult brief = RunTool({"diff", "--brief", a.Path(), b.Path()});
    EXPECT_EQ(brief.status, 1);
    EXPECT_EQ(brief.out, a.Path() + " and " + b.Path() + " differ\n");
}

// They have a name and nothing else: no line ends with a blank.
TEST_F(OrxemuDiff, OpeningsAndUnknownRequests) {
    const Log log = Sample();
    Log other = log;
    orxemu::journal::LogEntry open;
    open.isOpen = true;
    open.err = ENOENT;
    orxemu::journal::LogEntry unknown;
    unknown.request = 99;
    unknown.err = ENOTTY;
    other.entries.insert(other.entries.end(), {open, unknown});
    Recount(other);
    const TemporaryFile a(TextOf(log));
    const TemporaryFile b(TextOf(other));
    EXPECT_EQ(RunTool({"diff", a.Path(), b.Path()}).out, "+ 4  open\n+ 5  request 99\n");
}

TEST_F(OrxemuDiff, AFieldOfOneSideOnly) {
    const Log log = Sample();
    Log other = log;
    other.entries[0].err = EIO;
    const TemporaryFile a(TextOf(log));
    const TemporaryFile b(TextOf(other));
    EXPECT_EQ(RunTool({"diff", a.Path(), b.Path()}).out,
              "~ 1  set-global\n    answer.errno: (nothing) → EIO\n");
}

TEST_F(OrxemuDiff, States) {
    Sample();
    const TemporaryFile a(StateText());
    EXPECT_EQ(RunTool({"diff", a.Path(), a.Path()}).status, 0);
    ASSERT_EQ(orxemu_addHits(0, 1, 3), 0);
    ASSERT_EQ(QIR_Set_FlowMissAction(2), e_RET_OK);
    FlowHdl more = TranslatingFlow(300, 1300);
    ASSERT_EQ(QIR_Activate_FCB(&more), e_RET_OK);
    const TemporaryFile b(StateText());
    const ChildResult result = RunTool({"diff", a.Path(), b.Path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "~ global\n"
                          "    flowMissAction: 1 → 2\n"
                          "~ flow 0\n"
                          "    hits[1]: 0 → 3\n"
                          "+ flow 1  in uni0 vlan 300 → set vid 1300 → gpon gem 3 q7\n");
}

TEST_F(OrxemuDiff, TroubleIsStatus2) {
    const std::string text = TextOf(Sample());
    const TemporaryFile log(text);
    const TemporaryFile state(StateText());
    const TemporaryFile cut(text.substr(0, text.size() / 2));
    const ChildResult mixed = RunTool({"diff", log.Path(), state.Path()});
    EXPECT_EQ(mixed.status, 2);
    EXPECT_EQ(mixed.out, "");
    EXPECT_EQ(mixed.err, "orxemu: " + log.Path() + " is a log and " + state.Path() +
                             " is a state: they cannot be compared\n");
    for (const auto &args :
         {std::vector<std::string>{"diff", cut.Path(), log.Path()}, {"diff", log.Path(), cut.Path()}}) {
        const ChildResult damaged = RunTool(args);
        EXPECT_EQ(damaged.status, 2);
        EXPECT_EQ(damaged.out, "");
        EXPECT_EQ(damaged.err.rfind("orxemu: " + cut.Path() + ":3: ", 0), 0u) << damaged.err;
    }
    const ChildResult missing = RunTool({"diff", "/nonexistent/a", "/nonexistent/b"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(LinesOf(missing.err).size(), 2u) << missing.err;
    const ChildResult one = RunTool({"diff", log.Path()});
    EXPECT_EQ(one.status, 2);
    EXPECT_TRUE(one.err.ends_with("\norxemu: \"orxemu diff --help\" explains the command line\n")) << one.err;
}

} // namespace
