// A flow's FCB: its own fields, and the requests on the lists of its headers.
//
// The lists may be damaged in any way: the program that wrote the journal may have overwritten its own memory.
#include "emu/journal/fcb_requests.h"
#include "emu/journal/layouts.h"
#include "qirapi/driver/driver_records.h"

#include <bitset>

namespace orxemu::journal {

namespace {

constexpr unsigned kNumNodes = QIR_MAX_FCBREQ;
constexpr unsigned kFreeListHead = 0;
constexpr unsigned kFillWord = 0xA5A5;

struct Block {
    std::size_t hdrBmap;
    RequestList HeaderRow::*list;
};
constexpr Block kFilterBlock = {offsetof(qir::Fcb, filterBlk) + offsetof(qir::FilterBlk, hdrBmap),
                                &HeaderRow::filters};
constexpr Block kActionBlock = {offsetof(qir::Fcb, actionBlk) + offsetof(qir::ActionBlk, hdrBmap),
                                &HeaderRow::actions};

constexpr std::size_t NodeOffset(unsigned node) {
    return offsetof(qir::Fcb, reqPool) + node * sizeof(qir::ReqNode);
}

std::string Text(const char *before, unsigned node, const char *behind) {
    return before + std::to_string(node) + behind;
}

// Walks request lists. The lists of a sound FCB share no nodes: a node that is met again is damage, in this
// list or in an earlier one.
class Walker {
  public:
    Walker(ByteView fcb, ByteOrder order) : fcb_(fcb), order_(order) { seen_.set(kFreeListHead); }

    // Calls visit(node) for the requests of a list. What is damaged, empty when nothing is.
    template <class Visit> std::string Walk(const RequestList &list, Visit visit) {
        const unsigned head = Word(list.entry + offsetof(qir::HdrEntry, reqList));
        std::string damage = Enter(head);
        for (unsigned node = head; damage.empty();) {
            node = Word(NodeOffset(node) + offsetof(qir::ReqNode, next));
            if (node == head) {
                break;
            }
            damage = Enter(node);
            if (damage.empty()) {
                visit(node);
            }
        }
        return damage;
    }

    bool IsAllocated(const Block &block, const HeaderRow &header) const {
        return ((Word(block.hdrBmap) >> header.hdr) & 1u) != 0 &&
               (header.shownEmpty || !IsUntaken(header.*block.list));
    }

  private:
    unsigned Word(std::size_t offset) const { return Load(fcb_, offset, 2, order_); }

    // TCP and UDP come with IPv4. When the pool ran out on the way to them, their entries are as they were.
    bool IsUntaken(const RequestList &list) const {
        return Word(list.entry + offsetof(qir::HdrEntry, reqList)) == kFillWord;
    }

    std::string Enter(unsigned node) {
        if (node >= kNumNodes) {
            return Text("node ", node, " lies outside the pool");
        }
        if (seen_[node]) {
            return node == kFreeListHead ? "the list is the free list" : Text("node ", node, " is met again");
        }
        if (Word(NodeOffset(node) + offsetof(qir::ReqNode, curr)) != node) {
            return Text("node ", node, " carries another node's index");
        }
        seen_.set(node);
        return {};
    }

    ByteView fcb_;
    ByteOrder order_;
    std::bitset<kNumNodes> seen_;
};

constexpr std::size_t kReqInNode = offsetof(qir::ReqNode, req);

Json DecodeHeaders(ByteView fcb, ByteOrder order, Walker &walker, const Block &block) {
    Json headers = Json::array();
    for (const HeaderRow &header : Headers()) {
        if (!walker.IsAllocated(block, header)) {
            continue;
        }
        const RequestList &list = header.*block.list;
        Json requests = Json::array();
        if (list.kind != nullptr) {
            const std::string damage = walker.Walk(list, [&](unsigned node) {
                requests.push_back(
                    DecodeReq(*list.kind, fcb.subspan(NodeOffset(node) + kReqInNode, qir::kReqBytes), order));
            });
            if (!damage.empty()) {
                requests.push_back({{"damaged", damage}});
            }
        }
        if (header.shownEmpty || !requests.empty()) {
            headers.push_back({{"header", header.name}, {"requests", std::move(requests)}});
        }
    }
    return headers;
}

void ConvertNode(const RequestKind &kind, ByteView original, std::span<std::uint8_t> fcb, unsigned node,
                 ByteOrder from) {
    const std::size_t offset = NodeOffset(node);
    ConvertWord(original, fcb, offset + offsetof(qir::ReqNode, key), sizeof(qir::ReqNode::key), from);
    ConvertReq(kind, original.subspan(offset + kReqInNode, qir::kReqBytes),
               fcb.subspan(offset + kReqInNode, qir::kReqBytes), from);
}

} // namespace

bool IsFwdInfoSet(ByteView fcb, ByteOrder order) {
    return Load(fcb, offsetof(qir::Fcb, fwdInfoSet), sizeof(qir::Fcb::fwdInfoSet), order) == 1;
}

Json DecodeFcb(ByteView fcb, ByteOrder order) {
    Json decoded = DecodeFields(kFcbLayout, fcb, order);
    if (!IsFwdInfoSet(fcb, order)) {
        decoded["forwarding"] = DecodeFields(
            kNotSetFwdInfoLayout, fcb.subspan(offsetof(qir::Fcb, fwdInfo), sizeof(FwdInfo)), order);
    }
    Walker walker(fcb, order);
    decoded["filter"]["headers"] = DecodeHeaders(fcb, order, walker, kFilterBlock);
    decoded["action"]["headers"] = DecodeHeaders(fcb, order, walker, kActionBlock);
    return decoded;
}

void ConvertFcb(std::span<std::uint8_t> fcb, ByteOrder from) {
    const Bytes original(fcb.begin(), fcb.end());
    ConvertFields(kFcbLayout, original, fcb, from);
    Walker walker(original, from);
    for (const Block &block : {kFilterBlock, kActionBlock}) {
        for (const HeaderRow &header : Headers()) {
            const RequestList &list = header.*block.list;
            if (list.kind != nullptr && walker.IsAllocated(block, header)) {
                walker.Walk(list, [&](unsigned node) { ConvertNode(*list.kind, original, fcb, node, from); });
            }
        }
    }
}

} // namespace orxemu::journal
