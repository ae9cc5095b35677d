#include "fuzz/stored_requests.h"

#include <algorithm>
#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

u8 *FcbBytes(Fcb &fcb) {
    return reinterpret_cast<u8 *>(&fcb);
}

const u8 *FcbBytes(const Fcb &fcb) {
    return reinterpret_cast<const u8 *>(&fcb);
}

HdrEntry EntryOf(const Fcb &fcb, const Call &call) {
    HdrEntry entry;
    std::memcpy(&entry, FcbBytes(fcb) + call.entry, sizeof entry);
    return entry;
}

void SetEntry(Fcb &fcb, const Call &call, const HdrEntry &entry) {
    std::memcpy(FcbBytes(fcb) + call.entry, &entry, sizeof entry);
}

bool IsUdpFilter(const Call &call) {
    return call.doing == Doing::ConfigFilter && call.l4 && call.row == e_L4FLOWHDR_UDP;
}

Complaint NotTheCode(u32 expected) {
    return "the code has to be " + std::to_string(expected);
}

// What has to be there before rules are asked and lists are read: the flow, and the header. The rows of the
// rule tables are the headers; TCP and UDP belong to IPv4.
Complaint Opening(const Fcb &fcb, const Call &call) {
    if (fcb.status == e_STATUS_FREE) {
        return NotTheCode(e_RET_ERR_INVALID_HDL);
    }
    const bool filter = call.doing == Doing::ConfigFilter || call.doing == Doing::ReadFilters;
    const u16 hdrBmap = filter ? fcb.filterBlk.hdrBmap : fcb.actionBlk.hdrBmap;
    const bool isThere = (hdrBmap >> (call.l4 ? u32{e_FLOWHDR_IPV4} : call.row) & 1u) != 0;
    return isThere ? Complaint{} : NotTheCode(e_RET_ERR_HDRNOTCFG);
}

// A header that is said to be missing is.
Complaint CheckMissing(const Fcb &fcb, const Call &call) {
    const bool said = call.rc == e_RET_ERR_HDRNOTCFG && call.entry != kNone;
    return said && Opening(fcb, call).empty() ? "the header is there" : Complaint{};
}

// What is expected of a flow.

void AddBit(Fcb &fcb, const Call &call) {
    HdrEntry entry = EntryOf(fcb, call);
    entry.curBmap = static_cast<u16>(entry.curBmap | 1u << call.type);
    SetEntry(fcb, call, entry);
}

// Behind the last node of the head's ring. A head out of the pool is none: the node stays alone.
void Append(Fcb &fcb, u32 head, u16 idx) {
    if (head >= QIR_MAX_FCBREQ) {
        return;
    }
    ReqNode &first = fcb.reqPool[head];
    ReqNode &node = fcb.reqPool[idx];
    node.prev = first.prev;
    node.next = first.curr;
    fcb.reqPool[first.prev].next = idx;
    first.prev = idx;
}

// The rules have accepted the request; now it needs a node.
Complaint Store(Fcb &fcb, const Call &call) {
    const u32 idx = TakeNode(fcb);
    const u32 code = idx == kNone ? e_RET_ERR_RESRC_UNAVAIL : e_RET_OK;
    if (call.rc != code) {
        return NotTheCode(code);
    }
    if (idx == kNone) {
        return {};
    }
    ReqNode &node = fcb.reqPool[idx];
    node.key = call.type;
    std::memcpy(node.req, call.recordsBefore.data(), call.recordBytes);
    HdrEntry entry = EntryOf(fcb, call);
    Append(fcb, entry.reqList, static_cast<u16>(idx));
    ++entry.reqCount;
    SetEntry(fcb, call, entry);
    return {};
}

// The code that the rules of its header give a filter; 0 when they accept it.
u32 FilterRules(const QirCtxt &ctxt, const Fcb &before, const Call &call) {
    if (!TakesOperator(ctxt, call)) {
        return IsUdpFilter(call) ? e_RET_ERR_INVALID_PARAM : e_RET_ERR_INVALID_CMPOPSEQ;
    }
    const auto &excluded = call.l4 ? ctxt.l4FilterDepBmapTbl[call.row] : ctxt.filterDepBmapTbl[call.row];
    if ((EntryOf(before, call).curBmap & excluded[call.type]) != 0) {
        return e_RET_ERR_INVALID_FILTSEQ;
    }
    const u8 count = FcbBytes(before)[CounterOf(call)];
    return count < ctxt.cmpOpCntTbl[call.cmpOp] ? e_RET_OK : e_RET_ERR_INVALID_CMPOPSEQ;
}

Complaint ExpectFilter(const QirCtxt &ctxt, const Call &call, Fcb &fcb) {
    const u32 rules = FilterRules(ctxt, fcb, call);
    if (rules != e_RET_OK && call.rc != rules) {
        return NotTheCode(rules);
    }
    if (rules != e_RET_OK) {
        if (rules == e_RET_ERR_INVALID_CMPOPSEQ && TakesOperator(ctxt, call)) {
            AddBit(fcb, call);
        }
        return {};
    }
    AddBit(fcb, call);
    ++FcbBytes(fcb)[CounterOf(call)];
    // Any value is one of UDP.
    if (call.rc == e_RET_ERR_INVALID_PARAM && !IsUdpFilter(call)) {
        return {};
    }
    return Store(fcb, call);
}

