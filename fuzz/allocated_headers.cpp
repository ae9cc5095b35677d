#include "fuzz/allocated_headers.h"

#include "fuzz/stored_requests.h"
#include "qirapi/access/request_kinds.h"

#include <algorithm>
#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

// What is reset of one entry. `entry` lies in the FCB.
struct Reset {
    u32 blk;
    u32 hdr;
    u32 entry;
    u32 counters;    // bytes behind the entry that are cleared
    bool keepsCount; // the number of requests stays as it was
};

template <class Kind> constexpr Reset ResetOf(u32 hdr, u32 tag = 0, bool keepsCount = false) {
    constexpr bool kFilter = __is_same(typename Kind::Blk, FilterBlk);
    const u32 blk = kFilter ? offsetof(Fcb, filterBlk) : offsetof(Fcb, actionBlk);
    return {kFilter ? e_BLKTYPE_FILTER : e_BLKTYPE_ACTION, hdr, blk + Kind::Entry(tag),
            kFilter ? e_CMP_MAX * Kind::kNumTypes : 0, keepsCount};
}

// A row for each entry, with a node for each row: IPv4 takes those of TCP and UDP along. VLAN tags 2 and 3
// lie on what follows the two VLAN entries. MPLS takes a node and has no entry.
constexpr Reset kResets[] = {
    ResetOf<EthFilterKind>(e_FLOWHDR_ETH),
    ResetOf<VlanFilterKind>(e_FLOWHDR_VLAN0, 0),
    ResetOf<VlanFilterKind>(e_FLOWHDR_VLAN1, 1),
    ResetOf<VlanFilterKind>(e_FLOWHDR_VLAN2, 2),
    ResetOf<VlanFilterKind>(e_FLOWHDR_VLAN3, 3),
    ResetOf<PppoeFilterKind>(e_FLOWHDR_PPPOE),
    ResetOf<Ipv4FilterKind>(e_FLOWHDR_IPV4),
    ResetOf<TcpFilterKind>(e_FLOWHDR_IPV4),
    ResetOf<UdpFilterKind>(e_FLOWHDR_IPV4),
    ResetOf<EthActionKind>(e_FLOWHDR_ETH),
    ResetOf<VlanActionKind>(e_FLOWHDR_VLAN0, 0),
    ResetOf<VlanActionKind>(e_FLOWHDR_VLAN1, 1),
    ResetOf<VlanActionKind>(e_FLOWHDR_VLAN2, 2),
    ResetOf<VlanActionKind>(e_FLOWHDR_VLAN3, 3),
    ResetOf<PppoeActionKind>(e_FLOWHDR_PPPOE, 0, true),
    ResetOf<Ipv4ActionKind>(e_FLOWHDR_IPV4),
    ResetOf<TcpActionKind>(e_FLOWHDR_IPV4),
    ResetOf<UdpActionKind>(e_FLOWHDR_IPV4),
};

void Apply(Fcb &fcb, const Reset &reset, u32 node) {
    u8 *const bytes = reinterpret_cast<u8 *>(&fcb) + reset.entry;
    HdrEntry entry;
    std::memcpy(&entry, bytes, sizeof entry);
    entry = {reset.keepsCount ? entry.reqCount : u16{0}, static_cast<u16>(node), 0};
    std::memcpy(bytes, &entry, sizeof entry);
    std::memset(bytes + sizeof entry, 0, reset.counters);
}

// The entries of the header, each with a node, as far as there are nodes. False when they run out.
bool ResetEntries(Fcb &fcb, const Call &call, u32 node) {
    for (const Reset &reset : kResets) {
        if (reset.blk != call.blk || reset.hdr != call.hdr) {
            continue;
        }
        node = node == kNone ? TakeNode(fcb) : node;
        if (node == kNone) {
            return false;
        }
        Apply(fcb, reset, node);
        node = kNone;
    }
    return true;
}

// The flow behind the allocation; false when it lacked a node, or the header was there.
bool Allocate(Fcb &fcb, const Call &call) {
    const bool filter = call.blk == e_BLKTYPE_FILTER;
    u16 &hdrBmap = filter ? fcb.filterBlk.hdrBmap : fcb.actionBlk.hdrBmap;
    if (IsHdrSet(hdrBmap, call.hdr)) {
        return false;
    }
    const u32 node = TakeNode(fcb);
    if (node == kNone) {
        return false;
    }
    hdrBmap = static_cast<u16>(hdrBmap | 1u << call.hdr);
    if (call.hdr >= e_FLOWHDR_VLAN0 && call.hdr <= e_FLOWHDR_VLAN3) {
        (filter ? fcb.filterBlk.totalTags : fcb.actionBlk.totalTags) = static_cast<u8>(call.hdr);
    }
    return ResetEntries(fcb, call, node);
}

} // namespace

Complaint CheckHdrAllocation(const Fcb &before, const Fcb &now, const Call &call) {
    if (call.doing != Doing::AllocHdr) {
        return {};
    }
    Fcb expected = before;
    if (call.rc == e_RET_OK || call.rc == e_RET_ERR_RESRC_UNAVAIL) {
        if (call.blk > e_BLKTYPE_ACTION || call.hdr >= e_FLOWHDR_MAX) {
            return "allocated a header that there is not";
        }
        const bool allocated = Allocate(expected, call);
        if (allocated != (call.rc == e_RET_OK)) {
            return allocated ? "there was a node for the header" : "there was none for the header";
        }
        expected.status = allocated ? u32{e_STATUS_CFG} : expected.status;
    }
    const u8 *const begin = reinterpret_cast<const u8 *>(&expected);
    const u8 *const at =
        std::mismatch(begin, begin + sizeof expected, reinterpret_cast<const u8 *>(&now)).first;
    return at == begin + sizeof expected
               ? Complaint{}
               : "not as the allocation of the header leaves it: byte " + std::to_string(at - begin);
}

} // namespace fuzz
