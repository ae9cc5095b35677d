// What a call asked of the driver, and what it made of the answer.
//
// A code of 1 says that the driver failed, and nothing else says it: the device could not be opened, or the
// request was refused. A call that is accepted has asked when it had something to ask.
#ifndef FUZZ_ASKED_H
#define FUZZ_ASKED_H

#include "emu/orxemu.h"
#include "fuzz/call.h"

namespace fuzz {

struct Asked {
    std::size_t numRequests;
    const OrxEmuRequest *request; // the first; null when there was none
    bool opens;                   // the device can be opened: it is there, and no opening is to fail
};

// The code against the driver's answer, and what of the record is not seen in the stand-in's state: slots,
// tables and hit counters. `before` is the context as the call found it.
Complaint CheckAsked(const qir::QirCtxt &before, const qir::QirCtxt &now, const Call &call,
                     const Asked &asked);

// What the hardware has taken of an activation or a forwarding update is the shadow's, to the byte, when the
// call is accepted. Later on, calls may change the shadow of an ACTIVE flow.
Complaint CheckTaken(const qir::QirCtxt &now, const Call &call, const OrxEmuState &hardware,
                     const Asked &asked);

} // namespace fuzz

#endif
