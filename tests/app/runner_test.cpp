// The runner: which test number runs what, and the flow budgets it leaves behind. (What it refuses is in the
// goldens.)

#include "app/flow_records.h"
#include "tests/app/app_test.h"

#include <cerrno>

namespace app_test {
namespace {

class Runner : public AppTest {
  protected:
    void ExpectBudgets(uint16_t section0, uint16_t section1, uint16_t section2) {
        const uint16_t budgets[] = {section0, section1, section2};
        for (uint32_t section = 0; section < 3; ++section) {
            uint16_t numFlows = 0xFFFF;
            EXPECT_EQ(QIR_Get_SectionMaxFlows(section, &numFlows), 0u);
            EXPECT_EQ(numFlows, budgets[section]) << "section " << section;
        }
    }
};

TEST_F(Runner, LeavesSection1With412AndSection0With100Flows) {
    for (const char *test : {"0", "1", "2", "3", "4", "5"}) {
        SCOPED_TRACE(std::string("test ") + test);
        ResetApp();
        orxemu_reset();
        EXPECT_EQ(RunOrxtest({"-t", test}).status, 0);
        ExpectBudgets(100, 412, 0);
    }
}

TEST_F(Runner, RunsTheScenariosOfEachTestNumberInTheirOrder) {
    const std::string ethernet = "\n------- Configuring eth0 Flows -------\n\n";
    const std::string pppoe = "\n*** US: Untagged, PPPoE: GEM 0, Prio ";
    const std::string ip = "\n*** US: Untagged, IP: PBITS2GEM, Prio ";
    const std::string tagged = "\n*** 1:M Flows for UNI 0: GEM Ports 0 to 1 ***\n";
    const std::string other = "\n------- Configuring Other Untagged, Non-IP Flows -------\n";
    const std::string multicast = "\n------- Configuring IPTV Multicast Flows -------\n";
    const std::string headings[] = {ethernet, pppoe, ip, tagged, other, multicast};
    const struct {
        const char *test;
        std::vector<std::string> headings;
        int flows[3]; // by section
        int pacTbls, asTbls, dscpTbls;
    } rows[] = {
        {"0", {ethernet, pppoe, ip, tagged, other, multicast}, {2, 9, 0}, 2, 1, 1},
        {"1", {ethernet, other}, {2, 0, 0}, 0, 0, 0},
        {"2", {ethernet, pppoe}, {0, 2, 0}, 0, 0, 0},
        {"3", {ethernet, tagged}, {0, 4, 0}, 1, 1, 0},
        {"4", {ethernet, ip}, {0, 1, 0}, 1, 0, 1},
        {"5", {ethernet, multicast}, {0, 2, 0}, 0, 0, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string("test ") + row.test);
        ResetApp();
        orxemu_reset();
        const RunResult run = RunOrxtest({"-t", row.test});
        EXPECT_EQ(run.status, 0);
        std::size_t from = 0;
        std::vector<std::string> found;
        for (const std::string &heading : headings) {
            const std::size_t at = run.output.out.find(heading);
            if (at != std::string::npos) {
                EXPECT_GE(at, from) << heading;
                from = at;
                found.push_back(heading);
            }
        }
        EXPECT_EQ(found, row.headings);

        for (int section = 0; section < 3; ++section) {
            EXPECT_EQ(qirCtxt_gp->cfg.flowSection[section].cfgFlows, row.flows[section]) << section;
        }
        const auto inUse = [](const auto &pool) {
            int count = 0;
            for (const auto &tbl : pool) {
                count += tbl.status == e_STATUS_ACTIVE ? 1 : 0;
            }
            return count;
        };
        EXPECT_EQ(inUse(qirCtxt_gp->pacTblPool), row.pacTbls);
        EXPECT_EQ(inUse(qirCtxt_gp->asTblPool), row.asTbls);
        EXPECT_EQ(inUse(qirCtxt_gp->dscpTblPool), row.dscpTbls);
        EXPECT_EQ(app::g_flowInfoIndex, row.flows[0] + row.flows[1]);
    }
}

// What the library says does not change the exit status.
TEST_F(Runner, Returns0WhateverTheDriverAnswers) {
    orxemu_setPresent(0);
    for (const char *test : {"0", "1", "2", "3", "4", "5"}) {
        SCOPED_TRACE(std::string("test ") + test);
        ResetApp();
        const RunResult run = RunOrxtest({"-t", test});
        EXPECT_EQ(run.status, 0);
        EXPECT_NE(run.output.out.find("retVal <1>"), std::string::npos);
        EXPECT_EQ(run.output.err.rfind("qel_dev_open </dev/pktorx> error no 2\n", 0), 0u) << run.output.err;
    }
}

// Only the library's refusals differ on a driver that refuses: nothing of the run is left out.
TEST_F(Runner, CarriesOnBehindARefusedRequest) {
    orxemu_failRequest(0, 1, EIO);
    const RunResult run = RunOrxtest({"-t", "2"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output.err, "pktOrxDevIoctl <29> error\n");
    EXPECT_NE(run.output.out.find(test::RetVal("QIR_Activate_FCB", 1)), std::string::npos);
    EXPECT_NE(run.output.out.find("FCB Status<e_STATUS_CFG> Hdl<0> Section<1> \n"), std::string::npos);
    EXPECT_NE(run.output.out.find("FCB Status<e_STATUS_ACTIVE> Hdl<1> Section<1> \n"), std::string::npos);
}

TEST_F(Runner, ReleasesNothingAtItsEnd) {
    EXPECT_EQ(RunOrxtest({"-t", "1"}).status, 0);
    EXPECT_EQ(app::g_flowInfoIndex, 2);
    EXPECT_EQ(qirCtxt_gp->fcbPool[0].status, unsigned{e_STATUS_ACTIVE});
    EXPECT_EQ(qirCtxt_gp->fcbPool[1].status, unsigned{e_STATUS_ACTIVE});
    EXPECT_EQ(orxemu_state()->flow[1].active, 1);
}

} // namespace
} // namespace app_test
