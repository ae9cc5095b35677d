// Ethernet actions: the order of pushes, rewrites and pops, and the count of tags.
#include "tests/actions/action_kit.h"

#include <algorithm>

namespace test {
namespace {

constexpr u32 kDa = e_ETH_ACTION_DA;
constexpr u32 kSa = e_ETH_ACTION_SA;
constexpr u32 kEthType = e_ETH_ACTION_ETHTYPE;
constexpr u32 kPush = e_ETH_ACTION_PUSH_TAG;
constexpr u32 kPop = e_ETH_ACTION_POP_TAG;

class ActionTagAccounting : public ActionFlowTest {
  protected:
    // The flow's filter matches `totalTags` tags; of the VLAN headers of the action block those in `vlanBits`
    // (bits 1 and 2) are allocated.
    void Prepare(u32 totalTags, u32 vlanBits) {
        Restore();
        fcb_->filterBlk.totalTags = static_cast<u8>(totalTags);
        fcb_->actionBlk.hdrBmap = static_cast<u16>((fcb_->actionBlk.hdrBmap & ~0x0006u) | vlanBits);
    }
    u32 Add(u32 type) { return QuietConfig(ActionOf("Eth"), GoodAction(ActionOf("Eth"), type)); }
};

// Walks all sequences of Ethernet actions and compares each call with the rules.
struct Walk {
    FlowHdl *hdl;
    Fcb *fcb;
    Findings *findings;
    std::string *lines; // what the calls should print; null when nobody compares it
    unsigned long calls = 0;

    void Add(unsigned depth, const std::string &path) {
        const ActionMember &eth = ActionOf("Eth");
        Fcb before;
        CopyFcb(&before, *fcb);
        for (u32 type = 0; type < eth.NumTypes(); ++type) {
            const AnyAction req = GoodAction(eth, type);
            Fcb expected;
            CopyFcb(&expected, before);
            const Outcome want = JudgeAndStoreAction(eth, &expected, req);
            const u32 code = eth.config(hdl, &req);
            ++calls;
            if (lines != nullptr && want.code != 0) {
                *lines += want.lines + RetVal("QIR_Config_EthAction", want.code);
            }
            const std::string step = path + " " + eth.types[type].name;
            const std::string diff = FcbDiff(expected, *fcb);
            if (code != want.code || !diff.empty()) {
                findings->Add(step + ": code " + std::to_string(code) + " for " + std::to_string(want.code) +
                              diff);
            }
            if (depth > 1) {
                Add(depth - 1, step);
            }
            CopyFcb(fcb, before);
        }
    }
};

TEST_F(ActionTagAccounting, EverySequenceOfFourActions) {
    for (u32 totalTags = 0; totalTags <= 2; ++totalTags) {
        for (const u32 vlanBits : {0x0000u, 0x0002u, 0x0004u, 0x0006u}) {
            SCOPED_TRACE("matched tags " + std::to_string(totalTags) + " VLAN headers " +
                         std::to_string(vlanBits));
            Prepare(totalTags, vlanBits);
            const ContextSnapshot before;
            Findings findings;
            Walk walk{&hdl_, fcb_, &findings, nullptr};
            Capture([&] { walk.Add(4, ""); });
            EXPECT_EQ(findings.Text(), "");
            EXPECT_EQ(walk.calls, 5ul + 25 + 125 + 625);
            EXPECT_TRUE(before.Unchanged());
        }
    }
}

TEST_F(ActionTagAccounting, LinesOfEverySequenceOfThreeActions) {
    for (u32 totalTags = 0; totalTags <= 2; ++totalTags) {
        for (const u32 vlanBits : {0x0000u, 0x0002u, 0x0006u}) {
            SCOPED_TRACE("matched tags " + std::to_string(totalTags) + " VLAN headers " +
                         std::to_string(vlanBits));
            Prepare(totalTags, vlanBits);
            Findings findings;
            std::string lines;
            Walk walk{&hdl_, fcb_, &findings, &lines};
            EXPECT_EQ(CaptureMasked([&] { walk.Add(3, ""); }), lines);
        }
    }
}

// A push creates the tag behind those that are matched or pushed already; its VLAN header must be there.
TEST_F(ActionTagAccounting, PushNeedsTheHeaderOfTheNewTag) {
    const struct {
        u32 totalTags, vlanBits;
        u32 first, second; // codes of two pushes
    } rows[] = {{0, 0x0000, 25, 25}, {0, 0x0002, 0, 25},  {0, 0x0004, 25, 25}, {0, 0x0006, 0, 0},
                {1, 0x0000, 25, 25}, {1, 0x0002, 25, 25}, {1, 0x0004, 0, 25},  {1, 0x0006, 0, 25},
                {2, 0x0000, 25, 25}, {2, 0x0006, 25, 25}};
    for (const auto &row : rows) {
        SCOPED_TRACE("matched tags " + std::to_string(row.totalTags) + " VLAN headers " +
                     std::to_string(row.vlanBits));
        Prepare(row.totalTags, row.vlanBits);
        EXPECT_EQ(Add(kPush), row.first);
        EXPECT_EQ(Add(kPush), row.second);
        EXPECT_EQ(fcb_->actionBlk.pushedTags, (row.first == 0 ? 1u : 0u) + (row.second == 0 ? 1u : 0u));
    }
}

TEST_F(ActionTagAccounting, MissingHeaderIsRefusedWithoutTheTagsLine) {
    Prepare(0, 0x0000);
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] { Config(ActionOf("Eth"), GoodAction(ActionOf("Eth"), kPush)); }),
              CodeLine("Config_EthAction", "e_RET_ERR_INVALID_PARAM") + RetVal("QIR_Config_EthAction", 25));
    EXPECT_EQ(fcb_->actionBlk.eth.curBmap, 0x0008u) << "the push's bit stays";
    EXPECT_EQ(before.ChangedBytes().size(), 1u);
}

