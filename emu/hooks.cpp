// The hooks: what stands in front of the C library.
//
// The macros below make the headers declare inline wrappers or other symbol names for these functions.
#undef _FORTIFY_SOURCE
#undef _TIME_BITS
#undef _FILE_OFFSET_BITS

#include "emu/close_range.h"
#include "emu/device_node.h"
#include "emu/next.h"
#include "emu/orxemu.h"
#include "emu/session.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <fcntl.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// A file mode was passed only when the flags may create a file.
mode_t ModeOf(int flags, std::va_list args) {
    const bool passed = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return passed ? va_arg(args, mode_t) : 0;
}

template <class Next> int HookedOpen(const char *path, int flags, Next next) {
    if (orxemu::IsDevicePath(path)) {
        pthread_testcancel();  // here and not where the thread would leave something behind
        orxemu::JoinSession(); // before Join() when another library opens the device while it is loaded
        return orxemu::OpenDevice(flags);
    }
    const int fd = next();
    orxemu::ForgetDescriptor(fd);
    return fd;
}

// What the kernel does to a descriptor of any kind: no driver hears of it.
bool IsForAnyDescriptor(unsigned long request) {
    switch (static_cast<std::uint32_t>(request)) {
    case static_cast<std::uint32_t>(FIOCLEX):
    case static_cast<std::uint32_t>(FIONCLEX):
    case static_cast<std::uint32_t>(FIONBIO):
    case static_cast<std::uint32_t>(FIOASYNC):
        return true;
    default:
        return false;
    }
}

template <class Next> int HookedIoctl(int fd, unsigned long request, void *arg, Next next) {
    if (IsForAnyDescriptor(request) || !orxemu::IsDeviceDescriptor(fd)) {
        return next(fd, request, arg);
    }
    // Like the kernel, the device looks at the low 32 bits of the number only.
    return orxemu::IoctlDevice(static_cast<int>(request), arg);
}

// The number of a session's descriptor is refused as one that another call is about to take: programs know
// that answer. The session could not give way, because its numbers stand in the environment of what is
// executed.
template <class Next> int HookedDup(int from, int to, Next next) {
    if (from != to && orxemu::IsSessionDescriptor(to)) {
        errno = fcntl(from, F_GETFD) < 0 ? EBADF : EBUSY;
        return -1;
    }
    const int fd = next();
    if (from != to) {
        orxemu::ForgetDescriptor(fd);
    }
    return fd;
}

__attribute__((constructor)) void Join() {
    orxemu::FindNext();
    orxemu::OwnMemory();
    pthread_atfork(nullptr, nullptr, orxemu::OwnMemory);
    orxemu::JoinSession();
}

} // namespace

extern "C" {

#pragma GCC visibility push(default)

int open(const char *path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const mode_t mode = ModeOf(flags, args);
    va_end(args);
    return HookedOpen(path, flags, [=] { return orxemu::NextOpen(path, flags, mode); });
}

int open64(const char *path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const mode_t mode = ModeOf(flags, args);
    va_end(args);
    return HookedOpen(path, flags, [=] { return orxemu::NextOpen64(path, flags, mode); });
}

// The device's path begins at the root, so that the folder does not matter.
int openat(int folder, const char *path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const mode_t mode = ModeOf(flags, args);
    va_end(args);
    return HookedOpen(path, flags, [=] { return orxemu::NextOpenAt(folder, path, flags, mode); });
}

int openat64(int folder, const char *path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const mode_t mode = ModeOf(flags, args);
    va_end(args);
    return HookedOpen(path, flags, [=] { return orxemu::NextOpenAt64(folder, path, flags, mode); });
}

#ifdef __GLIBC__
int __open_2(const char *path, int flags) {
    return HookedOpen(path, flags, [=] { return orxemu::NextFortifiedOpen(path, flags); });
}

int __open64_2(const char *path, int flags) {
    return HookedOpen(path, flags, [=] { return orxemu::NextFortifiedOpen64(path, flags); });
}

int __openat_2(int folder, const char *path, int flags) {
    return HookedOpen(path, flags, [=] { return orxemu::NextFortifiedOpenAt(folder, path, flags); });
}

int __openat64_2(int folder, const char *path, int flags) {
    return HookedOpen(path, flags, [=] { return orxemu::NextFortifiedOpenAt64(folder, path, flags); });
}
#endif

int ioctl(int fd, unsigned long request, ...) noexcept {
    std::va_list args;
    va_start(args, request);
    void *arg = va_arg(args, void *);
    va_end(args);
    return HookedIoctl(fd, request, arg, orxemu::NextIoctl);
}

#if defined(__GLIBC__) && __TIMESIZE == 32
// What ioctl is called in programs whose time has 64 bits though the C library's had 32 at first.
int __ioctl_time64(int fd, unsigned long request, ...) noexcept {
    std::va_list args;
    va_start(args, request);
    void *arg = va_arg(args, void *);
    va_end(args);
    return HookedIoctl(fd, request, arg, orxemu::NextIoctlTime64);
}
#endif

int close(int fd) {
    // Programs close what they may have inherited, one number after the other.
    if (orxemu::IsSessionDescriptor(fd)) {
        errno = EBADF;
        return -1;
    }
    if (!orxemu::IsDeviceDescriptor(fd)) {
        return orxemu::NextClose(fd);
    }
    pthread_testcancel();
    return orxemu::CloseDevice(fd);
}

int close_range(unsigned first, unsigned last, int flags) noexcept {
    return orxemu::CloseRange(first, last, flags);
}

void closefrom(int first) noexcept {
    orxemu::CloseFrom(first);
}

int dup2(int from, int to) noexcept {
    return HookedDup(from, to, [=] { return orxemu::NextDup2(from, to); });
}

int dup3(int from, int to, int flags) noexcept {
    return HookedDup(from, to, [=] { return orxemu::NextDup3(from, to, flags); });
}

#pragma GCC visibility pop

} // extern "C"
