// The groups of flows: headings, running priority, the flows' arguments, the records they leave, and what
// happens when the records run out.

#include "app/flow_records.h"
#include "app/scenario_groups.h"
#include "app/table_builders.h"
#include "tests/app/app_test.h"
#include "tests/app/expected_flows.h"

#include <functional>

namespace app_test {
namespace {

using app::g_flowInfo;
using app::g_flowInfoIndex;
using app::PppoePrio;

constexpr char kNoRecord[] = "****** ERROR: Failed to allocate flow ******\n";

class ScenarioGroups : public AppTest {
  protected:
    void SetUp() override {
        AppTest::SetUp();
        test::Capture([&] { app::App_ConfigPacTablePgMode(0, 0, &pac_); });
        orxemu_clearLog();
    }

    // Runs a group and keeps its result and what it printed.
    void Run(const std::function<int()> &group) {
        out_ = test::CaptureMasked([&] { result_ = group(); });
    }

    // The headings, the dumps left out.
    std::string Headings() const {
        std::string headings;
        for (const std::string &line : test::Lines(out_)) {
            if (line.rfind("***", 0) == 0 && line.find("FCB") == std::string::npos &&
                line.find_first_not_of("* ") != std::string::npos) {
                headings += line + "\n";
            }
        }
        return headings;
    }

    void ExpectFlow(std::size_t n, const FlowImage &flow) {
        ExpectFlowRequest(n, flow, flow.UsesPac() ? std::optional<uint32_t>(0) : std::nullopt,
                          static_cast<uint32_t>(n));
    }

    void ExpectRecord(int i, const AsTblHdl *as_p, const DscpTblHdl *dscp_p, const PacTblHdl *pac_p) {
        SCOPED_TRACE("record " + std::to_string(i));
        ASSERT_LT(i, g_flowInfoIndex);
        EXPECT_EQ(g_flowInfo[i]->asTbl_p, as_p);
        EXPECT_EQ(g_flowInfo[i]->dscpTbl_p, dscp_p);
        EXPECT_EQ(g_flowInfo[i]->pacTbl_p, pac_p);
        // The upper half is left as it was before the allocation.
        EXPECT_EQ(
            Image(4).Put32(0, 0xFFFF0000u | static_cast<uint32_t>(i)).DifferenceFrom(&g_flowInfo[i]->flowHdl),
            "");
    }

