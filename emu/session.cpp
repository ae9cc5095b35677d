// Inode numbers have 64 bits, on 32-bit machines too.
#undef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64

#include "emu/session.h"

#include "emu/session_memory.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <pthread.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace orxemu {

namespace {

struct SessionDescriptor {
    int fd;
    unsigned long long device;
    unsigned long long inode;
};

// Errno of a session whose tool is of another version than this library.
constexpr int kOtherLayout = EPROTO;

constinit bool asked = false;
constinit SessionMemory *memory = nullptr; // null outside a session
constinit int joinErr = 0;                 // why a session could not be joined
constinit SessionDescriptor file = {-1, 0, 0};
constinit SessionDescriptor channel = {-1, 0, 0};
// The lock on the file holds off other processes only.
constinit pthread_mutex_t threads = PTHREAD_MUTEX_INITIALIZER;

bool ParseNumbers(const char *text, unsigned long long (&numbers)[kSessionNumbers]) {
    for (int i = 0; i < kSessionNumbers; ++i) {
        char *end;
        numbers[i] = std::strtoull(text, &end, 10);
        const char expected = i + 1 < kSessionNumbers ? ',' : '\0';
        if (end == text || *end != expected) {
            return false;
        }
        text = end + 1;
    }
    return true;
}

// The program may have closed the descriptor, and opened something else since.
bool IsThere(const SessionDescriptor &descriptor) {
    struct stat st;
    return descriptor.fd >= 0 && fstat(descriptor.fd, &st) == 0 && st.st_dev == descriptor.device &&
           st.st_ino == descriptor.inode;
}

// Null with errno when it cannot be had.
SessionMemory *Attach(int segment) {
    struct shmid_ds description;
    if (shmctl(segment, IPC_STAT, &description) != 0) {
        return nullptr;
    }
    if (description.shm_segsz != sizeof(SessionMemory)) {
        errno = kOtherLayout;
        return nullptr;
    }
    void *attached = shmat(segment, nullptr, 0);
    if (attached == reinterpret_cast<void *>(-1)) { // NOLINT(performance-no-int-to-ptr): what shmat answers
        return nullptr;
    }
    auto *found = static_cast<SessionMemory *>(attached);
    if (found->magic != kSessionMagic || found->layout != kSessionLayout ||
        found->size != sizeof(SessionMemory)) {
        shmdt(attached);
        errno = kOtherLayout;
        return nullptr;
    }
    return found;
}

SessionMemory *FindMemory(const char *text) {
    unsigned long long numbers[kSessionNumbers];
    if (!ParseNumbers(text, numbers)) {
        errno = EINVAL;
        return nullptr;
    }
    file = {static_cast<int>(numbers[1]), numbers[2], numbers[3]};
    channel = {static_cast<int>(numbers[4]), numbers[5], numbers[6]};
    return Attach(static_cast<int>(numbers[0]));
}

// By the plain system call, which no library of the program's stands in front of.
void Sleep(long nanoseconds) {
    const long pause[] = {0, nanoseconds};
    syscall(SYS_nanosleep, pause, nullptr);
}

// F_WRLCK or F_UNLCK on the whole file. False when the lock is not to be had.
//
// It is not waited for in the kernel, which would find deadlocks that are none: it knows processes and no
// threads, and when two processes seem to wait for each other it refuses this lock, or one of the program's own.
bool SetFileLock(short type) {
    constexpr long kShortest = 20'000;
    constexpr long kLongest = 1'000'000;
    if (!IsThere(file)) {
        return false;
    }
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    long pause = kShortest;
    while (fcntl(file.fd, F_SETLK, &lock) != 0) {
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN && errno != EACCES) {
            return false;
        }
        Sleep(pause);
        pause = std::min(2 * pause, kLongest);
    }
    return true;
}

sigset_t BlockSignals() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    return before;
}

// How the thread that forks was before; the mutex keeps other threads away from it.
struct Forking {
    int cancellation;
    sigset_t signals;
};
constinit Forking forking = {};

