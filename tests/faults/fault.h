// The ways in which a request to the driver comes to nothing for the library.
#ifndef TESTS_FAULTS_FAULT_H
#define TESTS_FAULTS_FAULT_H

#include <string>

namespace faults {

struct Fault {
    const char *name;
    void (*arm)(unsigned nth); // for the nth request from now on, counted from 1
    bool isSeen;               // the request reaches the driver
    bool isTaken;              // the hardware does what it asks for
    int err;                   // errno of the failing call; no other request of these tests meets it
};

constexpr int kNumFaults = 3;
extern const Fault kFaults[kNumFaults];

// What the driver layer prints on standard error about a request that meets the fault.
std::string LinesOf(const Fault &fault, int request);
// The same for a request that the driver itself refuses.
std::string RefusalLines(int request);

// A test says how many faults it has seen take effect.
void PrintInjected(unsigned number);

} // namespace faults

#endif
