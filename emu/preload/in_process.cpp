// The device of a process that is in no session. Its socket is connected to nothing; it is known by its name.
#include "emu/device/own.h"
#include "emu/preload/caller_memory.h"
#include "emu/preload/carrier.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace orxemu {

namespace {

constexpr char kMark[] = "orxemu-device-";
constexpr size_t kMarkSize = sizeof kMark - 1;

// Names without a file begin with a zero. A program that executes another keeps its process number, so that an
// inherited socket may have this name already.
int Connect() {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    for (unsigned n = 0; fd >= 0; ++n) {
        std::snprintf(name.sun_path + 1, sizeof name.sun_path - 1, "%s%d-%u", kMark,
                      static_cast<int>(getpid()), n);
        if (bind(fd, reinterpret_cast<const sockaddr *>(&name), sizeof name) == 0) {
            return fd;
        }
        if (errno != EADDRINUSE) {
            close(fd);
            break;
        }
    }
    return -1;
}

bool IsDevice(int fd) {
    sockaddr_un name;
    socklen_t size = sizeof name;
    return getsockname(fd, reinterpret_cast<sockaddr *>(&name), &size) == 0 && size == sizeof name &&
           name.sun_path[0] == '\0' && std::memcmp(name.sun_path + 1, kMark, kMarkSize) == 0;
}

int Open() {
    return OwnDevice().Open().err;
}

int Serve(const Call &call) {
    uint8_t copy[ORXEMU_FCB_BYTES];
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the wire carries the address as a word
    const auto *fcb = reinterpret_cast<const void *>(std::uintptr_t{call.fcb});
    fcb = fcb != nullptr ? Reach(fcb, copy, sizeof copy) : nullptr;
    const Request request = {call.number, call.bytes, static_cast<const uint8_t *>(fcb), call.canAnswer};
    const Answer answer = OwnDevice().Serve(request);
    KeepInLog(request, answer);
    if (answer.size != 0) { // and then the record can be written
        std::memcpy(call.record + answer.offset, answer.bytes, answer.size);
    }
    return answer.err;
}

} // namespace

constinit const Carrier kInProcess = {Connect, IsDevice, Open, Serve};

} // namespace orxemu
