// The budgets of the flow sections.
#include "tests/support/library.h"

#include <cstdio>

namespace context_test {
namespace {

using test::CodeLine;
using test::Err;
using test::Inf;
using test::RetVal;

const char *const kSet = "QIR_Set_SectionMaxFlows";
const char *const kGet = "QIR_Get_SectionMaxFlows";

struct Sections {
    qir::FlowSection section[3];
};

class SectionBudgets : public test::LibraryTest {
  protected:
    static void Prepare(const Sections &sections) {
        for (std::size_t i = 0; i < 3; ++i) {
            qirCtxt_gp->cfg.flowSection[i] = sections.section[i];
        }
    }

    // Every changed byte belongs to the section's budget.
    static bool OnlyBudgetChanged(const test::ContextSnapshot &before, uint32_t section) {
        const std::size_t begin = offsetof(qir::QirCtxt, cfg) + section * sizeof(qir::FlowSection) +
                                  offsetof(qir::FlowSection, maxFlows);
        for (const std::size_t offset : before.ChangedBytes()) {
            if (offset < begin || offset >= begin + sizeof(uint16_t)) {
                return false;
            }
        }
        return true;
    }
};

// Sections are written {budget, flows}.
constexpr Sections kStart = {{{0, 0}, {512, 0}, {0, 0}}};
constexpr Sections kEmpty = {{{0, 0}, {0, 0}, {0, 0}}};

struct SetRow {
    const char *name;
    Sections before;
    uint32_t section;
    uint16_t numFlows;
    uint32_t code;
    const char *params;
    std::string lines; // what is printed at every level
};

std::string Refused(const char *name, unsigned code) {
    return CodeLine(kSet, name) + RetVal(kSet, code);
}

const SetRow kSetRows[] = {
    {"a section beyond the last", kStart, 3, 0, 27, "Params: section<3> numFlows<0>",
     Refused("e_RET_ERR_INVALID_SECTION", 27)},
    {"the largest section number", kStart, 0xFFFFFFFF, 1, 27, "Params: section<4294967295> numFlows<1>",
     Refused("e_RET_ERR_INVALID_SECTION", 27)},
    {"one flow too many for any section", kEmpty, 0, 512, 28, "Params: section<0> numFlows<512>",
     Refused("e_RET_ERR_INVALID_NUMFLOWS", 28)},
    {"the largest number of flows", kEmpty, 2, 65535, 28, "Params: section<2> numFlows<65535>",
     Refused("e_RET_ERR_INVALID_NUMFLOWS", 28)},
    {"fewer than the flows there are",
     {{{100, 5}, {412, 0}, {0, 0}}},
     0,
     4,
     13,
     "Params: section<0> numFlows<4>",
     Err(kSet, "numFlows<4> less than active flows<5>") + Refused("e_RET_ERR_RESRC_BUSY", 13)},
    {"none while there is one flow",
     {{{0, 0}, {412, 0}, {1, 1}}},
     2,
     0,
     13,
     "Params: section<2> numFlows<0>",
     Err(kSet, "numFlows<0> less than active flows<1>") + Refused("e_RET_ERR_RESRC_BUSY", 13)},
    {"one flow more than there are altogether",
     {{{0, 0}, {412, 0}, {0, 0}}},
     0,
     101,
     12,
     "Params: section<0> numFlows<101>",
     Err(kSet, "total flows exceed maximum allowed: numFlows<101> totalFlows<513>") +
         Refused("e_RET_ERR_RESRC_UNAVAIL", 12)},
    {"a sum over three sections that is too large",
     {{{200, 0}, {200, 0}, {0, 0}}},
     2,
     113,
     12,
     "Params: section<2> numFlows<113>",
     Err(kSet, "total flows exceed maximum allowed: numFlows<113> totalFlows<513>") +
         Refused("e_RET_ERR_RESRC_UNAVAIL", 12)},
    {"the largest budget beside a full section", kStart, 2, 511, 12, "Params: section<2> numFlows<511>",
     Err(kSet, "total flows exceed maximum allowed: numFlows<511> totalFlows<1023>") +
         Refused("e_RET_ERR_RESRC_UNAVAIL", 12)},

    // Two checks fail: the first one decides.
    {"section and number", kStart, 3, 512, 27, "Params: section<3> numFlows<512>",
     Refused("e_RET_ERR_INVALID_SECTION", 27)},
    {"section and flows there are",
     {{{9, 9}, {9, 9}, {9, 9}}},
     3,
     0,
     27,
     "Params: section<3> numFlows<0>",
     Refused("e_RET_ERR_INVALID_SECTION", 27)},
    {"section and sum", kStart, 3, 511, 27, "Params: section<3> numFlows<511>",
     Refused("e_RET_ERR_INVALID_SECTION", 27)},
    {"number and flows there are",
     {{{0, 600}, {0, 0}, {0, 0}}},
     0,
     512,
     28,
     "Params: section<0> numFlows<512>",
     Refused("e_RET_ERR_INVALID_NUMFLOWS", 28)},
    {"number and sum", kStart, 0, 512, 28, "Params: section<0> numFlows<512>",
     Refused("e_RET_ERR_INVALID_NUMFLOWS", 28)},
    {"flows there are and sum",
     {{{0, 5}, {512, 0}, {0, 0}}},
     0,
     4,
     13,
     "Params: section<0> numFlows<4>",
     Err(kSet, "numFlows<4> less than active flows<5>") + Refused("e_RET_ERR_RESRC_BUSY", 13)},

    // Accepted.
    {"the largest budget", kEmpty, 0, 511, 0, "Params: section<0> numFlows<511>", ""},
    {"the section's own old budget does not count", kStart, 1, 511, 0, "Params: section<1> numFlows<511>",
     ""},
    {"a sum of exactly all flows",
     {{{100, 0}, {312, 0}, {0, 0}}},
     2,
     100,
     0,
     "Params: section<2> numFlows<100>",
     ""},
    {"exactly the flows there are",
     {{{100, 5}, {412, 0}, {0, 0}}},
     0,
     5,
     0,
     "Params: section<0> numFlows<5>",
     ""},
    {"flows of other sections do not count",
     {{{0, 0}, {200, 200}, {0, 0}}},
     2,
     1,
     0,
     "Params: section<2> numFlows<1>",
     ""},
    {"none in an empty section", kStart, 1, 0, 0, "Params: section<1> numFlows<0>", ""},
};

TEST_F(SectionBudgets, TheSetterChecksInItsOrderAndSaysWhatFailed) {
    for (const SetRow &row : kSetRows) {
        for (const uint32_t level : {1u, 2u, 3u}) {
            SCOPED_TRACE(std::string(row.name) + ", log level " + std::to_string(level));
            test::RaiseLog(level);
            Prepare(row.before);
            const test::ContextSnapshot before;
            uint32_t code = 0xDEAD;
            const test::Output printed =
                test::CaptureBoth([&] { code = QIR_Set_SectionMaxFlows(row.section, row.numFlows); });
            EXPECT_EQ(code, row.code);
            EXPECT_EQ(test::Mask(printed.out), (level >= 2 ? Inf(kSet, row.params) : "") + row.lines);
            EXPECT_EQ(printed.err, "");
            if (row.code != 0) {
                EXPECT_TRUE(before.Unchanged());
            } else {
                EXPECT_TRUE(OnlyBudgetChanged(before, row.section));
                EXPECT_EQ(qirCtxt_gp->cfg.flowSection[row.section].maxFlows, row.numFlows);
            }
        }
    }
}

// The verdict on a new budget, by the rules alone.
uint32_t Verdict(const Sections &sections, uint32_t section, uint32_t numFlows) {
    if (section >= 3) {
        return 27;
    }
    if (numFlows >= 512) {
        return 28;
    }
    if (numFlows < sections.section[section].cfgFlows) {
        return 13;
    }
    uint32_t total = numFlows;
    for (uint32_t other = 0; other < 3; ++other) {
        total += other == section ? 0u : sections.section[other].maxFlows;
    }
    return total > 512 ? 12 : 0;
}

TEST_F(SectionBudgets, TheSettersVerdictHoldsForEverySectionAndBudget) {
    const uint16_t flowCounts[] = {0, 1, 5, 100, 412, 511, 512};
    const uint16_t numbers[] = {0, 1, 4, 5, 6, 99, 100, 101, 411, 412, 413, 510, 511, 512, 513, 65535};
    const uint16_t others[][2] = {{0, 0}, {1, 0}, {0, 1}, {100, 0}, {0, 100}, {100, 312}, {512, 0}, {0, 512}};
    for (uint32_t section = 0; section <= 3; ++section) {
        for (const auto &other : others) {
            for (const uint16_t flows : flowCounts) {
                Sections sections = kEmpty;
                for (uint32_t i = 0, next = 0; i < 3; ++i) {
                    sections.section[i].maxFlows = i == section ? flows : other[next++ % 2];
                    sections.section[i].cfgFlows = i == section ? flows : 7;
                }
                Prepare(sections);
                const test::ContextSnapshot before;
                for (const uint16_t numFlows : numbers) {
                    const uint32_t expected = Verdict(sections, section, numFlows);
                    uint32_t code = 0;
                    test::Capture([&] { code = QIR_Set_SectionMaxFlows(section, numFlows); });
                    EXPECT_EQ(code, expected)
                        << "section " << section << " with " << flows << " flows, others " << other[0]
                        << " and " << other[1] << ", new " << numFlows;
                    if (expected == 0) {
                        EXPECT_EQ(qirCtxt_gp->cfg.flowSection[section].maxFlows, numFlows);
                        qirCtxt_gp->cfg.flowSection[section].maxFlows = flows;
                    }
                    ASSERT_TRUE(before.Unchanged()) << "section " << section << ", new " << numFlows;
                }
            }
        }
    }
}

struct GetRow {
    const char *name;
    uint32_t section;
    bool null;
    uint32_t code;
    uint16_t numFlows; // what the caller's word holds afterwards
    const char *params;
    std::string lines;  // what is printed at every level
    const char *result; // printed at information level
};

constexpr uint16_t kUntouched = 0xBEEF;

const GetRow kGetRows[] = {
    {"section 0", 0, false, 0, 100, "Params: section<0> numFlows_p<0x<ptr>>", "", "section<0> numFlows<100>"},
    {"section 1", 1, false, 0, 411, "Params: section<1> numFlows_p<0x<ptr>>", "", "section<1> numFlows<411>"},
    {"section 2", 2, false, 0, 1, "Params: section<2> numFlows_p<0x<ptr>>", "", "section<2> numFlows<1>"},
    {"no place for the answer", 1, true, 2, kUntouched, "Params: section<1> numFlows_p<0x<nil>>",
     CodeLine(kGet, "e_RET_ERR_NULL_PTR"), nullptr},
    {"a section beyond the last", 3, false, 27, kUntouched, "Params: section<3> numFlows_p<0x<ptr>>",
     CodeLine(kGet, "e_RET_ERR_INVALID_SECTION"), nullptr},
    {"the largest section number", 0xFFFFFFFF, false, 27, kUntouched,
     "Params: section<4294967295> numFlows_p<0x<ptr>>", CodeLine(kGet, "e_RET_ERR_INVALID_SECTION"), nullptr},
    {"both: the pointer decides", 3, true, 2, kUntouched, "Params: section<3> numFlows_p<0x<nil>>",
     CodeLine(kGet, "e_RET_ERR_NULL_PTR"), nullptr},
};

TEST_F(SectionBudgets, TheGetterChecksInItsOrderAndHasNoClosingLine) {
    Prepare({{{100, 0}, {411, 3}, {1, 1}}});
    for (const GetRow &row : kGetRows) {
        for (const uint32_t level : {1u, 2u, 3u}) {
            SCOPED_TRACE(std::string(row.name) + ", log level " + std::to_string(level));
            test::RaiseLog(level);
            const test::ContextSnapshot before;
            uint16_t numFlows = kUntouched;
            uint32_t code = 0xDEAD;
            const test::Output printed = test::CaptureBoth(
                [&] { code = QIR_Get_SectionMaxFlows(row.section, row.null ? nullptr : &numFlows); });
            std::string expected = row.lines;
            if (level >= 2) {
                expected = Inf(kGet, row.params) + row.lines + (row.result ? Inf(kGet, row.result) : "");
            }
            EXPECT_EQ(code, row.code);
            EXPECT_EQ(test::Mask(printed.out), expected);
            EXPECT_EQ(printed.err, "");
            EXPECT_EQ(numFlows, row.numFlows);
            EXPECT_TRUE(before.Unchanged());
        }
    }
}

TEST_F(SectionBudgets, TheGettersParameterLineNamesTheCallersPointer) {
    test::RaiseLog(2);
    uint16_t numFlows = 0;
    char expected[200];
    std::snprintf(expected, sizeof expected,
                  "[INF orxapi] QIR_Get_SectionMaxFlows: Params: section<1> numFlows_p<0x%p>\n"
                  "[INF orxapi] QIR_Get_SectionMaxFlows: section<1> numFlows<512>\n",
                  static_cast<void *>(&numFlows));
    EXPECT_EQ(test::Capture([&] { QIR_Get_SectionMaxFlows(1, &numFlows); }), expected);
}

TEST_F(SectionBudgets, ErrorsAreSaidEvenAtLevelZero) {
    test::RaiseLog(0);
    EXPECT_EQ(test::CaptureMasked([] { QIR_Set_SectionMaxFlows(0, 100); }),
              Err(kSet, "total flows exceed maximum allowed: numFlows<100> totalFlows<612>") +
                  Refused("e_RET_ERR_RESRC_UNAVAIL", 12));
    EXPECT_EQ(test::CaptureMasked([] { QIR_Get_SectionMaxFlows(0, nullptr); }),
              CodeLine(kGet, "e_RET_ERR_NULL_PTR"));
}

TEST_F(SectionBudgets, EveryErrorLineCarriesASourceLine) {
    const std::string printed = test::Capture([] { QIR_Set_SectionMaxFlows(0, 100); });
    for (const std::string &line : test::Lines(printed)) {
        unsigned number = 0;
        EXPECT_EQ(std::sscanf(line.c_str(), "[ERROR orxapi] QIR_Set_SectionMaxFlows,%u: ", &number), 1)
            << line;
        EXPECT_GT(number, 0u) << line;
    }
    EXPECT_EQ(test::Lines(printed).size(), 3u);
}

TEST_F(SectionBudgets, NeitherOperationAsksTheDriver) {
    uint16_t numFlows = 0;
    EXPECT_EQ(QIR_Set_SectionMaxFlows(1, 412), 0u);
    EXPECT_EQ(QIR_Get_SectionMaxFlows(1, &numFlows), 0u);
    EXPECT_EQ(orxemu_numOpens(), 0u);
}

// ---- Named cases ----

uint16_t BudgetOf(uint32_t section) {
    uint16_t numFlows = kUntouched;
    EXPECT_EQ(QIR_Get_SectionMaxFlows(section, &numFlows), 0u);
    return numFlows;
}

uint32_t SetQuietly(uint32_t section, uint16_t numFlows) {
    uint32_t code = 0;
    test::Capture([&] { code = QIR_Set_SectionMaxFlows(section, numFlows); });
    return code;
}

TEST_F(SectionBudgets, AfterStartUpSectionOneOwnsEverything) {
    EXPECT_EQ(BudgetOf(1), 512u);
    EXPECT_EQ(BudgetOf(0), 0u);
    EXPECT_EQ(BudgetOf(2), 0u);
}

TEST_F(SectionBudgets, BeforeStartUpNoSectionOwnsAnything) {
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    for (uint32_t section = 0; section < 3; ++section) {
        EXPECT_EQ(BudgetOf(section), 0u) << "section " << section;
    }
}

TEST_F(SectionBudgets, AReceiverGrowsOnlyAfterItsDonorShrank) {
    uint32_t code = 0;
    EXPECT_EQ(test::CaptureMasked([&] { code = QIR_Set_SectionMaxFlows(0, 100); }),
              "[ERROR orxapi] QIR_Set_SectionMaxFlows,#: total flows exceed maximum allowed: "
              "numFlows<100> totalFlows<612>\n"
              "[ERROR orxapi] QIR_Set_SectionMaxFlows,#: \"e_RET_ERR_RESRC_UNAVAIL\"\n"
              "[ERROR orxapi] QIR_Set_SectionMaxFlows,#: retVal <12>\n");
    EXPECT_EQ(code, 12u);
    EXPECT_EQ(BudgetOf(0), 0u);
    EXPECT_EQ(QIR_Set_SectionMaxFlows(1, 412), 0u);
    EXPECT_EQ(QIR_Set_SectionMaxFlows(0, 100), 0u);
    EXPECT_EQ(BudgetOf(0), 100u);
    EXPECT_EQ(BudgetOf(1), 412u);
}

TEST_F(SectionBudgets, AllFlowsCannotBeGivenBackToSectionOne) {
    EXPECT_EQ(SetQuietly(1, 512), 28u);
    EXPECT_EQ(BudgetOf(1), 512u);
}

TEST_F(SectionBudgets, TheSetterLooksAtTheSectionFirstTheGetterAtThePointer) {
    EXPECT_EQ(SetQuietly(3, 0), 27u);
    uint32_t code = 0;
    test::Capture([&] { code = QIR_Get_SectionMaxFlows(3, nullptr); });
    EXPECT_EQ(code, 2u);
}

TEST_F(SectionBudgets, ASectionShrinksDownToItsFlows) {
    ASSERT_EQ(QIR_Set_SectionMaxFlows(1, 412), 0u);
    ASSERT_EQ(QIR_Set_SectionMaxFlows(0, 100), 0u);
    for (int i = 0; i < 5; ++i) {
        FlowHdl flow{};
        ASSERT_EQ(QIR_Alloc_FCB(0, &flow), 0u);
    }
    EXPECT_EQ(SetQuietly(0, 4), 13u);
    EXPECT_EQ(BudgetOf(0), 100u);
    EXPECT_EQ(SetQuietly(0, 5), 0u);
    EXPECT_EQ(BudgetOf(0), 5u);
}

TEST_F(SectionBudgets, ASectionWithoutFlowsShrinksToNothing) {
    for (uint32_t section = 0; section < 3; ++section) {
        EXPECT_EQ(SetQuietly(section, 0), 0u) << "section " << section;
        EXPECT_EQ(BudgetOf(section), 0u) << "section " << section;
    }
}

} // namespace
} // namespace context_test
