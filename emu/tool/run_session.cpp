// Inode numbers have 64 bits, on 32-bit machines too.
#undef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64

#include "emu/tool/run_session.h"

#include "emu/tool/run_trouble.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orxemu::tool {

namespace {

// How long a process waits for room in the channel before it goes on without its message.
constexpr timeval kPatience = {10, 0};

// Programs and shells use the lowest numbers, select() those below 1024.
int HighNumber() {
    constexpr rlim_t kHighest = 1024;
    constexpr rlim_t kRoom = 24;
    constexpr rlim_t kStandardStreams = 3;
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t end = std::min(limit.rlim_cur, kHighest);
    return static_cast<int>(std::max(end, kRoom + kStandardStreams) - kRoom);
}

// Moves a descriptor out of the program's way; it stays where it is when there is no room.
int MoveUp(int fd) {
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, HighNumber());
    if (moved < 0) {
        return fd;
    }
    close(fd);
    return moved;
}

std::string Numbers(int fd) {
    struct stat st = {};
    fstat(fd, &st);
    return std::to_string(fd) + "," + std::to_string(static_cast<unsigned long long>(st.st_dev)) + "," +
           std::to_string(static_cast<unsigned long long>(st.st_ino));
}

[[noreturn]] void ThrowAboutSession(int err) {
    throw SystemTrouble("cannot set up what the program shares with the stand-in", err);
}

} // namespace

void OwnedDescriptor::Reset(int fd) {
    if (fd_ >= 0) {
        close(fd_);
    }
    fd_ = fd;
}

Session::Session() {
    const int lockFile = memfd_create("orxemu-lock", MFD_CLOEXEC);
    if (lockFile < 0) {
        ThrowAboutSession(errno);
    }
    lockFile_.Reset(MoveUp(lockFile));
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        ThrowAboutSession(errno);
    }
    receivingEnd_.Reset(ends[0]);
    sendingEnd_.Reset(MoveUp(ends[1]));
    setsockopt(sendingEnd_.get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);

    segment_ = shmget(IPC_PRIVATE, sizeof(SessionMemory), IPC_CREAT | 0600);
    if (segment_ < 0) {
        ThrowAboutSession(errno);
    }
    void *attached = shmat(segment_, nullptr, 0);
    const int err = errno;
    // From here on it goes with its last user; the processes can attach to it nevertheless.
    shmctl(segment_, IPC_RMID, nullptr);
    if (attached == reinterpret_cast<void *>(-1)) { // NOLINT(performance-no-int-to-ptr): what shmat answers
        ThrowAboutSession(err);
    }
    memory_ = static_cast<SessionMemory *>(attached);
    memory_->magic = kSessionMagic;
    memory_->layout = kSessionLayout;
    memory_->size = sizeof(SessionMemory);
}

Session::~Session() {
    shmdt(memory_);
}

std::string Session::Variable() const {
    return std::string(kSessionVariable) + "=" + std::to_string(segment_) + "," + Numbers(lockFile_.get()) +
           "," + Numbers(sendingEnd_.get());
}

void Session::BequeathDescriptors() const {
    fcntl(lockFile_.get(), F_SETFD, 0);
    fcntl(sendingEnd_.get(), F_SETFD, 0);
}

bool Session::Receive(SessionMessage &message) {
    for (;;) {
        const ssize_t size = recv(receivingEnd_.get(), &message, sizeof message, MSG_DONTWAIT);
        if (size == static_cast<ssize_t>(sizeof message)) {
            if (message.head.kind != MessageKind::NotJoined) {
                return true;
            }
            joinErr_ = message.request.err;
            continue;
        }
        if (size == 0) {
            hasSenders_ = false;
            return false;
        }
        if (size < 0 && errno != EINTR) {
            return false;
        }
        // Anything else that a program wrote to the descriptor is not a message.
    }
}

bool Session::SetLock(bool locked) {
    struct flock lock = {};
    lock.l_type = locked ? F_WRLCK : F_UNLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(lockFile_.get(), F_SETLK, &lock) == 0;
}

} // namespace orxemu::tool
