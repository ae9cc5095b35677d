// What requests make of their flow, and what reading them back gives.
//
// A request passes the rules of its header one by one, and what it has passed stays behind when a later one
// refuses it: first the bit of its type, then the count of its operator. An accepted one takes the first free
// node, holds there what the caller gave, and stands last on the list of its header; no other byte of the
// flow changes. So the flow as it has to be is made here from the flow as it was, the rule tables of the
// context and the code of the call. The intended oddities need no exception: whatever lies on an entry, and
// whatever ring its head is on (fuzz/past.h), the same bytes are counted and the same ring gets the node.
// Only the values that a type accepts are not looked at.
#ifndef FUZZ_STORED_REQUESTS_H
#define FUZZ_STORED_REQUESTS_H

#include "fuzz/call.h"

#include <cstddef>

namespace fuzz {

// Does the operator table take the filter's operator for its type? Not for a type or an operator that there
// is not.
bool TakesOperator(const qir::QirCtxt &ctxt, const Call &call);
// Does an Ethernet action push or pop a tag?
bool IsTagAction(const Call &call);

// Where in the FCB the counter of the filter's type and operator lies.
std::size_t CounterOf(const Call &call);
// Takes the first node off the free list, so that it points to itself; kNone when there is none.
u32 TakeNode(qir::Fcb &fcb);

// A call that configures a filter or an action, accepted or refused. `before` and `now`: the flow that it
// named.
Complaint CheckRequest(const qir::QirCtxt &ctxt, const qir::Fcb &before, const qir::Fcb &now,
                       const Call &call);
// A call that reads filters or an action back from the flow.
Complaint CheckReadBack(const qir::Fcb &fcb, const Call &call);

} // namespace fuzz

#endif
