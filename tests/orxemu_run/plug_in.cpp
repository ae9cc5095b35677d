// Loaded by dlopen(), it has a thread do what programs do to descriptors, and waits for it: the thread must
// not need what its loader holds.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace {

void UseDescriptors() {
    const int first = open("/dev/null", O_RDWR);
    const int second = openat(AT_FDCWD, "/dev/null", O_RDWR);
    int waiting = 0;
    ioctl(first, FIONREAD, &waiting);
    dup2(first, second);
    dup3(first, second, O_CLOEXEC);
    close(first);
    close(second);
    close_range(~0U, ~0U, 0);
}

__attribute__((constructor)) void Load() {
    std::thread(UseDescriptors).join();
}

} // namespace
