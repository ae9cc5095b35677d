#include "tests/requests/request_kit.h"

#include "qirapi/access/flow_access.h"
#include "qirapi/private/actions.h"
#include "qirapi/private/filters.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace test {

namespace {

// A pointer to whatever a function takes.
struct Ptr {
    const void *to;
    template <class Rec> operator Rec *() const { return static_cast<Rec *>(const_cast<void *>(to)); }
};

// Only VLAN headers take a tag.
template <class Rec>
void Next(void (*fn)(Fcb *, void **, Rec *), Fcb *fcb, u32 /*tag*/, void **info, void *req) {
    fn(fcb, info, static_cast<Rec *>(req));
}
template <class Rec>
void Next(void (*fn)(Fcb *, u32, void **, Rec *), Fcb *fcb, u32 tag, void **info, void *req) {
    fn(fcb, tag, info, static_cast<Rec *>(req));
}

// The operations of a header; `place` is its entry in the block, where `tagNum` is the VLAN tag.
#define FILTER_OPERATIONS(Hdr, place)                                                                        \
    {                                                                                                        \
        [](FlowHdl *hdl, const void *req) { return QIR_Config_##Hdr##Filter(hdl, Ptr{req}); },               \
            [](FlowHdl *hdl, void *req, u8 n, u8 *count) {                                                   \
                return QIR_Get_##Hdr##Filter(hdl, Ptr{req}, n, count);                                       \
            },                                                                                               \
            [](Fcb *fcb, const void *req) { return qir::Validate_Config_##Hdr##Filter(fcb, Ptr{req}); },     \
            [](Fcb *fcb, const void *req) { return qir::Config_##Hdr##Filter(fcb, Ptr{req}); },              \
            [](const void *req, ReqNode *node) { qir::FillReq_##Hdr##FilterReqNode(Ptr{req}, node); },       \
            [](const void *req, u8 n, const u8 *count) {                                                     \
                return qir::Validate_Get_##Hdr##Filter(Ptr{req}, n, count);                                  \
            },                                                                                               \
            [](const Fcb *fcb, void *req, u8 n, u8 *count) {                                                 \
                return qir::Get_##Hdr##Filter(fcb, Ptr{req}, n, count);                                      \
            },                                                                                               \
            [](Fcb *fcb, u32 tagNum, void **info, void *req) {                                               \
                Next(qir::getNext##Hdr##Filter, fcb, tagNum, info, req);                                     \
            },                                                                                               \
            [](const void *req) { qir::Dump_##Hdr##FilterReq(Ptr{req}); },                                   \
            [](Fcb *fcb, [[maybe_unused]] u32 tagNum) { return &fcb->filterBlk.place.hdr; },                 \
            [](Fcb *fcb, [[maybe_unused]] u32 tagNum) { return &fcb->filterBlk.place.cmpOpCurCnt[0]; }       \
    }
#define ACTION_OPERATIONS(Hdr, place)                                                                        \
    {                                                                                                        \
        [](FlowHdl *hdl, const void *req) { return QIR_Config_##Hdr##Action(hdl, Ptr{req}); },               \
            [](FlowHdl *hdl, void *req, u8, u8 *) { return QIR_Get_##Hdr##Action(hdl, Ptr{req}); },          \
            [](Fcb *, const void *req) { return qir::Validate_Config_##Hdr##Action(Ptr{req}); },             \
            [](Fcb *fcb, const void *req) { return qir::Config_##Hdr##Action(fcb, Ptr{req}); },              \
            [](const void *req, ReqNode *node) { qir::FillReq_##Hdr##ActionReqNode(Ptr{req}, node); },       \
            [](const void *req, u8, const u8 *) { return qir::Validate_Get_##Hdr##Action(Ptr{req}); },       \
            [](const Fcb *fcb, void *req, u8, u8 *) { return qir::Get_##Hdr##Action(fcb, Ptr{req}); },       \
            [](Fcb *fcb, u32 tagNum, void **info, void *req) {                                               \
                Next(qir::getNext##Hdr##Action, fcb, tagNum, info, req);                                     \
            },                                                                                               \
            [](const void *req) { qir::Dump_##Hdr##ActionReq(Ptr{req}); },                                   \
            [](Fcb *fcb, [[maybe_unused]] u32 tagNum) { return &fcb->actionBlk.place; }, nullptr             \
    }

constexpr u32 kAny8 = 0xFF;
constexpr u32 kAny16 = 0xFFFF;
constexpr u32 kAny32 = 0xFFFFFFFF;

Member Header(const Operations &operations, bool isFilter, const char *hdr, const Place &place,
              u32 recordSize, std::vector<RequestType> types) {
    return {operations, place, isFilter, hdr, recordSize, std::move(types)};
}

Member EthFilters() {
    enum { MCAST, BCAST, DA, SA, ETHTYPE };
    return Header(FILTER_OPERATIONS(Eth, eth), true, "Eth", {0, 0, 0}, 36,
                  {{"MCAST", Form::U8, 0, 1, {MCAST, BCAST, DA}},
                   {"BCAST", Form::U8, 0, 1, {MCAST, BCAST, DA}},
                   {"DA", Form::Mac, 0, kAny8, {MCAST, BCAST, DA}},
                   {"SA", Form::Mac, 0, kAny8, {SA}},
                   {"ETHTYPE", Form::U16, 1536, kAny16, {}, kEq | kNeq}});
}

Member VlanFilters(u32 tag) {
    enum { TAG, TPID, TCI, PBITS, DEI, VID };
    return Header(FILTER_OPERATIONS(Vlan, vlan[tagNum]), true, "Vlan", {tag, tag + 1, tag + 1}, 24,
                  {{"TAG", Form::U32, 0, kAny32, {TAG, TPID, TCI, PBITS, DEI, VID}},
                   {"TPID", Form::U16, 0, kAny16, {TAG, TPID}, kEq | kNeq},
                   {"TCI", Form::U16, 0, kAny16, {TAG, TCI, PBITS, DEI, VID}},
                   {"PBITS", Form::U8, 0, 7, {TAG, TCI, PBITS}},
                   {"DEI", Form::U8, 0, 1, {TAG, TCI, DEI}},
                   {"VID", Form::U16, 0, 4095, {TAG, TCI, VID}, kEq | kNeq}});
}

Member PppoeFilters() {
    enum { VER, TYPE, CODE, SESID, PROTO };
    return Header(FILTER_OPERATIONS(Pppoe, pppoe), true, "Pppoe", {0, 5, 5}, 16,
                  {{"VER", Form::U8, 1, 1, {VER}},
                   {"TYPE", Form::U8, 1, 1, {TYPE}, kEq | kNeq},
                   {"CODE", Form::U8, 0, 254, {CODE}},
                   {"SESID", Form::U16, 0, 65534, {SESID}},
                   {"PROTO", Form::U16, 0, kAny16, {PROTO}, kEq | kNeq}});
}

Member Ipv4Filters() {
    enum { VER, IHL, SA, DA, MCAST, TOS, DSCP, DSCP_1P, TTL_GT1, PROTO, FRAG };
    return Header(FILTER_OPERATIONS(Ipv4, ipv4), true, "Ipv4", {0, 7, 7}, 28,
                  {{"VER", Form::U8, 4, 4, {VER}},
                   {"IHL", Form::U8, 0, 254, {IHL}},
                   {"SA", Form::Ip, 0, 32, {SA}},
                   {"DA", Form::Ip, 0, 32, {DA, MCAST}},
                   {"MCAST", Form::U8, 0, 1, {DA, MCAST}},
                   {"TOS", Form::U8, 0, 254, {TOS, DSCP}},
                   {"DSCP", Form::U8, 0, 63, {TOS, DSCP}, kEq | kRange},
                   {"DSCP_1P", Form::U8, 0, 7, {DSCP_1P}},
                   {"TTL_GT1", Form::U8, 0, 1, {TTL_GT1}},
                   {"PROTO", Form::U16, 0, 65534, {}, kEq | kNeq},
                   {"FRAG", Form::U16, 0, 1, {FRAG}}});
}

Member TcpFilters() {
    enum { SPORT, DPORT, SYN, ACK, FIN, RST, CTRL };
    return Header(FILTER_OPERATIONS(Tcp, tcp), true, "Tcp", {0, 7, 0}, 16,
                  {{"SPORT", Form::U16, 0, kAny16, {SPORT}, kEq | kNeq},
                   {"DPORT", Form::U16, 0, kAny16, {DPORT}, kEq | kNeq},
                   {"SYN", Form::U8, 0, 1, {SYN, CTRL}},
                   {"ACK", Form::U8, 0, 1, {ACK, CTRL}},
                   {"FIN", Form::U8, 0, 1, {FIN, CTRL}},
                   {"RST", Form::U8, 0, 1, {RST, CTRL}},
                   {"CTRL", Form::U8, 0, 63, {SYN, ACK, FIN, RST, CTRL}}});
}

Member UdpFilters() {
    enum { SPORT, DPORT };
    return Header(FILTER_OPERATIONS(Udp, udp), true, "Udp", {0, 7, 1}, 16,
                  {{"SPORT", Form::U16, 0, kAny16, {SPORT}, kEq | kNeq},
                   {"DPORT", Form::U16, 0, kAny16, {DPORT}, kEq | kNeq}});
}

Member EthActions() {
    enum { DA, SA, ETHTYPE };
    return Header(ACTION_OPERATIONS(Eth, eth), false, "Eth", {0, 0, 0}, 20,
                  {{"DA", Form::Mac, 0, kAny8, {DA}},
                   {"SA", Form::Mac, 0, kAny8, {SA}},
                   {"ETHTYPE", Form::U16, 1536, kAny16, {ETHTYPE}},
                   {"PUSH_TAG", Form::None, 0, kAny32, {}},
                   {"POP_TAG", Form::None, 0, kAny32, {}}});
}

// Who writes which part of a tag: the whole tag, its protocol id, its control information and the three
// fields of that.
Member VlanActions(u32 tag) {
    enum {
        SET_TAG,
        SET_TPID,
        SET_TCI,
        SET_PBITS,
        SET_DEI,
        SET_VID,
        COPY_TAG,
        COPY_TPID,
        COPY_TCI,
        COPY_PBITS,
        COPY_VID,
        COPY_DEI,
        XLATE_DSCP,
        XLATE_ETHTYPE
    };
    const std::vector<u32> any = {SET_TAG,  SET_TPID, SET_TCI,    SET_PBITS,    SET_DEI,
                                  SET_VID,  COPY_TAG, COPY_TPID,  COPY_TCI,     COPY_PBITS,
                                  COPY_VID, COPY_DEI, XLATE_DSCP, XLATE_ETHTYPE};
    const std::vector<u32> tpid = {SET_TAG, COPY_TAG, SET_TPID, COPY_TPID};
    const std::vector<u32> tci = {SET_TAG,    COPY_TAG,      SET_TCI, COPY_TCI, SET_PBITS, COPY_PBITS,
                                  XLATE_DSCP, XLATE_ETHTYPE, SET_DEI, COPY_DEI, SET_VID,   COPY_VID};
    const std::vector<u32> pbits = {SET_TAG,   COPY_TAG,   SET_TCI,    COPY_TCI,
                                    SET_PBITS, COPY_PBITS, XLATE_DSCP, XLATE_ETHTYPE};
    const std::vector<u32> dei = {SET_TAG, COPY_TAG, SET_TCI, COPY_TCI, SET_DEI, COPY_DEI};
    const std::vector<u32> vid = {SET_TAG, COPY_TAG, SET_TCI, COPY_TCI, SET_VID, COPY_VID};
    const u32 other = 1 - tag; // the only source that the copy actions accept
    return Header(ACTION_OPERATIONS(Vlan, vlan[tagNum]), false, "Vlan", {tag, tag + 1, tag + 1}, 16,
                  {{"SET_TAG", Form::U32, 0, kAny32, any},
                   {"SET_TPID", Form::U16, 0, kAny16, tpid},
                   {"SET_TCI", Form::U16, 0, kAny16, tci},
                   {"SET_PBITS", Form::U8, 0, 7, pbits},
                   {"SET_DEI", Form::U8, 0, 1, dei},
                   {"SET_VID", Form::U16, 0, 4095, vid},
                   {"COPY_TAG_FROM_TAG", Form::U32, other, other, any},
                   {"COPY_TPID_FROM_TAG", Form::U32, other, other, tpid},
                   {"COPY_TCI_FROM_TAG", Form::U32, other, other, tci},
                   {"COPY_PBITS_FROM_TAG", Form::U32, other, other, pbits},
                   {"COPY_VID_FROM_TAG", Form::U32, other, other, vid},
                   {"COPY_DEI_FROM_TAG", Form::U32, other, other, dei},
                   {"XLATE_PBITS_FROM_DSCP", Form::U32, 0, kAny32, pbits},
                   {"XLATE_PBITS_FROM_ETHTYPE", Form::U32, 0, kAny32, pbits}});
}

Member PppoeActions() {
    return Header(ACTION_OPERATIONS(Pppoe, pppoe), false, "Pppoe", {0, 5, 5}, 12,
                  {{"0", Form::U32, 0, kAny32, {0}}});
}

Member Ipv4Actions() {
    enum { DA, SA, TOS, DSCP };
    return Header(ACTION_OPERATIONS(Ipv4, ipv4), false, "Ipv4", {0, 7, 7}, 16,
                  {{"DA", Form::Ip, 0, kAny32, {DA}},
                   {"SA", Form::Ip, 0, kAny32, {SA}},
                   {"TOS", Form::U8, 0, kAny8, {TOS, DSCP}},
                   {"DSCP", Form::U8, 0, kAny8, {TOS, DSCP}}});
}

std::vector<RequestType> PortActions() {
    return {{"SPORT", Form::U16, 0, kAny16, {0}}, {"DPORT", Form::U16, 0, kAny16, {1}}};
}

void Put(AnyRequest *req, std::size_t offset, u32 word) {
    std::memcpy(req->bytes + offset, &word, sizeof word);
}

u32 Word(const AnyRequest &req, std::size_t offset) {
    u32 word = 0;
    std::memcpy(&word, req.bytes + offset, sizeof word);
    return word;
}

// Where the type stands, behind the operation and a filter's tag.
std::size_t TypeAt(const Member &m) {
    return m.isFilter && m.IsVlan() ? 8 : 4;
}

std::size_t ValueAt(const Member &m) {
    return TypeAt(m) + (m.isFilter ? 8 : 4); // an action has no operator
}

u32 CmpOpOf(const Member &m, const AnyRequest &req) {
    return m.isFilter ? Word(req, TypeAt(m) + 4) : static_cast<u32>(e_CMP_EQ);
}

// The order of pushes, rewrites and pops, and the count of tags.
Outcome JudgeEthAction(const Fcb *fcb, u32 type) {
    const std::string fn = "Config_EthAction";
    const qir::ActionBlk &blk = fcb->actionBlk;
    const unsigned matched = fcb->filterBlk.totalTags;
    const unsigned pushed = blk.pushedTags;
    if (type == e_ETH_ACTION_PUSH_TAG) {
        if (blk.eth.reqCount > 0 && blk.lastEthAction != e_ETH_ACTION_PUSH_TAG) {
            return {9, Code(fn, 9)};
        }
        if (matched + pushed >= 2) { // a third tag
            return {25, "pushedTags=" + std::to_string(pushed) +
                            " filter totalTags=" + std::to_string(matched) + " \n" + Code(fn, 25)};
        }
        // the new tag stands at position matched + pushed + 1, 1 or 2
        const bool hasHeader = (blk.hdrBmap & (matched + pushed == 0 ? 0x0002 : 0x0004)) != 0;
        return hasHeader ? Outcome{} : Outcome{25, Code(fn, 25)};
    }
    if (type == e_ETH_ACTION_POP_TAG) {
        return blk.poppedTags >= matched + pushed ? Outcome{25, Code(fn, 25)} : Outcome{};
    }
    return blk.lastEthAction == e_ETH_ACTION_POP_TAG ? Outcome{9, Code(fn, 9)} : Outcome{};
}

} // namespace

const std::vector<Member> &Members() {
    static const std::vector<Member> members = {
        EthFilters(),
        VlanFilters(0),
        VlanFilters(1),
        PppoeFilters(),
        Ipv4Filters(),
        TcpFilters(),
        UdpFilters(),
        EthActions(),
        VlanActions(0),
        VlanActions(1),
        PppoeActions(),
        Ipv4Actions(),
        Header(ACTION_OPERATIONS(Tcp, tcp), false, "Tcp", {0, 7, 0}, 12, PortActions()),
        Header(ACTION_OPERATIONS(Udp, udp), false, "Udp", {0, 7, 1}, 12, PortActions()),
    };
    return members;
}

const Member &Of(const std::string &label) {
    const auto &members = Members();
    const auto found =
        std::find_if(members.begin(), members.end(), [&](const Member &m) { return m.Label() == label; });
    return found != members.end() ? *found : throw std::invalid_argument(label);
}

AnyRequest Make(const Member &m, u32 type, u32 value, u32 cmpOp, u8 fill) {
    AnyRequest req;
    std::memset(req.bytes, fill, sizeof req.bytes);
    SetOp(&req, 0);
    if (m.IsVlan()) {
        SetTag(m, &req, m.tag);
    }
    SetType(m, &req, type);
    SetCmpOp(m, &req, cmpOp);
    SetValue(m, &req, type, value);
    if (m.isFilter && m.Is("Ipv4")) {
        req.ipv4Filter.val2.dscp = 63;
    }
    return req;
}

AnyRequest Good(const Member &m, u32 type, u32 cmpOp) {
    return Make(m, type, m.types[type].lowest, cmpOp);
}

AnyRequest Numbered(const Member &m, u32 type) {
    AnyRequest req = Make(m, type, 0);
    for (std::size_t i = ValueAt(m); i < sizeof req.bytes; ++i) {
        req.bytes[i] = static_cast<u8>(0x10 + i);
    }
    if (m.IsVlan()) {
        SetTag(m, &req, m.tag);
    }
    return req;
}

void SetOp(AnyRequest *req, u32 op) {
    Put(req, 0, op);
}

void SetTag(const Member &m, AnyRequest *req, u32 tag) {
    Put(req, m.isFilter ? 4 : 12, tag);
}

void SetType(const Member &m, AnyRequest *req, u32 type) {
    Put(req, TypeAt(m), type);
}

void SetCmpOp(const Member &m, AnyRequest *req, u32 cmpOp) {
    if (m.isFilter) {
        Put(req, TypeAt(m) + 4, cmpOp);
    }
}

void SetValue(const Member &m, AnyRequest *req, u32 type, u32 value) {
    u8 *const val = req->bytes + ValueAt(m);
    const u16 half = static_cast<u16>(value);
    switch (type < m.NumTypes() ? m.types[type].form : Form::U32) {
    case Form::None:
        break;
    case Form::U8:
        *val = static_cast<u8>(value);
        break;
    case Form::U16:
        std::memcpy(val, &half, sizeof half);
        break;
    case Form::U32:
        Put(req, ValueAt(m), value);
        break;
    case Form::Mac:
        std::memset(val, static_cast<u8>(value), 6);
        break;
    case Form::Ip:
        Put(req, ValueAt(m), 0x0A000001);
        Put(req, ValueAt(m) + 4, value);
        break;
    }
}

u32 TypeOf(const Member &m, const AnyRequest &req) {
    return Word(req, TypeAt(m));
}

bool Same(const AnyRequest &a, const AnyRequest &b) {
    return std::memcmp(a.bytes, b.bytes, sizeof a.bytes) == 0;
}

std::string Code(const std::string &fn, u32 code) {
    static const std::map<u32, const char *> names = {
        {2, "e_RET_ERR_NULL_PTR"},
        {3, "e_RET_ERR_INVALID_HDL"},
        {6, "e_RET_ERR_NO_SUCH_ENTRY"},
        {7, "e_RET_ERR_OVERFLOW"},
        {9, "e_RET_ERR_REQOUTOFORDER"},
        {11, "e_RET_ERR_HDRNOTCFG"},
        {12, "e_RET_ERR_RESRC_UNAVAIL"},
        {21, "e_RET_ERR_INVALID_CMPOPSEQ"},
        {22, "e_RET_ERR_INVALID_FILTSEQ"},
        {23, "e_RET_ERR_INVALID_ACTIONSEQ"},
        {25, "e_RET_ERR_INVALID_PARAM"},
        {44, "e_RET_ERR_INVALID_TAGNUM"},
        {45, "e_RET_ERR_INVALID_CONFIGOPER"},
        {46, "e_RET_ERR_INVALID_CMPOPER"},
        {47, "e_RET_ERR_INVALID_FILT"},
        {48, "e_RET_ERR_INVALID_ACTION"},
    };
    return CodeLine(fn, names.at(code));
}

Outcome Judge(const Member &m, Fcb *fcb, const AnyRequest &req) {
    const u32 type = TypeOf(m, req);
    const u32 cmpOp = CmpOpOf(m, req);
    const RequestType &rule = m.types[type];
    if ((rule.operators & (1u << cmpOp)) == 0) {
        const std::string fn = m.Fn("Validate_Config_");
        return m.IsUdpFilter() ? Outcome{25, Code(fn, 21) + Code(fn, 25)} : Outcome{21, Code(fn, 21)};
    }
    u16 *const present = &m.Entry(fcb)->curBmap;
    if (std::any_of(rule.excludedBy.begin(), rule.excludedBy.end(),
                    [&](u32 other) { return (*present & (1u << other)) != 0; })) {
        return {m.Excluded(), Code(m.Chk(), m.Excluded())};
    }
    *present = static_cast<u16>(*present | (1u << type));
    if (!m.isFilter) {
        return m.IsEthAction() ? JudgeEthAction(fcb, type) : Outcome{};
    }
    u8 *const count = m.Counter(fcb, cmpOp, type);
    if (*count >= kOperatorLimit[cmpOp]) {
        return {21, Err(m.Chk(), "Invalid Cmp Op") + Code(m.Chk(), 21)};
    }
    ++*count;
    return {};
}

Outcome JudgeAndStore(const Member &m, Fcb *fcb, const AnyRequest &req) {
    const u32 type = TypeOf(m, req);
    Outcome outcome = Judge(m, fcb, req);
    if (outcome.code != 0) {
        return outcome;
    }
    HdrEntry *const entry = m.Entry(fcb);
    Append(fcb, entry->reqList, type, req.bytes, m.recordSize);
    ++entry->reqCount; // of PPPoE actions it counts on from the fill
    if (m.IsEthAction()) {
        qir::ActionBlk &blk = fcb->actionBlk;
        blk.lastEthAction = type;
        blk.pushedTags = static_cast<u8>(blk.pushedTags + (type == e_ETH_ACTION_PUSH_TAG));
        blk.poppedTags = static_cast<u8>(blk.poppedTags + (type == e_ETH_ACTION_POP_TAG));
    }
    return outcome;
}

void CopyFcb(Fcb *to, const Fcb &from) {
    std::memcpy(static_cast<void *>(to), static_cast<const void *>(&from), sizeof from);
}

std::string FcbDiff(const Fcb &expected, const Fcb &actual) {
    const auto *want = reinterpret_cast<const unsigned char *>(&expected);
    const auto *have = reinterpret_cast<const unsigned char *>(&actual);
    std::string text;
    if (std::memcmp(want, have, sizeof expected) == 0) {
        return text;
    }
    for (std::size_t i = 0; i < sizeof expected && text.size() < 500; ++i) {
        if (want[i] != have[i]) {
            text += " byte " + std::to_string(i) + " is " + std::to_string(have[i]) + ", expected " +
                    std::to_string(want[i]) + ";";
        }
    }
    return text;
}

void Append(Fcb *fcb, u16 head, u32 key, const void *req, std::size_t size) {
    ReqNode *const pool = fcb->reqPool;
    const u16 node = pool[0].next;
    pool[0].next = pool[node].next;
    pool[pool[node].next].prev = 0;
    --fcb->freeReqCount;
    const u16 last = pool[head].prev;
    pool[node].next = head;
    pool[node].prev = last;
    pool[last].next = node;
    pool[head].prev = node;
    pool[node].key = key;
    std::memcpy(pool[node].req, req, size);
}

void DrainPool(Fcb *fcb, unsigned left) {
    ReqNode *const pool = fcb->reqPool;
    while (fcb->freeReqCount > left) {
        const u16 node = pool[0].next;
        pool[0].next = pool[node].next;
        pool[pool[node].next].prev = 0;
        pool[node].next = node;
        pool[node].prev = node;
        --fcb->freeReqCount;
    }
}

void Walk::Run(unsigned depth) {
    const std::string out = CaptureMasked([&] { Add(depth, ""); });
    EXPECT_EQ(findings.Text(), "") << m.Label();
    EXPECT_TRUE(out == lines) << m.Label() << " printed something else";
    const unsigned long width = 1ul * m.NumTypes() * m.NumOperators();
    unsigned long wanted = 0;
    for (unsigned long level = 1, steps = width; level <= depth; ++level, steps *= width) {
        wanted += steps;
    }
    EXPECT_EQ(calls, wanted);
}

void Walk::Add(unsigned depth, const std::string &path) {
    Fcb before;
    CopyFcb(&before, *fcb);
    for (u32 at = 0; at < m.NumTypes() * m.NumOperators(); ++at) {
        const u32 type = at % m.NumTypes();
        const u32 cmpOp = at / m.NumTypes();
        const AnyRequest req = Good(m, type, cmpOp);
        Fcb expected;
        CopyFcb(&expected, before);
        const Outcome want = JudgeAndStore(m, &expected, req);
        lines += want.code == 0 ? "" : want.lines + RetVal(m.Fn("QIR_Config_"), want.code);
        const u32 code = m.config(hdl, &req);
        ++calls;
        const std::string step = path + " " + m.types[type].name + "/" + std::to_string(cmpOp);
        const std::string diff = FcbDiff(expected, *fcb);
        if (code != want.code || !diff.empty()) {
            findings.Add(step + ": code " + std::to_string(code) + " for " + std::to_string(want.code) +
                         diff);
        }
        if (depth > 1) {
            Add(depth - 1, step);
        }
        CopyFcb(fcb, before);
    }
}

void RequestTest::SetUp() {
    LibraryTest::SetUp();
    hdl_.f1.id = 5;
    hdl_.f1.rsvd = 0xBEEF;
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(1, &hdl_), 0u);
    fcb_ = &qirCtxt_gp->fcbPool[5];
    Fcb bare;
    CopyFcb(&bare, *fcb_);
    AllocAllHdrs(e_BLKTYPE_FILTER);
    CopyFcb(&withFilters_, *fcb_);
    CopyFcb(fcb_, bare);
    AllocAllHdrs(e_BLKTYPE_ACTION);
    CopyFcb(&withActions_, *fcb_);
    CopyFcb(fcb_, bare);
}

void RequestTest::AllocHdr(u32 blk, u32 flowHdr) {
    const FlowHdr hdr{blk, flowHdr};
    ASSERT_EQ(QIR_Alloc_Hdr(&hdl_, &hdr), 0u) << "block " << blk << " header " << flowHdr;
}

void RequestTest::AllocAllHdrs(u32 blk) {
    for (const u32 flowHdr :
         {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1, e_FLOWHDR_PPPOE, e_FLOWHDR_IPV4}) {
        AllocHdr(blk, flowHdr);
    }
}

Outcome RequestTest::Run(const std::function<u32()> &op) {
    Outcome outcome;
    outcome.lines = CaptureMasked([&] { outcome.code = op(); });
    return outcome;
}

} // namespace test
