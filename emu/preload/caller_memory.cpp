// The kernel is asked whether it could fetch the pages, which is quick. Where it does not know that question, or
// says no, it moves the bytes itself and refuses a bad address: between this process and itself, as it does
// between two processes, or through a pipe, which takes two descriptors that the program may not have left.
//
// The plain system calls are used, because a sanitizer's wrappers look at the addresses themselves, and
// because no thread can be cancelled in them.
#include "emu/preload/caller_memory.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace orxemu {

namespace {

// --- At once

#ifndef MADV_POPULATE_READ // Linux 5.14
#define MADV_POPULATE_READ  22
#define MADV_POPULATE_WRITE 23
#endif

int Populate(const void *address, std::size_t size, int advice) {
    const auto page = static_cast<std::uintptr_t>(getpagesize());
    const auto begin = reinterpret_cast<std::uintptr_t>(address) / page * page;
    const std::size_t length = reinterpret_cast<std::uintptr_t>(address) - begin + size;
    return static_cast<int>(
        syscall(SYS_madvise, static_cast<long>(begin), length, static_cast<long>(advice)));
}

// An emulator may say yes to everything.
bool PopulateIsHonest() {
    static constinit std::atomic<int> isHonest = -1;
    if (isHonest < 0) {
        isHonest = Populate(nullptr, 1, MADV_POPULATE_READ) != 0 ? 1 : 0;
    }
    return isHonest != 0;
}

bool CanReach(const void *address, std::size_t size, int advice) {
    const int savedErrno = errno;
    const bool can = PopulateIsHonest() && Populate(address, size, advice) == 0;
    errno = savedErrno;
    return can;
}

// --- As between two processes

// Asked for once: two system calls less for each request. 0: not asked yet.
constinit std::atomic<pid_t> ownPid = 0;

pid_t OwnPid() {
    if (ownPid == 0) {
        ownPid = getpid();
    }
    return ownPid;
}

// 0, or the errno of a call that did not move all of the bytes.
template <std::size_t kParts>
int MoveBetween(long number, const iovec (&own)[kParts], const iovec (&callers)[kParts]) {
    std::size_t size = 0;
    for (const iovec &part : own) {
        size += part.iov_len;
    }
    const long moved =
        syscall(number, static_cast<long>(OwnPid()), own, kParts, callers, kParts, static_cast<long>(0));
    if (moved < 0) {
        return errno;
    }
    return static_cast<std::size_t>(moved) == size ? 0 : EFAULT;
}

iovec PartOf(const void *address, std::size_t size) {
    return {const_cast<void *>(address), size};
}

// In numbers, because a caller's address may be any.
iovec LastByteOf(const void *address, std::size_t size) {
    const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(address) + size - 1;
    return {reinterpret_cast<void *>(last), 1}; // NOLINT(performance-no-int-to-ptr): of any address
}

// The last byte comes first: the others lie on its page and on the one before, so that nothing is stored
// when any of them cannot be read.
int ReadDirectly(void *to, const void *callerFrom, std::size_t size) {
    char last = 0;
    const iovec own[] = {PartOf(&last, sizeof last), PartOf(to, size)};
    const iovec callers[] = {LastByteOf(callerFrom, size), PartOf(callerFrom, size)};
    return MoveBetween(SYS_process_vm_readv, own, callers);
}

int WriteDirectly(void *callerTo, const void *from, std::size_t size) {
    const iovec own[] = {PartOf(from, size)};
    const iovec callers[] = {PartOf(callerTo, size)};
    return MoveBetween(SYS_process_vm_writev, own, callers);
}

// --- Through a pipe

// 0 when the call moved all bytes. Nothing blocks and nothing is too large for the pipe, so that less than
// all bytes means that the rest could not be reached.
template <class Address> int MoveAll(long number, int fd, Address address, std::size_t size) {
    long moved;
    do {
        moved = syscall(number, static_cast<long>(fd), address, size);
    } while (moved < 0 && errno == EINTR);
    if (moved < 0) {
        return errno;
    }
    return static_cast<std::size_t>(moved) == size ? 0 : EFAULT;
}

int CopyThroughPipe(void *to, const void *from, std::size_t size) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return errno;
    }
    int err = MoveAll(SYS_write, ends[1], from, size);
    if (err == 0) {
        err = MoveAll(SYS_read, ends[0], to, size);
    }
    syscall(SYS_close, static_cast<long>(ends[0]));
    syscall(SYS_close, static_cast<long>(ends[1]));
    return err;
}

// When the direct way has failed. A filter of system calls or an emulator may not let it through, and it
// does not reach all that a driver reaches, the pages of a device for one: the pipe decides, if there is one.
int AskPipe(int directErr, void *to, const void *from, std::size_t size) {
    const int err = CopyThroughPipe(to, from, size);
    const bool noPipe = err == EMFILE || err == ENFILE;
    return noPipe && directErr == EFAULT ? EFAULT : err;
}

int CopySlowly(void *to, const void *callerFrom, std::size_t size) {
    const int err = ReadDirectly(to, callerFrom, size);
    return err == 0 ? 0 : AskPipe(err, to, callerFrom, size);
}

int WriteSlowly(void *callerTo, const void *from, std::size_t size) {
    const int err = WriteDirectly(callerTo, from, size);
    return err == 0 ? 0 : AskPipe(err, callerTo, from, size);
}

} // namespace

void ForgetPid() {
    ownPid = 0;
}

const void *Reach(const void *callerFrom, void *copy, std::size_t size) {
    if (CanReach(callerFrom, size, MADV_POPULATE_READ)) {
        return callerFrom;
    }
    return CopySlowly(copy, callerFrom, size) == 0 ? copy : nullptr;
}

int CopyFromCaller(void *to, const void *callerFrom, std::size_t size) {
    if (!CanReach(callerFrom, size, MADV_POPULATE_READ)) {
        return CopySlowly(to, callerFrom, size);
    }
    std::memcpy(to, callerFrom, size);
    return 0;
}

int CopyFromCaller(void *to, void *callerFrom, std::size_t size, std::size_t offset, std::size_t writeSize,
                   bool &canWrite) {
    canWrite = CanReach(callerFrom, size, MADV_POPULATE_WRITE);
    if (canWrite) {
        std::memcpy(to, callerFrom, size);
        return 0;
    }
    const int err = CopySlowly(to, callerFrom, size);
    const auto *copy = static_cast<const char *>(to) + offset;
    canWrite = err == 0 && WriteSlowly(static_cast<char *>(callerFrom) + offset, copy, writeSize) == 0;
    return err;
}

} // namespace orxemu