    AsTblHdl as_ = test::AsHdl(200);
    DscpTblHdl dscp_ = test::DscpHdl(200);
    PacTblHdl pac_{};
    std::string out_;
    int result_ = 99;
};

TEST_F(ScenarioGroups, ConfigureUntaggedNonIpFlowsOfUserPortsAndGponPort) {
    uint32_t prio = 9;
    Run([&] { return app::App_ConfigUntaggedNonIpFlows(&prio); });
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(prio, 11u);
    EXPECT_EQ(Headings(), "*** US: Untagged, non-IP, MIPS, Prio 9 ***\n"
                          "*** DS: Untagged, non-IP, MIPS, Prio 10 ***\n");
    ASSERT_EQ(orxemu_numRequests(), 2u);
    ExpectFlow(0, UntaggedNonIp(0, {.prio = 9, .srcPorts = 0x23, .dstPorts = 0x100}));
    ExpectFlow(1, UntaggedNonIp(1, {.prio = 10, .srcPorts = 0x80, .srcGems = 0xFFFFFFFF, .dstPorts = 0x100}));
    ExpectRecord(0, nullptr, nullptr, nullptr);
    ExpectRecord(1, nullptr, nullptr, nullptr);
}

// The headings show the next free priority, not the one that the flows share.
TEST_F(ScenarioGroups, ConfigurePppoeFlowsWithOneSharedPriority) {
    uint32_t prio = 7;
    Run([&] { return app::App_ConfigUntaggedPppoeFlows(4, &prio, 9, &as_, 77); });
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(prio, 8u);
    EXPECT_EQ(PppoePrio, 7u);
    EXPECT_EQ(Headings(), "*** US: Untagged, PPPoE: GEM 9, Prio 8 ***\n"
                          "*** DS: Untagged, PPPoE: GEM 9, Prio 8 ***\n");
    ASSERT_EQ(orxemu_numRequests(), 2u);
    ExpectFlow(0,
               UsPppoe(0, {.prio = 7, .srcPorts = 0x10, .dstPorts = 0x80, .dstGems = 0x200}, kAsInUse, 77));
    ExpectFlow(1, DsPppoe(1, {.prio = 7, .srcPorts = 0x80, .srcGems = 0x200, .dstPorts = 0x10}));
    ExpectRecord(0, &as_, nullptr, nullptr);
    ExpectRecord(1, nullptr, nullptr, nullptr);
}

TEST_F(ScenarioGroups, KeepThePppoePriorityForLaterPppoeFlows) {
    uint32_t prio = 7;
    Run([&] { return app::App_ConfigUntaggedPppoeFlows(4, &prio, 9, nullptr, 77); });
    prio = 20;
    Run([&] { return app::App_ConfigUntaggedPppoeFlows(0, &prio, 0, nullptr, 78); });
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(prio, 20u);
    EXPECT_EQ(PppoePrio, 7u);
    EXPECT_EQ(Headings(), "*** US: Untagged, PPPoE: GEM 0, Prio 20 ***\n"
                          "*** DS: Untagged, PPPoE: GEM 0, Prio 20 ***\n");
    ASSERT_EQ(orxemu_numRequests(), 4u);
    ExpectFlow(2, UsPppoe(2, {.prio = 7, .srcPorts = 1, .dstPorts = 0x80, .dstGems = 1}, kAsNotInUse, 78));
    ExpectFlow(3, DsPppoe(3, {.prio = 7, .srcPorts = 0x80, .srcGems = 1, .dstPorts = 1}));
}

// Priority 0 counts as none taken: the second flow takes another one.
TEST_F(ScenarioGroups, TakeThePppoePriorityAgainWhileItIs0) {
    uint32_t prio = 0;
    Run([&] { return app::App_ConfigUntaggedPppoeFlows(0, &prio, 0, nullptr, 1200); });
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(prio, 2u);
    EXPECT_EQ(PppoePrio, 1u);
    EXPECT_EQ(Headings(), "*** US: Untagged, PPPoE: GEM 0, Prio 1 ***\n"
                          "*** DS: Untagged, PPPoE: GEM 0, Prio 2 ***\n");
    ASSERT_EQ(orxemu_numRequests(), 2u);
    ExpectFlow(0, UsPppoe(0, {.prio = 0, .srcPorts = 1, .dstPorts = 0x80, .dstGems = 1}, kAsNotInUse, 1200));
    ExpectFlow(1, DsPppoe(1, {.prio = 1, .srcPorts = 0x80, .srcGems = 1, .dstPorts = 1}));
}

TEST_F(ScenarioGroups, ConfigureOneUntaggedIpFlow) {
    uint32_t prio = 3;
    Run([&] { return app::App_ConfigUntaggedIpFlows(2, &prio, &dscp_, &as_, &pac_, 33); });
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(prio, 4u);
    EXPECT_EQ(Headings(), "*** US: Untagged, IP: PBITS2GEM, Prio 3 ***\n");
    ASSERT_EQ(orxemu_numRequests(), 1u);
    ExpectFlow(
        0,
        UsUntaggedIp(
            0, {.prio = 3, .srcPorts = 0x04, .dstPorts = 0x80, .dstGems = 0x8, .gemWithQueue = 3, .queue = 5},
            kAsInUse, PacWord(0), 33));
    ExpectRecord(0, &as_, &dscp_, &pac_);
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].refCnt, 1u);
}

