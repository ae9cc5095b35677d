// System calls that the kernel refuses to this process from now on, and to the processes that it starts.
#ifndef TESTS_ORXEMU_RUN_REFUSE_CALLS_H
#define TESTS_ORXEMU_RUN_REFUSE_CALLS_H

#include <cstddef>
#include <cstdint>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <vector>

namespace test {

// With SECCOMP_RET_ERRNO | errno or SECCOMP_RET_KILL_PROCESS. False where there is no such filter: an emulator has
// none.
inline bool RefuseCalls(const std::vector<long> &numbers, std::uint32_t how) {
    std::vector<sock_filter> filter = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const long number : numbers) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, how));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace test

#endif
