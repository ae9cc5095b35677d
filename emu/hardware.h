// The hardware: what it holds, what it counts, and the faults that are armed in it.
//
// It is this process's own, or, in a session, in memory that several processes share (emu/session.h). Its
// layout is the same for 32-bit and 64-bit programs of one byte order.
#ifndef EMU_HARDWARE_H
#define EMU_HARDWARE_H

#include "emu/faults.h"
#include "emu/orxemu.h"

namespace orxemu {

struct Hardware {
    OrxEmuState state;
    FaultList faults;
    uint32_t missing;  // 1: the device node is not there
    uint32_t numOpens; // openings that succeeded
};

// All zero is the power-on state.
Hardware &TheHardware();
// From here on `hardware` is the one that requests go to.
void UseHardware(Hardware &hardware);

} // namespace orxemu

#endif
