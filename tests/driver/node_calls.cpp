// The macros below make the headers declare inline wrappers or other symbol names for these functions.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS

#include "tests/driver/node_calls.h"

#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace driver_test {

namespace {

NodeCalls *current = nullptr;

// The function that the next library in line has under this name.
template <class Fn> Fn Next(const char *name) {
    void *const symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr) {
        std::abort();
    }
    return reinterpret_cast<Fn>(symbol);
}

} // namespace

NodeCalls::NodeCalls() : NodeCalls(Answer{}) {}

NodeCalls::NodeCalls(Answer answer) : answer_(std::move(answer)) {
    if (current != nullptr) {
        std::abort();
    }
    current = this;
}

NodeCalls::~NodeCalls() {
    current = nullptr;
}

NodeCalls *NodeCalls::Current() {
    return current;
}

void NodeCalls::NoteOpen(const std::string &path, int fd, int flags) {
    if (path == "/dev/pktorx") {
        seen_.push_back({NodeCall::Open, fd, flags, 0, nullptr});
        if (fd >= 0) {
            open_.push_back(fd);
        }
    }
}

void NodeCalls::NoteIoctl(int fd, unsigned long request, void *record) {
    if (IsOpen(fd)) {
        seen_.push_back({NodeCall::Ioctl, fd, 0, request, record});
    }
}

void NodeCalls::NoteClose(int fd) {
    if (IsOpen(fd)) {
        seen_.push_back({NodeCall::Close, fd, 0, 0, nullptr});
        open_.erase(std::remove(open_.begin(), open_.end(), fd), open_.end());
    }
}

} // namespace driver_test

using driver_test::NodeCalls;

extern "C" {

int open(const char *path, int flags, ...) {
    static const auto next = driver_test::Next<int (*)(const char *, int, ...)>("open");
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
        std::va_list args;
        va_start(args, flags);
        mode = va_arg(args, mode_t);
        va_end(args);
    }
    const int fd = next(path, flags, mode);
    if (NodeCalls *calls = NodeCalls::Current()) {
        calls->NoteOpen(path, fd, flags);
    }
    return fd;
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    static const auto next = driver_test::Next<int (*)(int, unsigned long, ...)>("ioctl");
    std::va_list args;
    va_start(args, request);
    void *const record = va_arg(args, void *);
    va_end(args);
    if (NodeCalls *calls = NodeCalls::Current()) {
        calls->NoteIoctl(fd, request, record);
        if (calls->OwnAnswer()) {
            return calls->OwnAnswer()(request, record);
        }
    }
    return next(fd, request, record);
}

int close(int fd) {
    static const auto next = driver_test::Next<int (*)(int)>("close");
    if (NodeCalls *calls = NodeCalls::Current()) {
        calls->NoteClose(fd);
    }
    return next(fd);
}

} // extern "C"
