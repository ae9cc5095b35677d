// The request nodes of a flow: who is on which list, and what the counts say. Where on its list a request
// stands and what it holds is looked at behind the call that adds it (fuzz/stored_requests.h).
#ifndef FUZZ_REQUEST_LISTS_H
#define FUZZ_REQUEST_LISTS_H

#include "fuzz/past.h"

namespace fuzz {

// Every node names itself and two neighbours that name it back, so that all 32 lie on rings. The ring of node
// 0 is the free list; each header has a ring of its own, headed by the node that its entry names; a header
// whose entry was laid over by another one leaves its ring behind. There are no other rings.
Complaint CheckLists(const qir::Fcb &fcb, const FlowPast &past);

} // namespace fuzz

#endif