// The code that the order of Ethernet actions and the count of tags give; 0 when they accept it.
u32 EthRules(const Fcb &before, const Call &call) {
    constexpr u32 kMaxTags = 2;
    const ActionBlk &blk = before.actionBlk;
    const u32 pushed = blk.pushedTags;
    const u32 matched = before.filterBlk.totalTags;
    switch (call.type) {
    case e_ETH_ACTION_PUSH_TAG: {
        if (blk.eth.reqCount != 0 && blk.lastEthAction != e_ETH_ACTION_PUSH_TAG) {
            return e_RET_ERR_REQOUTOFORDER;
        }
        const u32 tag = matched + pushed + 1;
        const bool hasHdr = tag <= kMaxTags && (blk.hdrBmap >> tag & 1u) != 0;
        return hasHdr ? e_RET_OK : e_RET_ERR_INVALID_PARAM;
    }
    case e_ETH_ACTION_POP_TAG:
        return blk.poppedTags < matched + pushed ? e_RET_OK : e_RET_ERR_INVALID_PARAM;
    default:
        return blk.lastEthAction != e_ETH_ACTION_POP_TAG ? e_RET_OK : e_RET_ERR_REQOUTOFORDER;
    }
}

// The dependencies have accepted it; the tags are counted once it has its node.
Complaint ExpectEthAction(const Call &call, Fcb &fcb) {
    if (const u32 rules = EthRules(fcb, call); rules != e_RET_OK) {
        return call.rc == rules ? Complaint{} : NotTheCode(rules);
    }
    if (call.rc == e_RET_OK) {
        ActionBlk &blk = fcb.actionBlk;
        blk.pushedTags = static_cast<u8>(blk.pushedTags + (call.type == e_ETH_ACTION_PUSH_TAG ? 1 : 0));
        blk.poppedTags = static_cast<u8>(blk.poppedTags + (call.type == e_ETH_ACTION_POP_TAG ? 1 : 0));
        blk.lastEthAction = call.type;
    }
    return Store(fcb, call);
}

Complaint ExpectAction(const QirCtxt &ctxt, const Call &call, Fcb &fcb) {
    // The value is tested before anything else.
    if (call.rc == e_RET_ERR_INVALID_PARAM && !IsTagAction(call)) {
        return {};
    }
    const auto &excluded = call.l4 ? ctxt.l4ActionDepBmapTbl[call.row] : ctxt.actionDepBmapTbl[call.row];
    if ((EntryOf(fcb, call).curBmap & excluded[call.type]) != 0) {
        return call.rc == e_RET_ERR_INVALID_ACTIONSEQ ? Complaint{} : NotTheCode(e_RET_ERR_INVALID_ACTIONSEQ);
    }
    AddBit(fcb, call);
    return call.doing == Doing::ConfigEthAction ? ExpectEthAction(call, fcb) : Store(fcb, call);
}

// Codes behind which the rules of the header have been asked. All others come from before.
bool IsOfRules(u32 rc) {
    constexpr u32 kCodes[] = {e_RET_OK,
                              e_RET_ERR_RESRC_UNAVAIL,
                              e_RET_ERR_INVALID_CMPOPSEQ,
                              e_RET_ERR_INVALID_FILTSEQ,
                              e_RET_ERR_INVALID_ACTIONSEQ,
                              e_RET_ERR_REQOUTOFORDER,
                              e_RET_ERR_INVALID_PARAM};
    return std::find(std::begin(kCodes), std::end(kCodes), rc) != std::end(kCodes);
}

// What lies at a place of the flow, for people.
std::string WhatLiesAt(std::size_t offset, const Call &call) {
    if (offset >= offsetof(Fcb, reqPool)) {
        const std::size_t inPool = offset - offsetof(Fcb, reqPool);
        const std::size_t inNode = inPool % sizeof(ReqNode);
        const std::string node = "node " + std::to_string(inPool / sizeof(ReqNode));
        return inNode < offsetof(ReqNode, key)   ? "the links of " + node
               : inNode < offsetof(ReqNode, req) ? "the key of " + node
                                                 : "the record of " + node;
    }
    if (offset >= call.entry && offset - call.entry < call.entryBytes) {
        const std::size_t inEntry = offset - call.entry;
        return inEntry < offsetof(HdrEntry, reqList)   ? "the number of requests"
               : inEntry < offsetof(HdrEntry, curBmap) ? "the head of the list"
               : inEntry < sizeof(HdrEntry)            ? "the accepted types"
                                                       : "the operator counters";
    }
    return offset == offsetof(Fcb, freeReqCount) || offset == offsetof(Fcb, freeReqCount) + 1
               ? "the number of free nodes"
               : "byte " + std::to_string(offset);
}

