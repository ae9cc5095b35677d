// The fixture of the tests of the logging library: every test starts and ends with the levels of a fresh
// process.
#ifndef TESTS_LOG_LOG_TEST_H
#define TESTS_LOG_LOG_TEST_H

#include "log/qel_log.h"
#include "tests/support/capture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

namespace log_test {

constexpr uint32_t kModules = 24;
constexpr uint32_t kLevels = 4;
constexpr uint32_t kDdLevels = 3;

// Runs calls whose confirmation lines are not what the test is about.
inline void Quietly(const std::function<void()> &fn) {
    test::Capture(fn);
}

inline void SetLevels(uint32_t global, uint32_t logId, uint32_t level) {
    Quietly([=] {
        qelLog_setGlobalLogLevel(global);
        qelLog_setLogLevel(logId, level);
    });
}

class LogTest : public ::testing::Test {
  protected:
    void SetUp() override { ResetLevels(); }
    void TearDown() override { ResetLevels(); }

    static void SetAllModules(uint32_t level) {
        Quietly([=] {
            for (uint32_t id = 0; id < kModules; ++id) {
                qelLog_setLogLevel(id, level);
            }
        });
    }

  private:
    static void ResetLevels() {
        SetAllModules(1);
        Quietly([] { qelLog_setGlobalLogLevel(3); });
    }
};

} // namespace log_test

#endif
