// An FCB written by hand in either byte order.
#ifndef TESTS_JOURNAL_FCB_IMAGE_H
#define TESTS_JOURNAL_FCB_IMAGE_H

#include "tests/journal/image.h"

#include <map>

namespace journal_test {

inline constexpr std::size_t kFcbBytes = 1884;

// A header of a block, and where the fields of its requests lie. 99 for what there is none of.
struct HeaderPlace {
    const char *name;
    const char *block; // "filter" or "action"
    std::size_t hdrBmap;
    unsigned bit;
    std::size_t entry;
    std::size_t type;
    std::size_t cmpOp;
    std::size_t tag;
    std::size_t val;
};
inline constexpr std::size_t kNone = 99;

// clang-format off
inline constexpr HeaderPlace kEthFilter    {"eth",   "filter",  40, 0,  42, 4, 8,     kNone, 12};
inline constexpr HeaderPlace kVlan0Filter  {"vlan0", "filter",  40, 1,  64, 8, 12,    4,     16};
inline constexpr HeaderPlace kVlan1Filter  {"vlan1", "filter",  40, 2,  88, 8, 12,    4,     16};
inline constexpr HeaderPlace kPppoeFilter  {"pppoe", "filter",  40, 5, 112, 4, 8,     kNone, 12};
inline constexpr HeaderPlace kIpv4Filter   {"ipv4",  "filter",  40, 7, 134, 4, 8,     kNone, 12};
inline constexpr HeaderPlace kTcpFilter    {"tcp",   "filter",  40, 7, 174, 4, 8,     kNone, 12};
inline constexpr HeaderPlace kUdpFilter    {"udp",   "filter",  40, 7, 202, 4, 8,     kNone, 12};
inline constexpr HeaderPlace kEthAction    {"eth",   "action", 216, 0, 218, 4, kNone, kNone, 8};
inline constexpr HeaderPlace kVlan0Action  {"vlan0", "action", 216, 1, 224, 4, kNone, 12,    8};
inline constexpr HeaderPlace kVlan1Action  {"vlan1", "action", 216, 2, 230, 4, kNone, 12,    8};
inline constexpr HeaderPlace kPppoeAction  {"pppoe", "action", 216, 5, 236, 4, kNone, kNone, 8};
inline constexpr HeaderPlace kIpv4Action   {"ipv4",  "action", 216, 7, 242, 4, kNone, kNone, 8};
inline constexpr HeaderPlace kTcpAction    {"tcp",   "action", 216, 7, 248, 4, kNone, kNone, 8};
inline constexpr HeaderPlace kUdpAction    {"udp",   "action", 216, 7, 254, 4, kNone, kNone, 8};
// clang-format on

enum class Value { None, U8, U16, U32, Mac, MacMask, Ip };

struct Req {
    const HeaderPlace *header;
    std::uint32_t type;
    std::uint32_t cmpOp; // 99: an action
    Value form;
    std::uint32_t val;  // of an IP address the address
    std::uint32_t val2; // put as it is behind a VLAN or IPv4 filter; of an IP address the prefix length
    const char *json;
};

class FcbImage : public Image {
  public:
    // As the library allocates a flow; spare bytes and unset words have a pattern of their own.
    explicit FcbImage(ByteOrder order) : Image(kFcbBytes, order) {
        Put32(0, 2).Put32(4, 0xBEEF0102).Put32(8, 0xA5A5A5A5).Put32(12, 1).Put16(16, 0).Put32(20, 0);
        Fill(40, 300, 0xA5).Put16(40, 0).Put8(214, 0).Put16(216, 0).Put32(260, 0);
        PutBytes(264, {0, 0, 0}).Put32(268, 0);
        // What the driver does not look at before it is set.
        Put32(272, 0).Put32(280, 0).Put32(316, 0).Put8(328, 0).Put32(332, 0).Put32(336, 4);
        Put16(342, 0).Put16(344, 31);
        for (unsigned node = 0; node < 32; ++node) {
            Put16(NodeAt(node), node).Put16(NodeAt(node) + 2, node).Put16(NodeAt(node) + 4, node);
        }
    }

    static std::size_t NodeAt(unsigned node) { return 348 + 48 * std::size_t{node}; }

    // Lists take nodes 1, 2, 3, ... as they are asked for.
    unsigned AddList(const HeaderPlace &header) {
        const unsigned head = NewNode();
        PutBit(header.hdrBmap, header.bit);
        Put16(header.entry, 0x0102).Put16(header.entry + 2, head).Put16(header.entry + 4, 0x0304);
        return tail_[header.entry] = heads_[header.entry] = head;
    }
    void AddHeader(const HeaderPlace &header) {
        AddList(header.bit == 7 ? *Behind(header, 0) : header);
        if (header.bit == 7) {
            AddList(*Behind(header, 1));
            AddList(*Behind(header, 2));
        }
    }
    // A header that has no entry of its own.
    void PutBit(std::size_t hdrBmap, unsigned bit) {
        bits_[hdrBmap] |= 1u << bit;
        Put16(hdrBmap, bits_[hdrBmap]);
    }

    unsigned AddReq(const Req &req) {
        const HeaderPlace &header = *req.header;
        const unsigned node = NewNode();
        const std::size_t at = NodeAt(node) + 12;
        Put32(NodeAt(node) + 8, req.type);
        Put32(at, 0).Put32(at + header.type, req.type);
        if (header.cmpOp != kNone) {
            Put32(at + header.cmpOp, req.cmpOp);
        }
        if (header.tag != kNone) {
            Put32(at + header.tag, header.bit - 1);
        }
        PutValue(at + header.val, req);
        if (&header == &kVlan0Filter || &header == &kVlan1Filter) {
            Put32(at + 20, req.val2);
        }
        if (&header == &kIpv4Filter) {
            Put8(at + 20, req.val2);
        }
        const unsigned last = tail_[header.entry];
        const unsigned head = heads_[header.entry];
        Put16(NodeAt(last) + 2, node).Put16(NodeAt(node) + 4, last);
        Put16(NodeAt(node) + 2, head).Put16(NodeAt(head) + 4, node);
        tail_[header.entry] = node;
        return node;
    }

  private:
    static const HeaderPlace *Behind(const HeaderPlace &header, unsigned i) {
        static constexpr const HeaderPlace *kFilters[] = {&kIpv4Filter, &kTcpFilter, &kUdpFilter};
        static constexpr const HeaderPlace *kActions[] = {&kIpv4Action, &kTcpAction, &kUdpAction};
        return header.hdrBmap == 40 ? kFilters[i] : kActions[i];
    }
    unsigned NewNode() { return next_++; }
    void PutValue(std::size_t at, const Req &req) {
        switch (req.form) {
        case Value::None:
            break;
        case Value::U8:
            Put8(at, req.val);
            break;
        case Value::U16:
            Put16(at, req.val);
            break;
        case Value::U32:
            Put32(at, req.val);
            break;
        case Value::Mac:
            PutBytes(at, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55});
            break;
        case Value::MacMask:
            PutBytes(at, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0xFF, 0xFE, 0xFD, 0xFC, 0xFB, 0xFA});
            break;
        case Value::Ip:
            Put32(at, req.val).Put32(at + 4, req.val2);
            break;
        }
    }

    unsigned next_ = 1;
    std::map<std::size_t, unsigned> bits_, heads_, tail_;
};

} // namespace journal_test

#endif
