#include "emu/preload/carrier.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orxemu {

namespace {

constinit std::atomic<int> ownSocket = -1;

// Programs use the lowest numbers, and select() those below 1024.
int MoveUp(int fd) {
    constexpr int kHigh = 1000;
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, kHigh);
    if (moved < 0) {
        return fd; // the program may have no such numbers
    }
    close(fd);
    return moved;
}

} // namespace

// The program may have closed the socket, and opened something else since.
int OwnSocket() {
    if (ownSocket < 0 || !TheCarrier().isDevice(ownSocket)) {
        const int socket = TheCarrier().connect();
        ownSocket = socket < 0 ? socket : MoveUp(socket);
    }
    return ownSocket;
}

int OpenDevice(bool closeOnExec) {
    const int socket = OwnSocket();
    const int fd = socket < 0 ? -1 : fcntl(socket, closeOnExec ? F_DUPFD_CLOEXEC : F_DUPFD, 0);
    if (fd < 0) {
        return -1;
    }
    const int err = TheCarrier().open();
    if (err != 0) {
        close(fd);
        errno = err;
        return -1;
    }
    return fd;
}

} // namespace orxemu

// Copies of the socket that this process has opened, and not those that it has inherited.
int orxemu_openDescriptors() {
    using orxemu::ownSocket;
    struct stat own = {};
    if (ownSocket < 0 || fstat(ownSocket, &own) != 0) {
        return 0;
    }
    DIR *folder = opendir("/proc/self/fd");
    if (folder == nullptr) {
        return 0;
    }
    int open = 0;
    while (const dirent *entry = readdir(folder)) {
        const int fd = std::atoi(entry->d_name);
        struct stat other = {};
        const bool isCopy = fd != ownSocket && fstat(fd, &other) == 0 && other.st_dev == own.st_dev &&
                            other.st_ino == own.st_ino;
        open += isCopy ? 1 : 0;
    }
    closedir(folder);
    return open;
}

void orxemu::ForgetSocket() {
    if (ownSocket >= 0 && TheCarrier().isDevice(ownSocket)) {
        close(ownSocket);
    }
    ownSocket = -1;
}
