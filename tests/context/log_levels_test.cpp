// Which of the library's lines are printed: those that the global level and the module's level both let pass,
// before start-up and after it.
#include "qirapi/private/report.h"
#include "tests/support/library.h"

namespace context_test {
namespace {

// Before main() nothing has called the library.
const QelModInfo *const rowAtProcessStart = qir::orxapiRow_p;
const uint32_t levelAtProcessStart = rowAtProcessStart->logLevel;

class LogLevels : public test::LibraryTest {
  protected:
    void TearDown() override {
        qir::FindLogRow();
        test::Capture([] { qelLog_setGlobalLogLevel(3); });
        test::LibraryTest::TearDown();
    }

    static void Lines() {
        QIR_ERR_AS("Fn", "error\n");
        QIR_INF_AS("Fn", "value<%u> name<%s>\n", 7u, "x");
        QIR_DBG_AS("Fn", "no arguments\n");
    }

    static void ExpectLinesOfBothLevels() {
        const std::string error = test::Err("Fn", "error");
        const std::string info = test::Inf("Fn", "value<7> name<x>");
        const std::string debug = test::Dbg("Fn", "no arguments");
        const std::string upTo[] = {error, error, error + info, error + info + debug};
        for (uint32_t global = 0; global < QEL_LOG_LEVEL_MAX; ++global) {
            for (uint32_t module = 0; module < QEL_LOG_LEVEL_MAX; ++module) {
                test::Capture([&] {
                    qelLog_setGlobalLogLevel(global);
                    qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, module);
                });
                EXPECT_EQ(test::CaptureMasked(Lines), upTo[global < module ? global : module])
                    << "global level " << global << ", module level " << module;
            }
        }
    }
};

TEST_F(LogLevels, DecideAfterStartUp) {
    EXPECT_EQ(qir::orxapiRow_p, qelLog_logIsEnabled(QEL_LOG_ID_ORXAPI, QEL_LOG_LEVEL_ERROR));
    ExpectLinesOfBothLevels();
}

TEST_F(LogLevels, DecideBeforeStartUp) {
    EXPECT_GE(levelAtProcessStart, QEL_LOG_LEVEL_MAX) << "a line could be off that the gate lets pass";
    qir::orxapiRow_p = rowAtProcessStart;
    ExpectLinesOfBothLevels();
}

TEST_F(LogLevels, ArgumentsOfALineThatIsOffAreNotEvaluated) {
    int evaluations = 0;
    const auto value = [&evaluations] { return static_cast<unsigned>(++evaluations); };
    const auto expect = [&](const char *whose, uint32_t level) {
        evaluations = 0;
        test::Capture([&] {
            QIR_INF_AS("Fn", "%u\n", value());
            QIR_DBG_AS("Fn", "%u\n", value());
        });
        EXPECT_EQ(evaluations, level < 2 ? 0 : level == 2 ? 1 : 2) << whose << " level " << level;
    };
    for (const uint32_t level : {0u, 1u, 2u, 3u}) {
        test::Capture([&] {
            qelLog_setGlobalLogLevel(3);
            qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, level);
        });
        expect("module's", level);
        test::Capture([&] {
            qelLog_setGlobalLogLevel(level);
            qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, 3);
        });
        expect("global", level);
    }
}

} // namespace
} // namespace context_test