// A third tag prints the counts, at every log level.
TEST_F(ActionTagAccounting, ThirdTagPrintsTheCountsAtEveryLogLevel) {
    const struct {
        u8 pushed, totalTags;
        const char *line;
    } rows[] = {{0, 2, "pushedTags=0 filter totalTags=2 \n"},
                {1, 1, "pushedTags=1 filter totalTags=1 \n"},
                {2, 0, "pushedTags=2 filter totalTags=0 \n"},
                {2, 2, "pushedTags=2 filter totalTags=2 \n"},
                {0, 4, "pushedTags=0 filter totalTags=4 \n"},
                {0, 255, "pushedTags=0 filter totalTags=255 \n"},
                {255, 0, "pushedTags=255 filter totalTags=0 \n"},
                {255, 255, "pushedTags=255 filter totalTags=255 \n"}};
    for (const u32 level : {0u, 1u, 2u}) {
        qelLog_setGlobalLogLevel(level);
        RaiseLog(level);
        for (const auto &row : rows) {
            SCOPED_TRACE(std::string(row.line) + "level " + std::to_string(level));
            Prepare(row.totalTags, 0x0006);
            fcb_->actionBlk.pushedTags = row.pushed;
            fcb_->actionBlk.hdrBmap = 0xFFFF; // the header of a third tag would not help
            const std::string out =
                CaptureMasked([&] { Config(ActionOf("Eth"), GoodAction(ActionOf("Eth"), kPush)); });
            const std::string tail = row.line + CodeLine("Config_EthAction", "e_RET_ERR_INVALID_PARAM") +
                                     RetVal("QIR_Config_EthAction", 25);
            EXPECT_EQ(out.substr(out.size() - std::min(out.size(), tail.size())), tail);
            EXPECT_EQ(out.size() > tail.size(), level == 2) << "parameter lines only at level 2";
            EXPECT_EQ(fcb_->actionBlk.pushedTags, row.pushed);
        }
    }
}

TEST_F(ActionTagAccounting, CountsAreBytesOfTheBlocks) {
    Prepare(0, 0x0006);
    fcb_->actionBlk.totalTags = 77; // the action block's own count is not the one that counts
    EXPECT_EQ(Add(kPush), 0u);
    EXPECT_EQ(fcb_->actionBlk.pushedTags, 1u);
    EXPECT_EQ(fcb_->actionBlk.poppedTags, 0u);
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, kPush);
    EXPECT_EQ(Add(kDa), 0u);
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, kDa);
    EXPECT_EQ(Add(kPop), 0u);
    EXPECT_EQ(fcb_->actionBlk.pushedTags, 1u);
    EXPECT_EQ(fcb_->actionBlk.poppedTags, 1u);
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, kPop);
    EXPECT_EQ(fcb_->actionBlk.totalTags, 77u);
    EXPECT_EQ(fcb_->filterBlk.totalTags, 0u);
}

