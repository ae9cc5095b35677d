// What a call must have done: fuzz/changes.h says what it may change at most, this says what it comes to.
//
// For each operation a row (fuzz/effects_*.cpp) says what an accepted call makes of the object that it names:
// the object as it was before, with that done to it, has to be the object as it is now. The row of a call
// that reads says where the bytes that it gave are stored. A few refusals have rows too: what they leave
// behind, or what must have been the case for them.
#ifndef FUZZ_EFFECTS_H
#define FUZZ_EFFECTS_H

#include "fuzz/call.h"

#include <span>

namespace fuzz {

// A call, and the context around it.
struct Moment {
    const qir::QirCtxt &start; // as start-up leaves it
    const qir::QirCtxt &before;
    const qir::QirCtxt &now;
    const Call &call;
};

struct Effect {
    const char *name; // of the operation
    u32 rc;
    Complaint (*check)(const Moment &);
};

std::span<const Effect> SystemEffects();
std::span<const Effect> TableEffects();
std::span<const Effect> FlowEffects();
std::span<const Effect> RequestEffects();

// The row of an operation and a code; null when there is none.
const Effect *FindEffect(const std::string &name, u32 rc);

// An accepted call has a row, unless it is none of a public operation: its name begins with a bracket.
Complaint CheckEffect(const Moment &moment);

} // namespace fuzz

#endif
