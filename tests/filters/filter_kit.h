// The family of filters, one row per header: its rules as people read them, its value limits, and its
// operations behind one call form, so that a test can walk the whole family.
#ifndef TESTS_FILTERS_FILTER_KIT_H
#define TESTS_FILTERS_FILTER_KIT_H

#include "tests/filters/flow_kit.h"

#include <string>
#include <vector>

namespace test {

// A filter request of any header.
union AnyFilter {
    EthFilter eth;
    VlanFilter vlan;
    PppoeFilter pppoe;
    Ipv4Filter ipv4;
    TcpFilter tcp;
    UdpFilter udp;
    u8 bytes[48];
};

// How a value lies at the head of the value area.
enum class Field { U8, U16, U32, Mac, Prefix };

// Operators that a type takes.
constexpr unsigned kEq = 1u << e_CMP_EQ;
constexpr unsigned kNeq = 1u << e_CMP_NEQ;
constexpr unsigned kRange = 1u << e_CMP_IN_RANGE;

// How many filters of one type and operator a header may hold.
constexpr unsigned kOperatorLimit[e_CMP_MAX] = {1, 4, 1};

struct FilterType {
    const char *name;
    Field field;
    u32 lowest, highest; // accepted values
    unsigned operators;
    std::vector<u32> excludedBy; // types that must not be there already
};

struct FilterMember {
    const char *hdr; // as in the names of the operations
    u32 tag;         // VLAN only
    u32 bit;         // of hdrBmap
    u32 row;         // of the rule tables
    u32 recordSize;
    std::vector<FilterType> types;

    u32 (*config)(FlowHdl *, const void *);
    u32 (*get)(FlowHdl *, void *, u8, u8 *);
    u32 (*validateConfig)(Fcb *, const void *);
    u32 (*store)(Fcb *, const void *);
    void (*fillNode)(const void *, ReqNode *);
    u32 (*validateGet)(const void *, u8, const u8 *);
    u32 (*read)(const Fcb *, void *, u8, u8 *);
    void (*next)(Fcb *, u32 tag, void **, void *);
    void (*dump)(const void *);
    HdrEntry *(*entry)(Fcb *, u32 tag);
    u8 *(*counters)(Fcb *, u32 tag);

    bool IsVlan() const { return recordSize == sizeof(VlanFilter); }
    bool IsUdp() const { return types.size() == e_UDP_FILT_MAX; }
    bool IsL4() const { return bit == e_FLOWHDR_IPV4 && types.size() != e_IPV4_FILT_MAX; }
    u32 NumTypes() const { return static_cast<u32>(types.size()); }
    HdrEntry *Entry(Fcb *fcb) const { return entry(fcb, tag); }
    u8 *Counter(Fcb *fcb, u32 cmpOp, u32 type) const {
        return counters(fcb, tag) + cmpOp * NumTypes() + type;
    }

    std::string Label() const { return IsVlan() ? std::string(hdr) + (tag == 0 ? "[0]" : "[1]") : hdr; }
    // Names as logs print them, e.g. Fn("QIR_Config_") is QIR_Config_EthFilter.
    std::string Fn(const char *prefix) const { return std::string(prefix) + hdr + "Filter"; }
    std::string Chk() const { return IsL4() ? "Chk_L4FilterDepBmapTbl" : "Chk_FilterDepBmapTbl"; }
};

// Ethernet, VLAN tag 0, VLAN tag 1, PPPoE, IPv4, TCP, UDP.
const std::vector<FilterMember> &FilterMembers();
const FilterMember &FilterOf(const char *label);

// A request to add; the bytes that are not written hold `fill`. IPv4 requests get 63 as their upper bound.
AnyFilter MakeFilter(const FilterMember &m, u32 type, u32 cmpOp, u32 value, u8 fill = 0);
// With the lowest value that the type accepts.
AnyFilter GoodFilter(const FilterMember &m, u32 type, u32 cmpOp);

void SetOp(AnyFilter *req, u32 op);
void SetTag(AnyFilter *req, u32 tag);
void SetType(const FilterMember &m, AnyFilter *req, u32 type);
void SetCmpOp(const FilterMember &m, AnyFilter *req, u32 cmpOp);
u32 TypeOf(const FilterMember &m, const AnyFilter &req);
u32 CmpOpOf(const FilterMember &m, const AnyFilter &req);

// What rules and value limits do with a request whose op, type, operator and tag are in range: changes the
// header's entry in `fcb` and names the code and the lines.
Outcome JudgeFilter(const FilterMember &m, Fcb *fcb, const AnyFilter &req);
// The same, and stores an accepted request in the FCB's lists.
Outcome JudgeAndStoreFilter(const FilterMember &m, Fcb *fcb, const AnyFilter &req);

// Flow 5 with all headers of the filter block.
class FilterFlowTest : public HeaderFlowTest {
  protected:
    void SetUp() override {
        HeaderFlowTest::SetUp();
        AllocAllHdrs(e_BLKTYPE_FILTER);
        CopyFcb(&fresh_, *fcb_);
    }
    void Restore() { CopyFcb(fcb_, fresh_); }
    u32 Config(const FilterMember &m, const AnyFilter &req) { return m.config(&hdl_, &req); }
    // Without what it prints.
    u32 QuietConfig(const FilterMember &m, const AnyFilter &req) {
        u32 code = 0;
        Capture([&] { code = Config(m, req); });
        return code;
    }

    Fcb fresh_;
};

} // namespace test

#endif
