// The settings of ports beside each other, across a second start and beside the hardware: the getters answer
// from the shadow alone.
#include "tests/support/calls.h"

namespace ports_test {

using namespace calls;

namespace {

const TpidCfg kOldTpid = {.portId = 8, .tpid = {0x8100, 0x88A8, 0x9100, 0x9200}};

class SettingsAndDriver : public test::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        Prepare();
    }

    static void Prepare() {
        Restart();
        ASSERT_EQ(QIR_Set_FlowMissAction(1), 0u);
        ASSERT_EQ(QIR_Set_PortPadLen(7, 200), 0u);
        ASSERT_EQ(QIR_Set_PortDefAcl(8, 1), 0u);
        ASSERT_EQ(QIR_Set_Tpid(&kOldTpid), 0u);
        orxemu_clearLog();
    }
};

TEST_F(SettingsAndDriver, SettingsOfOnePortAreKeptApart) {
    const TpidCfg cfg = {.portId = 3, .tpid = {1, 2, 3, 4}};
    Hardware expected;
    ASSERT_EQ(QIR_Set_PortPadLen(3, 77), 0u);
    ASSERT_EQ(QIR_Set_PortDefAcl(3, 1), 0u);
    ASSERT_EQ(QIR_Set_Tpid(&cfg), 0u);
    expected->portPadLen[3] = 77;
    expected->portDefAcl[3] = 1;
    std::memcpy(expected->portTpid[3], cfg.tpid, sizeof cfg.tpid);
    EXPECT_TRUE(expected.IsNow());
    u32 value = kAllOnes;
    EXPECT_EQ(QIR_Get_PortPadLen(3, &value), 0u);
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(QIR_Get_PortDefAcl(3, &value), 0u);
    EXPECT_EQ(value, 1u);
}

// ---- start-up -------------------------------------------------------------------------------------

TEST_F(SettingsAndDriver, SettingsOutliveASecondStart) {
    for (u32 port = 0; port < 9; ++port) {
        const auto seed = static_cast<u16>(0x1000 + port);
        const TpidCfg cfg = {.portId = port, .tpid = {seed, 2, 3, static_cast<u16>(~seed)}};
        ASSERT_EQ(QIR_Set_Tpid(&cfg), 0u);
        ASSERT_EQ(QIR_Set_PortDefAcl(port, port % 2), 0u);
        if (port < 8) {
            ASSERT_EQ(QIR_Set_PortPadLen(port, 100 + port), 0u);
        }
    }
    const Hardware hardware;
    const std::size_t opens = orxemu_numOpens();
    ASSERT_EQ(QIR_Init_Sys(), 0u);
    EXPECT_EQ(orxemu_numOpens(), opens) << "the driver is not told";
    EXPECT_TRUE(hardware.IsNow());

    u32 value = kAllOnes;
    EXPECT_EQ(QIR_Get_FlowMissAction(&value), 0u);
    EXPECT_EQ(value, 1u);
    for (u32 port = 0; port < 9; ++port) {
        SCOPED_TRACE(port);
        TpidCfg cfg = {.portId = port, .tpid = {}};
        EXPECT_EQ(QIR_Get_Tpid(&cfg), 0u);
        EXPECT_EQ(cfg.portId, port);
        EXPECT_EQ(cfg.tpid[0], 0x1000 + port);
        EXPECT_EQ(cfg.tpid[1], 2);
        EXPECT_EQ(cfg.tpid[2], 3);
        EXPECT_EQ(cfg.tpid[3], 0xEFFF - port);
        EXPECT_EQ(QIR_Get_PortDefAcl(port, &value), 0u);
        EXPECT_EQ(value, port % 2);
        if (port < 8) {
            EXPECT_EQ(QIR_Get_PortPadLen(port, &value), 0u);
            EXPECT_EQ(value, 100 + port);
        }
    }
}

} // namespace
} // namespace ports_test
