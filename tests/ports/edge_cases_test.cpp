// The corners of the settings, one test each.
#include "tests/support/calls.h"

namespace ports_test {

using namespace calls;

namespace {

class SettingsEdgeCases : public test::LibraryTest {
  protected:
    // The pad length in the last request, in the shadow, from the getter and in the hardware.
    static void ExpectPadLen(u32 srcPort, u32 padLen) {
        ASSERT_GT(orxemu_numRequests(), 0u);
        ExpectSeen(*orxemu_request(orxemu_numRequests() - 1),
                   {19, 32, {Word(0, 4), Word(24, srcPort), Word(28, padLen)}});
        u32 read = kAllOnes;
        EXPECT_EQ(QIR_Get_PortPadLen(srcPort, &read), 0u);
        EXPECT_EQ(read, padLen);
        EXPECT_EQ(qirCtxt_gp->portPadLenTbl[srcPort], padLen);
        EXPECT_EQ(orxemu_state()->portPadLen[srcPort], padLen);
    }
};

TEST_F(SettingsEdgeCases, PadLength63BecomesZero64StaysAnd256IsRefused) {
    EXPECT_EQ(QIR_Set_PortPadLen(0, 64), 0u);
    ExpectPadLen(0, 64);
    EXPECT_EQ(QIR_Set_PortPadLen(0, 63), 0u);
    ExpectPadLen(0, 0);
    EXPECT_EQ(QIR_Set_PortPadLen(0, 255), 0u);
    ExpectPadLen(0, 255);
    const Called called = Call([] { return QIR_Set_PortPadLen(0, 256); });
    EXPECT_EQ(called.rc, 67u);
    EXPECT_EQ(called.out, "[ERROR orxapi] QIR_Set_PortPadLen,#: \"e_RET_ERR_INVALID_PADLEN\"\n"
                          "[ERROR orxapi] QIR_Set_PortPadLen,#: retVal <67>\n");
    EXPECT_EQ(orxemu_numRequests(), 3u);
    ExpectPadLen(0, 255);
}

TEST_F(SettingsEdgeCases, Port8HasADefaultAclButNoPadLength) {
    const Called padLen = Call([] { return QIR_Set_PortPadLen(8, 100); });
    EXPECT_EQ(padLen.rc, 36u);
    EXPECT_EQ(padLen.out, "[ERROR orxapi] QIR_Set_PortPadLen,#: \"e_RET_ERR_INVALID_SRCPORT\"\n"
                          "[ERROR orxapi] QIR_Set_PortPadLen,#: retVal <36>\n");
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(qirCtxt_gp->portPadLenTbl[8], 0u);
    EXPECT_EQ(Call([] { return QIR_Set_PortDefAcl(8, 1); }).rc, 0u);
    EXPECT_EQ(qirCtxt_gp->portDefAclTbl[8], 1u);
    EXPECT_EQ(orxemu_state()->portDefAcl[8], 1u);
}

TEST_F(SettingsEdgeCases, FlowMissAction3FailsAndNothingReachesTheDriver) {
    const Called called = Call([] { return QIR_Set_FlowMissAction(3); });
    EXPECT_EQ(called.rc, 48u);
    EXPECT_EQ(called.out, "[ERROR orxapi] QIR_Set_FlowMissAction,#: \"e_RET_ERR_INVALID_ACTION\"\n"
                          "[ERROR orxapi] QIR_Set_FlowMissAction,#: retVal <48>\n");
    EXPECT_EQ(orxemu_numOpens(), 0u);
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TEST_F(SettingsEdgeCases, TpidsOfPort9AreNamedAndThenRefused) {
    TpidCfg cfg = {.portId = 9, .tpid = {1, 2, 3, 4}};
    const Called called = Call([&] { return QIR_Get_Tpid(&cfg); }, 2);
    EXPECT_EQ(called.rc, 36u);
    EXPECT_EQ(called.out, "[INF orxapi] QIR_Get_Tpid: Params: tpidCfg_p<0x<ptr>>\n"
                          "[INF orxapi] QIR_Get_Tpid: Params2: portId<9>\n"
                          "[ERROR orxapi] QIR_Get_Tpid,#: \"e_RET_ERR_INVALID_SRCPORT\"\n"
                          "[ERROR orxapi] QIR_Get_Tpid,#: retVal <36>\n");
}

// Before the library was started, too.
TEST_F(SettingsEdgeCases, GettersYieldZeroBeforeAnySetter) {
    for (const bool started : {true, false}) {
        SCOPED_TRACE(started ? "started" : "not started");
        if (!started) {
            std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
        }
        u32 value = kAllOnes;
        EXPECT_EQ(QIR_Get_FlowMissAction(&value), 0u);
        EXPECT_EQ(value, 0u);
        for (u32 port = 0; port < 9; ++port) {
            SCOPED_TRACE(port);
            if (port < 8) {
                value = kAllOnes;
                EXPECT_EQ(QIR_Get_PortPadLen(port, &value), 0u);
                EXPECT_EQ(value, 0u);
            }
            value = kAllOnes;
            EXPECT_EQ(QIR_Get_PortDefAcl(port, &value), 0u);
            EXPECT_EQ(value, 0u);
            TpidCfg cfg = {.portId = port, .tpid = {1, 2, 3, 4}};
            EXPECT_EQ(QIR_Get_Tpid(&cfg), 0u);
            EXPECT_EQ(cfg.portId, 0u);
            for (const u16 tpid : cfg.tpid) {
                EXPECT_EQ(tpid, 0);
            }
        }
    }
}

} // namespace
} // namespace ports_test
