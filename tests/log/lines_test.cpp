// How a line looks, and what a line that is not printed costs.
#define QEL_SOURCE_MODULE "test_log"
#include "log/log_lines.h"

#include "tests/log/log_test.h"

namespace log_test {
namespace {

constexpr uint32_t kOrxapi = 12;

// Each prints one line and returns the source line that it stands in. The names have one, ten and eleven
// characters: the name's field is ten wide and grows for longer names.
int F() {
    const int line = __LINE__ + 1;
    QEL_LOG_ERROR(kOrxapi, "value<%u> name<%s>\n", 7u, "x");
    return line;
}

int TenLetters() {
    const int line = __LINE__ + 1;
    QEL_LOG_ERROR(kOrxapi, "value<%u> name<%s>\n", 7u, "x");
    return line;
}

int ElevenChars() {
    const int line = __LINE__ + 1;
    QEL_LOG_ERROR(kOrxapi, "value<%u> name<%s>\n", 7u, "x");
    return line;
}

int I() {
    QEL_LOG_INFO(kOrxapi, "value<%u>\n", 7u);
    return 0;
}

int D() {
    QEL_LOG_DEBUG(kOrxapi, "value<%u>\n", 7u);
    return 0;
}

int A() {
    const int line = __LINE__ + 1;
    QEL_ASSERT(1 + 1 == 3, "(n != 0)");
    return line;
}

int PlainError() {
    const int line = __LINE__ + 1;
    QEL_LOG_ERROR(kOrxapi, "no arguments\n");
    return line;
}

void PlainInfo() {
    QEL_LOG_INFO(kOrxapi, "no arguments\n");
}

void PlainDebug() {
    QEL_LOG_DEBUG(kOrxapi, "no arguments\n");
}

int ErrorOf(const char *fn) {
    const int line = __LINE__ + 1;
    QEL_LOG_ERROR_AS(fn, kOrxapi, "value<%u>\n", 7u);
    return line;
}

void InfoOf(const char *fn) {
    QEL_LOG_INFO_AS(fn, kOrxapi, "value<%u>\n", 7u);
}

void DebugOf(const char *fn) {
    QEL_LOG_DEBUG_AS(fn, kOrxapi, "value<%u>\n", 7u);
}

int AssertionOf(const char *fn) {
    const int line = __LINE__ + 1;
    QEL_ASSERT_AS(fn, fn == nullptr, "(fn == NULL)");
    return line;
}

// Prints through `fn` and returns the text with the source line that `fn` names put in for '#'.
struct Printed {
    test::Output output;
    std::string line;
};

Printed Print(const std::function<int()> &fn) {
    Printed printed;
    int line = 0;
    printed.output = test::CaptureBoth([&] { line = fn(); });
    printed.line = std::to_string(line);
    return printed;
}

TEST_F(LogTest, AnErrorLineCarriesModuleFunctionAndSourceLine) {
    const Printed one = Print(F);
    EXPECT_EQ(one.output.out, "[ERROR orxapi] F         ," + one.line + ": value<7> name<x>\n");
    const Printed ten = Print(TenLetters);
    EXPECT_EQ(ten.output.out, "[ERROR orxapi] TenLetters," + ten.line + ": value<7> name<x>\n");
    const Printed eleven = Print(ElevenChars);
    EXPECT_EQ(eleven.output.out, "[ERROR orxapi] ElevenChars," + eleven.line + ": value<7> name<x>\n");
    const Printed plain = Print(PlainError);
    EXPECT_EQ(plain.output.out, "[ERROR orxapi] PlainError," + plain.line + ": no arguments\n");
}

TEST_F(LogTest, InformationAndDebugLinesCarryNoSourceLine) {
    SetLevels(3, kOrxapi, 3);
    EXPECT_EQ(test::Capture([] { I(); }), "[INF orxapi] I         : value<7>\n");
    EXPECT_EQ(test::Capture([] { D(); }), "[DBG orxapi] D         : value<7>\n");
    EXPECT_EQ(test::Capture(PlainInfo), "[INF orxapi] PlainInfo : no arguments\n");
    EXPECT_EQ(test::Capture(PlainDebug), "[DBG orxapi] PlainDebug: no arguments\n");
}

TEST_F(LogTest, ALineCanSpeakForAnotherFunction) {
    SetLevels(3, kOrxapi, 3);
    const Printed error = Print([] { return ErrorOf("Other"); });
    EXPECT_EQ(error.output.out, "[ERROR orxapi] Other     ," + error.line + ": value<7>\n");
    EXPECT_EQ(test::Capture([] { InfoOf("Other"); }), "[INF orxapi] Other     : value<7>\n");
    EXPECT_EQ(test::Capture([] { DebugOf("QIR_Free_FCB"); }), "[DBG orxapi] QIR_Free_FCB: value<7>\n");
    const Printed assertion = Print([] { return AssertionOf("Other"); });
    EXPECT_EQ(assertion.output.out, "[ASSERT test_log] Other     ," + assertion.line + ": (fn == NULL)\n");
}

TEST_F(LogTest, EveryModuleSignsWithItsOwnName) {
    for (uint32_t id = 0; id < kModules; ++id) {
        SetLevels(3, id, 2);
        EXPECT_EQ(test::Capture([id] { QEL_LOG_INFO_AS("Fn", id, "x\n"); }),
                  "[INF " + std::string(qelLog_getModName(id)) + "] Fn        : x\n");
        SetLevels(3, id, 1);
    }
}

TEST_F(LogTest, AllLinesGoToStandardOutput) {
    SetLevels(3, kOrxapi, 3);
    for (int (*print)() : {F, I, D, A}) {
        const Printed printed = Print(print);
        EXPECT_NE(printed.output.out, "");
        EXPECT_EQ(printed.output.err, "");
    }
}

TEST_F(LogTest, EachClassOfLineHasItsLevel) {
    const std::string error = "[ERROR orxapi] F         ,#: value<7> name<x>\n";
    const std::string info = "[INF orxapi] I         : value<7>\n";
    const std::string debug = "[DBG orxapi] D         : value<7>\n";
    const std::string upTo[kLevels] = {error, error, error + info, error + info + debug};
    for (uint32_t global = 0; global < kLevels; ++global) {
        for (uint32_t module = 0; module < kLevels; ++module) {
            SetLevels(global, kOrxapi, module);
            EXPECT_EQ(test::CaptureMasked([] {
                          F();
                          I();
                          D();
                      }),
                      upTo[global < module ? global : module])
                << "global level " << global << ", module level " << module;
        }
    }
}

TEST_F(LogTest, ErrorLinesCannotBeSilenced) {
    SetAllModules(0);
    Quietly([] { qelLog_setGlobalLogLevel(0); });
    for (uint32_t id = 0; id < kModules; ++id) {
        EXPECT_EQ(test::CaptureMasked([id] { QEL_LOG_ERROR_AS("Fn", id, "x\n"); }),
                  "[ERROR " + std::string(qelLog_getModName(id)) + "] Fn        ,#: x\n");
    }
}

// Prints one line of every gated class in both forms; every argument counts its evaluation.
struct Evaluations {
    int functionNames = 0;
    int values = 0;

