// Filters and actions: a row per header with its rules as people read them, its value limits and its
// operations behind one call form, so that a test can walk both families. And a flow with headers, with a
// model of what a request does to its FCB.
#ifndef TESTS_REQUESTS_REQUEST_KIT_H
#define TESTS_REQUESTS_REQUEST_KIT_H

#include "tests/support/library.h"

#include <functional>
#include <string>
#include <vector>

namespace test {

using qir::Fcb;
using qir::HdrEntry;
using qir::ReqNode;
using qir::u16;
using qir::u32;
using qir::u8;

// ---- requests -------------------------------------------------------------------------------------

// A request of any header.
union AnyRequest {
    EthFilter ethFilter;
    VlanFilter vlanFilter;
    Ipv4Filter ipv4Filter;
    EthAction ethAction;
    VlanAction vlanAction;
    Ipv4Action ipv4Action;
    u8 bytes[48];
};

// How a value lies at the head of the value area. Ip is the address 10.0.0.1 and a word that counts.
enum class Form { None, U8, U16, U32, Mac, Ip };

// Operators that a filter takes, and how many filters of one type and operator a header may hold.
constexpr unsigned kEq = 1u << e_CMP_EQ;
constexpr unsigned kNeq = 1u << e_CMP_NEQ;
constexpr unsigned kRange = 1u << e_CMP_IN_RANGE;
constexpr unsigned kOperatorLimit[e_CMP_MAX] = {1, 4, 1};

struct RequestType {
    const char *name;
    Form form;
    u32 lowest, highest;         // accepted values
    std::vector<u32> excludedBy; // types that must not be there already
    unsigned operators = kEq;
};

// The operations of one header. What an action does not take is not used.
struct Operations {
    u32 (*config)(FlowHdl *, const void *);
    u32 (*get)(FlowHdl *, void *, u8 size, u8 *count);
    u32 (*validateConfig)(Fcb *, const void *);
    u32 (*store)(Fcb *, const void *);
    void (*fillNode)(const void *, ReqNode *);
    u32 (*validateGet)(const void *, u8 size, const u8 *count);
    u32 (*read)(const Fcb *, void *, u8 size, u8 *count);
    void (*next)(Fcb *, u32 tag, void **, void *);
    void (*dump)(const void *);
    HdrEntry *(*entry)(Fcb *, u32 tag);
    u8 *(*counters)(Fcb *, u32 tag); // null for actions
};

struct Place {
    u32 tag; // VLAN only
    u32 bit; // of hdrBmap
    u32 row; // of the rule tables
};

struct Member : Operations, Place {
    bool isFilter;
    const char *hdr; // as in the names of the operations
    u32 recordSize;
    std::vector<RequestType> types;

    bool Is(const char *name) const { return std::strcmp(hdr, name) == 0; }
    bool IsVlan() const { return Is("Vlan"); }
    bool IsL4() const { return Is("Tcp") || Is("Udp"); }
    bool IsEthAction() const { return !isFilter && Is("Eth"); }
    bool IsUdpFilter() const { return isFilter && Is("Udp"); }
    u32 NumTypes() const { return static_cast<u32>(types.size()); }
    u32 NumOperators() const { return isFilter ? e_CMP_MAX : 1; }
    bool IsRepeatable(u32 type) const { return types[type].excludedBy.empty(); }

    HdrEntry *Entry(Fcb *fcb) const { return entry(fcb, tag); }
    u8 *Counter(Fcb *fcb, u32 cmpOp, u32 type) const {
        return counters(fcb, tag) + cmpOp * NumTypes() + type;
    }
    // Allocated headers of the member's block, and of the other one.
    u16 *Headers(Fcb *fcb) const { return isFilter ? &fcb->filterBlk.hdrBmap : &fcb->actionBlk.hdrBmap; }
    u16 *OtherHeaders(Fcb *fcb) const { return isFilter ? &fcb->actionBlk.hdrBmap : &fcb->filterBlk.hdrBmap; }

    // Codes of a type out of range, in a query too, and of an excluded type.
    u32 BadType() const { return isFilter ? 47 : 48; }
    u32 BadQueryType() const { return IsEthAction() ? 25 : BadType(); }
    u32 Excluded() const { return isFilter ? 22 : 23; }

