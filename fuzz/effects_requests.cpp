// Headers, filters and actions.
#include "fuzz/effect_rows.h"

#include "qirapi/access/request_kinds.h"

namespace fuzz {

using namespace qir;

namespace {

u8 *At(Fcb &fcb, std::size_t offset) {
    return reinterpret_cast<u8 *>(&fcb) + offset;
}

HdrEntry EntryAt(const Fcb &fcb, std::size_t offset) {
    HdrEntry entry;
    std::memcpy(&entry, reinterpret_cast<const u8 *>(&fcb) + offset, sizeof entry);
    return entry;
}

// The first of the free nodes leaves their list and is a list of its own.
ReqNode &TakeNode(Fcb &fcb) {
    ReqNode &node = fcb.reqPool[fcb.reqPool[0].next % QIR_MAX_FCBREQ];
    fcb.reqPool[node.prev % QIR_MAX_FCBREQ].next = node.next;
    fcb.reqPool[node.next % QIR_MAX_FCBREQ].prev = node.prev;
    node.next = node.prev = node.curr;
    --fcb.freeReqCount;
    return node;
}

// ---- Headers

// An entry of a header in its block: where in the FCB, and how many counters stand behind it.
struct EntryPlace {
    u32 hdr;
    std::size_t filter, action;
    u32 numFilterTypes;
};

template <class Filter, class Action> constexpr EntryPlace Entry(u32 hdr, u32 tag = 0) {
    return {hdr, offsetof(Fcb, filterBlk) + Filter::Entry(tag), offsetof(Fcb, actionBlk) + Action::Entry(tag),
            Filter::kNumTypes};
}

constexpr EntryPlace kEntries[] = {
    Entry<EthFilterKind, EthActionKind>(e_FLOWHDR_ETH),
    Entry<VlanFilterKind, VlanActionKind>(e_FLOWHDR_VLAN0, 0),
    Entry<VlanFilterKind, VlanActionKind>(e_FLOWHDR_VLAN1, 1),
    // Tags 2 and 3 lie over what stands behind the two that there are.
    Entry<VlanFilterKind, VlanActionKind>(e_FLOWHDR_VLAN2, 2),
    Entry<VlanFilterKind, VlanActionKind>(e_FLOWHDR_VLAN3, 3),
    Entry<PppoeFilterKind, PppoeActionKind>(e_FLOWHDR_PPPOE),
    // TCP and UDP come with IPv4.
    Entry<Ipv4FilterKind, Ipv4ActionKind>(e_FLOWHDR_IPV4),
    Entry<TcpFilterKind, TcpActionKind>(e_FLOWHDR_IPV4),
    Entry<UdpFilterKind, UdpActionKind>(e_FLOWHDR_IPV4),
};

// An empty entry with a node to head its list. The count of the PPPoE actions is not reset.
void ResetEntry(Fcb &fcb, const EntryPlace &place, bool filter) {
    const std::size_t offset = filter ? place.filter : place.action;
    const bool counts = !filter && place.hdr == e_FLOWHDR_PPPOE;
    const HdrEntry entry{counts ? EntryAt(fcb, offset).reqCount : u16{0}, TakeNode(fcb).curr, 0};
    std::memcpy(At(fcb, offset), &entry, sizeof entry);
    std::memset(At(fcb, offset + sizeof entry), 0, filter ? place.numFilterTypes * e_CMP_MAX : 0);
}

void AllocHdr(Fcb &fcb, const Moment &moment) {
    const bool filter = moment.call.blk == e_BLKTYPE_FILTER;
    const u32 hdr = moment.call.hdr;
    u16 &hdrBmap = filter ? fcb.filterBlk.hdrBmap : fcb.actionBlk.hdrBmap;
    hdrBmap = static_cast<u16>(hdrBmap | 1u << hdr % 16);
    if (hdr == e_FLOWHDR_MPLS) {
        TakeNode(fcb); // it has no entry
    }
    for (const EntryPlace &place : kEntries) {
        if (place.hdr == hdr) {
            ResetEntry(fcb, place, filter);
        }
    }
    if (hdr >= e_FLOWHDR_VLAN0 && hdr <= e_FLOWHDR_VLAN3) {
        (filter ? fcb.filterBlk.totalTags : fcb.actionBlk.totalTags) = static_cast<u8>(hdr);
    }
    fcb.status = e_STATUS_CFG;
}

// ---- Filters and actions

void AddRequest(Fcb &fcb, const Moment &moment) {
    const Call &call = moment.call;
    if (call.entry == kNone) {
        return;
    }
    ReqNode &node = TakeNode(fcb);
    node.key = call.type;
    std::memcpy(node.req, call.record.data(), std::min(call.record.size(), sizeof node.req));
    HdrEntry entry = EntryAt(fcb, call.entry);
    if (entry.reqList < QIR_MAX_FCBREQ) { // else there is no list to be on
        ReqNode &head = fcb.reqPool[entry.reqList];
        node.prev = head.prev;
        node.next = head.curr;
        fcb.reqPool[head.prev].next = node.curr;
        head.prev = node.curr;
    }
    ++entry.reqCount;
    entry.curBmap = static_cast<u16>(entry.curBmap | 1u << call.type);
    std::memcpy(At(fcb, call.entry), &entry, sizeof entry);
}

void AddFilter(Fcb &fcb, const Moment &moment) {
    const Call &call = moment.call;
    AddRequest(fcb, moment);
    if (call.entry != kNone) {
        ++*At(fcb, call.entry + sizeof(HdrEntry) + std::size_t{call.cmpOp} * call.numTypes + call.type);
    }
}

void AddEthAction(Fcb &fcb, const Moment &moment) {
    AddRequest(fcb, moment);
    ActionBlk &blk = fcb.actionBlk;
    blk.lastEthAction = moment.call.type;
    blk.pushedTags = static_cast<u8>(blk.pushedTags + (moment.call.type == e_ETH_ACTION_PUSH_TAG ? 1 : 0));
    blk.poppedTags = static_cast<u8>(blk.poppedTags + (moment.call.type == e_ETH_ACTION_POP_TAG ? 1 : 0));
}

// ---- Reading: the requests of the type that was asked for, in their order

std::vector<const ReqNode *> RequestsOf(const Moment &moment) {
    std::vector<const ReqNode *> requests;
    const Fcb &fcb = moment.now.fcbPool[moment.call.flow];
    const u16 list = EntryAt(fcb, moment.call.entry).reqList;
    WalkReqList(&fcb, ReqNodeAt(&fcb, list), [&](const ReqNode *node) {
        if (node->key == moment.call.type) {
            requests.push_back(node);
        }
        return true;
    });
    return requests;
}

bool NamesEntry(const Call &call) {
    return call.flow != kNone && call.entry != kNone;
}

bool GaveFilters(const Moment &moment) {
    const Call &call = moment.call;
    const std::vector<const ReqNode *> requests = RequestsOf(moment);
    const u32 size = call.arg[1];
    bool same = call.arg[0] == requests.size() && call.record.size() == requests.size() * size;
    for (std::size_t i = 0; same && i < requests.size(); ++i) {
        same = std::memcmp(call.record.data() + i * size, requests[i]->req, size) == 0;
    }
    return same;
}

bool GaveAction(const Moment &moment) {
    const std::vector<const ReqNode *> requests = RequestsOf(moment);
    const std::vector<u8> &record = moment.call.record;
    return !requests.empty() && std::memcmp(record.data(), requests[0]->req, record.size()) == 0;
}

template <auto gave> Complaint Gives(const Moment &moment) {
    return NamesEntry(moment.call) && gave(moment) ? Complaint{} : "the record is not what is stored";
}

bool HasNoRequest(const Moment &moment) {
    return NamesEntry(moment.call) && RequestsOf(moment).empty();
}

// clang-format off
constexpr Effect kEffects[] = {
    {"QIR_Alloc_Hdr",          e_RET_OK, Makes<FlowOf, AllocHdr>},
    {"QIR_Config_EthFilter",   e_RET_OK, Makes<FlowOf, AddFilter>},
    {"QIR_Config_VlanFilter",  e_RET_OK, Makes<FlowOf, AddFilter>},
    {"QIR_Config_PppoeFilter", e_RET_OK, Makes<FlowOf, AddFilter>},
    {"QIR_Config_Ipv4Filter",  e_RET_OK, Makes<FlowOf, AddFilter>},
    {"QIR_Config_TcpFilter",   e_RET_OK, Makes<FlowOf, AddFilter>},
    {"QIR_Config_UdpFilter",   e_RET_OK, Makes<FlowOf, AddFilter>},
    {"QIR_Get_EthFilter",      e_RET_OK, Gives<GaveFilters>},
    {"QIR_Get_VlanFilter",     e_RET_OK, Gives<GaveFilters>},
    {"QIR_Get_PppoeFilter",    e_RET_OK, Gives<GaveFilters>},
    {"QIR_Get_Ipv4Filter",     e_RET_OK, Gives<GaveFilters>},
    {"QIR_Get_TcpFilter",      e_RET_OK, Gives<GaveFilters>},
    {"QIR_Get_UdpFilter",      e_RET_OK, Gives<GaveFilters>},
    {"QIR_Config_EthAction",   e_RET_OK, Makes<FlowOf, AddEthAction>},
    {"QIR_Config_VlanAction",  e_RET_OK, Makes<FlowOf, AddRequest>},
    {"QIR_Config_PppoeAction", e_RET_OK, Makes<FlowOf, AddRequest>},
    {"QIR_Config_Ipv4Action",  e_RET_OK, Makes<FlowOf, AddRequest>},
    {"QIR_Config_TcpAction",   e_RET_OK, Makes<FlowOf, AddRequest>},
    {"QIR_Config_UdpAction",   e_RET_OK, Makes<FlowOf, AddRequest>},
    {"QIR_Get_EthAction",      e_RET_OK, Gives<GaveAction>},
    {"QIR_Get_VlanAction",     e_RET_OK, Gives<GaveAction>},
    {"QIR_Get_PppoeAction",    e_RET_OK, Gives<GaveAction>},
    {"QIR_Get_Ipv4Action",     e_RET_OK, Gives<GaveAction>},
    {"QIR_Get_TcpAction",      e_RET_OK, Gives<GaveAction>},
    {"QIR_Get_UdpAction",      e_RET_OK, Gives<GaveAction>},
    {"QIR_Get_EthAction",      e_RET_ERR_NO_SUCH_ENTRY, Needs<HasNoRequest>},
    {"QIR_Get_VlanAction",     e_RET_ERR_NO_SUCH_ENTRY, Needs<HasNoRequest>},
    {"QIR_Get_PppoeAction",    e_RET_ERR_NO_SUCH_ENTRY, Needs<HasNoRequest>},
    {"QIR_Get_Ipv4Action",     e_RET_ERR_NO_SUCH_ENTRY, Needs<HasNoRequest>},
    {"QIR_Get_TcpAction",      e_RET_ERR_NO_SUCH_ENTRY, Needs<HasNoRequest>},
    {"QIR_Get_UdpAction",      e_RET_ERR_NO_SUCH_ENTRY, Needs<HasNoRequest>},
    // MPLS is accepted and ignored.
    {"QIR_Config_MplsFilter",  e_RET_OK, DoesNothing},
    {"QIR_Get_MplsFilter",     e_RET_OK, DoesNothing},
    {"QIR_Config_MplsAction",  e_RET_OK, DoesNothing},
    {"QIR_Get_MplsAction",     e_RET_OK, DoesNothing},
};
// clang-format on

} // namespace

std::span<const Effect> RequestEffects() {
    return kEffects;
}

} // namespace fuzz
