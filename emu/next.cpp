#include "emu/next.h"

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <iterator>

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

enum Name {
    kOpen,
    kOpen64,
    kOpenAt,
    kOpenAt64,
    kFortifiedOpen,
    kFortifiedOpen64,
    kFortifiedOpenAt,
    kFortifiedOpenAt64,
    kIoctl,
    kClose,
    kCloseRange,
    kCloseFrom,
    kDup2,
    kDup3,
    kIoctlTime64, // of few machines
};

// Threads may come before all are known, and then find the same.
struct Function {
    const char *name;
    std::atomic<void *> found;
};
constinit Function functions[] = {
    {"open", nullptr},     {"open64", nullptr},     {"openat", nullptr},         {"openat64", nullptr},
    {"__open_2", nullptr}, {"__open64_2", nullptr}, {"__openat_2", nullptr},     {"__openat64_2", nullptr},
    {"ioctl", nullptr},    {"close", nullptr},      {"close_range", nullptr},    {"closefrom", nullptr},
    {"dup2", nullptr},     {"dup3", nullptr},       {"__ioctl_time64", nullptr},
};
static_assert(std::size(functions) == kIoctlTime64 + 1);

// Those that have not been found then are not there.
constinit std::atomic<bool> allKnown = false;

void Find(Function &function) {
    function.found = dlsym(RTLD_NEXT, function.name);
}

// Null with errno when there is none.
template <class Fn> Fn Next(Name name) {
    Function &function = functions[name];
    if (function.found == nullptr && !allKnown) {
        Find(function);
    }
    if (function.found == nullptr) {
        errno = ENOSYS;
    }
    return reinterpret_cast<Fn>(function.found.load());
}

template <class Fn, class... Args> int CallNext(Name name, Args... args) {
    const Fn fn = Next<Fn>(name);
    return fn != nullptr ? fn(args...) : -1;
}

} // namespace

void FindNext() {
    for (Function &function : functions) {
        Find(function);
    }
    allKnown = true;
    dlerror(); // what was not found is no failure of the program's
}

int NextOpen(const char *path, int flags, mode_t mode) {
    return CallNext<OpenFn>(kOpen, path, flags, mode);
}

int NextOpen64(const char *path, int flags, mode_t mode) {
    return CallNext<OpenFn>(kOpen64, path, flags, mode);
}

int NextOpenAt(int folder, const char *path, int flags, mode_t mode) {
    return CallNext<OpenAtFn>(kOpenAt, folder, path, flags, mode);
}

int NextOpenAt64(int folder, const char *path, int flags, mode_t mode) {
    return CallNext<OpenAtFn>(kOpenAt64, folder, path, flags, mode);
}

int NextFortifiedOpen(const char *path, int flags) {
    return CallNext<FortifiedOpenFn>(kFortifiedOpen, path, flags);
}

int NextFortifiedOpen64(const char *path, int flags) {
    return CallNext<FortifiedOpenFn>(kFortifiedOpen64, path, flags);
}

int NextFortifiedOpenAt(int folder, const char *path, int flags) {
    return CallNext<FortifiedOpenAtFn>(kFortifiedOpenAt, folder, path, flags);
}

int NextFortifiedOpenAt64(int folder, const char *path, int flags) {
    return CallNext<FortifiedOpenAtFn>(kFortifiedOpenAt64, folder, path, flags);
}

int NextIoctl(int fd, unsigned long request, void *arg) {
    return CallNext<IoctlFn>(kIoctl, fd, request, arg);
}

int NextIoctlTime64(int fd, unsigned long request, void *arg) {
    return CallNext<IoctlFn>(kIoctlTime64, fd, request, arg);
}

int NextClose(int fd) {
    return CallNext<CloseFn>(kClose, fd);
}

int NextCloseRange(unsigned first, unsigned last, int flags) {
    return CallNext<CloseRangeFn>(kCloseRange, first, last, flags);
}

void NextCloseFrom(int first) {
    const auto fn = Next<CloseFromFn>(kCloseFrom);
    if (fn != nullptr) {
        fn(first);
    }
}

int NextDup2(int from, int to) {
    return CallNext<Dup2Fn>(kDup2, from, to);
}

int NextDup3(int from, int to, int flags) {
    return CallNext<Dup3Fn>(kDup3, from, to, flags);
}

} // namespace orxemu
