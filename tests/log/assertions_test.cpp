// Ids and levels out of range: reported, and then used all the same. The rows behind the last module belong
// to the table, so that ids just beyond it can be tried.
#include "tests/log/log_test.h"

#include <vector>

namespace log_test {
namespace {

const std::string kLogId = "(logId) >= 0 && (logId) < QEL_LOG_ID_MAX";
const std::string kLogLevel = "(logLevel) >= 0 && (logLevel) < QEL_LOG_LEVEL_MAX";
const std::string kDdLevel = "(ddLevel) >= 0 && (ddLevel) < QEL_LOG_DD_MAX";

std::string Asserted(const std::string &fn, const std::string &text) {
    return "[ASSERT qel_log] " + fn + ",#: " + text + "\n";
}

// Keeps the level of a row behind the last module.
class SpareRowLevel {
  public:
    explicit SpareRowLevel(uint32_t id) : id_(id) {
        Quietly([this] { level_ = qelLog_getLogLevel(id_); });
    }
    SpareRowLevel(const SpareRowLevel &) = delete;
    SpareRowLevel &operator=(const SpareRowLevel &) = delete;
    ~SpareRowLevel() {
        Quietly([this] { qelLog_setLogLevel(id_, static_cast<uint32_t>(level_)); });
    }

  private:
    uint32_t id_;
    int32_t level_ = 0;
};

TEST_F(LogTest, ArgumentsOutOfRangeAreAsserted) {
    const SpareRowLevel row24(24);
    const std::string logEnabled = "qelLog_logIsEnabled";
    const std::string ddEnabled = "qelLog_ddIsEnabled";
    const std::string setLevel = "qelLog_setLogLevel";
    const struct {
        const char *call;
        std::function<void()> fn;
        std::string expected;
    } rows[] = {
        {"logIsEnabled(24, 0)", [] { qelLog_logIsEnabled(24, 0); }, Asserted(logEnabled, kLogId)},
        {"logIsEnabled(24, 3)", [] { qelLog_logIsEnabled(24, 3); }, Asserted(logEnabled, kLogId)},
        {"logIsEnabled(0, 4)", [] { qelLog_logIsEnabled(0, 4); }, Asserted(logEnabled, kLogLevel)},
        {"logIsEnabled(23, 0xFFFFFFFF)", [] { qelLog_logIsEnabled(23, 0xFFFFFFFF); },
         Asserted(logEnabled, kLogLevel)},
        {"logIsEnabled(24, 4)", [] { qelLog_logIsEnabled(24, 4); },
         Asserted(logEnabled, kLogId) + Asserted(logEnabled, kLogLevel)},
        {"ddIsEnabled(24, 0)", [] { qelLog_ddIsEnabled(24, 0); }, Asserted(ddEnabled, kLogId)},
        {"ddIsEnabled(0, 3)", [] { qelLog_ddIsEnabled(0, 3); }, Asserted(ddEnabled, kDdLevel)},
        {"ddIsEnabled(24, 3)", [] { qelLog_ddIsEnabled(24, 3); },
         Asserted(ddEnabled, kLogId) + Asserted(ddEnabled, kDdLevel)},
        {"setGlobalLogLevel(4)", [] { qelLog_setGlobalLogLevel(4); },
         Asserted("qelLog_setGlobalLogLevel", kLogLevel)},
        {"setLogLevel(24, 0)", [] { qelLog_setLogLevel(24, 0); }, Asserted(setLevel, kLogId)},
        {"setLogLevel(12, 4)", [] { qelLog_setLogLevel(12, 4); }, Asserted(setLevel, kLogLevel)},
        {"setLogLevel(24, 4)", [] { qelLog_setLogLevel(24, 4); },
         Asserted(setLevel, kLogId) + Asserted(setLevel, kLogLevel)},
        {"getLogLevel(24)", [] { qelLog_getLogLevel(24); }, Asserted("qelLog_getLogLevel", kLogId)},
        {"getModName(24)", [] { qelLog_getModName(24); }, Asserted("qelLog_getModName", kLogId)},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.call);
        const test::Output printed = test::CaptureBoth(row.fn);
        EXPECT_EQ(test::Mask(printed.out), row.expected);
        EXPECT_EQ(printed.err, "");
    }
}

TEST_F(LogTest, AssertionsOfTheLibraryAreNotGated) {
    SetAllModules(0);
    Quietly([] { qelLog_setGlobalLogLevel(0); });
    EXPECT_EQ(test::CaptureMasked([] { qelLog_getLogLevel(24); }), Asserted("qelLog_getLogLevel", kLogId));
    EXPECT_EQ(test::CaptureMasked([] { qelLog_logIsEnabled(0, 4); }),
              Asserted("qelLog_logIsEnabled", kLogLevel));
}

TEST_F(LogTest, ALineLevelOutOfRangeIsComparedLikeAnyOther) {
    const QelModInfo *row = qelLog_logIsEnabled(12, 0);
    Quietly([&] { row = qelLog_logIsEnabled(12, 4); });
    EXPECT_EQ(row, nullptr);
    SetLevels(4, 12, 4);
    Quietly([&] { row = qelLog_logIsEnabled(12, 4); });
    EXPECT_EQ(row, qelLog_logIsEnabled(12, 0));
    Quietly([&] { row = qelLog_logIsEnabled(12, 5); });
    EXPECT_EQ(row, nullptr);
}

TEST_F(LogTest, AGlobalLevelOutOfRangeIsStoredAndConfirmed) {
    Quietly([] { qelLog_setLogLevel(0, 2); });
    EXPECT_EQ(test::CaptureMasked([] { qelLog_setGlobalLogLevel(4); }),
              Asserted("qelLog_setGlobalLogLevel", kLogLevel) +
                  "[INF qellog] qelLog_setGlobalLogLevel: Global log level was set to 4\n");
    EXPECT_EQ(qelLog_getGlobalLogLevel(), 4);
}

TEST_F(LogTest, AModuleLevelOutOfRangeIsStoredAndConfirmed) {
    Quietly([] { qelLog_setLogLevel(0, 2); });
    EXPECT_EQ(test::CaptureMasked([] { qelLog_setLogLevel(12, 4); }),
              Asserted("qelLog_setLogLevel", kLogLevel) +
                  "[INF qellog] qelLog_setLogLevel: Log level of orxapi was set to 4\n");
    EXPECT_EQ(qelLog_getLogLevel(12), 4);
}

TEST_F(LogTest, AnIdBehindTheTableIsUsedAllTheSame) {
    for (const uint32_t id : {24u, 30u}) {
        SCOPED_TRACE("module " + std::to_string(id));
        const SpareRowLevel spare(id);
        EXPECT_EQ(test::CaptureMasked([id] { qelLog_setLogLevel(id, 2); }),
                  Asserted("qelLog_setLogLevel", kLogId));
        int32_t level = -1;
        EXPECT_EQ(test::CaptureMasked([&] { level = qelLog_getLogLevel(id); }),
                  Asserted("qelLog_getLogLevel", kLogId));
        EXPECT_EQ(level, 2);
        for (uint32_t module = 0; module < kModules; ++module) {
            EXPECT_EQ(qelLog_getLogLevel(module), 1) << "module " << module;
        }
    }
}

} // namespace
} // namespace log_test
