// What the stand-in holds, beside what the shadow calls ACTIVE.
//
// A call that the driver answers leaves the two sides alike. They part where the driver fails and at start-up,
// which forgets everything in the shadow and nothing in the hardware: what differs behind such a call is known
// from then on, until it is alike again. Nothing else may differ.
#ifndef FUZZ_HARDWARE_H
#define FUZZ_HARDWARE_H

#include "emu/orxemu.h"
#include "fuzz/changes.h"

#include <map>

namespace fuzz {

class TwoSides {
  public:
    // Complains of what differs behind a call, and must not. Flows and slots from `numFlows` on are known not to
    // be in use.
    void Check(const qir::QirCtxt &ctxt, const OrxEmuState &hardware, const Call &call,
               u32 numFlows = QIR_MAX_FLOWS);

  private:
    std::map<std::string, const char *> known_; // what differs, and how
};

} // namespace fuzz

#endif
