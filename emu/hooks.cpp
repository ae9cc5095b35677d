// The hooks: what stands in front of the C library.
//
// The macros below make the headers declare inline wrappers or other symbol names for these functions.
#undef _FORTIFY_SOURCE
#undef _TIME_BITS
#undef _FILE_OFFSET_BITS

#include "emu/device_node.h"
#include "emu/next.h"
#include "emu/orxemu.h"
#include "emu/session.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using NextOpenFn = int (*)(const char *, int, mode_t);

// A file mode was passed only when the flags may create a file.
mode_t ModeOf(int flags, std::va_list args) {
    const bool passed = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return passed ? va_arg(args, mode_t) : 0;
}

int HookedOpen(const char *path, int flags, mode_t mode, NextOpenFn nextOpen) {
    if (orxemu::IsDevicePath(path)) {
        orxemu::JoinSession(); // before Join() when another library opens the device while it is loaded
        return orxemu::OpenDevice(flags);
    }
    const int fd = nextOpen(path, flags, mode);
    orxemu::ForgetDescriptor(fd);
    return fd;
}

__attribute__((constructor)) void Join() {
    orxemu::JoinSession();
}

__attribute__((destructor)) void Leave() {
    orxemu::LeaveSession(orxemu_openDescriptors());
}

} // namespace

extern "C" {

#pragma GCC visibility push(default)

int open(const char *path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const mode_t mode = ModeOf(flags, args);
    va_end(args);
    return HookedOpen(path, flags, mode, orxemu::NextOpen);
}

int open64(const char *path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const mode_t mode = ModeOf(flags, args);
    va_end(args);
    return HookedOpen(path, flags, mode, orxemu::NextOpen64);
}

#ifdef __GLIBC__
int __open_2(const char *path, int flags) {
    return HookedOpen(path, flags, 0, orxemu::NextFortifiedOpen);
}

int __open64_2(const char *path, int flags) {
    return HookedOpen(path, flags, 0, orxemu::NextFortifiedOpen64);
}
#endif

int ioctl(int fd, unsigned long request, ...) noexcept {
    std::va_list args;
    va_start(args, request);
    void *arg = va_arg(args, void *);
    va_end(args);
    // Like the kernel, the device looks at the low 32 bits of the number only.
    return orxemu::IsDeviceDescriptor(fd) ? orxemu::IoctlDevice(static_cast<int>(request), arg)
                                          : orxemu::NextIoctl(fd, request, arg);
}

int close(int fd) {
    // Programs close what they may have inherited, one number after the other.
    if (orxemu::IsSessionDescriptor(fd)) {
        errno = EBADF;
        return -1;
    }
    orxemu::ForgetDescriptor(fd);
    return orxemu::NextClose(fd);
}

#pragma GCC visibility pop

} // extern "C"
