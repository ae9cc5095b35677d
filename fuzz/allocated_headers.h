// What the allocation of a header makes of its flow, byte by byte: as with requests (fuzz/stored_requests.h),
// from the flow as it was.
#ifndef FUZZ_ALLOCATED_HEADERS_H
#define FUZZ_ALLOCATED_HEADERS_H

#include "fuzz/call.h"

namespace fuzz {

// A call that allocates a header, accepted or refused. `before` and `now`: the flow that it named.
Complaint CheckHdrAllocation(const qir::Fcb &before, const qir::Fcb &now, const Call &call);

} // namespace fuzz

#endif
