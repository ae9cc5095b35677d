// The device of one process that is in no session, and what tests ask it. The process's socket leads nowhere: it
// has a name that begins like no other's.
#include "emu/device/device.h"
#include "emu/preload/caller_memory.h"
#include "emu/preload/carrier.h"
#include "emu/preload/descriptors.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace orxemu {

namespace {

constinit Device device = {};

// The log is static, so that it needs no heap and a pointer into it stays good. Its pages are not touched
// before requests fill them. One entry more for the requests that are not kept.
constexpr size_t kMaxKept = ORXEMU_MAX_LOG;
constinit OrxEmuRequest entries[kMaxKept + 1] = {};
constinit size_t numRequests = 0;

// --- The socket

constexpr char kMark[] = "orxemu-device-";
constexpr size_t kMarkSize = sizeof kMark - 1;

// Names without a file begin with a zero. A program that executes another may leave it a socket of its number.
int Connect() {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    static constinit unsigned next = 0;
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    int result = fd;
    do {
        std::snprintf(name.sun_path + 1, sizeof name.sun_path - 1, "%s%d-%u", kMark,
                      static_cast<int>(getpid()), next++);
        result = fd < 0 ? fd : bind(fd, reinterpret_cast<const sockaddr *>(&name), sizeof name);
    } while (result != 0 && errno == EADDRINUSE);
    if (fd >= 0 && result != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

bool IsDevice(int fd) {
    sockaddr_un name;
    socklen_t size = sizeof name;
    return getsockname(fd, reinterpret_cast<sockaddr *>(&name), &size) == 0 && size == sizeof name &&
           name.sun_path[0] == '\0' && std::memcmp(name.sun_path + 1, kMark, kMarkSize) == 0;
}

int Open(int /*socket*/) {
    return device.Open().err;
}

// --- Requests

// Who has linked the stand-in can ask for the log, and nobody else.
bool IsPreloaded() {
    static const bool isPreloaded = [] {
        const char *list = std::getenv("LD_PRELOAD");
        return list != nullptr && std::strstr(list, "liborxemu") != nullptr;
    }();
    return isPreloaded;
}

void Keep(const Request &request, const Answer &answer) {
    OrxEmuRequest &entry = entries[numRequests < kMaxKept ? numRequests : kMaxKept];
    ++numRequests;
    if (!IsPreloaded()) {
        Record(request, answer, entry);
    }
}

int Serve(int /*fd*/, const Call &call) {
    uint8_t fcb[ORXEMU_FCB_BYTES];
    const Request request = {
        call.number, call.isRead ? call.copy : nullptr,
        call.fcb != nullptr ? static_cast<const uint8_t *>(Reach(call.fcb, fcb, sizeof fcb)) : nullptr,
        call.canAnswer};
    const Answer answer = device.Serve(request);
    Keep(request, answer);
    if (answer.size != 0) { // and then the record can be written there
        std::memcpy(static_cast<uint8_t *>(call.record) + answer.offset, answer.bytes, answer.size);
    }
    return answer.err;
}

void Arm(FaultKind kind, int request, unsigned nth, int err) {
    const Turn turn;
    ArmFault(device.faults, kind, request, nth, err);
}

} // namespace

constinit const Carrier kInProcess = {Connect, IsDevice, Open, Serve};

} // namespace orxemu

using orxemu::device;

void orxemu_reset() {
    const orxemu::Turn turn;
    std::memset(static_cast<void *>(&device), 0, sizeof device);
    orxemu::numRequests = 0;
}

const OrxEmuState *orxemu_state() {
    return &device.state;
}

int orxemu_addHits(uint32_t flowIdx, uint32_t counter, uint32_t count) {
    const orxemu::Turn turn;
    return device.AddHits(flowIdx, counter, count) ? 0 : -1;
}

size_t orxemu_numRequests() {
    return orxemu::numRequests;
}

const OrxEmuRequest *orxemu_request(size_t i) {
    return i < orxemu::numRequests && i < orxemu::kMaxKept ? &orxemu::entries[i] : nullptr;
}

void orxemu_clearLog() {
    const orxemu::Turn turn;
    orxemu::numRequests = 0;
}

int orxemu_openDescriptors() {
    return orxemu::CountOpen();
}

size_t orxemu_numOpens() {
    return device.numOpens;
}

void orxemu_setPresent(int present) {
    const orxemu::Turn turn;
    device.isMissing = present == 0 ? 1 : 0;
}

void orxemu_failOpen(unsigned nth, int err) {
    orxemu::Arm(orxemu::FaultKind::FailOpen, 0, nth, err);
}

void orxemu_failRequest(int request, unsigned nth, int err) {
    orxemu::Arm(orxemu::FaultKind::FailRequest, request, nth, err);
}

void orxemu_loseAnswer(int request, unsigned nth, int err) {
    orxemu::Arm(orxemu::FaultKind::LoseAnswer, request, nth, err);
}
