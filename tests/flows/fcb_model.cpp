#include "tests/flows/fcb_model.h"

#include <cstring>
#include <sstream>

namespace flows {

namespace {

constexpr std::size_t kFcbBytes = 1884;
constexpr std::size_t kFreeReqCount = 344;
constexpr std::size_t kReqPool = 348;
constexpr std::size_t kNodeBytes = 48;
constexpr unsigned kNodes = 32;

// Places within a node and within a header entry.
constexpr std::size_t kNext = 2;
constexpr std::size_t kPrev = 4;
constexpr std::size_t kReqList = 2;
constexpr std::size_t kCurBmap = 4;
constexpr std::size_t kCounters = 6;

// Places of the two blocks; the action block's entries have no counters.
struct Block {
    std::size_t hdrBmap;
    std::size_t eth, ethCounters;
    std::size_t vlan, vlanStride, vlanCounters;
    std::size_t pppoe, pppoeCounters;
    std::size_t ipv4, ipv4Counters;
    std::size_t tcp, tcpCounters;
    std::size_t udp, udpCounters;
    std::size_t totalTags;
};
constexpr Block kBlocks[2] = {
    {40, 42, 15, 64, 24, 18, 112, 15, 134, 33, 174, 21, 202, 6, 214},
    {216, 218, 0, 224, 6, 0, 236, 0, 242, 0, 248, 0, 254, 0, 264},
};

std::size_t NodeAt(unsigned idx) {
    return kReqPool + kNodeBytes * idx;
}

} // namespace

FcbModel::FcbModel() : bytes_(kFcbBytes, 0xA5) {
    Set32(12, 0);          // section
    Set16(16, 0);          // tblAssoc
    Set32(20, 0);          // asOverride
    Set32(24, 0xFFFFFFFF); // the reserved word behind it
    Set32(28, 0xFFFFFFFF); // epTblHdl
    Set16(40, 0);          // filter block: hdrBmap
    Clear(214, 1);         //   totalTags
    Set16(216, 0);         // action block: hdrBmap
    Set32(260, 0);         //   the last Ethernet action
    Clear(264, 3);         //   totalTags, pushedTags, poppedTags
    Set32(268, 0);         // fwdInfoSet
    Set32(272, 0);         // fwdInfo: flowPrio
    Set32(280, 0);         //   source port mask
    Set32(316, 0);         //   destination GEM port index mask
    Clear(328, 1);         //   queue id of port 8
    Set32(332, 0);         //   destination port mask
    Set32(336, 4);         //   fwdAction: learning
    Set16(342, 0);         // freeReqList
    Set16(kFreeReqCount, 31);
    for (unsigned i = 0; i < kNodes; ++i) {
        Set16(NodeAt(i), i);
        Set16(NodeAt(i) + kNext, (i + 1) % kNodes);
        Set16(NodeAt(i) + kPrev, (i + kNodes - 1) % kNodes);
    }
}

void FcbModel::Set16(std::size_t offset, unsigned value) {
    const auto half = static_cast<std::uint16_t>(value);
    std::memcpy(&bytes_.at(offset), &half, sizeof half);
}

void FcbModel::Set32(std::size_t offset, std::uint32_t value) {
    std::memcpy(&bytes_.at(offset), &value, sizeof value);
}

unsigned FcbModel::Get16(std::size_t offset) const {
    std::uint16_t half = 0;
    std::memcpy(&half, &bytes_.at(offset), sizeof half);
    return half;
}

void FcbModel::Clear(std::size_t offset, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        bytes_.at(offset + i) = 0;
    }
}

// 0 when the free list is empty: node 0 heads it and is never handed out.
unsigned FcbModel::TakeNode() {
    const unsigned node = Get16(NodeAt(0) + kNext);
    if (node == 0) {
        return 0;
    }
    const unsigned next = Get16(NodeAt(node) + kNext);
    Set16(NodeAt(0) + kNext, next);
    Set16(NodeAt(next) + kPrev, 0);
    Set16(NodeAt(node) + kNext, node);
    Set16(NodeAt(node) + kPrev, node);
    Set16(kFreeReqCount, Get16(kFreeReqCount) - 1);
    return node;
}

void FcbModel::ResetEntry(std::size_t offset, std::size_t counters, unsigned node) {
    Set16(offset, 0);
    Set16(offset + kReqList, node);
    Set16(offset + kCurBmap, 0);
    Clear(offset + kCounters, counters);
}

unsigned FcbModel::ResetIpv4(unsigned blk, unsigned node) {
    const Block &b = kBlocks[blk];
    ResetEntry(b.ipv4, b.ipv4Counters, node);
    const unsigned tcp = TakeNode();
    if (tcp == 0) {
        return 12;
    }
    ResetEntry(b.tcp, b.tcpCounters, tcp);
    const unsigned udp = TakeNode();
    if (udp == 0) {
        return 12;
    }
    ResetEntry(b.udp, b.udpCounters, udp);
    return 0;
}

unsigned FcbModel::AllocHdr(unsigned blk, unsigned hdr) {
    const Block &b = kBlocks[blk];
    const unsigned bmap = Get16(b.hdrBmap);
    const bool isVlan = hdr >= 1 && hdr <= 4;
    const unsigned required = isVlan ? (1u << hdr) - 1 : (hdr == 5 || hdr == 7) ? 1u : 0u;
    if ((bmap & required) != required) {
        return 10;
    }
    if ((bmap & (1u << hdr)) != 0) {
        return 12;
    }
    const unsigned node = TakeNode();
    if (node == 0) {
        return 12;
    }
    Set16(b.hdrBmap, bmap | (1u << hdr));
    if (isVlan) {
        const unsigned tag = hdr - 1;
        ResetEntry(b.vlan + b.vlanStride * tag, b.vlanCounters, node);
        bytes_.at(b.totalTags) = static_cast<std::uint8_t>(tag + 1);
    } else if (hdr == 0) {
        ResetEntry(b.eth, b.ethCounters, node);
    } else if (hdr == 5) {
        const unsigned reqCount = Get16(b.pppoe);
        ResetEntry(b.pppoe, b.pppoeCounters, node);
        if (blk == 1) {
            Set16(b.pppoe, reqCount); // the action block leaves it as it was
        }
    } else if (hdr == 7) {
        return ResetIpv4(blk, node);
    }
    return 0;
}

std::string FcbModel::DiffersFrom(const std::vector<std::uint8_t> &real) const {
    std::ostringstream text;
    if (real.size() != bytes_.size()) {
        text << "size " << real.size() << ", expected " << bytes_.size();
        return text.str();
    }
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (real[i] != bytes_[i]) {
            text << "byte " << i << " is 0x" << std::hex << unsigned{real[i]} << ", expected 0x"
                 << unsigned{bytes_[i]};
            return text.str();
        }
    }
    return "";
}

} // namespace flows
