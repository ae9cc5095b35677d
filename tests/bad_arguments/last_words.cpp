#include "tests/bad_arguments/last_words.h"

#include "tests/support/capture.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bad_arguments {

namespace {

#ifdef QIR_COVERAGE

// What has been counted is written down when a program ends by itself. This one may not.
#ifdef __clang__
extern "C" int __llvm_profile_write_file();
void KeepCounts() {
    __llvm_profile_write_file();
}
#else
extern "C" void __gcov_dump();
void KeepCounts() {
    __gcov_dump();
}
#endif

void KeepCountsOfAnyEnd() {
    for (const int fault : {SIGSEGV, SIGBUS, SIGILL, SIGTRAP}) {
        std::signal(fault, [](int) {
            KeepCounts();
            _exit(1);
        });
    }
}

#else

void KeepCounts() {}
void KeepCountsOfAnyEnd() {}

#endif

[[noreturn]] void RunAndExit(const std::function<void()> &op) {
    setvbuf(stdout, nullptr, _IONBF, 0); // as on a console: nothing is lost
    const rlimit noCore{};
    setrlimit(RLIMIT_CORE, &noCore);
    // What a sanitizer or an emulator has to say about it is nobody's business.
    if (dup2(open("/dev/null", O_WRONLY), STDERR_FILENO) < 0) {
        std::abort();
    }
    KeepCountsOfAnyEnd();
    op();
    KeepCounts();
    _exit(0);
}

} // namespace

std::string LastWords(const std::function<void()> &op, bool *ended_p) {
    return test::CaptureMasked([&op, ended_p] {
        const pid_t child = fork();
        if (child == 0) {
            RunAndExit(op);
        }
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child) {
            std::abort();
        }
        if (ended_p != nullptr) {
            *ended_p = status != 0;
        }
    });
}

} // namespace bad_arguments
