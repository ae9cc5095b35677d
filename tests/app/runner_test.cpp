// The runner: which test number runs what, what it refuses, and the flow budgets it leaves behind.

#include "app/flow_records.h"
#include "tests/app/app_test.h"

#include <cerrno>

namespace app_test {
namespace {

constexpr char kBanner[] = "\n======== ORX API Test Suite v0.1  ========\n";

constexpr char kHelp[] = "Usage:\n"
                         "   orxtest -t 0: Run All Tests below\n"
                         "   orxtest -t 1: US/DS, Untagged, Non-IP\n"
                         "   orxtest -t 2: US/DS, Untagged, PPPoE\n"
                         "   orxtest -t 3: US/DS, Tagged, per-VID AS, Xlate VID, GEM-to-PBITS\n"
                         "   orxtest -t 4: US, Untagged, IP, Push Tag, DSCP-to-PBITS, GEM-to-PBITS\n"
                         "   orxtest -t 5: DS, Tagged, IPTV Multicast, Pop Tag\n"
                         "   orxtest -t 6: DS, Tagged, IPTV Multicast, Pop Tag\n"
                         "   orxtest -t 7: DS, Tagged, IPTV Multicast, Pop Tag\n"
                         "\n";

class Runner : public AppTest {
  protected:
    void ExpectUsageError(std::initializer_list<const char *> args, const std::string &text) {
        const RunResult run = RunOrxtest(args);
        EXPECT_EQ(run.status, -1);
        EXPECT_EQ(run.output.out, kBanner + text);
        EXPECT_EQ(run.output.err, "");
        EXPECT_EQ(orxemu_numRequests(), 0u);
        EXPECT_EQ(app::g_flowInfoIndex, 0);
    }

    void ExpectBudgets(uint16_t section0, uint16_t section1, uint16_t section2) {
        const uint16_t budgets[] = {section0, section1, section2};
        for (uint32_t section = 0; section < 3; ++section) {
            uint16_t numFlows = 0xFFFF;
            EXPECT_EQ(QIR_Get_SectionMaxFlows(section, &numFlows), 0u);
            EXPECT_EQ(numFlows, budgets[section]) << "section " << section;
        }
    }
};

TEST_F(Runner, PrintsTheHelpWithoutArguments) {
    ExpectUsageError({}, kHelp);
}

TEST_F(Runner, MissesTheNumberBehindALoneOptionWordWithoutHelp) {
    ExpectUsageError({"-t"}, "Missing argument");
}

TEST_F(Runner, RefusesTest6AlthoughTheHelpListsIt) {
    ExpectUsageError({"-t", "6"}, std::string("\nInvalid Test Number (6)\n\n") + kHelp);
}

TEST_F(Runner, RefusesNegativeTestNumbers) {
    ExpectUsageError({"-t", "-1"}, std::string("\nInvalid Test Number (-1)\n\n") + kHelp);
    ExpectUsageError({"-t", "-2147483648"}, std::string("\nInvalid Test Number (-2147483648)\n\n") + kHelp);
}

TEST_F(Runner, RefusesNumbersOutOfRangeWithoutHelp) {
    ExpectUsageError({"-t", "99999999999999999999"}, "Numerical result out of range: 2147483647");
    ExpectUsageError({"-t", "4294967297"}, "Numerical result out of range: 2147483647");
}

// A refused call leaves the budgets as start-up made them.
TEST_F(Runner, KeepsTheBudgetsOnAUsageError) {
    ExpectUsageError({"-t", "6"}, std::string("\nInvalid Test Number (6)\n\n") + kHelp);
    ExpectBudgets(0, 512, 0);
}

TEST_F(Runner, AcceptsAnyOptionWordAndHexadecimalNumbers) {
    const RunResult word = RunOrxtest({"foo", "0x5"});
    ResetApp();
    orxemu_reset();
    const RunResult plain = RunOrxtest({"-t", "5"});
    EXPECT_EQ(word.status, 0);
    EXPECT_EQ(word.output.out.rfind(std::string(kBanner) + "\nRunning Test 5\n", 0), 0u) << word.output.out;
    EXPECT_EQ(word.output.out, plain.output.out);
    EXPECT_EQ(word.output.err, "");
}

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
