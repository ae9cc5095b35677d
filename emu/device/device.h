// The hardware and its driver as one object: what it holds, what it accepts, what it answers.
//
// No descriptors, threads or processes here. A carrier fetches a request from the program that makes it, has
// it served, and takes the answer back: emu/preload/ within one process, emu/server/ for all processes of a
// session. One request is served at a time; its carrier sees to that.
#ifndef EMU_DEVICE_DEVICE_H
#define EMU_DEVICE_DEVICE_H

#include "emu/device/faults.h"
#include "emu/orxemu.h"
#include "qirapi/driver/request_table.h"

namespace orxemu {

// A request as its carrier brings it, with what the carrier could fetch of it.
struct Request {
    int number = 0;
    const uint8_t *record = nullptr; // as long as the request table says; null when it cannot be read
    const uint8_t *fcb = nullptr;    // ORXEMU_FCB_BYTES; null when it cannot be read or none was fetched
    bool canAnswer = false;          // whether the record can be written where the driver answers
};

// The FCB's address when the carrier has to fetch one: for a flow request that names the right size. Else 0.
uint32_t FcbAddressIn(const qir::RequestInfo &row, const uint8_t *record);

constexpr uint32_t kMaxAnswer = 36; // the hits of a flow

struct Answer {
    int err = 0;                       // errno, 0 when the request was accepted
    FaultKind fault = FaultKind::None; // that the request met
    bool tookFcb = false;              // the FCB was copied, also when the request was then refused
    size_t offset = 0;                 // in the record, of what the driver writes
    size_t size = 0;                   // of it; 0 when the hardware did not take the request or has no answer
    uint8_t bytes[kMaxAnswer] = {};
};

// All zero is the power-on state.
struct Device {
    OrxEmuState state;
    FaultList faults;
    uint32_t isMissing; // 1: the device node is not there
    uint32_t numOpens;  // openings that succeeded

    // An opening of the device: the errno and the fault that it met, if any.
    Answer Open();
    // What emu/orxemu.h says of each request. A refused request, and one whose answer cannot be written, changes
    // nothing but the faults' counts.
    Answer Serve(const Request &request);
    // Adds to hit counter 0 to 7 of a flow; false when the flow is not active or there is no such counter.
    bool AddHits(uint32_t flowIdx, uint32_t counter, uint32_t count);
};

// The log's entry of a request and its answer; `entry` is overwritten.
void Record(const Request &request, const Answer &answer, OrxEmuRequest &entry);

} // namespace orxemu

#endif