TEST_F(ActionTagAccounting, PopsAreLimitedByTheTagsThatAreThere) {
    const struct {
        u8 totalTags, pushed, popped;
        u32 code;
    } rows[] = {{0, 0, 0, 25},      {1, 0, 0, 0},       {1, 0, 1, 25},    {2, 0, 1, 0}, {2, 0, 2, 25},
                {0, 1, 0, 0},       {0, 2, 1, 0},       {0, 2, 2, 25},    {1, 1, 1, 0}, {1, 1, 2, 25},
                {255, 255, 255, 0}, {200, 54, 254, 25}, {200, 55, 254, 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE("matched " + std::to_string(row.totalTags) + " pushed " + std::to_string(row.pushed) +
                     " popped " + std::to_string(row.popped));
        Prepare(row.totalTags, 0);
        fcb_->actionBlk.pushedTags = row.pushed;
        fcb_->actionBlk.poppedTags = row.popped;
        Fcb expected;
        CopyFcb(&expected, *fcb_);
        const AnyAction pop = GoodAction(ActionOf("Eth"), kPop);
        const Outcome want = JudgeAndStoreAction(ActionOf("Eth"), &expected, pop);
        ASSERT_EQ(want.code, row.code);
        EXPECT_EQ(CaptureMasked([&] { Config(ActionOf("Eth"), pop); }),
                  row.code == 0 ? ""
                                : CodeLine("Config_EthAction", "e_RET_ERR_INVALID_PARAM") +
                                      RetVal("QIR_Config_EthAction", 25));
        EXPECT_EQ(FcbDiff(expected, *fcb_), "");
    }
}

// The order looks at what was accepted last, not at what was tried last.
TEST_F(ActionTagAccounting, RefusedActionsDoNotCountAsTheLastOne) {
    Prepare(0, 0x0002);
    EXPECT_EQ(Add(kPop), 25u);
    EXPECT_EQ(Add(kPush), 0u) << "nothing is stored yet";
    EXPECT_EQ(Add(kPush), 25u) << "the second tag's header is missing";
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, kPush);
    EXPECT_EQ(Add(kPop), 0u);
    EXPECT_EQ(Add(kSa), 9u);
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, kPop);
    EXPECT_EQ(fcb_->actionBlk.eth.curBmap, 0x001Au) << "the bits of refused actions stay";
    EXPECT_EQ(Add(kSa), 23u) << "and exclude a repetition";
    EXPECT_EQ(Add(kPop), 25u);
}

// The word for the last action reads as a DA action before the first: a push is first all the same.
TEST_F(ActionTagAccounting, FirstPushIsFirst) {
    Prepare(0, 0x0006);
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, 0u);
    EXPECT_EQ(Add(kPush), 0u);
    EXPECT_EQ(Add(kEthType), 0u);
    EXPECT_EQ(Add(kPush), 9u);
}

// With real headers: allocating tag t in the filter block sets the number of matched tags.
TEST_F(ActionTagAccounting, MatchedTagsComeFromTheFilterBlock) {
    for (const u32 flowHdr : {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1}) {
        AllocHdr(e_BLKTYPE_FILTER, flowHdr);
        ASSERT_EQ(fcb_->filterBlk.totalTags, flowHdr);
        Fcb before;
        CopyFcb(&before, *fcb_);
        EXPECT_EQ(Add(kPush), flowHdr == e_FLOWHDR_VLAN1 ? 25u : 0u);
        EXPECT_EQ(Add(kPush), flowHdr == e_FLOWHDR_ETH ? 0u : 25u);
        CopyFcb(fcb_, before);
        EXPECT_EQ(Add(kPop), flowHdr == e_FLOWHDR_ETH ? 25u : 0u);
        CopyFcb(fcb_, before);
    }
}

// Only Ethernet actions are counted.
TEST_F(ActionTagAccounting, OtherHeadersLeaveTheCountsAlone) {
    Prepare(1, 0x0006);
    ASSERT_EQ(Add(kPush), 0u);
    for (const ActionMember &m : ActionMembers()) {
        for (u32 type = 0; !m.IsEth() && type < m.NumTypes(); ++type) {
            QuietConfig(m, GoodAction(m, type));
            EXPECT_EQ(fcb_->actionBlk.pushedTags, 1u);
            EXPECT_EQ(fcb_->actionBlk.poppedTags, 0u);
            EXPECT_EQ(fcb_->actionBlk.lastEthAction, kPush) << m.Label() << " " << m.types[type].name;
        }
    }
    EXPECT_EQ(Add(kPop), 0u);
}

} // namespace
} // namespace test
