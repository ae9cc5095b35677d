#include "fuzz/request_lists.h"

#include "qirapi/access/request_kinds.h"

#include <cstddef>
#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

constexpr u32 kNodes = QIR_MAX_FCBREQ;
constexpr u16 kFill16 = 0xA5A5;

// One header's list. `hdr` is the header that it belongs to, `entry` lies in the FCB, `typeOffset` in a
// request.
struct List {
    const char *name;
    bool filter;
    u32 hdr;
    u32 entry;
    u32 numTypes;
    u32 typeOffset;
};

template <class Kind> constexpr List ListOf(const char *name, u32 hdr, u32 tag = 0) {
    constexpr bool kFilter = __is_same(typename Kind::Blk, FilterBlk);
    const u32 blk = kFilter ? offsetof(Fcb, filterBlk) : offsetof(Fcb, actionBlk);
    return {
        name, kFilter, hdr, blk + Kind::Entry(tag), Kind::kNumTypes, offsetof(typename Kind::Record, type)};
}

constexpr List kLists[] = {
    ListOf<EthFilterKind>("Ethernet filters", e_FLOWHDR_ETH),
    ListOf<VlanFilterKind>("filters of tag 0", e_FLOWHDR_VLAN0, 0),
    ListOf<VlanFilterKind>("filters of tag 1", e_FLOWHDR_VLAN1, 1),
    ListOf<PppoeFilterKind>("PPPoE filters", e_FLOWHDR_PPPOE),
    ListOf<Ipv4FilterKind>("IPv4 filters", e_FLOWHDR_IPV4),
    ListOf<TcpFilterKind>("TCP filters", e_FLOWHDR_IPV4),
    ListOf<UdpFilterKind>("UDP filters", e_FLOWHDR_IPV4),
    ListOf<EthActionKind>("Ethernet actions", e_FLOWHDR_ETH),
    ListOf<VlanActionKind>("actions of tag 0", e_FLOWHDR_VLAN0, 0),
    ListOf<VlanActionKind>("actions of tag 1", e_FLOWHDR_VLAN1, 1),
    ListOf<PppoeActionKind>("PPPoE actions", e_FLOWHDR_PPPOE),
    ListOf<Ipv4ActionKind>("IPv4 actions", e_FLOWHDR_IPV4),
    ListOf<TcpActionKind>("TCP actions", e_FLOWHDR_IPV4),
    ListOf<UdpActionKind>("UDP actions", e_FLOWHDR_IPV4),
};

constexpr u32 kIpv4Filters = offsetof(Fcb, filterBlk) + Ipv4FilterKind::Entry(0);
constexpr u32 kPppoeActions = offsetof(Fcb, actionBlk) + PppoeActionKind::Entry(0);

u16 HdrBmapOf(const Fcb &fcb, const List &list) {
    return list.filter ? fcb.filterBlk.hdrBmap : fcb.actionBlk.hdrBmap;
}

bool IsTcpOrUdp(const List &list) {
    return list.hdr == e_FLOWHDR_IPV4 && list.entry != kIpv4Filters &&
           list.entry != offsetof(Fcb, actionBlk) + Ipv4ActionKind::Entry(0);
}

HdrEntry EntryAt(const Fcb &fcb, u32 offset) {
    HdrEntry entry;
    std::memcpy(&entry, reinterpret_cast<const u8 *>(&fcb) + offset, sizeof entry);
    return entry;
}

std::string Node(u32 idx) {
    return "node " + std::to_string(idx);
}

Complaint CheckLinks(const Fcb &fcb) {
    for (u32 i = 0; i < kNodes; ++i) {
        const ReqNode &node = fcb.reqPool[i];
        if (node.curr != i) {
            return Node(i) + " calls itself " + std::to_string(node.curr);
        }
        if (node.next >= kNodes || node.prev >= kNodes) {
            return Node(i) + " leads out of the pool";
        }
        if (fcb.reqPool[node.next].prev != i) {
            return Node(node.next) + " does not lead back to " + Node(i);
        }
    }
    return {};
}

struct Rings {
    u32 num = 0;
    u32 of[kNodes] = {};     // ring of each node
    u32 length[kNodes] = {}; // of each ring
    bool headed[kNodes] = {};
};

// Of nodes whose links are right: each is on one ring.
Rings FindRings(const Fcb &fcb) {
    Rings rings;
    bool seen[kNodes] = {};
    for (u32 i = 0; i < kNodes; ++i) {
        if (seen[i]) {
            continue;
        }
        for (u32 node = i; !seen[node]; node = fcb.reqPool[node].next) {
            seen[node] = true;
            rings.of[node] = rings.num;
            ++rings.length[rings.num];
        }
        ++rings.num;
    }
    return rings;
}

