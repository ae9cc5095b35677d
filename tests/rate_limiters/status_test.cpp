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

TEST_F(RlStatusTest, DisabledCannotBeDisabled) {
    ExpectRefused({
        {"0 while 0", SetStatus(0), 14, Inf(kSet, "Params: rlStatus<0>"),
         Refusal(kSet, "e_RET_ERR_RESRC_NOT_ACTIVE", 14)},
        {"2 while 0", SetStatus(2), 68, Inf(kSet, "Params: rlStatus<2>"),
         Refusal(kSet, "e_RET_ERR_INVALID_RLSTATUS", 68)},
        {"all ones while 0", SetStatus(kAllOnes), 68, Inf(kSet, "Params: rlStatus<4294967295>"),
         Refusal(kSet, "e_RET_ERR_INVALID_RLSTATUS", 68)},
    });
}

TEST_F(RlStatusTest, EnabledCannotBeEnabled) {
    ASSERT_EQ(QIR_Set_RLStatus(1), 0u);
    ExpectRefused({
        {"1 while 1", SetStatus(1), 15, Inf(kSet, "Params: rlStatus<1>"),
         Refusal(kSet, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15)},
        {"2 while 1", SetStatus(2), 68, Inf(kSet, "Params: rlStatus<2>"),
         Refusal(kSet, "e_RET_ERR_INVALID_RLSTATUS", 68)},
        {"3 while 1", SetStatus(3), 68, Inf(kSet, "Params: rlStatus<3>"),
         Refusal(kSet, "e_RET_ERR_INVALID_RLSTATUS", 68)},
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

TEST_F(RlStatusTest, GetterRefusesNull) {
    ExpectRefused({{"null", [] { return QIR_Get_RLStatus(nullptr); }, 2,
                    Inf(kGet, "Params: rlStatus_p<0x<nil>>"), Refusal(kGet, "e_RET_ERR_NULL_PTR", 2)}});
}

TEST_F(RlStatusTest, GetterShowsTheCallersAddress) {
    u32 read = 0;
    ExpectUnmasked([&] { return QIR_Get_RLStatus(&read); },
                   "[INF orxapi] QIR_Get_RLStatus: Params: rlStatus_p<" + AddressText(&read) + ">\n");
}

TEST_F(RlStatusTest, FailedRequestLeavesTheStatusAsItWas) {
    for (const u32 rlStatus : {1u, 0u}) {
        for (const Failure &failure : kFailures) {
            AtEveryLevel([&](u32 level) {
                Restart();
                if (rlStatus == 0) {
                    ASSERT_EQ(QIR_Set_RLStatus(1), 0u);
                }
                Hardware expected;
                expected->rlStatus = rlStatus;
                const std::string inf = Inf(kSet, "Params: rlStatus<" + std::to_string(rlStatus) + ">");
                ExpectFailed(level, failure, SetStatus(rlStatus), kSet, inf, StatusRecord(rlStatus));
                EXPECT_EQ(qirCtxt_gp->rlStatus, 1 - rlStatus);
                EXPECT_EQ(expected.IsNow(), failure.taken);
                // The shadow still asks for the change.
                EXPECT_EQ(Call(SetStatus(rlStatus)).rc, 0u);
                EXPECT_EQ(qirCtxt_gp->rlStatus, rlStatus);
                EXPECT_TRUE(expected.IsNow());
            });
        }
    }
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

TEST_F(RlStatusTest, HardwareRefusesOtherStatuses) {
    ASSERT_EQ(QIR_Set_RLStatus(1), 0u);
    const Hardware hardware;
    for (const u32 rlStatus : {2u, 3u, kAllOnes}) {
        EXPECT_EQ(SendDirectly(StatusRecord(rlStatus)), EINVAL);
        EXPECT_TRUE(hardware.IsNow());
    }
    EXPECT_EQ(SendDirectly(StatusRecord(0)), 0);
    EXPECT_EQ(orxemu_state()->rlStatus, 0u);
    EXPECT_EQ(qirCtxt_gp->rlStatus, 1u);
}

} // namespace
} // namespace rate_limiters::status
