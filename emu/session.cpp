// Inode numbers have 64 bits, on 32-bit machines too.
#undef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64

#include "emu/session.h"

#include "emu/session_memory.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <pthread.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace orxemu {

namespace {

struct SessionDescriptor {
    int fd;
    unsigned long long device;
    unsigned long long inode;
};

constinit bool asked = false;
constinit SessionMemory *memory = nullptr; // null outside a session
constinit SessionDescriptor file = {};
constinit SessionDescriptor channel = {};
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
    return fstat(descriptor.fd, &st) == 0 && st.st_dev == descriptor.device && st.st_ino == descriptor.inode;
}

SessionMemory *Attach(int segment) {
    struct shmid_ds description;
    if (shmctl(segment, IPC_STAT, &description) != 0 || description.shm_segsz != sizeof(SessionMemory)) {
        return nullptr;
    }
    void *attached = shmat(segment, nullptr, 0);
    if (attached == reinterpret_cast<void *>(-1)) { // NOLINT(performance-no-int-to-ptr)
        return nullptr;
    }
    auto *found = static_cast<SessionMemory *>(attached);
    if (found->magic != kSessionMagic || found->layout != kSessionLayout ||
        found->size != sizeof(SessionMemory)) {
        shmdt(attached);
        return nullptr;
    }
    return found;
}

SessionMemory *FindMemory(const char *text) {
    unsigned long long numbers[kSessionNumbers];
    if (!ParseNumbers(text, numbers)) {
        return nullptr;
    }
    file = {static_cast<int>(numbers[1]), numbers[2], numbers[3]};
    channel = {static_cast<int>(numbers[4]), numbers[5], numbers[6]};
    return Attach(static_cast<int>(numbers[0]));
}

// F_WRLCK or F_UNLCK on the whole file.
void SetFileLock(short type) {
    if (!IsThere(file)) {
        return;
    }
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    int result;
    do {
        result = fcntl(file.fd, F_SETLKW, &lock);
    } while (result != 0 && errno == EINTR);
}

// A child of a thread must not begin with the lock of another one.
void HoldThreads() {
    pthread_mutex_lock(&threads);
}
void ReleaseThreads() {
    pthread_mutex_unlock(&threads);
}

// A process that was stopped while it waits for room is interrupted when it goes on.
bool Send(const msghdr &message, int flags) {
    ssize_t sent;
    do {
        sent = sendmsg(channel.fd, &message, flags);
    } while (sent < 0 && errno == EINTR);
    return sent >= 0;
}

void Report(SessionMessage::Head head, const OrxEmuRequest &request) {
    if (memory == nullptr) {
        return;
    }
    iovec parts[] = {{&head, sizeof head}, {const_cast<OrxEmuRequest *>(&request), sizeof request}};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = sizeof parts / sizeof *parts;
    const int flags = MSG_NOSIGNAL | (memory->lost != 0 ? MSG_DONTWAIT : 0);
    if (!IsThere(channel) || !Send(message, flags)) {
        ++memory->lost;
    }
}

} // namespace

void JoinSession() {
    const char *text = asked ? nullptr : std::getenv(kSessionVariable);
    asked = true;
    if (text == nullptr) {
        return;
    }
    const int savedErrno = errno;
    memory = FindMemory(text);
    errno = savedErrno;
    if (memory == nullptr) {
        TheHardware().missing = 1;
        return;
    }
    pthread_atfork(HoldThreads, ReleaseThreads, ReleaseThreads);
    UseHardware(memory->hardware);
    const HardwareLock lock;
    ++memory->joined;
}

void CountDescriptors(int change) {
    if (memory != nullptr) {
        memory->openDescriptors += static_cast<uint32_t>(change);
    }
}

bool IsSessionDescriptor(int fd) {
    return memory != nullptr && ((fd == file.fd && IsThere(file)) || (fd == channel.fd && IsThere(channel)));
}

HardwareLock::HardwareLock() {
    if (memory == nullptr) {
        return;
    }
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &signals_);
    pthread_mutex_lock(&threads);
    SetFileLock(F_WRLCK);
}

HardwareLock::~HardwareLock() {
    if (memory == nullptr) {
        return;
    }
    SetFileLock(F_UNLCK);
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

void ReportFailedOpen(int err) {
    static constinit OrxEmuRequest request = {}; // too large for the stack of a small thread
    request.err = err;
    ExpectReport();
    Report({MessageKind::FailedOpen, FaultKind::None, 0}, request);
}

} // namespace orxemu
