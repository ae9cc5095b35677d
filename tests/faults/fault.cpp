#include "tests/faults/fault.h"

#include "emu/orxemu.h"

#include <cerrno>
#include <cstdio>

namespace faults {

const Fault kFaults[kNumFaults] = {
    {"opening fails", [](unsigned nth) { orxemu_failOpen(nth, EACCES); }, false, false, EACCES},
    {"request fails", [](unsigned nth) { orxemu_failRequest(0, nth, EIO); }, true, false, EIO},
    {"answer is lost", [](unsigned nth) { orxemu_loseAnswer(0, nth, EINTR); }, true, true, EINTR},
};

std::string LinesOf(const Fault &fault, int request) {
    return fault.isSeen ? RefusalLines(request)
                        : "qel_dev_open </dev/pktorx> error no " + std::to_string(fault.err) + "\n";
}

std::string RefusalLines(int request) {
    return "pktOrxDevIoctl <" + std::to_string(request) + "> error\n";
}

void PrintInjected(unsigned number) {
    std::printf("faults injected: %u\n", number);
}

} // namespace faults