Complaint CompareWith(const Fcb &expected, const Fcb &now, const Call &call) {
    const u8 *const begin = FcbBytes(expected);
    const u8 *const at = std::mismatch(begin, begin + sizeof expected, FcbBytes(now)).first;
    const auto offset = static_cast<std::size_t>(at - begin);
    return offset == sizeof expected ? Complaint{}
                                     : "not as the request leaves it: " + WhatLiesAt(offset, call);
}

bool IsConfig(Doing doing) {
    return doing == Doing::ConfigFilter || doing == Doing::ConfigEthAction || doing == Doing::ConfigAction;
}

// The records of the queried type in the order of their list, no more than `room`; whether there are more.
bool Matches(const Fcb &fcb, const Call &call, u32 room, std::vector<const u8 *> &matches) {
    const u16 head = EntryOf(fcb, call).reqList;
    if (head >= QIR_MAX_FCBREQ) {
        return false;
    }
    for (u32 i = fcb.reqPool[head].next; i != head; i = fcb.reqPool[i].next) {
        const ReqNode &node = fcb.reqPool[i];
        if (node.key == call.type && matches.size() == room) {
            return true;
        }
        if (node.key == call.type) {
            matches.push_back(node.req);
        }
    }
    return false;
}

} // namespace

std::size_t CounterOf(const Call &call) {
    return call.entry + sizeof(HdrEntry) + std::size_t{call.cmpOp} * call.numTypes + call.type;
}

u32 TakeNode(Fcb &fcb) {
    ReqNode &head = fcb.reqPool[0];
    const u16 idx = head.next;
    if (idx == 0) {
        return kNone;
    }
    ReqNode &node = fcb.reqPool[idx];
    head.next = node.next;
    fcb.reqPool[node.next].prev = 0;
    node.next = node.prev = idx;
    --fcb.freeReqCount;
    return idx;
}

bool TakesOperator(const QirCtxt &ctxt, const Call &call) {
    if (call.entry == kNone || call.cmpOp >= e_CMP_MAX) {
        return false;
    }
    const auto &takers = call.l4 ? ctxt.l4CmpOpBmapTbl[call.row] : ctxt.cmpOpBmapTbl[call.row];
    return (takers[call.cmpOp] >> call.type & 1u) != 0;
}

bool IsTagAction(const Call &call) {
    return call.doing == Doing::ConfigEthAction &&
           (call.type == e_ETH_ACTION_PUSH_TAG || call.type == e_ETH_ACTION_POP_TAG);
}

Complaint CheckRequest(const QirCtxt &ctxt, const Fcb &before, const Fcb &now, const Call &call) {
    if (!IsConfig(call.doing)) {
        return {};
    }
    if (call.records != call.recordsBefore) {
        return "wrote to the caller's request";
    }
    if (call.entry == kNone) {
        return call.rc == e_RET_OK ? "accepted what there is not" : Complaint{};
    }
    if (Complaint wrong = CheckMissing(before, call); !wrong.empty()) {
        return wrong;
    }
    Fcb expected = before;
    if (IsOfRules(call.rc)) {
        if (Complaint wrong = Opening(before, call); !wrong.empty()) {
            return wrong;
        }
        const auto expect = call.doing == Doing::ConfigFilter ? ExpectFilter : ExpectAction;
        if (Complaint wrong = expect(ctxt, call, expected); !wrong.empty()) {
            return wrong;
        }
    }
    return CompareWith(expected, now, call);
}

Complaint CheckReadBack(const Fcb &fcb, const Call &call) {
    const bool filters = call.doing == Doing::ReadFilters;
    if (!filters && call.doing != Doing::ReadAction) {
        return {};
    }
    std::vector<u8> records = call.recordsBefore;
    u8 count = kNotCounted;
    const bool isRead =
        call.rc == e_RET_OK || call.rc == e_RET_ERR_OVERFLOW || call.rc == e_RET_ERR_NO_SUCH_ENTRY;
    if (isRead && call.entry == kNone) {
        return "read what there is not";
    }
    if (Complaint wrong = CheckMissing(fcb, call); !wrong.empty()) {
        return wrong;
    }
    if (isRead) {
        if (Complaint wrong = Opening(fcb, call); !wrong.empty()) {
            return wrong;
        }
        const auto room = filters ? static_cast<u32>(records.size() / call.recordBytes) : 1u;
        std::vector<const u8 *> matches;
        const bool more = Matches(fcb, call, room, matches);
        u32 code = more && filters ? e_RET_ERR_OVERFLOW : e_RET_OK;
        if (matches.empty() && !filters) {
            code = e_RET_ERR_NO_SUCH_ENTRY;
        }
        if (call.rc != code) {
            return NotTheCode(code);
        }
        for (std::size_t i = 0; i < matches.size(); ++i) {
            std::memcpy(records.data() + i * call.recordBytes, matches[i], call.recordBytes);
        }
        count = filters ? static_cast<u8>(matches.size()) : kNotCounted;
    }
    if (call.count != count) {
        return "counts " + std::to_string(call.count) + " records, has to count " + std::to_string(count);
    }
    return call.records == records ? Complaint{} : "the caller's records are not the stored ones";
}

} // namespace fuzz
