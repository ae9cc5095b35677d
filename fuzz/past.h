// What the invariants have to know of a context's past.
//
// Most of what has to hold can be seen in the context alone. A few intended oddities leave a state that only
// its history explains; each is one number here, and the invariants then hold exactly:
//
//   drift          QIR_Set_PacInfo and QIR_Set_EpInfo store the table handle before they look whether
//                  the flow is associated already. A flow whose handle was replaced while it was associated counts in
//                  the table that it was associated with, and is taken off the one that its handle names, be
//                  that FREE by now. An allocation makes the count 0, whoever names the table.
//   onFreeList     The entry of VLAN tag 3 in the filter block lies two bytes behind that of IPv4. Allocated
//                  behind it, it makes node 0 the head of the IPv4 list, which is the free list's: an IPv4
//                  filter is then a node of the free list that the count of free nodes does not count.
//   ipv4Before     What the IPv4 filter entry had counted then.
//   ipv4Missing    The counters of VLAN tag 2 in the filter block end in the request count of IPv4. Allocated
//                  behind it, tag 2 clears the count of the requests that the IPv4 list has.
//   strays         TCP and UDP entries of an IPv4 header that found no node for them have no list. When free
//                  nodes come back (onFreeList), a request for them takes a node that is on no list.
#ifndef FUZZ_PAST_H
#define FUZZ_PAST_H

#include "fuzz/call.h"

#include <array>

namespace fuzz {

struct FlowPast {
    u16 onFreeList;
    u16 ipv4Before;
    u16 ipv4Missing;
    u16 strays;
};

struct Past {
    std::array<FlowPast, QIR_MAX_FLOWS> flow{};
    // refCnt minus the flows whose association names the table, of EP and PAC tables.
    std::array<i32, QIR_EPTBL_MAXNUM> epDrift{};
    std::array<i32, QIR_PACTBL_MAXNUM> pacDrift{};

    // Takes note of a call. `before` is the FCB that it named as it was, null when it named none.
    void Note(const qir::QirCtxt &ctxt, const Call &call, const qir::Fcb *before);
};

// Nodes behind the head `head` on its list; 0 for a head outside the pool.
u32 NumMembers(const qir::Fcb &fcb, u16 head);

} // namespace fuzz

#endif
