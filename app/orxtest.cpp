// The entry point of orxtest: starts the library, splits the flow budget and runs one of the scenarios, or
// all of them, by test number.

#include "app/cmdline.h"
#include "app/scenario_groups.h"
#include "app/table_builders.h"
#include "qirapi/qirapi.h"

#include <cstdint>
#include <cstdio>

namespace {

constexpr unsigned kNumTests = 6;
constexpr uint16_t kSection0Flows = 100;

// Is `test` the given one, or test 0, which runs all?
bool Runs(int test, int number) {
    return test == 0 || test == number;
}

// Moves 100 flows from section 1 to section 0. The donor shrinks first: the budgets never sum to more than
// the pool holds.
void AllocateFlowSections() {
    uint16_t section1Flows = 0;
    QIR_Get_SectionMaxFlows(1, &section1Flows);
    if (section1Flows >= kSection0Flows) {
        QIR_Set_SectionMaxFlows(1, static_cast<uint16_t>(section1Flows - kSection0Flows));
    }
    QIR_Set_SectionMaxFlows(0, kSection0Flows);
}

// The priority is shared: flows of later scenarios get higher numbers.
void RunScenarios(int test) {
    constexpr uint32_t kUni = 0;
    constexpr uint32_t kIpPacGem = 6;
    constexpr uint16_t kFirstVid = 200;
    constexpr uint16_t kSecondVid = 1200;
    uint32_t nextPrio = 0;
    uint32_t gem = 0;
    DscpTblHdl dscpTbl{};
    AsTblHdl asTbl{};
    PacTblHdl ipPacTbl{};
    PacTblHdl taggedPacTbl{};

    std::puts("\n------- Configuring eth0 Flows -------\n");
    if (Runs(test, 2)) {
        app::App_ConfigUntaggedPppoeFlows(kUni, &nextPrio, gem, nullptr, kSecondVid);
    }
    if (Runs(test, 4)) {
        app::App_ConfigPacTablePgMode(kUni, kIpPacGem, &ipPacTbl);
        app::App_ConfigDscpTable(kUni, &dscpTbl);
        app::App_ConfigUntaggedIpFlows(kUni, &nextPrio, &dscpTbl, nullptr, &ipPacTbl, kSecondVid);
    }
    if (Runs(test, 3)) {
        app::App_ConfigPacTablePgMode(kUni, gem, &taggedPacTbl);
        app::App_ConfigAsTable(kUni, &asTbl);
        app::App_ConfigFlowMapperWithTranslation(kUni, &gem, &nextPrio, &asTbl, &taggedPacTbl, kFirstVid,
                                                 kSecondVid);
    } else {
        gem += 2; // the GEM ports that the tagged flows would have taken
    }
    if (Runs(test, 1)) {
        std::puts("\n------- Configuring Other Untagged, Non-IP Flows -------");
        app::App_ConfigUntaggedNonIpFlows(&nextPrio);
    }
    if (Runs(test, 5)) {
        std::puts("\n------- Configuring IPTV Multicast Flows -------");
        app::App_ConfigFlowMulticast(&nextPrio);
    }
}

} // namespace

int main(int argc, char **argv) {
    QIR_Init_Sys();
    std::puts("\n======== ORX API Test Suite v0.1  ========");

    --argc;
    ++argv;
    if (argc == 0) {
        app::printHelp();
        return -1;
    }
    app::CmdValue arg{};
    if (const int result = app::getCmdArgs(&argc, &argv, &arg, "d"); result != 0) {
        return result;
    }
    const int test = arg.number;
    if (static_cast<unsigned>(test) >= kNumTests) {
        std::printf("\nInvalid Test Number (%d)\n\n", test);
        app::printHelp();
        return -1;
    }

    std::printf("\nRunning Test %d\n", test);
    std::puts("\nAllocating Flow Sections");
    AllocateFlowSections();
    RunScenarios(test);
    return 0;
}
