// Preloaded, it kills the program at the call that KILL_AT names: in the middle of a long `write`, or in
// front of `fsync` or `rename`.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Longer than what a program writes besides a state.
constexpr size_t kLong = 4096;

bool IsHere(const char *call) {
    const char *name = std::getenv("KILL_AT");
    return name != nullptr && std::strcmp(name, call) == 0;
}

void KillIf(bool here) {
    if (here) {
        kill(getpid(), SIGKILL);
    }
}

} // namespace

extern "C" {

ssize_t write(int fd, const void *bytes, size_t size) {
    const bool here = size > kLong && IsHere("write");
    const long written = syscall(SYS_write, fd, bytes, here ? size / 2 : size);
    KillIf(here);
    return written;
}

int fsync(int fd) {
    KillIf(IsHere("fsync"));
    return static_cast<int>(syscall(SYS_fsync, fd));
}

int rename(const char *from, const char *to) noexcept {
    KillIf(IsHere("rename"));
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

} // extern "C"
