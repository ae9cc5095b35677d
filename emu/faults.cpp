#include "emu/faults.h"

#include "emu/hardware.h"
#include "emu/session.h"

#include <cstdlib>

namespace orxemu {

namespace {

// Counts down the faults that concern the call and takes out those that fall due; the first of them decides.
template <class Concerns> Fault Take(FaultList &list, Concerns concerns) {
    Fault due = {FaultKind::None, 0, 0, 0};
    uint32_t kept = 0;
    for (uint32_t i = 0; i < list.num; ++i) {
        Fault fault = list.faults[i];
        if (concerns(fault) && --fault.left == 0) {
            due = due.kind == FaultKind::None ? fault : due;
        } else {
            list.faults[kept++] = fault;
        }
    }
    list.num = kept;
    return due;
}

void Arm(FaultKind kind, int request, unsigned nth, int err) {
    const HardwareLock lock;
    if (!lock.isHeld()) {
        return;
    }
    ArmFault(TheHardware().faults, kind, request, nth, err);
}

} // namespace

void ArmFault(FaultList &list, FaultKind kind, int request, unsigned nth, int err) {
    if (nth == 0) {
        return;
    }
    if (list.num == ORXEMU_MAX_FAULTS) {
        std::abort();
    }
    list.faults[list.num++] = {kind, request, nth, err};
}

int TakeOpenFault(FaultList &list) {
    return Take(list, [](const Fault &fault) { return fault.kind == FaultKind::FailOpen; }).err;
}

Fault TakeRequestFault(FaultList &list, int request) {
    return Take(list, [request](const Fault &fault) {
        return fault.kind != FaultKind::FailOpen && (fault.request == 0 || fault.request == request);
    });
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
