// One public call as the checks see it: what it may change, which objects it named and how it ended.
#ifndef FUZZ_CALL_H
#define FUZZ_CALL_H

#include "qirapi/private/context.h"

#include <stdexcept>
#include <string>

namespace fuzz {

using qir::i32;
using qir::u16;
using qir::u32;
using qir::u8;

// What is wrong: every check throws it.
struct Complaint : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An index that the call did not name, or named out of range.
constexpr u32 kNone = 0xFFFFFFFF;

struct Changes;

struct Call {
    const char *name;
    const Changes *changes; // fuzz/changes.h
    u32 rc = 0;
    u32 flow = kNone;
    u32 table = kNone;
    u32 epTable = kNone;  // of the flow, unless the call names another
    u32 pacTable = kNone; // likewise
    u32 index = kNone;    // port, rate-limiter direction, or rate limiter (direction by direction)
    u32 type = kNone;     // of a filter or an action
    // Where in the context the header entry lies that the call is about, or the block; and in a filter's entry
    // the counter of its type and operator.
    u32 entry = kNone;
    u32 entryBytes = 0;
    u32 counter = kNone;
    // What decides which check has refused the call.
    bool takesOperator = false; // the filter's type takes its operator
    bool isTagAction = false;   // an Ethernet action that pushes or pops
    bool isIpv4 = false;        // the IPv4 header, which takes three nodes
};

} // namespace fuzz

#endif
