// Ethernet actions: the order of pushes, rewrites and pops, and the count of tags.
#include "tests/requests/request_kit.h"

#include <algorithm>

namespace test {
namespace {

constexpr u32 kDa = e_ETH_ACTION_DA;
constexpr u32 kSa = e_ETH_ACTION_SA;
constexpr u32 kPush = e_ETH_ACTION_PUSH_TAG;
constexpr u32 kPop = e_ETH_ACTION_POP_TAG;

class TagAccounting : public RequestTest {
  protected:
    // The flow's filter matches `totalTags` tags; of the VLAN headers of the action block those in `vlanBits`
    // (bits 1 and 2) are allocated.
    void Prepare(u32 totalTags, u32 vlanBits) {
        Restore(eth_);
        fcb_->filterBlk.totalTags = static_cast<u8>(totalTags);
        fcb_->actionBlk.hdrBmap = static_cast<u16>((fcb_->actionBlk.hdrBmap & ~0x0006u) | vlanBits);
    }
    Outcome Add(u32 type) {
        return Run([&] { return Config(eth_, Good(eth_, type)); });
    }

    const Member &eth_ = Of("EthAction");
    const std::string refused_ = Code("Config_EthAction", 25) + RetVal("QIR_Config_EthAction", 25);
};

// A push creates the tag behind those that are matched or pushed already; its VLAN header must be there.
TEST_F(TagAccounting, EverySequenceOfFourActions) {
    for (u32 totalTags = 0; totalTags <= 2; ++totalTags) {
        for (const u32 vlanBits : {0x0000u, 0x0002u, 0x0004u, 0x0006u}) {
            SCOPED_TRACE("matched tags " + std::to_string(totalTags) + " VLAN headers " +
                         std::to_string(vlanBits));
            Prepare(totalTags, vlanBits);
            const ContextSnapshot before;
            Walk walk{eth_, &hdl_, fcb_};
            walk.Run(4);
            EXPECT_TRUE(before.Unchanged());
        }
    }
}

// The same as a table, for two pushes.
TEST_F(TagAccounting, PushNeedsTheHeaderOfTheNewTag) {
    const struct {
        u32 totalTags, vlanBits;
        u32 first, second; // codes
    } rows[] = {{0, 0x0000, 25, 25}, {0, 0x0002, 0, 25},  {0, 0x0004, 25, 25}, {0, 0x0006, 0, 0},
                {1, 0x0000, 25, 25}, {1, 0x0002, 25, 25}, {1, 0x0004, 0, 25},  {1, 0x0006, 0, 25},
                {2, 0x0000, 25, 25}, {2, 0x0006, 25, 25}};
    for (const auto &row : rows) {
        SCOPED_TRACE("matched tags " + std::to_string(row.totalTags) + " VLAN headers " +
                     std::to_string(row.vlanBits));
        Prepare(row.totalTags, row.vlanBits);
        EXPECT_EQ(Add(kPush).code, row.first);
        EXPECT_EQ(Add(kPush).code, row.second);
        EXPECT_EQ(fcb_->actionBlk.pushedTags, (row.first == 0 ? 1u : 0u) + (row.second == 0 ? 1u : 0u));
    }
}

// A third tag prints the counts, at every log level. The counts are bytes.
TEST_F(TagAccounting, ThirdTagPrintsTheCounts) {
    for (const u32 level : {0u, 1u, 2u}) {
        qelLog_setGlobalLogLevel(level);
        RaiseLog(level);
        for (const auto &[pushed, matched] :
             {std::pair<u8, u8>{0, 2}, {1, 1}, {2, 0}, {2, 2}, {0, 4}, {0, 255}, {255, 0}, {255, 255}}) {
            Prepare(matched, 0x0006);
            fcb_->actionBlk.pushedTags = pushed;
            fcb_->actionBlk.hdrBmap = 0xFFFF; // the header of a third tag would not help
            const std::string out = Add(kPush).lines;
            const std::string tail = "pushedTags=" + std::to_string(pushed) +
                                     " filter totalTags=" + std::to_string(matched) + " \n" + refused_;
            EXPECT_EQ(out.substr(out.size() - std::min(out.size(), tail.size())), tail);
            EXPECT_EQ(out.size() > tail.size(), level == 2) << "parameter lines only at level 2";
            EXPECT_EQ(fcb_->actionBlk.pushedTags, pushed);
        }
    }
}

TEST_F(TagAccounting, PopsAreLimitedByTheTagsThatAreThere) {
    const struct {
        u8 totalTags, pushed, popped;
        bool accepted;
    } rows[] = {{0, 0, 0, false},    {1, 0, 0, true},  {1, 0, 1, false},      {2, 0, 1, true},
                {2, 0, 2, false},    {0, 1, 0, true},  {0, 2, 1, true},       {0, 2, 2, false},
                {1, 1, 1, true},     {1, 1, 2, false}, {255, 255, 255, true}, {200, 54, 254, false},
                {200, 55, 254, true}};
    for (const auto &row : rows) {
        SCOPED_TRACE("matched " + std::to_string(row.totalTags) + " pushed " + std::to_string(row.pushed) +
                     " popped " + std::to_string(row.popped));
        Prepare(row.totalTags, 0);
        fcb_->actionBlk.pushedTags = row.pushed;
        fcb_->actionBlk.poppedTags = row.popped;
        fcb_->actionBlk.totalTags = 77; // the action block's own count is not the one that counts
        Fcb expected;
        CopyFcb(&expected, *fcb_);
        ASSERT_EQ(JudgeAndStore(eth_, &expected, Good(eth_, kPop)).code, row.accepted ? 0u : 25u);
        EXPECT_EQ(Add(kPop).lines, row.accepted ? "" : refused_);
        EXPECT_EQ(FcbDiff(expected, *fcb_), "");
    }
}

// The order looks at what was accepted last, not at what was tried last. The word for it reads as a DA action
// before the first: a push is first all the same.
TEST_F(TagAccounting, RefusedActionsDoNotCountAsTheLastOne) {
    Prepare(0, 0x0002);
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, kDa);
    EXPECT_EQ(Add(kPop).code, 25u);
    EXPECT_EQ(Add(kPush).code, 0u) << "nothing is stored yet";
    EXPECT_EQ(Add(kPush).code, 25u) << "the second tag's header is missing";
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, kPush);
    EXPECT_EQ(Add(kPop).code, 0u);
    EXPECT_EQ(Add(kSa).lines, Code("Config_EthAction", 9) + RetVal("QIR_Config_EthAction", 9));
    EXPECT_EQ(fcb_->actionBlk.lastEthAction, kPop);
    EXPECT_EQ(fcb_->actionBlk.eth.curBmap, 0x001Au) << "the bits of refused actions stay";
    EXPECT_EQ(Add(kSa).code, 23u) << "and exclude a repetition";
    EXPECT_EQ(Add(kPop).code, 25u);
}

