// What happens to frames that match no flow.
#include "tests/support/calls.h"

namespace ports_test::flow_miss_action {

using namespace calls;

namespace {

const std::string kSet = "QIR_Set_FlowMissAction";
const std::string kGet = "QIR_Get_FlowMissAction";

class FlowMissActionTest : public test::LibraryTest {};

Op Set(u32 action) {
    return [=] { return QIR_Set_FlowMissAction(action); };
}

TEST_F(FlowMissActionTest, EveryActionIsSentAndKept) {
    const struct {
        u32 action;
        const char *params;
    } rows[] = {
        {2, "Params: action<0x2> "},
        {1, "Params: action<0x1> "},
        {0, "Params: action<0x0> "},
        {0, "Params: action<0x0> "}, // the value that is there already is sent once more
    };
    AtEveryLevel([&](u32 level) {
        for (const auto &row : rows) {
            SCOPED_TRACE(row.action);
            Hardware expected;
            expected->flowMissAction = row.action;
            ExpectDone(level, Set(row.action), Inf(kSet, row.params),
                       {{17, 8, {Word(0, 1), Word(4, row.action)}}}, {Place(qirCtxt_gp->flowMissAction)});
            EXPECT_EQ(qirCtxt_gp->flowMissAction, row.action);
            EXPECT_TRUE(expected.IsNow());
        }
    });
}

TEST_F(FlowMissActionTest, GetterYieldsTheActionThatWasKept) {
    AtEveryLevel([](u32 level) {
        for (const u32 action : {1u, 2u, 0u}) {
            SCOPED_TRACE(action);
            ASSERT_EQ(QIR_Set_FlowMissAction(action), 0u);
            u32 read = kAllOnes;
            ExpectRead(
                level, [&] { return QIR_Get_FlowMissAction(&read); },
                Inf(kGet, "Params: action_p<0x<ptr>> "));
            EXPECT_EQ(read, action);
        }
    });
}

TEST_F(FlowMissActionTest, GetterShowsTheCallersAddress) {
    u32 read = 0;
    ExpectUnmasked([&] { return QIR_Get_FlowMissAction(&read); },
                   "[INF orxapi] QIR_Get_FlowMissAction: Params: action_p<" + AddressText(&read) + "> \n");
}

} // namespace
} // namespace ports_test::flow_miss_action
