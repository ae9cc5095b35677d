#include "tests/app/flow_image.h"

#include <stdexcept>

namespace app_test {

namespace {

// Offsets in the block.
enum : std::size_t {
    kStatus = 0,
    kHandle = 4,
    kHwFlowIdx = 8,
    kSection = 12,
    kTblAssoc = 16,
    kAsOverride = 20,
    kReserved = 24,
    kEpTblHdl = 28,
    kPbitsSource = 32,
    kPacTblHdl = 36,
    kFilterHdrBmap = 40,
    kFilterTotalTags = 214,
    kActionHdrBmap = 216,
    kActionLastEth = 260,
    kActionTotalTags = 264,
    kActionPushedTags = 265,
    kActionPoppedTags = 266,
    kFwdInfoSet = 268,
    kFwdInfo = 272,
    kFreeReqList = 342,
    kFreeReqCount = 344,
    kReqPool = 348,
};

// Offsets in a header entry, in a request node and in the forwarding record.
enum : std::size_t { kReqCount = 0, kReqList = 2, kCurBmap = 4, kCounters = 6 };
enum : std::size_t { kCurr = 0, kNext = 2, kPrev = 4, kKey = 8, kRequest = 12, kNodeBytes = 48 };
enum : std::size_t {
    kFlowPrio = 0,
    kSrcGems = 4,
    kSrcPorts = 8,
    kGemQueues = 12,
    kDstGems = 44,
    kPortQueues = 48,
    kDstPorts = 60,
    kFwdAction = 64,
};
constexpr std::size_t kPortQueueBytes = 9;
constexpr unsigned kNodes = 32;

struct FilterEntry {
    unsigned hdr;
    std::size_t offset;
    std::size_t counterBytes;
    unsigned types;
};
constexpr FilterEntry kFilterEntries[] = {
    {kEth, 42, 15, 5}, {kVlan0, 64, 18, 6}, {kVlan1, 88, 18, 6}, {kIpv4, 134, 33, 11}};
// Behind IPv4, and allocated with it.
constexpr FilterEntry kTcpFilterEntry{kIpv4, 174, 21, 7};
constexpr FilterEntry kUdpFilterEntry{kIpv4, 202, 6, 2};

struct ActionEntry {
    unsigned hdr;
    std::size_t offset;
};
constexpr ActionEntry kActionEntries[] = {{kEth, 218}, {kVlan0, 224}, {kVlan1, 230}};

template <class Entry, std::size_t kCount> const Entry &Find(const Entry (&entries)[kCount], unsigned hdr) {
    for (const Entry &entry : entries) {
        if (entry.hdr == hdr) {
            return entry;
        }
    }
    throw std::logic_error("no such header in this block");
}

std::size_t Node(unsigned node) {
    return kReqPool + kNodeBytes * node;
}

} // namespace

FlowImage::FlowImage(unsigned flow, unsigned section) : flow_(flow), bytes_(kFcbBytes) {
    bytes_.Put32(kStatus, kStatusCfg).Put32(kHandle, 0xFFFF0000u | flow).Put32(kSection, section);
    bytes_.Put16(kTblAssoc, 0).Put32(kAsOverride, 0);
    bytes_.Put32(kReserved, 0xFFFFFFFF).Put32(kEpTblHdl, 0xFFFFFFFF);
    bytes_.Put16(kFilterHdrBmap, 0).Put8(kFilterTotalTags, 0);
    bytes_.Put16(kActionHdrBmap, 0).Put32(kActionLastEth, 0);
    bytes_.Put8(kActionTotalTags, 0).Put8(kActionPushedTags, 0).Put8(kActionPoppedTags, 0);
    bytes_.Put16(kFreeReqList, 0).Put16(kFreeReqCount, kNodes - 1);
    for (unsigned i = 0; i < kNodes; ++i) { // a ring, 0 its head
        bytes_.Put16(Node(i) + kCurr, i);
        bytes_.Put16(Node(i) + kNext, (i + 1) % kNodes).Put16(Node(i) + kPrev, (i + kNodes - 1) % kNodes);
    }
}

FlowImage &FlowImage::SetFwd(const Fwd &fwd) {
    bytes_.Put32(kFwdInfoSet, 1);
    Image record(68, 0);
    record.Put32(kFlowPrio, fwd.prio).Put32(kSrcGems, fwd.srcGems).Put32(kSrcPorts, fwd.srcPorts);
    record.Zero(kGemQueues, kNodes).Put8(kGemQueues + fwd.gemWithQueue, fwd.queue);
    record.Put32(kDstGems, fwd.dstGems).Zero(kPortQueues, kPortQueueBytes).Put32(kDstPorts, fwd.dstPorts);
    record.Put32(kFwdAction, 2);
    bytes_.Put(kFwdInfo, record);
    return *this;
}

FlowImage &FlowImage::AsOverride(uint32_t override) {
    bytes_.Put32(kAsOverride, override);
    return *this;
}

FlowImage &FlowImage::Pac(uint32_t tblHdl, uint32_t pbitsSource) {
    usesPac_ = true;
    pacTbl_ = tblHdl & 0xFF;
    bytes_.Put16(kTblAssoc, 2).Put32(kPacTblHdl, tblHdl).Put32(kPbitsSource, pbitsSource);
    return *this;
}

// The lowest node of the free ring, which then points to itself.
unsigned FlowImage::TakeNode() {
    const unsigned node = bytes_.Get16(Node(0) + kNext);
    const unsigned behind = bytes_.Get16(Node(node) + kNext);
    bytes_.Put16(Node(0) + kNext, behind).Put16(Node(behind) + kPrev, 0);
    bytes_.Put16(Node(node) + kNext, node).Put16(Node(node) + kPrev, node);
    bytes_.Put16(kFreeReqCount, bytes_.Get16(kFreeReqCount) - 1);
    return node;
}

void FlowImage::ResetEntry(std::size_t entry, std::size_t counterBytes) {
    bytes_.Put16(entry + kReqCount, 0).Put16(entry + kReqList, TakeNode()).Put16(entry + kCurBmap, 0);
    bytes_.Zero(entry + kCounters, counterBytes);
}

void FlowImage::AppendRequest(std::size_t entry, unsigned type, const Image &request) {
    const unsigned head = bytes_.Get16(entry + kReqList);
    const unsigned node = TakeNode();
    const unsigned last = bytes_.Get16(Node(head) + kPrev);
    bytes_.Put32(Node(node) + kKey, type).Put(Node(node) + kRequest, request);
    bytes_.Put16(Node(node) + kNext, head).Put16(Node(node) + kPrev, last);
    bytes_.Put16(Node(last) + kNext, node).Put16(Node(head) + kPrev, node);
    bytes_.Put16(entry + kReqCount, bytes_.Get16(entry + kReqCount) + 1);
    bytes_.Put16(entry + kCurBmap, bytes_.Get16(entry + kCurBmap) | 1u << type);
}

FlowImage &FlowImage::FilterHdr(unsigned hdr) {
    const FilterEntry &entry = Find(kFilterEntries, hdr);
    bytes_.Put16(kFilterHdrBmap, bytes_.Get16(kFilterHdrBmap) | 1u << hdr);
    ResetEntry(entry.offset, entry.counterBytes);
    if (hdr == kVlan0 || hdr == kVlan1) {
        bytes_.Put8(kFilterTotalTags, hdr);
    }
    if (hdr == kIpv4) {
        ResetEntry(kTcpFilterEntry.offset, kTcpFilterEntry.counterBytes);
        ResetEntry(kUdpFilterEntry.offset, kUdpFilterEntry.counterBytes);
    }
    return *this;
}

void FlowImage::AddFilter(unsigned hdr, unsigned type, unsigned cmpOp, const Image &request) {
    const FilterEntry &entry = Find(kFilterEntries, hdr);
    AppendRequest(entry.offset, type, request);
    bytes_.Add8(entry.offset + kCounters + std::size_t{cmpOp} * entry.types + type, 1);
}

FlowImage &FlowImage::EthType(unsigned cmpOp, unsigned ethType) {
    Image request(36, 0);
    request.Put32(4, kFiltEthType).Put32(8, cmpOp).Put16(12, ethType);
    AddFilter(kEth, kFiltEthType, cmpOp, request);
    return *this;
}

FlowImage &FlowImage::VlanFilter(unsigned tag, unsigned type, unsigned value) {
    Image request(24, 0);
    request.Put32(4, tag).Put32(8, type).Put32(12, kEq).Put16(16, value);
    AddFilter(kVlan0 + tag, type, kEq, request);
    return *this;
}

FlowImage &FlowImage::IpFilter(unsigned type, uint32_t addr, uint32_t prefixLen) {
    Image request(28, 0);
    request.Put32(4, type).Put32(8, kEq).Put32(12, addr).Put32(16, prefixLen);
    AddFilter(kIpv4, type, kEq, request);
    return *this;
}

FlowImage &FlowImage::ActionHdr(unsigned hdr) {
    bytes_.Put16(kActionHdrBmap, bytes_.Get16(kActionHdrBmap) | 1u << hdr);
    ResetEntry(Find(kActionEntries, hdr).offset, 0);
    if (hdr == kVlan0 || hdr == kVlan1) {
        bytes_.Put8(kActionTotalTags, hdr);
    }
    return *this;
}

FlowImage &FlowImage::EthAction(unsigned type) {
    Image request(20, 0);
    request.Put32(4, type);
    AppendRequest(Find(kActionEntries, kEth).offset, type, request);
    bytes_.Put32(kActionLastEth, type).Add8(type == kPushTag ? kActionPushedTags : kActionPoppedTags, 1);
    return *this;
}

FlowImage &FlowImage::AddVlanAction(unsigned tag, unsigned type, const Image &request) {
    AppendRequest(Find(kActionEntries, kVlan0 + tag).offset, type, request);
    return *this;
}

FlowImage &FlowImage::VlanAction16(unsigned tag, unsigned type, unsigned value) {
    return AddVlanAction(tag, type, Image(16, 0).Put32(4, type).Put16(8, value).Put32(12, tag));
}

FlowImage &FlowImage::VlanAction8(unsigned tag, unsigned type, unsigned value) {
    return AddVlanAction(tag, type, Image(16, 0).Put32(4, type).Put8(8, value).Put32(12, tag));
}

FlowImage FlowImage::Active(uint32_t hwFlowIdx) const {
    FlowImage active = *this;
    active.bytes_.Put32(kStatus, kStatusActive).Put32(kHwFlowIdx, hwFlowIdx);
    return active;
}

} // namespace app_test
