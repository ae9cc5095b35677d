#include "tests/assertions/assertions_test.h"

#include "qirapi/private/fcb.h"

#include <csetjmp>
#include <csignal>
#include <cstring>

namespace assertions {

namespace {

#if defined __SANITIZE_ADDRESS__
constexpr bool kEndsAtOnce = true;
#elif defined __has_feature
#if __has_feature(address_sanitizer)
constexpr bool kEndsAtOnce = true;
#else
constexpr bool kEndsAtOnce = false;
#endif
#else
constexpr bool kEndsAtOnce = false;
#endif

// How a processor, or a compiler that has seen a null pointer coming, ends a program.
constexpr int kFaults[] = {SIGSEGV, SIGBUS, SIGILL, SIGTRAP};

sigjmp_buf behindTheCall;

void LeaveTheCall(int) {
    siglongjmp(behindTheCall, 1);
}

// The functions called have nothing to clean up: they may be left from where the fault is.
void CallUntilFault(void (*call)()) {
    if (sigsetjmp(behindTheCall, 1) == 0) {
        call();
    }
}

void CallSafely(void (*call)()) {
    struct sigaction leave {};
    leave.sa_handler = LeaveTheCall;
    struct sigaction before[std::size(kFaults)];
    for (std::size_t i = 0; i < std::size(kFaults); ++i) {
        sigaction(kFaults[i], &leave, &before[i]);
    }
    CallUntilFault(call);
    for (std::size_t i = 0; i < std::size(kFaults); ++i) {
        sigaction(kFaults[i], &before[i], nullptr);
    }
}

} // namespace

void BadCalls::ExpectAsserted(const std::string &module, const std::vector<BadCall> &calls) {
    if (kEndsAtOnce) {
        GTEST_SKIP() << "sanitizers end the program at a null pointer and at an index out of range";
    }
    for (const BadCall &bad : calls) {
        LibraryTest::SetUp();
        qir::Init_FCB(&qirCtxt_gp->fcbPool[0]);
        const std::string expected = test::Assertion(module, bad.fn, bad.text);
        const std::string printed = test::CaptureMasked([&bad] { CallSafely(bad.call); });
        EXPECT_EQ(printed.substr(0, expected.size()), expected) << bad.fn << ", which printed:\n" << printed;
    }
}

} // namespace assertions
