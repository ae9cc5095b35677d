// The fuzzer of the public calls.
#include "fuzz/public_calls.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // What the library prints is made and thrown away, before it costs a system call. The fuzzer's own stream is
    // the standard error of its start.
    const auto discard = [](void *, const char *, size_t size) { return static_cast<ssize_t>(size); };
    stdout = fopencookie(nullptr, "w", {nullptr, discard, nullptr, nullptr});
    stderr = fopencookie(nullptr, "w", {nullptr, discard, nullptr, nullptr});
    return stdout == nullptr || stderr == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string broken = fuzz::RunSequence(data, size);
    if (!broken.empty()) {
        dprintf(STDERR_FILENO, "%s\n", broken.c_str());
        std::abort();
    }
    return 0;
}
