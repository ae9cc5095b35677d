// Any bytes as a sequence of public calls, with the driver failing at times and every call looked at.
//
// A byte chooses what comes next: one of the public operations, whose arguments the following bytes give, or
// something that is no call (a fault of the driver, a log level, ...).
#ifndef FUZZ_PUBLIC_CALLS_H
#define FUZZ_PUBLIC_CALLS_H

#include "fuzz/input.h"

#include <functional>
#include <span>

namespace fuzz {

struct Operation {
    const char *name;
    // Makes the call with arguments of the input and tells what it was about.
    void (*run)(Input &in, Call &call);
};

std::span<const Operation> SystemOperations();
std::span<const Operation> TableOperations();
std::span<const Operation> FlowOperations();
std::span<const Operation> RequestOperations();

// Runs a sequence on the context and the stand-in as they are at start-up. What is wrong behind which call,
// or nothing. `observe` sees every call that was found right.
Complaint RunSequence(const u8 *bytes, std::size_t size,
                      const std::function<void(const Call &)> &observe = {});

// A handle as the caller has it: null rarely.
template <class Hdl> struct Handle {
    Hdl value;
    bool isNull;
    Hdl *Ptr() { return isNull ? nullptr : &value; }
};

// The first few indexes are met most; the last, the first beyond and other bits of the word at times. What
// the handle names is written to the call, if it names anything.
Handle<FlowHdl> TakeFlow(Input &in, Call &call);

template <class Kind> Handle<typename Kind::Hdl> TakeTable(Input &in, Call &call, TblKind kind) {
    const u8 lead = in.Byte();
    const u32 edges[] = {Kind::kPoolSize - 1, Kind::kPoolSize, 0xFF, Kind::kPoolSize - 2};
    const u32 id = lead < 0xC0 ? lead % 4u : lead < 0xE0 ? lead % Kind::kPoolSize : edges[lead % 4];
    Handle<typename Kind::Hdl> hdl{};
    hdl.value.word = lead * 0x01010100u | id;
    hdl.value.f1.id = id & 0xFF;
    hdl.isNull = lead >= 0xF8;
    call.tblKind = kind;
    call.table = !hdl.isNull && id < Kind::kPoolSize ? id : kNone;
    return hdl;
}

} // namespace fuzz

#endif
