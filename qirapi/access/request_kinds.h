// Descriptions of the twelve kinds of request (six headers, filters and actions), from which the shared cores
// of the request families are built.
//
// A kind says what its record is, in which block it belongs, how many types it has, which bit of the block's
// hdrBmap stands for its header, which row of the rule tables rules it, and where its header entry lies. TCP
// and UDP belong to the IPv4 header and have rows of their own in the L4 tables.
//
// Header entries are addressed by their byte offset in the block. The VLAN tag multiplies the stride without
// a bound: tags 2 and 3 lie on the entries after the two VLAN entries, and are read and written there byte
// by byte.
#ifndef QIRAPI_ACCESS_REQUEST_KINDS_H
#define QIRAPI_ACCESS_REQUEST_KINDS_H

#include "qirapi/access/req_walk.h"
#include "qirapi/private/context.h"

#include <string.h>

namespace qir {

struct HdrPlace {
    u32 hdr;    // bit in hdrBmap; VLAN: of tag 0
    u32 row;    // row in the rule tables; VLAN: of tag 0
    u32 entry;  // byte offset of the entry in its block; VLAN: of tag 0
    u32 stride; // VLAN: from tag to tag; else 0
    bool l4;    // ruled by the L4 tables
};

constexpr u32 kVlanFilterStride = sizeof(VlanFilterEntry);
constexpr u32 kVlanActionStride = sizeof(HdrEntry);

// Is header `hdr` allocated in a block with this bitmap?
constexpr bool IsHdrSet(u16 hdrBmap, u32 hdr) {
    return hdr < 16 && ((hdrBmap >> hdr) & 1u) != 0;
}

template <class RecordT, class BlkT, u32 NumTypes, HdrPlace Place> struct RequestKind {
    using Record = RecordT;
    using Blk = BlkT;
    static constexpr u32 kNumTypes = NumTypes;
    static constexpr bool kPerTag = Place.stride != 0;
    static constexpr bool kL4 = Place.l4;

    // The tag that a request names; 0 for headers without tags.
    static constexpr u32 Tag(const Record &record) {
        if constexpr (kPerTag) {
            return record.toTagNum;
        } else {
            return 0;
        }
    }
    static constexpr bool IsAllocated(const Blk &blk, u32 tag) {
        return tag < 16 && IsHdrSet(blk.hdrBmap, Place.hdr + tag);
    }
    static constexpr u32 Row(u32 tag) { return Place.row + tag; }
    static constexpr u32 Entry(u32 tag) { return Place.entry + tag * Place.stride; }
};

// The places are in brackets of their own because cppcheck ends an argument at the first comma in braces.
// clang-format off
//                                    record       block      types               bit             row              entry                                stride          L4
using EthFilterKind   = RequestKind<EthFilter,   FilterBlk, e_ETH_FILT_MAX,     (HdrPlace{e_FLOWHDR_ETH,   e_FLOWHDR_ETH,   offsetof(FilterBlk, eth),   0,                 false})>;
using VlanFilterKind  = RequestKind<VlanFilter,  FilterBlk, e_VLAN_FILT_MAX,    (HdrPlace{e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN0, offsetof(FilterBlk, vlan),  kVlanFilterStride, false})>;
using PppoeFilterKind = RequestKind<PppoeFilter, FilterBlk, e_PPPOE_FILT_MAX,   (HdrPlace{e_FLOWHDR_PPPOE, e_FLOWHDR_PPPOE, offsetof(FilterBlk, pppoe), 0,                 false})>;
using Ipv4FilterKind  = RequestKind<Ipv4Filter,  FilterBlk, e_IPV4_FILT_MAX,    (HdrPlace{e_FLOWHDR_IPV4,  e_FLOWHDR_IPV4,  offsetof(FilterBlk, ipv4),  0,                 false})>;
using TcpFilterKind   = RequestKind<TcpFilter,   FilterBlk, e_TCP_FILT_MAX,     (HdrPlace{e_FLOWHDR_IPV4,  e_L4FLOWHDR_TCP, offsetof(FilterBlk, tcp),   0,                 true})>;
using UdpFilterKind   = RequestKind<UdpFilter,   FilterBlk, e_UDP_FILT_MAX,     (HdrPlace{e_FLOWHDR_IPV4,  e_L4FLOWHDR_UDP, offsetof(FilterBlk, udp),   0,                 true})>;

using EthActionKind   = RequestKind<EthAction,   ActionBlk, e_ETH_ACTION_MAX,   (HdrPlace{e_FLOWHDR_ETH,   e_FLOWHDR_ETH,   offsetof(ActionBlk, eth),   0,                 false})>;
using VlanActionKind  = RequestKind<VlanAction,  ActionBlk, e_VLAN_ACTION_MAX,  (HdrPlace{e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN0, offsetof(ActionBlk, vlan),  kVlanActionStride, false})>;
using PppoeActionKind = RequestKind<PppoeAction, ActionBlk, e_PPPOE_ACTION_MAX, (HdrPlace{e_FLOWHDR_PPPOE, e_FLOWHDR_PPPOE, offsetof(ActionBlk, pppoe), 0,                 false})>;
using Ipv4ActionKind  = RequestKind<Ipv4Action,  ActionBlk, e_IPV4_ACTION_MAX,  (HdrPlace{e_FLOWHDR_IPV4,  e_FLOWHDR_IPV4,  offsetof(ActionBlk, ipv4),  0,                 false})>;
using TcpActionKind   = RequestKind<TcpAction,   ActionBlk, e_TCP_ACTION_MAX,   (HdrPlace{e_FLOWHDR_IPV4,  e_L4FLOWHDR_TCP, offsetof(ActionBlk, tcp),   0,                 true})>;
using UdpActionKind   = RequestKind<UdpAction,   ActionBlk, e_UDP_ACTION_MAX,   (HdrPlace{e_FLOWHDR_IPV4,  e_L4FLOWHDR_UDP, offsetof(ActionBlk, udp),   0,                 true})>;
// clang-format on

// The block of an FCB that a kind belongs to.
template <class Kind> auto &BlkOf(Fcb &fcb) {
    if constexpr (__is_same(typename Kind::Blk, FilterBlk)) {
        return fcb.filterBlk;
    } else {
        return fcb.actionBlk;
    }
}

template <class Kind> const auto &BlkOf(const Fcb &fcb) {
    if constexpr (__is_same(typename Kind::Blk, FilterBlk)) {
        return fcb.filterBlk;
    } else {
        return fcb.actionBlk;
    }
}

// The bytes of a block from `offset` on.
template <class Blk> u8 *BlkBytes(Blk &blk, u32 offset) {
    return reinterpret_cast<u8 *>(&blk) + offset;
}

template <class Blk> const u8 *BlkBytes(const Blk &blk, u32 offset) {
    return reinterpret_cast<const u8 *>(&blk) + offset;
}

template <class Blk> HdrEntry LoadEntry(const Blk &blk, u32 offset) {
    HdrEntry entry;
    memcpy(&entry, BlkBytes(blk, offset), sizeof entry);
    return entry;
}

template <class Blk> void StoreEntry(Blk &blk, u32 offset, const HdrEntry &entry) {
    memcpy(BlkBytes(blk, offset), &entry, sizeof entry);
}

// Head of the request list of the entry at `offset`, or null when its index is outside the pool.
template <class FcbT, class Blk> auto *ReqListAt(FcbT &fcb, const Blk &blk, u32 offset) {
    return ReqNodeAt(&fcb, LoadEntry(blk, offset).reqList);
}

} // namespace qir

#endif
