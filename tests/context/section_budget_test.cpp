// The budgets of the flow sections.
#include "tests/support/library.h"

#include <cstdio>

namespace context_test {
namespace {

using test::Err;
using test::Inf;
using test::Refusal;

const std::string kSet = "QIR_Set_SectionMaxFlows";

class SectionBudgets : public test::LibraryTest {};

struct Verdict {
    uint32_t code = 0;
    std::string lines;
};

// The verdict on a new budget, by the rules alone.
Verdict Judge(const qir::FlowSection (&sections)[3], uint32_t section, uint32_t numFlows) {
    if (section >= 3) {
        return {27, Refusal(kSet, "e_RET_ERR_INVALID_SECTION", 27)};
    }
    if (numFlows >= 512) {
        return {28, Refusal(kSet, "e_RET_ERR_INVALID_NUMFLOWS", 28)};
    }
    const std::string number = "numFlows<" + std::to_string(numFlows) + "> ";
    if (numFlows < sections[section].cfgFlows) {
        return {13, Err(kSet, number + "less than active flows<" +
                                  std::to_string(sections[section].cfgFlows) + ">") +
                        Refusal(kSet, "e_RET_ERR_RESRC_BUSY", 13)};
    }
    uint32_t total = numFlows;
    for (uint32_t other = 0; other < 3; ++other) {
        total += other == section ? 0u : sections[other].maxFlows;
    }
    if (total > 512) {
        return {12, Err(kSet, "total flows exceed maximum allowed: " + number + "totalFlows<" +
                                  std::to_string(total) + ">") +
                        Refusal(kSet, "e_RET_ERR_RESRC_UNAVAIL", 12)};
    }
    return {};
}

// Flows of other sections do not count, nor does the section's own old budget; nothing but the budget
// changes.
TEST_F(SectionBudgets, VerdictHoldsForEverySectionAndBudget) {
    const uint16_t flowCounts[] = {0, 1, 5, 100, 412, 511, 512};
    const uint16_t numbers[] = {0, 1, 4, 5, 6, 99, 100, 101, 411, 412, 413, 510, 511, 512, 513, 65535};
    const uint16_t others[][2] = {{0, 0}, {1, 0}, {0, 1}, {100, 0}, {0, 100}, {100, 312}, {512, 0}, {0, 512}};
    qirCtxt_gp->flowMissAction = 0xFFFFFFFF; // stands behind the sections
    test::RaiseLog(2);
    for (const uint32_t section : {0u, 1u, 2u, 3u, 0xFFFFFFFFu}) {
        for (const auto &other : others) {
            for (const uint16_t flows : flowCounts) {
                auto &sections = qirCtxt_gp->cfg.flowSection;
                for (uint32_t i = 0, next = 0; i < 3; ++i) {
                    sections[i].maxFlows = i == section ? flows : other[next++ % 2];
                    sections[i].cfgFlows = i == section ? flows : 7;
                }
                const test::ContextSnapshot before;
                for (const uint16_t numFlows : numbers) {
                    const Verdict expected = Judge(sections, section, numFlows);
                    uint32_t code = 0;
                    const std::string out =
                        test::CaptureMasked([&] { code = QIR_Set_SectionMaxFlows(section, numFlows); });
                    ASSERT_EQ(code, expected.code)
                        << "section " << section << " with " << flows << " flows, others " << other[0]
                        << " and " << other[1] << ", new " << numFlows;
                    ASSERT_EQ(out, Inf(kSet, "Params: section<" + std::to_string(section) + "> numFlows<" +
                                                 std::to_string(numFlows) + ">") +
                                       expected.lines);
                    if (expected.code == 0) {
                        EXPECT_EQ(sections[section].maxFlows, numFlows);
                        sections[section].maxFlows = flows;
                    }
                    ASSERT_TRUE(before.Unchanged()) << "section " << section << ", new " << numFlows;
                }
            }
        }
    }
    EXPECT_EQ(orxemu_numOpens(), 0u);
}

TEST_F(SectionBudgets, AreReadWithTheirParameterLines) {
    for (uint16_t section = 0; section < 3; ++section) {
        qirCtxt_gp->cfg.flowSection[section].maxFlows = static_cast<uint16_t>(100 + section);
    }
    test::RaiseLog(2);
    const test::ContextSnapshot before;
    for (uint32_t section = 0; section < 3; ++section) {
        uint16_t numFlows = 0;
        char expected[200];
        std::snprintf(expected, sizeof expected,
                      "[INF orxapi] QIR_Get_SectionMaxFlows: Params: section<%u> numFlows_p<0x%p>\n"
                      "[INF orxapi] QIR_Get_SectionMaxFlows: section<%u> numFlows<%u>\n",
                      section, static_cast<void *>(&numFlows), section, 100 + section);
        EXPECT_EQ(test::Capture([&] { EXPECT_EQ(QIR_Get_SectionMaxFlows(section, &numFlows), 0u); }),
                  expected);
        EXPECT_EQ(numFlows, 100 + section);
    }
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(SectionBudgets, RefusedReadLeavesTheCallersWord) {
    uint16_t numFlows = 0xBEEF;
    test::Capture([&] { EXPECT_EQ(QIR_Get_SectionMaxFlows(3, &numFlows), 27u); });
    EXPECT_EQ(numFlows, 0xBEEFu);
}

// Before start-up no section owns anything.
TEST_F(SectionBudgets, AreZeroBeforeStartUp) {
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    for (uint32_t section = 0; section < 3; ++section) {
        uint16_t numFlows = 0xBEEF;
        EXPECT_EQ(QIR_Get_SectionMaxFlows(section, &numFlows), 0u);
        EXPECT_EQ(numFlows, 0u);
    }
}

} // namespace
} // namespace context_test
