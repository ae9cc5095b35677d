// The device of a session: the server in `orxemu run` has it.
#include "emu/preload/carrier.h"
#include "emu/server/wire.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace orxemu {

namespace {

// A process that cannot reach its session gets this; the session may have ended.
constexpr int kNoSession = ENODEV;

constinit sockaddr_un server = {};
constinit bool asksForOpenings = false;

wire::Head HeadOf(wire::Kind kind, int number = 0, bool canAnswer = false) {
    return {wire::kVersion, kind, number, canAnswer ? 1u : 0u};
}

// The plain system calls are used, because a sanitizer's wrappers look at the program's addresses themselves.
// Bytes that were moved, or -1 with errno.
long Move(long number, int fd, iovec *parts, size_t num, int flags = 0) {
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = num;
    long moved;
    do {
        moved = syscall(number, static_cast<long>(fd), &message, static_cast<long>(flags | MSG_NOSIGNAL));
    } while (moved < 0 && errno == EINTR);
    return moved;
}

// The server answers within microseconds, and waking a sleeping process takes longer. So wait awake at first.
void StayAwake() {
    constexpr long kNanoseconds = 3000;
    constexpr long kSecond = 1'000'000'000;
    timespec start;
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &start);
    do {
        clock_gettime(CLOCK_MONOTONIC, &now);
    } while ((now.tv_sec - start.tv_sec) * kSecond + now.tv_nsec - start.tv_nsec < kNanoseconds);
}

// The program may have set O_NONBLOCK on its descriptor. A thread cannot be cancelled in plain system calls.
long Receive(int fd, iovec *parts, size_t num) {
    StayAwake();
    long size = Move(SYS_recvmsg, fd, parts, num, MSG_DONTWAIT);
    while (size < 0 && errno == EAGAIN) {
        pollfd answer = {fd, POLLIN, 0};
        syscall(SYS_ppoll, &answer, 1l, nullptr, nullptr, 0l);
        size = Move(SYS_recvmsg, fd, parts, num, MSG_DONTWAIT);
    }
    return size;
}

bool Send(int fd, wire::Head head) {
    iovec part = {&head, sizeof head};
    return Move(SYS_sendmsg, fd, &part, 1) == sizeof head;
}

// Errno that the server answers.
int Ask(int fd, wire::Head head) {
    int32_t answer = 0;
    iovec part = {&answer, sizeof answer};
    return Send(fd, head) && Receive(fd, &part, 1) == sizeof answer ? answer : kNoSession;
}

int ConnectSocket() {
    const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    int result = fd;
    while (result >= 0 && connect(fd, reinterpret_cast<const sockaddr *>(&server), sizeof server) != 0) {
        result = errno == EINTR ? fd : -1;
    }
    if (fd >= 0 && result < 0) {
        close(fd);
        errno = kNoSession;
    }
    return result;
}

int Connect() {
    const int fd = ConnectSocket();
    const int answer = fd < 0 ? 0 : Ask(fd, HeadOf(wire::Kind::Connect));
    if (answer == kNoSession) {
        close(fd);
        errno = kNoSession;
        return -1;
    }
    asksForOpenings = answer != 0;
    return fd;
}

bool IsDevice(int fd) {
    sockaddr_un peer;
    socklen_t size = sizeof peer;
    return getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &size) == 0 && size == sizeof server &&
           std::memcmp(&peer, &server, sizeof server) == 0;
}

int Open() {
    return asksForOpenings ? Ask(OwnSocket(), HeadOf(wire::Kind::Open)) : 0;
}

// The kernel copies record and FCB from where they are, and refuses to when one cannot be read: then the
// request goes without the FCB.
bool SendRequest(int fd, const Call &call) {
    wire::Head head = HeadOf(wire::Kind::Request, call.number, call.canAnswer);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the wire carries the address as a word
    auto *fcb = reinterpret_cast<void *>(std::uintptr_t{call.fcb});
    iovec parts[] = {{&head, sizeof head},
                     {const_cast<uint8_t *>(call.bytes), call.bytes != nullptr ? call.info->recordSize : 0},
                     {fcb, ORXEMU_FCB_BYTES}};
    return (call.fcb != 0 && Move(SYS_sendmsg, fd, parts, 3) >= 0) || Move(SYS_sendmsg, fd, parts, 2) >= 0;
}

// A descriptor may be shared with other processes, whose answers are not for this one: requests take the
// process's own socket.
int Serve(const Call &call) {
    const int fd = OwnSocket();
    if (fd < 0 || !SendRequest(fd, call)) {
        return kNoSession;
    }
    int32_t err = 0;
    iovec parts[] = {{&err, sizeof err}, {}};
    if (call.canAnswer) {
        parts[1] = {call.record + call.info->answer.offset, call.info->answer.size};
    }
    return Receive(fd, parts, 2) >= static_cast<long>(sizeof err) ? err : kNoSession;
}

__attribute__((destructor)) void Leave() {
    const int open = server.sun_family == AF_UNIX ? orxemu_openDescriptors() : 0;
    const int fd = open != 0 ? ConnectSocket() : -1;
    if (fd >= 0) {
        Send(fd, HeadOf(wire::Kind::LeftOpen, open));
        close(fd);
    }
}

bool IsInSession() {
    const char *name = std::getenv(wire::kSessionVariable);
    if (name == nullptr) {
        return false;
    }
    const int savedErrno = errno;
    server = wire::AddressOf(name);
    const int fd = ConnectSocket();
    if (fd >= 0) {
        Send(fd, HeadOf(wire::Kind::Joined));
        close(fd);
    }
    errno = savedErrno;
    return true;
}

} // namespace

constinit const Carrier kSession = {Connect, IsDevice, Open, Serve};

const Carrier &TheCarrier() {
    static constinit const Carrier *carrier = nullptr;
    if (carrier == nullptr) {
        carrier = IsInSession() ? &kSession : &kInProcess;
    }
    return *carrier;
}

} // namespace orxemu
