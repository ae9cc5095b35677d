// Who may print: the module table and the gate.
#include "tests/log/log_test.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <set>
#include <type_traits>

namespace log_test {
namespace {

// What the library answers before main(): its data is there without any initialiser having run.
struct AtProcessStart {
    int32_t globalLevel = qelLog_getGlobalLogLevel();
    std::array<QelModInfo, kModules> rows{};
    std::array<int32_t, kModules> levels{};
    std::array<std::array<bool, kDdLevels>, kModules> mayDump{};

    AtProcessStart() {
        for (uint32_t id = 0; id < kModules; ++id) {
            rows[id] = *qelLog_logIsEnabled(id, 0);
            levels[id] = qelLog_getLogLevel(id);
            for (uint32_t level = 0; level < kDdLevels; ++level) {
                mayDump[id][level] = qelLog_ddIsEnabled(id, level) != nullptr;
            }
        }
    }
};

const AtProcessStart atProcessStart;

TEST(LogAtProcessStart, EveryModuleIsQuietAndTheGlobalLevelIsOpen) {
    EXPECT_EQ(atProcessStart.globalLevel, 3);
    for (uint32_t id = 0; id < kModules; ++id) {
        SCOPED_TRACE("module " + std::to_string(id));
        EXPECT_EQ(atProcessStart.rows[id].id, id);
        EXPECT_EQ(atProcessStart.rows[id].logLevel, 1u);
        EXPECT_EQ(atProcessStart.rows[id].ddLevel, 0u);
        EXPECT_EQ(atProcessStart.levels[id], 1);
    }
}

TEST(LogAtProcessStart, EveryModuleRefusesEveryDumpLevelButZero) {
    for (uint32_t id = 0; id < kModules; ++id) {
        SCOPED_TRACE("module " + std::to_string(id));
        EXPECT_TRUE(atProcessStart.mayDump[id][0]);
        EXPECT_FALSE(atProcessStart.mayDump[id][1]);
        EXPECT_FALSE(atProcessStart.mayDump[id][2]);
    }
}

TEST_F(LogTest, ModuleNamesAreDistinctShortAndLowercase) {
    EXPECT_STREQ(qelLog_getModName(0), "qellog");
    EXPECT_STREQ(qelLog_getModName(12), "orxapi");
    std::set<std::string> names;
    for (uint32_t id = 0; id < kModules; ++id) {
        const std::string name = qelLog_getModName(id);
        SCOPED_TRACE("module " + std::to_string(id) + " " + name);
        EXPECT_FALSE(name.empty());
        EXPECT_LE(name.size(), 10u);
        for (const char c : name) {
            EXPECT_TRUE(std::islower(static_cast<unsigned char>(c)) != 0 ||
                        std::isdigit(static_cast<unsigned char>(c)) != 0);
        }
        EXPECT_TRUE(names.insert(name).second) << "the name is given twice";
    }
}

TEST_F(LogTest, TheGateAnswersWithTheModulesRow) {
    const QelModInfo *first = qelLog_logIsEnabled(0, 0);
    ASSERT_NE(first, nullptr);
    for (uint32_t id = 0; id < kModules; ++id) {
        SCOPED_TRACE("module " + std::to_string(id));
        const QelModInfo *row = qelLog_logIsEnabled(id, 0);
        ASSERT_EQ(row, first + id);
        EXPECT_EQ(qelLog_ddIsEnabled(id, 0), row);
        EXPECT_EQ(row->id, id);
        EXPECT_STREQ(row->name, qelLog_getModName(id));
    }
}

TEST_F(LogTest, ALinePassesWhenBothTheGlobalAndTheModulesLevelReachIt) {
    // verdict[global][module]: highest level that passes.
    constexpr uint32_t highest[kLevels][kLevels] = {{0, 0, 0, 0}, {0, 1, 1, 1}, {0, 1, 2, 2}, {0, 1, 2, 3}};
    for (uint32_t id = 0; id < kModules; ++id) {
        const QelModInfo *row = qelLog_logIsEnabled(id, 0);
        for (uint32_t global = 0; global < kLevels; ++global) {
            for (uint32_t module = 0; module < kLevels; ++module) {
                SetLevels(global, id, module);
                std::array<const QelModInfo *, kLevels> answer{};
                const std::string printed = test::Capture([&] {
                    for (uint32_t line = 0; line < kLevels; ++line) {
                        answer[line] = qelLog_logIsEnabled(id, line);
                    }
                });
                for (uint32_t line = 0; line < kLevels; ++line) {
                    EXPECT_EQ(answer[line], line <= highest[global][module] ? row : nullptr)
                        << "module " << id << ": global level " << global << ", module level " << module
                        << ", line level " << line;
                }
                EXPECT_EQ(printed, "") << "the gate printed";
            }
        }
        SetLevels(3, id, 1);
    }
}

TEST_F(LogTest, TheLevelsOfOtherModulesDoNotMatter) {
    for (uint32_t id = 0; id < kModules; ++id) {
        SCOPED_TRACE("module " + std::to_string(id));
        SetAllModules(3);
        SetLevels(3, id, 1);
        EXPECT_NE(qelLog_logIsEnabled(id, 1), nullptr);
        EXPECT_EQ(qelLog_logIsEnabled(id, 2), nullptr);
        SetAllModules(0);
        SetLevels(3, id, 3);
        EXPECT_NE(qelLog_logIsEnabled(id, 3), nullptr);
    }
}

TEST_F(LogTest, TheDataDumpGateDoesNotLookAtLogLevels) {
    SetAllModules(0);
    Quietly([] { qelLog_setGlobalLogLevel(0); });
    for (uint32_t id = 0; id < kModules; ++id) {
        EXPECT_NE(qelLog_ddIsEnabled(id, 0), nullptr) << "module " << id;
    }
}

} // namespace
} // namespace log_test