TEST_F(ScenarioGroups, ConfigureTaggedFlowsOfTwoGemPorts) {
    uint32_t gem = 10;
    uint32_t prio = 4;
    Run([&] { return app::App_ConfigFlowMapperWithTranslation(5, &gem, &prio, &as_, &pac_, 300, 2000); });
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(gem, 12u);
    EXPECT_EQ(prio, 8u);
    EXPECT_EQ(Headings(), "*** 1:M Flows for UNI 5: GEM Ports 10 to 11 ***\n"
                          "*** US: GEM 10, Prio 4 ***\n"
                          "*** DS: GEM 10, Prio 5 ***\n"
                          "*** US: GEM 11, Prio 6 ***\n"
                          "*** DS: GEM 11, Prio 7 ***\n");
    const auto us = [](uint32_t usPrio) {
        return Fwd{.prio = usPrio,
                   .srcPorts = 0x20,
                   .dstPorts = 0x80,
                   .dstGems = 0x8,
                   .gemWithQueue = 3,
                   .queue = 7};
    };
    const auto ds = [](uint32_t dsPrio) {
        return Fwd{.prio = dsPrio, .srcPorts = 0x80, .srcGems = 0xC00, .dstPorts = 0x20};
    };
    ASSERT_EQ(orxemu_numRequests(), 4u);
    ExpectFlow(0, UsVlanTrans(0, us(4), kAsInUse, PacWord(0), 300, 2000));
    ExpectFlow(1, DsVlanTrans(1, ds(5), 300, 2000));
    ExpectFlow(2, UsVlanTrans(2, us(6), kAsNotInUse, PacWord(0), 301, 2001));
    ExpectFlow(3, DsVlanTrans(3, ds(7), 301, 2001));
    ExpectRecord(0, &as_, nullptr, &pac_);
    ExpectRecord(1, nullptr, nullptr, nullptr);
    ExpectRecord(2, nullptr, nullptr, &pac_);
    ExpectRecord(3, nullptr, nullptr, nullptr);
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].refCnt, 2u);
}

TEST_F(ScenarioGroups, ConfigureTaggedFlowsWithoutTables) {
    uint32_t gem = 0;
    uint32_t prio = 0;
    Run([&] { return app::App_ConfigFlowMapperWithTranslation(0, &gem, &prio, nullptr, nullptr, 1, 2); });
    EXPECT_EQ(result_, 0);
    const Fwd us{.srcPorts = 1, .dstPorts = 0x80, .dstGems = 0x8, .gemWithQueue = 3, .queue = 7};
    ASSERT_EQ(orxemu_numRequests(), 4u);
    ExpectFlow(0, UsVlanTrans(0, us, kAsNotInUse, {}, 1, 2));
    ExpectRecord(0, nullptr, nullptr, nullptr);
    ExpectRecord(2, nullptr, nullptr, nullptr);
}

TEST_F(ScenarioGroups, ConfigureMulticastFlowsOfAnySourceAndOfOne) {
    uint32_t prio = 30;
    Run([&] { return app::App_ConfigFlowMulticast(&prio); });
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(prio, 32u);
    EXPECT_EQ(Headings(), "*** DS: ASM Multicast, Prio 30 ***\n"
                          "*** DS: SSM Multicast, Prio 31 ***\n");
    ASSERT_EQ(orxemu_numRequests(), 2u);
    ExpectFlow(
        0, DsIpTvAnySource(0, {.prio = 30, .srcPorts = 0x80, .srcGems = 0x80000000, .dstPorts = 0x21}, 1500));
    ExpectFlow(
        1, DsIpTvOneSource(1, {.prio = 31, .srcPorts = 0x80, .srcGems = 0x80000000, .dstPorts = 0x03}, 1500));
    ExpectRecord(0, nullptr, nullptr, nullptr);
    ExpectRecord(1, nullptr, nullptr, nullptr);
}

// ---- When the records run out --------------------------------------------------------------------------

