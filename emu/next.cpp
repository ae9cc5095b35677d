#include "emu/next.h"

#include <cerrno>
#include <dlfcn.h>

namespace orxemu {

namespace {

using OpenFn = int (*)(const char *, int, ...);
using FortifiedOpenFn = int (*)(const char *, int);
using OpenAtFn = int (*)(int, const char *, int, ...);
using FortifiedOpenAtFn = int (*)(int, const char *, int);
using IoctlFn = int (*)(int, unsigned long, ...);
using CloseFn = int (*)(int);
using CloseRangeFn = int (*)(unsigned, unsigned, int);
using CloseFromFn = void (*)(int);
using Dup2Fn = int (*)(int, int);
using Dup3Fn = int (*)(int, int, int);

template <class Fn> bool FindNext(Fn &fn, const char *name) {
    if (fn == nullptr) {
        fn = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
    }
    if (fn == nullptr) {
        errno = ENOSYS;
    }
    return fn != nullptr;
}

template <class Fn, class... Args> int CallNext(Fn &fn, const char *name, Args... args) {
    return FindNext(fn, name) ? fn(args...) : -1;
}

} // namespace

int NextOpen(const char *path, int flags, mode_t mode) {
    static constinit OpenFn fn = nullptr;
    return CallNext(fn, "open", path, flags, mode);
}

int NextOpen64(const char *path, int flags, mode_t mode) {
    static constinit OpenFn fn = nullptr;
    return CallNext(fn, "open64", path, flags, mode);
}

int NextOpenAt(int folder, const char *path, int flags, mode_t mode) {
    static constinit OpenAtFn fn = nullptr;
    return CallNext(fn, "openat", folder, path, flags, mode);
}

int NextOpenAt64(int folder, const char *path, int flags, mode_t mode) {
    static constinit OpenAtFn fn = nullptr;
    return CallNext(fn, "openat64", folder, path, flags, mode);
}

int NextFortifiedOpen(const char *path, int flags) {
    static constinit FortifiedOpenFn fn = nullptr;
    return CallNext(fn, "__open_2", path, flags);
}

int NextFortifiedOpen64(const char *path, int flags) {
    static constinit FortifiedOpenFn fn = nullptr;
    return CallNext(fn, "__open64_2", path, flags);
}

int NextFortifiedOpenAt(int folder, const char *path, int flags) {
    static constinit FortifiedOpenAtFn fn = nullptr;
    return CallNext(fn, "__openat_2", folder, path, flags);
}

int NextFortifiedOpenAt64(int folder, const char *path, int flags) {
    static constinit FortifiedOpenAtFn fn = nullptr;
    return CallNext(fn, "__openat64_2", folder, path, flags);
}

int NextIoctl(int fd, unsigned long request, void *arg) {
    static constinit IoctlFn fn = nullptr;
    return CallNext(fn, "ioctl", fd, request, arg);
}

int NextIoctlTime64(int fd, unsigned long request, void *arg) {
    static constinit IoctlFn fn = nullptr;
    return CallNext(fn, "__ioctl_time64", fd, request, arg);
}

int NextClose(int fd) {
    static constinit CloseFn fn = nullptr;
    return CallNext(fn, "close", fd);
}

int NextCloseRange(unsigned first, unsigned last, int flags) {
    static constinit CloseRangeFn fn = nullptr;
    return CallNext(fn, "close_range", first, last, flags);
}

void NextCloseFrom(int first) {
    static constinit CloseFromFn fn = nullptr;
    if (FindNext(fn, "closefrom")) {
        fn(first);
    }
}

int NextDup2(int from, int to) {
    static constinit Dup2Fn fn = nullptr;
    return CallNext(fn, "dup2", from, to);
}

int NextDup3(int from, int to, int flags) {
    static constinit Dup3Fn fn = nullptr;
    return CallNext(fn, "dup3", from, to, flags);
}

} // namespace orxemu
