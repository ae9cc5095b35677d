// Asks the kernel to fetch the pages, which it refuses for a bad address. Where a kernel or an emulator does not
// know that request, the bytes go through a pipe instead, which takes two descriptors.
//
// The plain system calls are used, because a sanitizer's wrappers look at the addresses themselves.
#include "emu/preload/caller_memory.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#ifndef MADV_POPULATE_READ // Linux 5.14
#define MADV_POPULATE_READ  22
#define MADV_POPULATE_WRITE 23
#endif

namespace orxemu {

namespace {

bool Fetch(const void *address, std::size_t size, int how) {
    const auto page = static_cast<std::uintptr_t>(getpagesize());
    const auto begin = reinterpret_cast<std::uintptr_t>(address) / page * page;
    const std::size_t length = reinterpret_cast<std::uintptr_t>(address) - begin + size;
    return syscall(SYS_madvise, static_cast<long>(begin), length, static_cast<long>(how)) == 0;
}

// An emulator may say yes to everything, an old kernel says no.
bool FetchIsKnown() {
    static constinit std::atomic<int> isKnown = -1;
    if (isKnown < 0) {
        static char good = 0;
        isKnown = Fetch(&good, 1, MADV_POPULATE_WRITE) && !Fetch(nullptr, 1, MADV_POPULATE_READ) ? 1 : 0;
    }
    return isKnown != 0;
}

// Nothing is too large for the pipe, so that less than all bytes means that the rest could not be reached.
bool MoveThroughPipe(void *to, const void *from, std::size_t size) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    const auto all = static_cast<long>(size);
    const bool moved = syscall(SYS_write, static_cast<long>(ends[1]), from, size) == all &&
                       syscall(SYS_read, static_cast<long>(ends[0]), to, size) == all;
    close(ends[0]);
    close(ends[1]);
    return moved;
}

} // namespace

const void *Reach(const void *address, void *copy, std::size_t size) {
    if (FetchIsKnown()) {
        return Fetch(address, size, MADV_POPULATE_READ) ? address : nullptr;
    }
    return MoveThroughPipe(copy, address, size) ? copy : nullptr;
}

bool CanWrite(void *address, std::size_t size) {
    return FetchIsKnown() ? Fetch(address, size, MADV_POPULATE_WRITE)
                          : MoveThroughPipe(address, address, size);
}

} // namespace orxemu