TEST_F(ScenarioGroups, EndWithAnErrorLineWhenNoFlowRecordIsLeft) {
    uint32_t gem = 0;
    using Group = std::function<int(uint32_t *)>;
    const Group nonIp = [](uint32_t *prio_p) { return app::App_ConfigUntaggedNonIpFlows(prio_p); };
    const Group pppoe = [](uint32_t *prio_p) {
        return app::App_ConfigUntaggedPppoeFlows(0, prio_p, 0, nullptr, 1200);
    };
    const Group ip = [this](uint32_t *prio_p) {
        return app::App_ConfigUntaggedIpFlows(0, prio_p, &dscp_, nullptr, &pac_, 1200);
    };
    const Group tagged = [&](uint32_t *prio_p) {
        gem = 0;
        return app::App_ConfigFlowMapperWithTranslation(0, &gem, prio_p, &as_, &pac_, 200, 1200);
    };
    const Group multicast = [](uint32_t *prio_p) { return app::App_ConfigFlowMulticast(prio_p); };
    const struct {
        const char *name;
        Group group;
        int recordsLeft;
        uint32_t prioBefore, prioAfter;
        const char *end; // the last heading
    } rows[] = {
        {"non-IP", nonIp, 0, 5, 5, "*** US: Untagged, non-IP, MIPS, Prio 5 ***\n"},
        {"non-IP", nonIp, 1, 5, 6, "*** DS: Untagged, non-IP, MIPS, Prio 6 ***\n"},
        // The PPPoE priority has been taken by then.
        {"PPPoE", pppoe, 0, 5, 6, "*** US: Untagged, PPPoE: GEM 0, Prio 6 ***\n"},
        {"PPPoE", pppoe, 1, 5, 6, "*** DS: Untagged, PPPoE: GEM 0, Prio 6 ***\n"},
        {"PPPoE", pppoe, 0, 0, 1, "*** US: Untagged, PPPoE: GEM 0, Prio 1 ***\n"},
        {"PPPoE", pppoe, 1, 0, 2, "*** DS: Untagged, PPPoE: GEM 0, Prio 2 ***\n"},
        {"IP", ip, 0, 5, 5, "*** US: Untagged, IP: PBITS2GEM, Prio 5 ***\n"},
        {"tagged", tagged, 0, 5, 5, "*** US: GEM 0, Prio 5 ***\n"},
        {"tagged", tagged, 1, 5, 6, "*** DS: GEM 0, Prio 6 ***\n"},
        {"tagged", tagged, 2, 5, 7, "*** US: GEM 1, Prio 7 ***\n"},
        {"tagged", tagged, 3, 5, 8, "*** DS: GEM 1, Prio 8 ***\n"},
        {"multicast", multicast, 0, 5, 5, "*** DS: ASM Multicast, Prio 5 ***\n"},
        {"multicast", multicast, 1, 5, 6, "*** DS: SSM Multicast, Prio 6 ***\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name + std::string(" with records left: ") + std::to_string(row.recordsLeft));
        ResetApp();
        orxemu_clearLog();
        LeaveFlowRecords(row.recordsLeft);
        uint32_t prio = row.prioBefore;
        Run([&] { return row.group(&prio); });
        EXPECT_EQ(result_, -1);
        EXPECT_EQ(prio, row.prioAfter);
        EXPECT_EQ(orxemu_numRequests(), static_cast<std::size_t>(row.recordsLeft));
        EXPECT_EQ(g_flowInfoIndex, 100);
        const std::string end = row.end + std::string(kNoRecord);
        ASSERT_GE(out_.size(), end.size());
        EXPECT_EQ(out_.substr(out_.size() - end.size()), end);
        EXPECT_EQ(out_.find(kNoRecord), out_.size() - std::string(kNoRecord).size()) << "printed once";
    }
}

// With records for all of them the same groups succeed.
TEST_F(ScenarioGroups, UseTheLastFlowRecords) {
    LeaveFlowRecords(2);
    uint32_t prio = 5;
    Run([&] { return app::App_ConfigFlowMulticast(&prio); });
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(prio, 7u);
    EXPECT_EQ(out_.find(kNoRecord), std::string::npos);
    EXPECT_EQ(g_flowInfoIndex, 100);
}

// ---- From the groups to the release --------------------------------------------------------------------

TEST_F(ScenarioGroups, LeaveRecordsThatReleaseTheirFlowsAndTables) {
    uint32_t prio = 0;
    uint32_t gem = 0;
    Run([&] {
        app::App_ConfigUntaggedIpFlows(0, &prio, &dscp_, nullptr, &pac_, 1200);
        return app::App_ConfigFlowMapperWithTranslation(0, &gem, &prio, &as_, &pac_, 200, 1200);
    });
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(QIR_Deactivate_FCB(&g_flowInfo[i]->flowHdl), 0u);
    }
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].refCnt, 3u);
    EXPECT_EQ(test::CaptureMasked(app::freeFlows), "Free Flow 0: DSCP2PBITS PBITS2ACTION DONE\n"
                                                   "Free Flow 1: ASP PBITS2ACTION DONE\n"
                                                   "Free Flow 2: DONE\n"
                                                   "Free Flow 3: PBITS2ACTION DONE\n"
                                                   "Free Flow 4: DONE\n");
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].refCnt, 0u);
    EXPECT_EQ(qirCtxt_gp->cfg.flowSection[1].cfgFlows, 0u);
}

} // namespace
} // namespace app_test
