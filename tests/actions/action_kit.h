// The family of actions, one row per header: its rules as people read them and its operations behind one call
// form, so that a test can walk the whole family.
#ifndef TESTS_ACTIONS_ACTION_KIT_H
#define TESTS_ACTIONS_ACTION_KIT_H

#include "tests/filters/flow_kit.h"

#include <string>
#include <vector>

namespace test {

// An action request of any header.
union AnyAction {
    EthAction eth;
    VlanAction vlan;
    PppoeAction pppoe;
    Ipv4Action ipv4;
    TcpAction tcp;
    UdpAction udp;
    u8 bytes[40];
};

// How a value lies at the head of the value area.
enum class Value { None, Mac, U8, U16, U32, Ip };

struct ActionType {
    const char *name;
    Value value;
    u32 good;                    // a value that the type accepts
    std::vector<u32> excludedBy; // types that must not be there already
};

struct ActionMember {
    const char *hdr; // as in the names of the operations
    u32 tag;         // VLAN only
    u32 bit;         // of hdrBmap
    u32 row;         // of the rule table
    u32 recordSize;
    bool l4;
    std::vector<ActionType> types;

    u32 (*config)(FlowHdl *, const void *);
    u32 (*get)(FlowHdl *, void *);
    u32 (*validateConfig)(const void *);
    u32 (*store)(Fcb *, const void *);
    void (*fillNode)(const void *, ReqNode *);
    u32 (*validateGet)(const void *);
    u32 (*read)(const Fcb *, void *);
    void (*next)(Fcb *, u32 tag, void **, void *);
    void (*dump)(const void *);
    void (*dumpGet)(FlowHdl *, u32 tag, u32 type);
    HdrEntry *(*entry)(Fcb *, u32 tag);

    bool IsVlan() const { return types.size() == e_VLAN_ACTION_MAX; }
    bool IsEth() const { return types.size() == e_ETH_ACTION_MAX; }
    u32 NumTypes() const { return static_cast<u32>(types.size()); }
    HdrEntry *Entry(Fcb *fcb) const { return entry(fcb, tag); }

    std::string Label() const { return IsVlan() ? std::string(hdr) + (tag == 0 ? "[0]" : "[1]") : hdr; }
    // Names as logs print them, e.g. Fn("QIR_Config_") is QIR_Config_EthAction.
    std::string Fn(const char *prefix) const { return std::string(prefix) + hdr + "Action"; }
    std::string Chk() const { return l4 ? "Chk_L4ActionDepBmapTbl" : "Chk_ActionDepBmapTbl"; }
};

// Ethernet, VLAN tag 0, VLAN tag 1, PPPoE, IPv4, TCP, UDP.
const std::vector<ActionMember> &ActionMembers();
const ActionMember &ActionOf(const char *label);

// A request to add; the bytes that are not written hold `fill`.
AnyAction MakeAction(const ActionMember &m, u32 type, u32 value, u8 fill = 0);
// With a value that the type accepts.
AnyAction GoodAction(const ActionMember &m, u32 type);

void SetOp(AnyAction *req, u32 op);
void SetType(AnyAction *req, u32 type);
void SetTag(AnyAction *req, u32 tag);
u32 TypeOf(const AnyAction &req);

// What the exclusion rules do with an action whose op, type, tag and value are good: changes the header's
// entry in `fcb` and names the code and the lines.
Outcome JudgeDependency(const ActionMember &m, Fcb *fcb, u32 type);
// The rules of storing an Ethernet action: exclusion, order, tag accounting.
Outcome JudgeEthAction(Fcb *fcb, u32 type);
// All rules of storing, and stores an accepted request in the FCB's lists.
Outcome JudgeAndStoreAction(const ActionMember &m, Fcb *fcb, const AnyAction &req);

// Flow 5 with all headers of the action block.
class ActionFlowTest : public HeaderFlowTest {
  protected:
    void SetUp() override {
        HeaderFlowTest::SetUp();
        AllocAllHdrs(e_BLKTYPE_ACTION);
        CopyFcb(&fresh_, *fcb_);
    }
    void Restore() { CopyFcb(fcb_, fresh_); }
    u32 Config(const ActionMember &m, const AnyAction &req) { return m.config(&hdl_, &req); }
    // Without what it prints.
    u32 QuietConfig(const ActionMember &m, const AnyAction &req) {
        u32 code = 0;
        Capture([&] { code = Config(m, req); });
        return code;
    }

    Fcb fresh_;
};

} // namespace test

#endif
