// The request nodes of a flow: who is on which list, and what the counts say.
//
// Every node names itself and two neighbours that name it back, so that all 32 lie on rings. The ring of node
// 0 is the free list; each header has a ring of its own, headed by the node that its entry names.
#include "fuzz/invariants.h"
#include "qirapi/access/request_kinds.h"

#include <algorithm>
#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

constexpr u32 kNodes = QIR_MAX_FCBREQ;
constexpr u16 kFill16 = 0xA5A5;
constexpr u32 kTags2And3 = 1u << e_FLOWHDR_VLAN2 | 1u << e_FLOWHDR_VLAN3;

// One header's list. `entry` lies in the FCB, `typeOffset` in a request.
struct List {
    const char *name;
    u32 blk; // offset in the FCB, where the bitmap of headers stands
    u32 hdr;
    u32 entry;
    u32 numTypes;
    u32 typeOffset;
    bool l4; // TCP or UDP
    u16 countsFrom;
};

template <class Kind> constexpr List ListOf(const char *name, u32 hdr, u32 tag = 0, u16 countsFrom = 0) {
    constexpr bool kFilter = __is_same(typename Kind::Blk, FilterBlk);
    constexpr u32 kBlk = kFilter ? offsetof(Fcb, filterBlk) : offsetof(Fcb, actionBlk);
    constexpr u32 kType = offsetof(typename Kind::Record, type);
    return {name, kBlk, hdr, kBlk + Kind::Entry(tag), Kind::kNumTypes, kType, Kind::kL4, countsFrom};
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

class Lists {
  public:
    Lists(const Fcb &fcb, const About &flow) : fcb_(fcb), flow_(flow) {}

    void CheckAll() {
        CheckLinks();
        flow_.Require(fcb_.freeReqList == 0, "node 0 does not head the free list");
        if (((fcb_.filterBlk.hdrBmap | fcb_.actionBlk.hdrBmap) & kTags2And3) != 0) {
            return;
        }
        flow_.Require(Walk(0, [](const ReqNode &) {}) == fcb_.freeReqCount, "free nodes miscounted");
        for (const List &list : kLists) {
            if (IsHdrSet(LoadEntry(fcb_, list.blk).reqCount, list.hdr)) { // the bitmap begins the block
                Check(list);
            }
        }
        // MPLS has a node in each block, and no entry that names it.
        const std::ptrdiff_t numMpls = (IsHdrSet(fcb_.filterBlk.hdrBmap, e_FLOWHDR_MPLS) ? 1 : 0) +
                                       (IsHdrSet(fcb_.actionBlk.hdrBmap, e_FLOWHDR_MPLS) ? 1 : 0);
        flow_.Require(std::count(seen_, seen_ + kNodes, false) == numMpls, "a node on no list");
    }

  private:
    void Require(bool holds, const char *broken, const char *what, u32 idx = kNone) const {
        if (!holds) {
            flow_.Complain(std::string(what) + " " + (idx != kNone ? std::to_string(idx) + " " : "") +
                           broken);
        }
    }

    void CheckLinks() const {
        for (u32 i = 0; i < kNodes; ++i) {
            const ReqNode &node = fcb_.reqPool[i];
            Require(node.curr == i, "does not name itself", "node", i);
            Require(node.next < kNodes && node.prev < kNodes, "leads out of the pool", "node", i);
            Require(fcb_.reqPool[node.next].prev == i, "is not led back to", "node", i);
        }
    }

    void Check(const List &list) {
        const HdrEntry entry = LoadEntry(fcb_, list.entry);
        // No node was left to head the list of TCP or UDP, and none has come back.
        if (entry.reqList == kFill16 && list.l4 && fcb_.freeReqCount == 0) {
            return;
        }
        Require(entry.reqList != 0 && entry.reqList < kNodes, "have no list", list.name);
        Require(!seen_[entry.reqList], "are on the list of another header", list.name);
        const u32 num = Walk(entry.reqList, [&](const ReqNode &node) {
            u32 type = 0;
            std::memcpy(&type, node.req + list.typeOffset, sizeof type);
            Require(node.key == type && type < list.numTypes && (entry.curBmap >> type & 1u) != 0,
                    "hold a type that was not accepted", list.name);
        });
        Require(static_cast<u16>(entry.reqCount - list.countsFrom) == num, "are miscounted", list.name);
    }

    // Visits the nodes that follow the head and returns their number. Their links are right.
    template <class Look> u32 Walk(u32 head, Look look) {
        u32 num = 0;
        seen_[head] = true;
        for (u32 i = fcb_.reqPool[head].next; i != head; i = fcb_.reqPool[i].next, ++num) {
            seen_[i] = true;
            look(fcb_.reqPool[i]);
        }
        return num;
    }

    const Fcb &fcb_;
    const About &flow_;
    bool seen_[kNodes] = {};
};

} // namespace

void CheckLists(const Fcb &fcb, const About &flow) {
    Lists(fcb, flow).CheckAll();
}

} // namespace fuzz
