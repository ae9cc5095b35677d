// The hooks: open in all its forms and ioctl, in front of the C library's. What is about the device goes to a
// carrier, everything else to the C library.
//
// The macros below make the headers declare inline wrappers or other symbol names for these functions.
#undef _FORTIFY_SOURCE
#undef _TIME_BITS
#undef _FILE_OFFSET_BITS

#include "emu/device/device.h"
#include "emu/preload/caller_memory.h"
#include "emu/preload/carrier.h"
#include "emu/preload/descriptors.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>

namespace orxemu {

namespace {

// --- The C library's functions behind the hooks

// They are looked up when the stand-in is loaded: dlsym waits for whoever loads a library, who may wait for
// the thread that calls. A hook that is called before that looks for its own.
struct Next {
    const char *name;
    std::atomic<void *> found;
};

constinit Next nextOpen = {"open", nullptr};
constinit Next nextOpen64 = {"open64", nullptr};
constinit Next nextOpenAt = {"openat", nullptr};
constinit Next nextOpenAt64 = {"openat64", nullptr};
constinit Next nextIoctl = {"ioctl", nullptr};
#ifdef __GLIBC__
constinit Next nextFortifiedOpen = {"__open_2", nullptr};
constinit Next nextFortifiedOpen64 = {"__open64_2", nullptr};
constinit Next nextFortifiedOpenAt = {"__openat_2", nullptr};
constinit Next nextFortifiedOpenAt64 = {"__openat64_2", nullptr};
#endif
#if defined(__GLIBC__) && __TIMESIZE == 32
constinit Next nextIoctlTime64 = {"__ioctl_time64", nullptr};
#endif

template <class Fn> Fn Found(Next &next) {
    if (next.found == nullptr) {
        next.found = dlsym(RTLD_NEXT, next.name);
    }
    return reinterpret_cast<Fn>(next.found.load());
}

} // namespace

constinit pthread_mutex_t Turn::mutex = PTHREAD_MUTEX_INITIALIZER;

namespace {

// --- What is the device's

template <class Pass> int HookedOpen(const char *given, int flags, Pass pass) {
    // The headers promise that no path is null. A compiler that believes them leaves out the check.
    const char *volatile unpromised = given;
    const char *path = unpromised;
    if (path == nullptr || std::strcmp(path, qir::kPktOrxDevice) != 0) {
        return pass();
    }
    const Turn turn;
    return OpenDevice((flags & O_CLOEXEC) != 0);
}

// A file mode was passed only when the flags may create a file.
mode_t ModeOf(int flags, std::va_list args) {
    const bool passed = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return passed ? va_arg(args, mode_t) : 0;
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

// What the record says, and whether the driver's answer can be written into it: that is looked at before the
// hardware takes the request.
void Fetch(Call &call) {
    if (call.info == nullptr) {
        return;
    }
    const qir::AnswerPlace &place = call.info->answer;
    const std::size_t size = call.info->recordSize;
    const int err = place.size == 0 ? CopyFromCaller(call.copy, call.record, size)
                                    : CopyFromCaller(call.copy, call.record, size, place.offset, place.size,
                                                     call.canAnswer);
    call.isRead = err == 0;
    if (call.isRead) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the wire carries the address as a word
        call.fcb = reinterpret_cast<const void *>(std::uintptr_t{FcbAddressIn(*call.info, call.copy)});
    }
}

template <class Pass> int HookedIoctl(int fd, unsigned long request, void *record, Pass pass) {
    const Carrier &carrier = TheCarrier();
    const int savedErrno = errno;
    if (IsForAnyDescriptor(request) || !carrier.isDevice(fd)) {
        errno = savedErrno;
        return pass();
    }
    // Like the kernel, the device looks at the low 32 bits of the number only.
    const int number = static_cast<int>(request);
    Call call = {number, record, qir::FindRequest(number), {}, false, false, nullptr};
    Fetch(call);
    int err;
    {
        const Turn turn;
        err = carrier.serve(fd, call);
    }
    errno = err != 0 ? err : savedErrno;
    return err != 0 ? -1 : 0;
}

void ForgetParent() {
    Turn::mutex = PTHREAD_MUTEX_INITIALIZER; // another thread of the parent may have had it
    ForgetPid();
    ForgetSocket();
}

__attribute__((constructor)) void Load() {
    pthread_atfork(nullptr, nullptr, ForgetParent);
    for (Next *next : {&nextOpen, &nextOpen64, &nextOpenAt, &nextOpenAt64, &nextIoctl}) {
        Found<void *>(*next);
    }
    TheCarrier();
}

} // namespace

} // namespace orxemu

