// Faults that tests arm. Every call that a fault is about counts it down; it fires once.
#ifndef EMU_FAULTS_H
#define EMU_FAULTS_H

namespace orxemu {

enum class FaultKind { None, FailOpen, FailRequest, LoseAnswer };

struct Fault {
    FaultKind kind;
    int request; // 0: any number
    unsigned left;
    int err;
};

// Errno of the fault that this opening meets, or 0.
int TakeOpenFault();
// The fault that this request meets, or one of kind None.
Fault TakeRequestFault(int request);

void ResetFaults();

} // namespace orxemu

#endif