    std::string Family() const { return isFilter ? "Filter" : "Action"; }
    std::string Label() const { return hdr + (IsVlan() ? std::to_string(tag) : "") + Family(); }
    // Names as logs print them, e.g. Fn("QIR_Config_") is QIR_Config_EthFilter.
    std::string Fn(const char *prefix) const { return prefix + (hdr + Family()); }
    std::string Chk() const { return (IsL4() ? "Chk_L4" : "Chk_") + Family() + "DepBmapTbl"; }
    std::string Pointer() const { return isFilter ? "filter_p" : "action_p"; }
};

// Filters, then actions, of Ethernet, VLAN tags 0 and 1, PPPoE, IPv4, TCP, UDP.
const std::vector<Member> &Members();
// By label: EthFilter, Vlan0Filter, ..., UdpAction.
const Member &Of(const std::string &label);

// A request to add; the bytes that are not written hold `fill`. IPv4 filters get 63 as their upper bound.
AnyRequest Make(const Member &m, u32 type, u32 value, u32 cmpOp = e_CMP_EQ, u8 fill = 0);
// With the lowest value that the type accepts.
AnyRequest Good(const Member &m, u32 type, u32 cmpOp = e_CMP_EQ);
// With bytes that are all different.
AnyRequest Numbered(const Member &m, u32 type);

void SetOp(AnyRequest *req, u32 op);
void SetTag(const Member &m, AnyRequest *req, u32 tag);
void SetType(const Member &m, AnyRequest *req, u32 type);
void SetCmpOp(const Member &m, AnyRequest *req, u32 cmpOp);
void SetValue(const Member &m, AnyRequest *req, u32 type, u32 value);
u32 TypeOf(const Member &m, const AnyRequest &req);
bool Same(const AnyRequest &a, const AnyRequest &b);

// ---- what a call should do ------------------------------------------------------------------------

// The line of a code under a function's name.
std::string Code(const std::string &fn, u32 code);

// A code, and the lines that internal functions print before the closing line.
struct Outcome {
    u32 code = 0;
    std::string lines;
};

// What the rules do with a request whose op, type, operator, tag and value are good: changes the header's
// entry in `fcb`. The rules of filters are part of validation, those of actions of storing.
Outcome Judge(const Member &m, Fcb *fcb, const AnyRequest &req);
// The same, and stores an accepted request in the FCB's lists.
Outcome JudgeAndStore(const Member &m, Fcb *fcb, const AnyRequest &req);

// What went wrong while standard output was captured: a failure reported there would vanish with it.
class Findings {
  public:
    void Add(const std::string &what) { text_ += ++count_ <= 10 ? what + "\n" : ""; }
    std::string Text() const { return count_ == 0 ? "" : text_ + std::to_string(count_) + " findings"; }

  private:
    unsigned count_ = 0;
    std::string text_;
};

// ---- flows ----------------------------------------------------------------------------------------

// Copies all bytes, padding included.
void CopyFcb(Fcb *to, const Fcb &from);
// Empty when the bytes are equal, else where they differ.
std::string FcbDiff(const Fcb &expected, const Fcb &actual);
// Takes the first free node and puts a request at the tail of a list.
void Append(Fcb *fcb, u16 head, u32 key, const void *req, std::size_t size);
// Leaves `left` nodes in the free list. The nodes taken point to themselves.
void DrainPool(Fcb *fcb, unsigned left = 0);

// Adds requests of the member in every order, `depth` levels deep, and compares each call with the rules: its
// code, all bytes of the FCB and, in the end, what all of them printed.
struct Walk {
    const Member &m;
    FlowHdl *hdl;
    Fcb *fcb;
    Findings findings = {};
    unsigned long calls = 0;
    std::string lines = {};

    void Run(unsigned depth);

  private:
    void Add(unsigned depth, const std::string &path);
};

// Every test has flow 5, allocated in section 1, with a handle whose upper half is not zero and without
// headers. Restore gives it all headers of a member's block: seven nodes of 31 head their lists.
class RequestTest : public LibraryTest {
  protected:
    void SetUp() override;

    void AllocHdr(u32 blk, u32 flowHdr);
    void AllocAllHdrs(u32 blk);
    void Restore(const Member &m) { CopyFcb(fcb_, m.isFilter ? withFilters_ : withActions_); }
    const Fcb &Fresh(const Member &m) const { return m.isFilter ? withFilters_ : withActions_; }

    u32 Config(const Member &m, const AnyRequest &req) { return m.config(&hdl_, &req); }
    u32 Get(const Member &m, AnyRequest *req) {
        u8 count = 0;
        return m.get(&hdl_, req, 1, &count);
    }
    // The code, and what is printed.
    static Outcome Run(const std::function<u32()> &op);
    // Without what it prints.
    static u32 Quiet(const std::function<u32()> &op) { return Run(op).code; }
    u32 QuietConfig(const Member &m, const AnyRequest &req) {
        return Quiet([&] { return Config(m, req); });
    }

    FlowHdl hdl_{};
    Fcb *fcb_ = nullptr;
    Fcb withFilters_;
    Fcb withActions_;
};

} // namespace test

#endif