    const char *Name() {
        ++functionNames;
        return "Fn";
    }
    unsigned Value() {
        ++values;
        return 7;
    }
    void Error() {
        QEL_LOG_ERROR(kOrxapi, "%u\n", Value());
        QEL_LOG_ERROR_AS(Name(), kOrxapi, "%u\n", Value());
    }
    void Info() {
        QEL_LOG_INFO(kOrxapi, "%u\n", Value());
        QEL_LOG_INFO_AS(Name(), kOrxapi, "%u\n", Value());
    }
    void Debug() {
        QEL_LOG_DEBUG(kOrxapi, "%u\n", Value());
        QEL_LOG_DEBUG_AS(Name(), kOrxapi, "%u\n", Value());
    }
};

TEST_F(LogTest, ADisabledLinePrintsNothingAndEvaluatesNoneOfItsArguments) {
    const struct {
        const char *name;
        void (Evaluations::*print)();
        uint32_t level;
    } classes[] = {{"error", &Evaluations::Error, 0},
                   {"information", &Evaluations::Info, 2},
                   {"debug", &Evaluations::Debug, 3}};
    for (const auto &line : classes) {
        for (uint32_t global = 0; global < kLevels; ++global) {
            for (uint32_t module = 0; module < kLevels; ++module) {
                SCOPED_TRACE(std::string(line.name) + " line, global level " + std::to_string(global) +
                             ", module level " + std::to_string(module));
                SetLevels(global, kOrxapi, module);
                Evaluations evaluated;
                const std::string printed = test::Capture([&] { (evaluated.*line.print)(); });
                const bool enabled = global >= line.level && module >= line.level;
                EXPECT_EQ(test::Lines(printed).size(), enabled ? 2u : 0u);
                EXPECT_EQ(evaluated.values, enabled ? 2 : 0);
                EXPECT_EQ(evaluated.functionNames, enabled ? 1 : 0);
            }
        }
    }
}

TEST_F(LogTest, ALineIsOneStatement) {
    const auto branch = [](bool first) {
        if (first)
            QEL_LOG_ERROR_AS("Fn", kOrxapi, "first\n");
        else
            QEL_LOG_ERROR_AS("Fn", kOrxapi, "second\n");
    };
    EXPECT_EQ(test::CaptureMasked([&] { branch(true); }), "[ERROR orxapi] Fn        ,#: first\n");
    EXPECT_EQ(test::CaptureMasked([&] { branch(false); }), "[ERROR orxapi] Fn        ,#: second\n");
}

TEST_F(LogTest, AnAssertionLineCarriesSourceModuleFunctionAndSourceLine) {
    const Printed printed = Print(A);
    EXPECT_EQ(printed.output.out, "[ASSERT test_log] A         ," + printed.line + ": (n != 0)\n");
}

TEST_F(LogTest, AssertionsAreNotGated) {
    SetAllModules(0);
    Quietly([] { qelLog_setGlobalLogLevel(0); });
    EXPECT_EQ(test::CaptureMasked([] { A(); }), "[ASSERT test_log] A         ,#: (n != 0)\n");
}

TEST_F(LogTest, ExecutionContinuesBehindAFailedAssertion) {
    int reached = 0;
    const std::string printed = test::CaptureMasked([&] {
        QEL_ASSERT_AS("Fn", reached == 1, "(first)");
        reached = 2;
        QEL_ASSERT_AS("Fn", reached == 1, "(second)");
        reached = 3;
    });
    EXPECT_EQ(printed, "[ASSERT test_log] Fn        ,#: (first)\n[ASSERT test_log] Fn        ,#: (second)\n");
    EXPECT_EQ(reached, 3);
}

TEST_F(LogTest, AnAssertionsTextIsPrintedAsItStands) {
    int evaluated = 0;
    EXPECT_EQ(test::CaptureMasked([&] { QEL_ASSERT_AS("Fn", ++evaluated == 0, "( a%s < b )"); }),
              "[ASSERT test_log] Fn        ,#: ( a%s < b )\n");
    EXPECT_EQ(evaluated, 1);
}

} // namespace
} // namespace log_test
