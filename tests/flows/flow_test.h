// What the tests of flows share: flows and tables in every state, calls with what they print, and the fields
// of the context that a call changed.
#ifndef TESTS_FLOWS_FLOW_TEST_H
#define TESTS_FLOWS_FLOW_TEST_H

#include "qirapi/access/flow_access.h"
#include "qirapi/driver/driver.h"
#include "qirapi/private/fcb.h"
#include "qirapi/private/fwd_info.h"
#include "qirapi/private/headers.h"
#include "qirapi/private/req_list.h"
#include "tests/support/library.h"

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace flows {

using qir::Fcb;
using qir::ReqNode;
using qir::u16;
using qir::u32;
using qir::u8;
using test::Assertion;
using test::CaptureMasked;
using test::CodeLine;
using test::ContextSnapshot;
using test::Dbg;
using test::Err;
using test::Inf;
using test::RaiseLog;
using test::Refusal;
using test::RetVal;

constexpr u32 kFill32 = 0xA5A5A5A5;
constexpr u16 kFill16 = 0xA5A5;

class FlowTest : public test::LibraryTest {};

// ---- calls ----------------------------------------------------------------------------------------

using Op = std::function<u32()>;

struct Called {
    u32 rc = 0;
    std::string out; // masked standard output
    std::string err; // standard error
};
Called Call(const Op &op);

// The call ends with `rc` and prints `out` (masked); standard error stays empty.
void ExpectCall(const Op &op, u32 rc, const std::string &out);
// The same, and no byte of the context changes and no request reaches the driver.
void ExpectRefused(const Op &op, u32 rc, const std::string &out);

// What a flow operation prints when it refuses a handle.
std::string HdlOutOfRange(const std::string &fn, unsigned id);
std::string HdlFree(const std::string &fn, unsigned id);

// ---- changed bytes --------------------------------------------------------------------------------

struct Span {
    std::size_t first;
    std::size_t size;
};
// Place of a field of the context.
template <class Field> Span Place(const Field &field) {
    const auto *base = reinterpret_cast<const unsigned char *>(qirCtxt_gp);
    return {static_cast<std::size_t>(reinterpret_cast<const unsigned char *>(&field) - base), sizeof field};
}
// No byte outside of these fields has changed.
::testing::AssertionResult ChangedOnlyIn(const ContextSnapshot &before, std::initializer_list<Span> spans);

// ---- flows and tables -----------------------------------------------------------------------------

Fcb &FcbOf(FlowHdl hdl);
// A new flow in the state ALLOC, CFG or ACTIVE.
FlowHdl FlowIn(u32 status, u32 section = 1);
// A new PAC table in the state ALLOC, CFG or ACTIVE.
PacTblHdl PacIn(u32 status);
qir::PacTblInfo &PacOf(PacTblHdl hdl);
// EP tables cannot be allocated: gives one a state by hand.
EpTblHdl EpIn(unsigned idx, u32 status, u32 hwTblIdx = 0xFFFFFFFF);
qir::EpTblInfo &EpOf(EpTblHdl hdl);

// A forwarding record that is accepted: from port 1 to port 0 on queue 3, priority 4, learning.
FwdInfo PlainFwd();

inline FlowHdr FilterHdr(u32 hdr) {
    return {e_BLKTYPE_FILTER, hdr};
}
inline FlowHdr ActionHdr(u32 hdr) {
    return {e_BLKTYPE_ACTION, hdr};
}
// Allocates headers in an FCB, which keeps its status; fails the test when one is refused.
void AllocHdrs(Fcb &fcb, u32 blk, std::initializer_list<u32> hdrs);

// Takes request nodes until `left` are free.
void DrainPool(Fcb &fcb, unsigned left);

std::vector<u8> BytesOf(const Fcb &fcb);

// ---- driver ---------------------------------------------------------------------------------------

// The last request that reached the driver; fails the test when there is none.
const OrxEmuRequest &LastRequest();
u32 WordAt(const u8 *bytes, std::size_t offset);

} // namespace flows

#endif
