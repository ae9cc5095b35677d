// What the stand-in holds, beside what the shadow calls ACTIVE.
//
// The two sides are alike after a call that the driver answers. They may differ after a call that the driver
// fails, and after start-up, which clears the shadow and not the hardware. Such differences are known until both
// sides are alike again. Any other difference is a complaint.
#ifndef FUZZ_HARDWARE_H
#define FUZZ_HARDWARE_H

#include "emu/orxemu.h"
#include "fuzz/changes.h"

#include <map>

namespace fuzz {

class TwoSides {
  public:
    // Complains of what must not differ after the call. No flow and no slot from `numFlows` on is in use.
    void Check(const qir::QirCtxt &ctxt, const OrxEmuState &hardware, const Call &call,
               u32 numFlows = QIR_MAX_FLOWS);

  private:
    std::map<std::string, const char *> known_; // what differs, and how
};

} // namespace fuzz

#endif
