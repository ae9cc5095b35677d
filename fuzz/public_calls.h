// Reads any bytes as a sequence of public calls, makes the driver fail at times, and checks every call.
//
// A byte chooses what comes next: a public operation, whose arguments the following bytes give, or something that
// is no call (a fault of the driver, a log level, ...).
#ifndef FUZZ_PUBLIC_CALLS_H
#define FUZZ_PUBLIC_CALLS_H

#include "fuzz/changes.h"
#include "fuzz/input.h"

#include <functional>
#include <span>

namespace fuzz {

struct Operation {
    const char *name;
    const Changes &changes;
    // Makes the call with arguments of the input and tells what it was about.
    void (*run)(Input &in, Call &call);
};

// Operations that are chosen as often as the weight of their family says.
constexpr u32 kAllWeights = 32;
struct Family {
    u32 weight;
    std::span<const Operation> operations;
};

std::span<const Family> Families();

// Runs a sequence on the context and the stand-in as they are at start-up. Returns the last calls and what is
// wrong after them, or nothing. `observe` sees every call that was right.
std::string RunSequence(const u8 *bytes, std::size_t size,
                        const std::function<void(const Call &)> &observe = {});

} // namespace fuzz

#endif
