// Faults that tests and the tool arm. Every call that a fault is about counts it down; it fires once.
#ifndef EMU_DEVICE_FAULTS_H
#define EMU_DEVICE_FAULTS_H

#include "emu/orxemu.h"

namespace orxemu {

enum class FaultKind : uint32_t { None, FailOpen, FailRequest, LoseAnswer };

struct Fault {
    FaultKind kind;
    int32_t request; // 0: any number
    uint32_t left;
    int32_t err;
};

// Armed faults in the order of arming.
struct FaultList {
    Fault faults[ORXEMU_MAX_FAULTS];
    uint32_t num;
};

// Does nothing when `nth` is 0; ends the program when the list is full.
void ArmFault(FaultList &list, FaultKind kind, int request, unsigned nth, int err);

// Whether an opening is to fail.
bool HasOpenFaults(const FaultList &list);

// The fault that this opening or request meets, or one of kind None.
Fault TakeOpenFault(FaultList &list);
Fault TakeRequestFault(FaultList &list, int request);

} // namespace orxemu

#endif
