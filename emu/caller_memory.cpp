// The bytes go through a pipe: the kernel reads or writes the caller's side of it and refuses a bad address.
// The plain system calls are used, because a sanitizer's wrappers of read and write look at the address
// themselves.
#include "emu/caller_memory.h"

#include "emu/next.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orxemu {

namespace {

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
    NextClose(ends[0]);
    NextClose(ends[1]);
    return err;
}

} // namespace

int CopyFromCaller(void *to, const void *callerFrom, std::size_t size) {
    return CopyThroughPipe(to, callerFrom, size);
}

int CopyToCaller(void *callerTo, const void *from, std::size_t size) {
    return CopyThroughPipe(callerTo, from, size);
}

} // namespace orxemu