// The IPv4 filters' list is the free list, because VLAN tag 3 was laid over its head.
bool IsFreeList(const Fcb &fcb, const List &list, u16 head) {
    return head == 0 && list.entry == kIpv4Filters && IsHdrSet(fcb.filterBlk.hdrBmap, e_FLOWHDR_VLAN3);
}

// TCP and UDP had no node to head a list any more. Then there is none to this day, but for those that IPv4
// filters put there.
bool IsMissing(const Fcb &fcb, const List &list, u16 head, const FlowPast &past) {
    return head == kFill16 && IsTcpOrUdp(list) && (fcb.freeReqCount == 0 || past.onFreeList != 0);
}

u16 ExpectedCount(const Fcb &fcb, const List &list, u32 members, const FlowPast &past) {
    u32 count = members;
    if (list.entry == kIpv4Filters) {
        count -= past.ipv4Missing;
    } else if (list.entry == kPppoeActions && !IsHdrSet(fcb.actionBlk.hdrBmap, e_FLOWHDR_VLAN2)) {
        // Not reset with its header: it counts on from the fill. VLAN tag 2, on the same entry, resets it.
        count += kFill16;
    }
    return static_cast<u16>(count);
}

Complaint CheckRequests(const Fcb &fcb, const List &list, const HdrEntry &entry) {
    for (u32 i = fcb.reqPool[entry.reqList].next; i != entry.reqList; i = fcb.reqPool[i].next) {
        const ReqNode &node = fcb.reqPool[i];
        u32 type = 0;
        std::memcpy(&type, node.req + list.typeOffset, sizeof type);
        if (node.key >= list.numTypes || (entry.curBmap >> node.key & 1u) == 0) {
            return Node(i) + " of the " + list.name + " has a type that was not accepted";
        }
        if (node.key != type) {
            return Node(i) + " of the " + list.name + " has the key of another type";
        }
    }
    return {};
}

Complaint CheckList(const Fcb &fcb, const List &list, Rings &rings, const FlowPast &past) {
    const HdrEntry entry = EntryAt(fcb, list.entry);
    if (IsFreeList(fcb, list, entry.reqList)) {
        const bool counted = entry.reqCount == static_cast<u16>(past.ipv4Before + past.onFreeList);
        return counted ? Complaint{} : std::string("the ") + list.name + " on the free list are miscounted";
    }
    if (IsMissing(fcb, list, entry.reqList, past)) {
        return {};
    }
    if (entry.reqList == 0 || entry.reqList >= kNodes) {
        return std::string("the ") + list.name + " have no list";
    }
    const u32 ring = rings.of[entry.reqList];
    if (rings.headed[ring]) {
        return std::string("the ") + list.name + " are on the list of another header";
    }
    rings.headed[ring] = true;
    if (entry.reqCount != ExpectedCount(fcb, list, rings.length[ring] - 1, past)) {
        return std::string("the ") + list.name + " are miscounted";
    }
    return CheckRequests(fcb, list, entry);
}

u32 NumHdrs(u16 hdrBmap) {
    u32 hdrs = 0;
    for (u32 hdr = 0; hdr < e_FLOWHDR_MAX; ++hdr) {
        hdrs += IsHdrSet(hdrBmap, hdr) ? 1 : 0;
    }
    return hdrs;
}

// One node for each header, and one each for TCP and UDP.
u32 NumHeads(const Fcb &fcb) {
    u32 heads = NumHdrs(fcb.filterBlk.hdrBmap) + NumHdrs(fcb.actionBlk.hdrBmap);
    for (const List &list : kLists) {
        const bool allocated = IsTcpOrUdp(list) && IsHdrSet(HdrBmapOf(fcb, list), list.hdr);
        heads += allocated && EntryAt(fcb, list.entry).reqList < kNodes ? 1 : 0;
    }
    return heads;
}

} // namespace

Complaint CheckLists(const Fcb &fcb, const FlowPast &past) {
    if (Complaint broken = CheckLinks(fcb); !broken.empty()) {
        return broken;
    }
    Rings rings = FindRings(fcb);
    rings.headed[rings.of[0]] = true;
    if (fcb.freeReqList != 0) {
        return "node 0 does not head the free list";
    }
    const u32 numFree = rings.length[rings.of[0]] - 1;
    if (numFree != static_cast<u16>(fcb.freeReqCount + past.onFreeList)) {
        return "counts " + std::to_string(fcb.freeReqCount) + " free nodes, has " + std::to_string(numFree);
    }
    for (const List &list : kLists) {
        if (!IsHdrSet(HdrBmapOf(fcb, list), list.hdr)) {
            continue;
        }
        if (Complaint broken = CheckList(fcb, list, rings, past); !broken.empty()) {
            return broken;
        }
    }
    const u32 expected = 1 + NumHeads(fcb) + past.strays;
    if (rings.num != expected) {
        return std::to_string(rings.num) + " lists of nodes, " + std::to_string(expected) + " were made";
    }
    return {};
}

} // namespace fuzz
