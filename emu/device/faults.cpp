#include "emu/device/faults.h"

#include <algorithm>
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

bool IsOpenFault(const Fault &fault) {
    return fault.kind == FaultKind::FailOpen;
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

bool HasOpenFaults(const FaultList &list) {
    return std::any_of(list.faults, list.faults + list.num, IsOpenFault);
}

Fault TakeOpenFault(FaultList &list) {
    return Take(list, IsOpenFault);
}

Fault TakeRequestFault(FaultList &list, int request) {
    return Take(list, [request](const Fault &fault) {
        return fault.kind != FaultKind::FailOpen && (fault.request == 0 || fault.request == request);
    });
}

} // namespace orxemu
