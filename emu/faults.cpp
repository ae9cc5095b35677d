#include "emu/faults.h"

#include "emu/orxemu.h"

#include <cstdlib>

namespace orxemu {

namespace {

// Armed faults in the order of arming.
constinit Fault faults[ORXEMU_MAX_FAULTS] = {};
constinit int numFaults = 0;

void Arm(FaultKind kind, int request, unsigned nth, int err) {
    if (nth == 0) {
        return;
    }
    if (numFaults == ORXEMU_MAX_FAULTS) {
        std::abort();
    }
    faults[numFaults++] = {kind, request, nth, err};
}

// Counts down the faults that concern the call and takes out those that fall due; the first of them decides.
template <class Concerns> Fault Take(Concerns concerns) {
    Fault due = {FaultKind::None, 0, 0, 0};
    int kept = 0;
    for (int i = 0; i < numFaults; ++i) {
        Fault fault = faults[i];
        if (concerns(fault) && --fault.left == 0) {
            due = due.kind == FaultKind::None ? fault : due;
        } else {
            faults[kept++] = fault;
        }
    }
    numFaults = kept;
    return due;
}

} // namespace

int TakeOpenFault() {
    return Take([](const Fault &fault) { return fault.kind == FaultKind::FailOpen; }).err;
}

Fault TakeRequestFault(int request) {
    return Take([request](const Fault &fault) {
        return fault.kind != FaultKind::FailOpen && (fault.request == 0 || fault.request == request);
    });
}

void ResetFaults() {
    numFaults = 0;
}

} // namespace orxemu

void orxemu_failOpen(unsigned nth, int err) {
    orxemu::Arm(orxemu::FaultKind::FailOpen, 0, nth, err);
}

void orxemu_failRequest(int request, unsigned nth, int err) {
    orxemu::Arm(orxemu::FaultKind::FailRequest, request, nth, err);
}

void orxemu_loseAnswer(int request, unsigned nth, int err) {
    orxemu::Arm(orxemu::FaultKind::LoseAnswer, request, nth, err);
}