// A child of a thread must not begin with the lock of another one. What a signal handler or the end of this
// thread could do in between, it could not do with the mutex.
void HoldThreads() {
    Forking before;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before.cancellation);
    before.signals = BlockSignals();
    pthread_mutex_lock(&threads);
    forking = before;
}
void ReleaseThreads() {
    const Forking before = forking;
    pthread_mutex_unlock(&threads);
    pthread_sigmask(SIG_SETMASK, &before.signals, nullptr);
    pthread_setcancelstate(before.cancellation, nullptr);
}

// 0 or an errno. A process that was stopped while it waits for room is interrupted when it goes on.
int Send(SessionMessage::Head head, const OrxEmuRequest &request, int flags) {
    if (!IsThere(channel)) {
        return EBADF;
    }
    iovec parts[] = {{&head, sizeof head}, {const_cast<OrxEmuRequest *>(&request), sizeof request}};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = sizeof parts / sizeof *parts;
    ssize_t sent;
    do {
        sent = sendmsg(channel.fd, &message, flags | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

void Report(SessionMessage::Head head, const OrxEmuRequest &request) {
    if (memory == nullptr) {
        return;
    }
    const bool waits = memory->unread == 0;
    // Other failures are this process's own: it has closed its channel, say.
    if (Send(head, request, waits ? 0 : MSG_DONTWAIT) == EAGAIN && waits) {
        memory->unread = 1;
    }
}

// Once, and only when the process wants the device: what else a program starts need not join.
void ReportNotJoined() {
    static constinit std::atomic<bool> told = false;
    if (joinErr == 0 || told.exchange(true)) {
        return;
    }
    static constinit OrxEmuRequest request = {};
    request.err = joinErr;
    Send({MessageKind::NotJoined, FaultKind::None, 0}, request, 0);
}

} // namespace

void JoinSession() {
    if (asked) {
        return;
    }
    asked = true;
    pthread_atfork(HoldThreads, ReleaseThreads, ReleaseThreads);
    const char *text = std::getenv(kSessionVariable);
    if (text == nullptr) {
        return;
    }
    const int savedErrno = errno;
    memory = FindMemory(text);
    joinErr = memory == nullptr ? errno : 0;
    errno = savedErrno;
    if (memory == nullptr) {
        TheHardware().missing = 1;
        return;
    }
    UseHardware(memory->hardware);
    ++memory->joined;
}

void CountDescriptors(int change) {
    if (memory != nullptr) {
        memory->openDescriptors += static_cast<uint32_t>(change);
    }
}

bool IsSessionDescriptor(int fd) {
    return fd >= 0 && ((fd == file.fd && IsThere(file)) || (fd == channel.fd && IsThere(channel)));
}

int SessionDescriptorsInOrder(int (&fds)[kSessionDescriptors]) {
    int num = 0;
    for (const SessionDescriptor *descriptor :
         {file.fd < channel.fd ? &file : &channel, file.fd < channel.fd ? &channel : &file}) {
        if (IsThere(*descriptor)) {
            fds[num++] = descriptor->fd;
        }
    }
    return num;
}

HardwareLock::HardwareLock() : signals_(BlockSignals()) {
    pthread_mutex_lock(&threads);
    isHeld_ = memory == nullptr || SetFileLock(F_WRLCK);
}

HardwareLock::~HardwareLock() {
    if (memory != nullptr) {
        SetFileLock(F_UNLCK);
    }
    pthread_mutex_unlock(&threads);
    pthread_sigmask(SIG_SETMASK, &signals_, nullptr);
}

void ExpectReport() {
    if (memory != nullptr) {
        ++memory->reports;
    }
}

void ReportRequest(const OrxEmuRequest &request, FaultKind fault, bool recordRead) {
    Report({MessageKind::Request, fault, recordRead ? 1u : 0u}, request);
}

void ReportFailedOpen(int err, FaultKind fault) {
    if (memory == nullptr) {
        ReportNotJoined();
        return;
    }
    static constinit OrxEmuRequest request = {}; // too large for the stack of a small thread
    request.err = err;
    ExpectReport();
    Report({MessageKind::FailedOpen, fault, 0}, request);
}

void CountUnserved() {
    ++memory->unserved;
}

} // namespace orxemu
