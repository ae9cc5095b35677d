// Flow records without memory, budgets too small to share, and numbers that a mask has no bit for.

#include "tests/app/short_supplies.h"

#include "app/scenario_groups.h"
#include "tests/app/app_test.h"

namespace app_test {
namespace {

using app::allocFlow;

class ShortSupplies : public AppTest {};

TEST_F(ShortSupplies, NoFlowRecordWithoutMemory) {
    ASSERT_NE(allocFlow(), nullptr);
    {
        const NoMemory noMemory;
        EXPECT_EQ(allocFlow(), nullptr);
        EXPECT_EQ(allocFlow(), nullptr);
    }
    EXPECT_EQ(app::g_flowInfoIndex, 1);
    EXPECT_NE(allocFlow(), nullptr);
    EXPECT_EQ(app::g_flowInfoIndex, 2);
}

TEST_F(ShortSupplies, ScenariosEndWithoutMemory) {
    uint32_t prio = 0;
    int status = 0;
    const std::string printed = test::Capture([&] {
        const NoMemory noMemory;
        status = app::App_ConfigUntaggedNonIpFlows(&prio);
    });
    EXPECT_EQ(status, -1);
    EXPECT_EQ(printed, "\n*** US: Untagged, non-IP, MIPS, Prio 0 ***\n"
                       "****** ERROR: Failed to allocate flow ******\n");
    EXPECT_EQ(prio, 0u);
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

// Section 0 gets its 100 flows in any case; section 1 gives them only when it has them.
TEST_F(ShortSupplies, Section1GivesWhatItHas) {
    const struct {
        uint16_t before;
        uint16_t after;
    } rows[] = {{0, 0}, {99, 99}, {100, 0}, {101, 1}, {512, 412}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.before);
        const Section1Budget budget(row.before);
        EXPECT_EQ(RunOrxtest({"-t", "1"}).status, 0);
        uint16_t numFlows = 0xFFFF;
        EXPECT_EQ(QIR_Get_SectionMaxFlows(0, &numFlows), 0u);
        EXPECT_EQ(numFlows, 100);
        EXPECT_EQ(QIR_Get_SectionMaxFlows(1, &numFlows), 0u);
        EXPECT_EQ(numFlows, row.after);
        ResetApp();
    }
}

// The masks stay empty, and the library refuses the forwarding information of both flows.
TEST_F(ShortSupplies, GemPortBeyondTheMaskIsNoGemPort) {
    for (const uint32_t gem : {32u, 33u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(gem);
        uint32_t prio = 7;
        int status = -1;
        const std::string printed = test::CaptureMasked(
            [&] { status = app::App_ConfigUntaggedPppoeFlows(0, &prio, gem, nullptr, 1200); });
        EXPECT_EQ(status, 0);
        EXPECT_NE(
            printed.find(test::Err("Validate_FwdInfo", "Invalid param GPON port srcPortMask<0x00000080> "
                                                       "gemPortIdMask<0x00000000>")),
            std::string::npos)
            << printed;
        EXPECT_NE(printed.find(test::Err("Validate_FwdInfo", "Invalid param srcPortMask<0x00000080> "
                                                             "gemPortIdMask<0x00000000>")),
                  std::string::npos)
            << printed;
        ASSERT_EQ(app::g_flowInfoIndex, 2);
        for (int i = 0; i < app::g_flowInfoIndex; ++i) {
            EXPECT_EQ(qirCtxt_gp->fcbPool[app::g_flowInfo[i]->flowHdl.f1.id].fwdInfoSet, 0u) << "flow " << i;
        }
        ResetApp();
    }
}

} // namespace
} // namespace app_test
