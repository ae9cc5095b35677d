#include "emu/device/own.h"

#include <cstdlib>
#include <cstring>

namespace orxemu {

namespace {

constinit Device device = {};

// The log is static, so that it needs no heap and a pointer into it stays good. Its pages are not touched
// before requests fill them. One entry more for the requests that are not kept.
constexpr size_t kMaxKept = ORXEMU_MAX_LOG;
constinit OrxEmuRequest entries[kMaxKept + 1] = {};
constinit size_t numRequests = 0;

// Only a program that has linked the stand-in can ask for the log.
bool IsPreloaded() {
    static const bool isPreloaded = [] {
        const char *list = std::getenv("LD_PRELOAD");
        return list != nullptr && std::strstr(list, "liborxemu") != nullptr;
    }();
    return isPreloaded;
}

void Arm(FaultKind kind, int request, unsigned nth, int err) {
    ArmFault(device.faults, kind, request, nth, err);
}

} // namespace

Device &OwnDevice() {
    return device;
}

void KeepInLog(const Request &request, const Answer &answer) {
    if (!IsPreloaded()) {
        Record(request, answer, entries[numRequests < kMaxKept ? numRequests : kMaxKept]);
    }
    ++numRequests;
}

} // namespace orxemu

using orxemu::device;

void orxemu_reset() {
    std::memset(static_cast<void *>(&device), 0, sizeof device);
    orxemu::numRequests = 0;
}

const OrxEmuState *orxemu_state() {
    return &device.state;
}

int orxemu_addHits(uint32_t flowIdx, uint32_t counter, uint32_t count) {
    return device.AddHits(flowIdx, counter, count) ? 0 : -1;
}

size_t orxemu_numRequests() {
    return orxemu::numRequests;
}

const OrxEmuRequest *orxemu_request(size_t i) {
    return i < orxemu::numRequests && i < orxemu::kMaxKept ? &orxemu::entries[i] : nullptr;
}

void orxemu_clearLog() {
    orxemu::numRequests = 0;
}

size_t orxemu_numOpens() {
    return device.numOpens;
}

void orxemu_setPresent(int present) {
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