using orxemu::Found;
using orxemu::HookedIoctl;
using orxemu::HookedOpen;
using orxemu::ModeOf;

extern "C" {

#pragma GCC visibility push(default)

using OpenFn = int (*)(const char *, int, ...);
using OpenAtFn = int (*)(int, const char *, int, ...);
using IoctlFn = int (*)(int, unsigned long, ...);

// The device's path begins at the root, so that the folder of openat does not matter.
#define ORXEMU_OPEN(name, next)                                                                              \
    int name(const char *path, int flags, ...) {                                                             \
        std::va_list args;                                                                                   \
        va_start(args, flags);                                                                               \
        const mode_t mode = ModeOf(flags, args);                                                             \
        va_end(args);                                                                                        \
        return HookedOpen(path, flags, [=] { return Found<OpenFn>(next)(path, flags, mode); });              \
    }
#define ORXEMU_OPENAT(name, next)                                                                            \
    int name(int folder, const char *path, int flags, ...) {                                                 \
        std::va_list args;                                                                                   \
        va_start(args, flags);                                                                               \
        const mode_t mode = ModeOf(flags, args);                                                             \
        va_end(args);                                                                                        \
        return HookedOpen(path, flags, [=] { return Found<OpenAtFn>(next)(folder, path, flags, mode); });    \
    }
#define ORXEMU_IOCTL(name, next)                                                                             \
    int name(int fd, unsigned long request, ...) noexcept {                                                  \
        std::va_list args;                                                                                   \
        va_start(args, request);                                                                             \
        void *arg = va_arg(args, void *);                                                                    \
        va_end(args);                                                                                        \
        return HookedIoctl(fd, request, arg, [=] { return Found<IoctlFn>(next)(fd, request, arg); });        \
    }

ORXEMU_OPEN(open, orxemu::nextOpen)
ORXEMU_OPEN(open64, orxemu::nextOpen64)
ORXEMU_OPENAT(openat, orxemu::nextOpenAt)
ORXEMU_OPENAT(openat64, orxemu::nextOpenAt64)
ORXEMU_IOCTL(ioctl, orxemu::nextIoctl)

// What fortified programs call when the flags are no constant and no mode is given.
#ifdef __GLIBC__
#define ORXEMU_FORTIFIED_OPEN(name, next)                                                                    \
    int name(const char *path, int flags) {                                                                  \
        return HookedOpen(path, flags,                                                                       \
                          [=] { return Found<int (*)(const char *, int)>(next)(path, flags); });             \
    }
#define ORXEMU_FORTIFIED_OPENAT(name, next)                                                                  \
    int name(int folder, const char *path, int flags) {                                                      \
        return HookedOpen(                                                                                   \
            path, flags, [=] { return Found<int (*)(int, const char *, int)>(next)(folder, path, flags); }); \
    }
ORXEMU_FORTIFIED_OPEN(__open_2, orxemu::nextFortifiedOpen)
ORXEMU_FORTIFIED_OPEN(__open64_2, orxemu::nextFortifiedOpen64)
ORXEMU_FORTIFIED_OPENAT(__openat_2, orxemu::nextFortifiedOpenAt)
ORXEMU_FORTIFIED_OPENAT(__openat64_2, orxemu::nextFortifiedOpenAt64)
#endif

// What ioctl is called in programs whose time has 64 bits though the C library's had 32 at first.
#if defined(__GLIBC__) && __TIMESIZE == 32
ORXEMU_IOCTL(__ioctl_time64, orxemu::nextIoctlTime64)
#endif

#pragma GCC visibility pop

} // extern "C"
