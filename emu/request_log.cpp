#include "emu/request_log.h"

#include <cstring>

namespace orxemu {

namespace {

// Static, so that the log needs no heap and a pointer into it stays good. Its pages are not touched before
// requests fill them. One entry more for the requests that are not kept.
constinit OrxEmuRequest entries[ORXEMU_MAX_LOG + 1] = {};
constinit size_t numRequests = 0;

constexpr size_t kMaxKept = ORXEMU_MAX_LOG;

} // namespace

OrxEmuRequest &NewLogEntry() {
    OrxEmuRequest &entry = entries[numRequests < kMaxKept ? numRequests : kMaxKept];
    ++numRequests;
    std::memset(&entry, 0, sizeof entry);
    return entry;
}

} // namespace orxemu

size_t orxemu_numRequests() {
    return orxemu::numRequests;
}

const OrxEmuRequest *orxemu_request(size_t i) {
    return i < orxemu::numRequests && i < orxemu::kMaxKept ? &orxemu::entries[i] : nullptr;
}

void orxemu_clearLog() {
    orxemu::numRequests = 0;
}
