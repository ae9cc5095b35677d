// The hooks: open in all its forms and ioctl, in front of the C library's. What is about the device goes to the
// process's carrier, everything else to the C library.
//
// The macros below make the headers declare inline wrappers or other symbol names for these functions.
#undef _FORTIFY_SOURCE
#undef _TIME_BITS
#undef _FILE_OFFSET_BITS

#include "emu/device/device.h"
#include "emu/preload/caller_memory.h"
#include "emu/preload/carrier.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>

namespace orxemu {

constinit pthread_mutex_t Turn::mutex = PTHREAD_MUTEX_INITIALIZER;

namespace {

// The headers promise that no path is null. A compiler that believes them leaves out the check.
bool IsDevicePath(const char *given) {
    const char *volatile unpromised = given;
    const char *path = unpromised;
    return path != nullptr && std::strcmp(path, qir::kPktOrxDevice) == 0;
}

int HookedOpen(int flags) {
    const Turn turn;
    return OpenDevice((flags & O_CLOEXEC) != 0);
}

// A file mode was passed only when the flags may create a file.
mode_t ModeOf(int flags, std::va_list args) {
    const bool passed = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return passed ? va_arg(args, mode_t) : 0;
}

// Whether a request is the device's. Requests that the kernel carries out itself, on any descriptor, never reach
// a driver.
bool IsDevices(int fd, unsigned long request) {
    for (const auto any : {FIOCLEX, FIONCLEX, FIONBIO, FIOASYNC}) {
        if (static_cast<uint32_t>(request) == static_cast<uint32_t>(any)) {
            return false;
        }
    }
    const int savedErrno = errno;
    const bool isDevices = TheCarrier().isDevice(fd);
    errno = savedErrno;
    return isDevices;
}

// Whether the driver's answer can be written is looked at before the hardware takes the request.
Call CallOf(int number, void *record, uint8_t *copy) {
    Call call = {number, qir::FindRequest(number), static_cast<uint8_t *>(record), nullptr, false, 0};
    if (call.info == nullptr) {
        return call;
    }
    const std::size_t size = call.info->recordSize;
    call.canAnswer = call.info->answer.size != 0 && CanWrite(record, size);
    call.bytes = call.canAnswer ? call.record : static_cast<const uint8_t *>(Reach(record, copy, size));
    call.fcb = call.bytes != nullptr ? FcbAddressIn(*call.info, call.bytes) : 0;
    return call;
}

int HookedIoctl(int number, void *record) {
    const int savedErrno = errno;
    const Turn turn;
    uint8_t copy[ORXEMU_MAX_RECORD];
    const int err = TheCarrier().serve(CallOf(number, record, copy));
    errno = err != 0 ? err : savedErrno;
    return err != 0 ? -1 : 0;
}

void ForgetParent() {
    Turn::mutex = PTHREAD_MUTEX_INITIALIZER; // another thread of the parent may have had it
    ForgetSocket();
}

__attribute__((constructor)) void Load() {
    pthread_atfork(nullptr, nullptr, ForgetParent);
    TheCarrier();
}

// The C library's function behind a hook, looked up once.
template <class Fn> Fn Next(std::atomic<void *> &found, const char *name) {
    if (found == nullptr) {
        found = dlsym(RTLD_NEXT, name);
    }
    return reinterpret_cast<Fn>(found.load());
}

} // namespace

} // namespace orxemu

#define ORXEMU_NEXT(name)                                                                                    \
    static constinit std::atomic<void *> found = nullptr;                                                    \
    return orxemu::Next<decltype(&(name))>(found, #name)

// The device's path begins at the root, so that the folder of openat does not matter.
#define ORXEMU_OPEN(name, ...)                                                                               \
    int name(__VA_OPT__(int folder, ) const char *path, int flags, ...) {                                    \
        if (orxemu::IsDevicePath(path)) {                                                                    \
            return orxemu::HookedOpen(flags);                                                                \
        }                                                                                                    \
        std::va_list args;                                                                                   \
        va_start(args, flags);                                                                               \
        const mode_t mode = orxemu::ModeOf(flags, args);                                                     \
        va_end(args);                                                                                        \
        ORXEMU_NEXT(name)(__VA_OPT__(folder, ) path, flags, mode);                                           \
    }

// What fortified programs call when the flags are no constant and no mode is given.
#define ORXEMU_FORTIFIED_OPEN(name, ...)                                                                     \
    int name(__VA_OPT__(int folder, ) const char *path, int flags) {                                         \
        if (orxemu::IsDevicePath(path)) {                                                                    \
            return orxemu::HookedOpen(flags);                                                                \
        }                                                                                                    \
        ORXEMU_NEXT(name)(__VA_OPT__(folder, ) path, flags);                                                 \
    }

// Like the kernel, the device looks at the low 32 bits of the number only.
#define ORXEMU_IOCTL(name)                                                                                   \
    int name(int fd, unsigned long request, ...) noexcept {                                                  \
        std::va_list args;                                                                                   \
        va_start(args, request);                                                                             \
        void *arg = va_arg(args, void *);                                                                    \
        va_end(args);                                                                                        \
        if (orxemu::IsDevices(fd, request)) {                                                                \
            return orxemu::HookedIoctl(static_cast<int>(request), arg);                                      \
        }                                                                                                    \
        ORXEMU_NEXT(name)(fd, request, arg);                                                                 \
    }

#pragma GCC visibility push(default)
extern "C" {

ORXEMU_OPEN(open)
ORXEMU_OPEN(open64)
ORXEMU_OPEN(openat, folder)
ORXEMU_OPEN(openat64, folder)
ORXEMU_IOCTL(ioctl)
#ifdef __GLIBC__
ORXEMU_FORTIFIED_OPEN(__open_2)
ORXEMU_FORTIFIED_OPEN(__open64_2)
ORXEMU_FORTIFIED_OPEN(__openat_2, folder)
ORXEMU_FORTIFIED_OPEN(__openat64_2, folder)
#if __TIMESIZE == 32 // what ioctl is called in programs whose time has 64 bits all the same
ORXEMU_IOCTL(__ioctl_time64)
#endif
#endif

} // extern "C"
#pragma GCC visibility pop
