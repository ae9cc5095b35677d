// The switch-wide enable of the rate limiters.
#include "tests/rate_limiters/limiters.h"

namespace rate_limiters::status {
namespace {

const std::string kSet = "QIR_Set_RLStatus";
const std::string kGet = "QIR_Get_RLStatus";

class RlStatusTest : public test::LibraryTest {};

Op SetStatus(u32 rlStatus) {
    return [=] { return QIR_Set_RLStatus(rlStatus); };
}

TEST_F(RlStatusTest, EnableAndDisableAreSentAndKept) {
    AtEveryLevel([](u32 level) {
        Restart();
        for (const u32 rlStatus : {1u, 0u, 1u}) {
            SCOPED_TRACE(rlStatus);
            Hardware expected;
            expected->rlStatus = rlStatus;
            ExpectDone(level, SetStatus(rlStatus),
                       Inf(kSet, rlStatus == 1 ? "Params: rlStatus<1>" : "Params: rlStatus<0>"),
                       {StatusRecord(rlStatus)}, {Place(qirCtxt_gp->rlStatus)});
            EXPECT_EQ(qirCtxt_gp->rlStatus, rlStatus);
            EXPECT_TRUE(expected.IsNow());
        }
    });
}

TEST_F(RlStatusTest, GetterYieldsTheStatus) {
    for (const u32 rlStatus : {0u, 1u}) {
        if (rlStatus == 1) {
            ASSERT_EQ(QIR_Set_RLStatus(1), 0u);
        }
        AtEveryLevel([rlStatus](u32 level) {
            u32 read = kAllOnes;
            ExpectRead(
                level, [&] { return QIR_Get_RLStatus(&read); }, Inf(kGet, "Params: rlStatus_p<0x<ptr>>"));
            EXPECT_EQ(read, rlStatus);
        });
    }
}

TEST_F(RlStatusTest, GetterShowsTheCallersAddress) {
    u32 read = 0;
    ExpectUnmasked([&] { return QIR_Get_RLStatus(&read); },
                   "[INF orxapi] QIR_Get_RLStatus: Params: rlStatus_p<" + AddressText(&read) + ">\n");
}

TEST_F(RlStatusTest, SecondStartDisablesInTheShadowOnly) {
    ASSERT_EQ(QIR_Set_RLStatus(1), 0u);
    orxemu_clearLog();
    ASSERT_EQ(QIR_Init_Sys(), 0u);
    EXPECT_EQ(qirCtxt_gp->rlStatus, 0u);
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(orxemu_state()->rlStatus, 1u);
    EXPECT_EQ(Call(SetStatus(0)).rc, 14u);
    EXPECT_EQ(Call(SetStatus(1)).rc, 0u);
    EXPECT_EQ(orxemu_numRequests(), 1u);
}

} // namespace
} // namespace rate_limiters::status
