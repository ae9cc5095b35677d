// The request nodes of a flow: who is on which list, and what the counts say.
//
// Every node names itself and two neighbours that name it back, so that all 32 lie on rings. The ring of node
// 0 is the free list; each header has a ring of its own, headed by the node that its entry names. There are no
// other rings, unless VLAN tags 2 and 3, which lie over the entries of other headers, have left some.
#include "fuzz/invariants.h"
#include "qirapi/access/request_kinds.h"

#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

constexpr u32 kNodes = QIR_MAX_FCBREQ;
constexpr u16 kFill16 = 0xA5A5;
constexpr u16 kTags2And3 = 1u << e_FLOWHDR_VLAN2 | 1u << e_FLOWHDR_VLAN3;

// One header's list. `entry` lies in the FCB, `typeOffset` in a request.
struct List {
    const char *name;
    bool filter;
    u32 hdr;
    u32 entry;
    u32 numTypes;
    u32 typeOffset;
    bool l4; // TCP or UDP
    u16 countsFrom = 0;
};

template <class Kind> constexpr List ListOf(const char *name, u32 hdr, u32 tag = 0, u16 countsFrom = 0) {
    constexpr bool kFilter = __is_same(typename Kind::Blk, FilterBlk);
    const u32 blk = kFilter ? offsetof(Fcb, filterBlk) : offsetof(Fcb, actionBlk);
    return {name,
            kFilter,
            hdr,
            blk + Kind::Entry(tag),
            Kind::kNumTypes,
            offsetof(typename Kind::Record, type),
            Kind::kL4,
            countsFrom};
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
    // The count is not reset with the header: it goes on from the fill.
    ListOf<PppoeActionKind>("PPPoE actions", e_FLOWHDR_PPPOE, 0, kFill16),
    ListOf<Ipv4ActionKind>("IPv4 actions", e_FLOWHDR_IPV4),
    ListOf<TcpActionKind>("TCP actions", e_FLOWHDR_IPV4),
    ListOf<UdpActionKind>("UDP actions", e_FLOWHDR_IPV4),
};

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

// Of nodes whose links are right: each is on one ring.
struct Rings {
    explicit Rings(const Fcb &fcb) {
        bool seen[kNodes] = {};
        for (u32 i = 0; i < kNodes; ++i) {
            num += seen[i] ? 0 : 1;
            for (u32 node = i; !seen[node]; node = fcb.reqPool[node].next) {
                seen[node] = true;
                of[node] = num - 1;
                ++length[num - 1];
            }
        }
    }
    u32 num = 0;
    u32 of[kNodes] = {};     // ring of each node
    u32 length[kNodes] = {}; // of each ring
    bool headed[kNodes] = {};
};

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

Complaint CheckList(const Fcb &fcb, const List &list, Rings &rings) {
    const HdrEntry entry = LoadEntry(fcb, list.entry);
    if (entry.reqList == kFill16 && list.l4 && fcb.freeReqCount == 0) {
        return {}; // TCP and UDP had no node to head a list any more, and there is none to this day
    }
    if (entry.reqList == 0 || entry.reqList >= kNodes) {
        return std::string("the ") + list.name + " have no list";
    }
    const u32 ring = rings.of[entry.reqList];
    if (rings.headed[ring]) {
        return std::string("the ") + list.name + " are on the list of another header";
    }
    rings.headed[ring] = true;
    if (static_cast<u16>(entry.reqCount - list.countsFrom) != rings.length[ring] - 1) {
        return std::string("the ") + list.name + " are miscounted";
    }
    return CheckRequests(fcb, list, entry);
}

} // namespace

Complaint CheckLists(const Fcb &fcb) {
    if (Complaint broken = CheckLinks(fcb); !broken.empty()) {
        return broken;
    }
    if (fcb.freeReqList != 0) {
        return "node 0 does not head the free list";
    }
    if (((fcb.filterBlk.hdrBmap | fcb.actionBlk.hdrBmap) & kTags2And3) != 0) {
        return {};
    }
    Rings rings(fcb);
    rings.headed[rings.of[0]] = true;
    const u32 numFree = rings.length[rings.of[0]] - 1;
    if (numFree != fcb.freeReqCount) {
        return "counts " + std::to_string(fcb.freeReqCount) + " free nodes, has " + std::to_string(numFree);
    }
    for (const List &list : kLists) {
        const u16 hdrBmap = list.filter ? fcb.filterBlk.hdrBmap : fcb.actionBlk.hdrBmap;
        if (!IsHdrSet(hdrBmap, list.hdr)) {
            continue;
        }
        if (Complaint broken = CheckList(fcb, list, rings); !broken.empty()) {
            return broken;
        }
    }
    // MPLS has a node, and no entry.
    u32 expected = 0;
    for (const u16 hdrBmap : {fcb.filterBlk.hdrBmap, fcb.actionBlk.hdrBmap}) {
        expected += IsHdrSet(hdrBmap, e_FLOWHDR_MPLS) ? 1 : 0;
    }
    for (const bool headed : rings.headed) {
        expected += headed ? 1 : 0;
    }
    if (rings.num != expected) {
        return std::to_string(rings.num) + " lists of nodes, " + std::to_string(expected) + " were made";
    }
    return {};
}

} // namespace fuzz
