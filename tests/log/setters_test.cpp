// The two setters, what they leave behind and how they confirm it.
#include "tests/log/log_test.h"

namespace log_test {
namespace {

std::string GlobalConfirmation(uint32_t level) {
    return "[INF qellog] qelLog_setGlobalLogLevel: Global log level was set to " + std::to_string(level) +
           "\n";
}

std::string ModuleConfirmation(const std::string &name, uint32_t level) {
    return "[INF qellog] qelLog_setLogLevel: Log level of " + name + " was set to " + std::to_string(level) +
           "\n";
}

TEST_F(LogTest, TheGlobalLevelIsStored) {
    for (uint32_t level = 0; level < kLevels; ++level) {
        qelLog_setGlobalLogLevel(level);
        EXPECT_EQ(qelLog_getGlobalLogLevel(), static_cast<int32_t>(level));
        for (uint32_t id = 0; id < kModules; ++id) {
            EXPECT_EQ(qelLog_getLogLevel(id), 1) << "module " << id;
        }
    }
}

TEST_F(LogTest, AModulesLevelIsStoredInItsRowAlone) {
    for (uint32_t id = 0; id < kModules; ++id) {
        for (const uint32_t level : {0u, 2u, 3u}) {
            SetLevels(3, id, level);
            EXPECT_EQ(qelLog_getGlobalLogLevel(), 3);
            for (uint32_t other = 0; other < kModules; ++other) {
                SCOPED_TRACE("module " + std::to_string(other) + " after module " + std::to_string(id) +
                             " was set to " + std::to_string(level));
                const uint32_t expected = other == id ? level : 1;
                EXPECT_EQ(qelLog_getLogLevel(other), static_cast<int32_t>(expected));
                EXPECT_EQ(qelLog_logIsEnabled(other, 0)->logLevel, expected);
            }
        }
        SetLevels(3, id, 1);
    }
}

TEST_F(LogTest, TheGlobalSetterConfirmsWhenQellogMayInformAfterwards) {
    for (uint32_t qellog = 0; qellog < kLevels; ++qellog) {
        for (uint32_t before = 0; before < kLevels; ++before) {
            for (uint32_t after = 0; after < kLevels; ++after) {
                SCOPED_TRACE("module 0 at " + std::to_string(qellog) + ", global level from " +
                             std::to_string(before) + " to " + std::to_string(after));
                SetLevels(before, 0, qellog);
                const std::string expected = qellog >= 2 && after >= 2 ? GlobalConfirmation(after) : "";
                EXPECT_EQ(test::Capture([&] { qelLog_setGlobalLogLevel(after); }), expected);
            }
        }
    }
}

TEST_F(LogTest, TheModuleSetterConfirmsWhenQellogMayInformAfterwards) {
    const struct {
        uint32_t id;
        std::string name;
    } targets[] = {{0, "qellog"}, {12, "orxapi"}, {1, qelLog_getModName(1)}, {23, qelLog_getModName(23)}};
    for (const auto &target : targets) {
        for (uint32_t global = 0; global < kLevels; ++global) {
            for (uint32_t qellog = 0; qellog < kLevels; ++qellog) {
                for (uint32_t after = 0; after < kLevels; ++after) {
                    SCOPED_TRACE(target.name + " set to " + std::to_string(after) + " with global level " +
                                 std::to_string(global) + ", module 0 at " + std::to_string(qellog));
                    SetLevels(global, 0, qellog);
                    const uint32_t qellogAfter = target.id == 0 ? after : qellog;
                    const bool confirms = global >= 2 && qellogAfter >= 2;
                    EXPECT_EQ(test::Capture([&] { qelLog_setLogLevel(target.id, after); }),
                              confirms ? ModuleConfirmation(target.name, after) : "");
                }
            }
        }
    }
}

TEST_F(LogTest, GettersPrintNothing) {
    SetAllModules(3);
    EXPECT_EQ(test::Capture([] {
                  qelLog_getGlobalLogLevel();
                  for (uint32_t id = 0; id < kModules; ++id) {
                      qelLog_getLogLevel(id);
                      qelLog_getModName(id);
                  }
              }),
              "");
}

} // namespace
} // namespace log_test