// With real headers: allocating tag t in the filter block sets the number of matched tags. The pushed tag's
// header is one of the action block.
TEST_F(TagAccounting, MatchedTagsComeFromTheFilterBlock) {
    AllocAllHdrs(e_BLKTYPE_ACTION);
    for (const u32 flowHdr : {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1}) {
        AllocHdr(e_BLKTYPE_FILTER, flowHdr);
        ASSERT_EQ(fcb_->filterBlk.totalTags, flowHdr);
        Fcb before;
        CopyFcb(&before, *fcb_);
        EXPECT_EQ(Add(kPush).code, flowHdr == e_FLOWHDR_VLAN1 ? 25u : 0u);
        EXPECT_EQ(Add(kPush).code, flowHdr == e_FLOWHDR_ETH ? 0u : 25u);
        EXPECT_EQ(Add(kDa).code, 0u);
        CopyFcb(fcb_, before);
        EXPECT_EQ(Add(kPop).code, flowHdr == e_FLOWHDR_ETH ? 25u : 0u);
        CopyFcb(fcb_, before);
    }
}

// Only Ethernet actions are counted.
TEST_F(TagAccounting, OtherHeadersLeaveTheCountsAlone) {
    Prepare(1, 0x0006);
    ASSERT_EQ(Add(kPush).code, 0u);
    for (const Member &m : Members()) {
        for (u32 type = 0; !m.isFilter && !m.IsEthAction() && type < m.NumTypes(); ++type) {
            QuietConfig(m, Good(m, type));
            EXPECT_EQ(fcb_->actionBlk.pushedTags, 1u);
            EXPECT_EQ(fcb_->actionBlk.poppedTags, 0u);
            EXPECT_EQ(fcb_->actionBlk.lastEthAction, kPush) << m.Label() << " " << m.types[type].name;
        }
    }
}

// Of repeated pushes the first is read back.
TEST_F(TagAccounting, FirstPushIsReadBack) {
    Prepare(0, 0x0006);
    for (const u8 mark : {u8{1}, u8{2}}) {
        ASSERT_EQ(Config(eth_, Make(eth_, kPush, 0, 0, mark)), 0u);
    }
    AnyRequest query = Make(eth_, kPush, 0);
    EXPECT_EQ(Get(eth_, &query), 0u);
    EXPECT_EQ(query.ethAction.val.bytes[11], 1u);
}

} // namespace
} // namespace test
