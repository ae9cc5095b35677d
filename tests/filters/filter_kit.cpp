#include "tests/filters/filter_kit.h"

#include "qirapi/access/flow_access.h"
#include "qirapi/private/filters.h"

#include <algorithm>
#include <stdexcept>

namespace test {

namespace {

template <class Rec, auto Fn> u32 CallConfig(FlowHdl *hdl, const void *req) {
    return Fn(hdl, static_cast<const Rec *>(req));
}

template <class Rec, auto Fn> u32 CallGet(FlowHdl *hdl, void *req, u8 size, u8 *count) {
    return Fn(hdl, static_cast<Rec *>(req), size, count);
}

template <class Rec, auto Fn> u32 CallOnFcb(Fcb *fcb, const void *req) {
    return Fn(fcb, static_cast<const Rec *>(req));
}

template <class Rec, auto Fn> void CallFill(const void *req, ReqNode *node) {
    Fn(static_cast<const Rec *>(req), node);
}

template <class Rec, auto Fn> u32 CallValidateGet(const void *req, u8 size, const u8 *count) {
    return Fn(static_cast<const Rec *>(req), size, count);
}

template <class Rec, auto Fn> u32 CallRead(const Fcb *fcb, void *req, u8 size, u8 *count) {
    return Fn(fcb, static_cast<Rec *>(req), size, count);
}

template <class Rec, auto Fn> void CallNext(Fcb *fcb, u32, void **info, void *req) {
    Fn(fcb, info, static_cast<Rec *>(req));
}

void CallNextVlan(Fcb *fcb, u32 tag, void **info, void *req) {
    qir::getNextVlanFilter(fcb, tag, info, static_cast<VlanFilter *>(req));
}

template <class Rec, auto Fn> void CallDump(const void *req) {
    Fn(static_cast<const Rec *>(req));
}

template <auto Member> HdrEntry *EntryOf(Fcb *fcb, u32) {
    return &(fcb->filterBlk.*Member).hdr;
}

template <auto Member> u8 *CountersOf(Fcb *fcb, u32) {
    return (fcb->filterBlk.*Member).cmpOpCurCnt;
}

HdrEntry *VlanEntry(Fcb *fcb, u32 tag) {
    return &fcb->filterBlk.vlan[tag].hdr;
}

u8 *VlanCounters(Fcb *fcb, u32 tag) {
    return fcb->filterBlk.vlan[tag].cmpOpCurCnt;
}

constexpr u32 kAny8 = 0xFF;
constexpr u32 kAny16 = 0xFFFF;
constexpr u32 kAny32 = 0xFFFFFFFF;

FilterMember Eth() {
    enum { MCAST, BCAST, DA, SA, ETHTYPE };
    return {"Eth",
            0,
            0,
            0,
            36,
            {{"MCAST", Field::U8, 0, 1, kEq, {MCAST, BCAST, DA}},
             {"BCAST", Field::U8, 0, 1, kEq, {MCAST, BCAST, DA}},
             {"DA", Field::Mac, 0, kAny8, kEq, {MCAST, BCAST, DA}},
             {"SA", Field::Mac, 0, kAny8, kEq, {SA}},
             {"ETHTYPE", Field::U16, 1536, kAny16, kEq | kNeq, {}}},
            CallConfig<EthFilter, QIR_Config_EthFilter>,
            CallGet<EthFilter, QIR_Get_EthFilter>,
            CallOnFcb<EthFilter, qir::Validate_Config_EthFilter>,
            CallOnFcb<EthFilter, qir::Config_EthFilter>,
            CallFill<EthFilter, qir::FillReq_EthFilterReqNode>,
            CallValidateGet<EthFilter, qir::Validate_Get_EthFilter>,
            CallRead<EthFilter, qir::Get_EthFilter>,
            CallNext<EthFilter, qir::getNextEthFilter>,
            CallDump<EthFilter, qir::Dump_EthFilterReq>,
            EntryOf<&qir::FilterBlk::eth>,
            CountersOf<&qir::FilterBlk::eth>};
}

FilterMember Vlan(u32 tag) {
    enum { TAG, TPID, TCI, PBITS, DEI, VID };
    return {"Vlan",
            tag,
            tag + 1,
            tag + 1,
            24,
            {{"TAG", Field::U32, 0, kAny32, kEq, {TAG, TPID, TCI, PBITS, DEI, VID}},
             {"TPID", Field::U16, 0, kAny16, kEq | kNeq, {TAG, TPID}},
             {"TCI", Field::U16, 0, kAny16, kEq, {TAG, TCI, PBITS, DEI, VID}},
             {"PBITS", Field::U8, 0, 7, kEq, {TAG, TCI, PBITS}},
             {"DEI", Field::U8, 0, 1, kEq, {TAG, TCI, DEI}},
             {"VID", Field::U16, 0, 4095, kEq | kNeq, {TAG, TCI, VID}}},
            CallConfig<VlanFilter, QIR_Config_VlanFilter>,
            CallGet<VlanFilter, QIR_Get_VlanFilter>,
            CallOnFcb<VlanFilter, qir::Validate_Config_VlanFilter>,
            CallOnFcb<VlanFilter, qir::Config_VlanFilter>,
            CallFill<VlanFilter, qir::FillReq_VlanFilterReqNode>,
            CallValidateGet<VlanFilter, qir::Validate_Get_VlanFilter>,
            CallRead<VlanFilter, qir::Get_VlanFilter>,
            CallNextVlan,
            CallDump<VlanFilter, qir::Dump_VlanFilterReq>,
            VlanEntry,
            VlanCounters};
}

FilterMember Pppoe() {
    enum { VER, TYPE, CODE, SESID, PROTO };
    return {"Pppoe",
            0,
            5,
            5,
            16,
            {{"VER", Field::U8, 1, 1, kEq, {VER}},
             {"TYPE", Field::U8, 1, 1, kEq | kNeq, {TYPE}},
             {"CODE", Field::U8, 0, 254, kEq, {CODE}},
             {"SESID", Field::U16, 0, 65534, kEq, {SESID}},
             {"PROTO", Field::U16, 0, kAny16, kEq | kNeq, {PROTO}}},
            CallConfig<PppoeFilter, QIR_Config_PppoeFilter>,
            CallGet<PppoeFilter, QIR_Get_PppoeFilter>,
            CallOnFcb<PppoeFilter, qir::Validate_Config_PppoeFilter>,
            CallOnFcb<PppoeFilter, qir::Config_PppoeFilter>,
            CallFill<PppoeFilter, qir::FillReq_PppoeFilterReqNode>,
            CallValidateGet<PppoeFilter, qir::Validate_Get_PppoeFilter>,
            CallRead<PppoeFilter, qir::Get_PppoeFilter>,
            CallNext<PppoeFilter, qir::getNextPppoeFilter>,
            CallDump<PppoeFilter, qir::Dump_PppoeFilterReq>,
            EntryOf<&qir::FilterBlk::pppoe>,
            CountersOf<&qir::FilterBlk::pppoe>};
}

FilterMember Ipv4() {
    enum { VER, IHL, SA, DA, MCAST, TOS, DSCP, DSCP_1P, TTL_GT1, PROTO, FRAG };
    return {"Ipv4",
            0,
            7,
            7,
            28,
            {{"VER", Field::U8, 4, 4, kEq, {VER}},
             {"IHL", Field::U8, 0, 254, kEq, {IHL}},
             {"SA", Field::Prefix, 0, 32, kEq, {SA}},
             {"DA", Field::Prefix, 0, 32, kEq, {DA, MCAST}},
             {"MCAST", Field::U8, 0, 1, kEq, {DA, MCAST}},
             {"TOS", Field::U8, 0, 254, kEq, {TOS, DSCP}},
             {"DSCP", Field::U8, 0, 63, kEq | kRange, {TOS, DSCP}},
             {"DSCP_1P", Field::U8, 0, 7, kEq, {DSCP_1P}},
             {"TTL_GT1", Field::U8, 0, 1, kEq, {TTL_GT1}},
             {"PROTO", Field::U16, 0, 65534, kEq | kNeq, {}},
             {"FRAG", Field::U16, 0, 1, kEq, {FRAG}}},
            CallConfig<Ipv4Filter, QIR_Config_Ipv4Filter>,
            CallGet<Ipv4Filter, QIR_Get_Ipv4Filter>,
            CallOnFcb<Ipv4Filter, qir::Validate_Config_Ipv4Filter>,
            CallOnFcb<Ipv4Filter, qir::Config_Ipv4Filter>,
            CallFill<Ipv4Filter, qir::FillReq_Ipv4FilterReqNode>,
            CallValidateGet<Ipv4Filter, qir::Validate_Get_Ipv4Filter>,
            CallRead<Ipv4Filter, qir::Get_Ipv4Filter>,
            CallNext<Ipv4Filter, qir::getNextIpv4Filter>,
            CallDump<Ipv4Filter, qir::Dump_Ipv4FilterReq>,
            EntryOf<&qir::FilterBlk::ipv4>,
            CountersOf<&qir::FilterBlk::ipv4>};
}

FilterMember Tcp() {
    enum { SPORT, DPORT, SYN, ACK, FIN, RST, CTRL };
    return {"Tcp",
            0,
            7,
            0,
            16,
            {{"SPORT", Field::U16, 0, kAny16, kEq | kNeq, {SPORT}},
             {"DPORT", Field::U16, 0, kAny16, kEq | kNeq, {DPORT}},
             {"SYN", Field::U8, 0, 1, kEq, {SYN, CTRL}},
             {"ACK", Field::U8, 0, 1, kEq, {ACK, CTRL}},
             {"FIN", Field::U8, 0, 1, kEq, {FIN, CTRL}},
             {"RST", Field::U8, 0, 1, kEq, {RST, CTRL}},
             {"CTRL", Field::U8, 0, 63, kEq, {SYN, ACK, FIN, RST, CTRL}}},
            CallConfig<TcpFilter, QIR_Config_TcpFilter>,
            CallGet<TcpFilter, QIR_Get_TcpFilter>,
            CallOnFcb<TcpFilter, qir::Validate_Config_TcpFilter>,
            CallOnFcb<TcpFilter, qir::Config_TcpFilter>,
            CallFill<TcpFilter, qir::FillReq_TcpFilterReqNode>,
            CallValidateGet<TcpFilter, qir::Validate_Get_TcpFilter>,
            CallRead<TcpFilter, qir::Get_TcpFilter>,
            CallNext<TcpFilter, qir::getNextTcpFilter>,
            CallDump<TcpFilter, qir::Dump_TcpFilterReq>,
            EntryOf<&qir::FilterBlk::tcp>,
            CountersOf<&qir::FilterBlk::tcp>};
}

FilterMember Udp() {
    enum { SPORT, DPORT };
    return {"Udp",
            0,
            7,
            1,
            16,
            {{"SPORT", Field::U16, 0, kAny16, kEq | kNeq, {SPORT}},
             {"DPORT", Field::U16, 0, kAny16, kEq | kNeq, {DPORT}}},
            CallConfig<UdpFilter, QIR_Config_UdpFilter>,
            CallGet<UdpFilter, QIR_Get_UdpFilter>,
            CallOnFcb<UdpFilter, qir::Validate_Config_UdpFilter>,
            CallOnFcb<UdpFilter, qir::Config_UdpFilter>,
            CallFill<UdpFilter, qir::FillReq_UdpFilterReqNode>,
            CallValidateGet<UdpFilter, qir::Validate_Get_UdpFilter>,
            CallRead<UdpFilter, qir::Get_UdpFilter>,
            CallNext<UdpFilter, qir::getNextUdpFilter>,
            CallDump<UdpFilter, qir::Dump_UdpFilterReq>,
            EntryOf<&qir::FilterBlk::udp>,
            CountersOf<&qir::FilterBlk::udp>};
}

u32 Shift(const FilterMember &m) {
    return m.IsVlan() ? 4 : 0; // the tag number stands in front of the type
}

void Put(AnyFilter *req, u32 offset, u32 word) {
    std::memcpy(req->bytes + offset, &word, sizeof word);
}

u32 Word(const AnyFilter &req, u32 offset) {
    u32 word = 0;
    std::memcpy(&word, req.bytes + offset, sizeof word);
    return word;
}

u32 ValueOf(const FilterMember &m, const AnyFilter &req) {
    const u8 *const val = req.bytes + 12 + Shift(m);
    u16 half = 0;
    switch (m.types[TypeOf(m, req)].field) {
    case Field::U8:
        return *val;
    case Field::U16:
        std::memcpy(&half, val, sizeof half);
        return half;
    case Field::U32:
        return Word(req, 12 + Shift(m));
    case Field::Prefix:
        return Word(req, 16 + Shift(m));
    case Field::Mac:
        break;
    }
    return 0;
}

bool ValueIsGood(const FilterMember &m, const AnyFilter &req) {
    const FilterType &rule = m.types[TypeOf(m, req)];
    const u32 value = ValueOf(m, req);
    if (value < rule.lowest || value > rule.highest) {
        return false;
    }
    if (CmpOpOf(m, req) != e_CMP_IN_RANGE) {
        return true;
    }
    return req.ipv4.val2.dscp <= 63 && req.ipv4.val2.dscp >= value;
}

} // namespace

const std::vector<FilterMember> &FilterMembers() {
    static const std::vector<FilterMember> members = {Eth(), Vlan(0), Vlan(1), Pppoe(), Ipv4(), Tcp(), Udp()};
    return members;
}

const FilterMember &FilterOf(const char *label) {
    for (const FilterMember &m : FilterMembers()) {
        if (m.Label() == label) {
            return m;
        }
    }
    throw std::invalid_argument(label);
}

AnyFilter MakeFilter(const FilterMember &m, u32 type, u32 cmpOp, u32 value, u8 fill) {
    AnyFilter req;
    std::memset(req.bytes, fill, sizeof req.bytes);
    SetOp(&req, 0);
    if (m.IsVlan()) {
        SetTag(&req, m.tag);
    }
    SetType(m, &req, type);
    SetCmpOp(m, &req, cmpOp);
    u8 *const val = req.bytes + 12 + Shift(m);
    const u16 half = static_cast<u16>(value);
    switch (type < m.NumTypes() ? m.types[type].field : Field::U32) {
    case Field::U8:
        *val = static_cast<u8>(value);
        break;
    case Field::U16:
        std::memcpy(val, &half, sizeof half);
        break;
    case Field::U32:
        Put(&req, 12 + Shift(m), value);
        break;
    case Field::Mac:
        std::memset(val, static_cast<u8>(value), 6);
        break;
    case Field::Prefix:
        Put(&req, 12, 0x0A000001);
        Put(&req, 16, value);
        break;
    }
    if (m.recordSize == sizeof(Ipv4Filter)) {
        req.ipv4.val2.dscp = 63;
    }
    return req;
}

AnyFilter GoodFilter(const FilterMember &m, u32 type, u32 cmpOp) {
    return MakeFilter(m, type, cmpOp, m.types[type].lowest);
}

void SetOp(AnyFilter *req, u32 op) {
    Put(req, 0, op);
}

void SetTag(AnyFilter *req, u32 tag) {
    Put(req, 4, tag);
}

void SetType(const FilterMember &m, AnyFilter *req, u32 type) {
    Put(req, 4 + Shift(m), type);
}

void SetCmpOp(const FilterMember &m, AnyFilter *req, u32 cmpOp) {
    Put(req, 8 + Shift(m), cmpOp);
}

u32 TypeOf(const FilterMember &m, const AnyFilter &req) {
    return Word(req, 4 + Shift(m));
}

u32 CmpOpOf(const FilterMember &m, const AnyFilter &req) {
    return Word(req, 8 + Shift(m));
}

Outcome JudgeFilter(const FilterMember &m, Fcb *fcb, const AnyFilter &req) {
    const u32 type = TypeOf(m, req);
    const u32 cmpOp = CmpOpOf(m, req);
    const FilterType &rule = m.types[type];
    const std::string validate = m.Fn("Validate_Config_");
    if ((rule.operators & (1u << cmpOp)) == 0) {
        return m.IsUdp() ? Outcome{25, Code(validate, 21) + Code(validate, 25)}
                         : Outcome{21, Code(validate, 21)};
    }
    u16 *const present = &m.Entry(fcb)->curBmap;
    if (std::any_of(rule.excludedBy.begin(), rule.excludedBy.end(),
                    [&](u32 other) { return (*present & (1u << other)) != 0; })) {
        return {22, Code(m.Chk(), 22)};
    }
    *present = static_cast<u16>(*present | (1u << type));
    u8 *const count = m.Counter(fcb, cmpOp, type);
    if (*count >= kOperatorLimit[cmpOp]) {
        return {21, Err(m.Chk(), "Invalid Cmp Op") + Code(m.Chk(), 21)};
    }
    ++*count;
    return ValueIsGood(m, req) ? Outcome{} : Outcome{25, Code(validate, 25)};
}

Outcome JudgeAndStoreFilter(const FilterMember &m, Fcb *fcb, const AnyFilter &req) {
    Outcome outcome = JudgeFilter(m, fcb, req);
    if (outcome.code == 0) {
        HdrEntry *const entry = m.Entry(fcb);
        ModelAppend(fcb, entry->reqList, TypeOf(m, req), req.bytes, m.recordSize);
        ++entry->reqCount;
    }
    return outcome;
}

} // namespace test
