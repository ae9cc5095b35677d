#include "tests/actions/action_kit.h"

#include "qirapi/access/flow_access.h"
#include "qirapi/private/actions.h"

#include <algorithm>
#include <stdexcept>

namespace test {

namespace {

template <class Rec, auto Fn> u32 CallConfig(FlowHdl *hdl, const void *req) {
    return Fn(hdl, static_cast<const Rec *>(req));
}

template <class Rec, auto Fn> u32 CallGet(FlowHdl *hdl, void *req) {
    return Fn(hdl, static_cast<Rec *>(req));
}

template <class Rec, auto Fn> u32 CallValidate(const void *req) {
    return Fn(static_cast<const Rec *>(req));
}

template <class Rec, auto Fn> u32 CallStore(Fcb *fcb, const void *req) {
    return Fn(fcb, static_cast<const Rec *>(req));
}

template <class Rec, auto Fn> void CallFill(const void *req, ReqNode *node) {
    Fn(static_cast<const Rec *>(req), node);
}

template <class Rec, auto Fn> u32 CallRead(const Fcb *fcb, void *req) {
    return Fn(fcb, static_cast<Rec *>(req));
}

template <class Rec, auto Fn> void CallNext(Fcb *fcb, u32, void **info, void *req) {
    Fn(fcb, info, static_cast<Rec *>(req));
}

void CallNextVlan(Fcb *fcb, u32 tag, void **info, void *req) {
    qir::getNextVlanAction(fcb, tag, info, static_cast<VlanAction *>(req));
}

template <class Rec, auto Fn> void CallDump(const void *req) {
    Fn(static_cast<const Rec *>(req));
}

template <auto Fn> void CallDumpGet(FlowHdl *hdl, u32, u32 type) {
    Fn(hdl, type);
}

template <auto Member> HdrEntry *EntryOf(Fcb *fcb, u32) {
    return &(fcb->actionBlk.*Member);
}

HdrEntry *VlanEntry(Fcb *fcb, u32 tag) {
    return &fcb->actionBlk.vlan[tag];
}

ActionMember Eth() {
    enum { DA, SA, ETHTYPE };
    return {"Eth",
            0,
            0,
            0,
            20,
            false,
            {{"DA", Value::Mac, 0x0A, {DA}},
             {"SA", Value::Mac, 0x0B, {SA}},
             {"ETHTYPE", Value::U16, 0x0600, {ETHTYPE}},
             {"PUSH_TAG", Value::None, 0, {}},
             {"POP_TAG", Value::None, 0, {}}},
            CallConfig<EthAction, QIR_Config_EthAction>,
            CallGet<EthAction, QIR_Get_EthAction>,
            CallValidate<EthAction, qir::Validate_Config_EthAction>,
            CallStore<EthAction, qir::Config_EthAction>,
            CallFill<EthAction, qir::FillReq_EthActionReqNode>,
            CallValidate<EthAction, qir::Validate_Get_EthAction>,
            CallRead<EthAction, qir::Get_EthAction>,
            CallNext<EthAction, qir::getNextEthAction>,
            CallDump<EthAction, qir::Dump_EthActionReq>,
            CallDumpGet<qir::Dump_Get_EthAction>,
            EntryOf<&qir::ActionBlk::eth>};
}

// Who writes which part of a tag: the whole tag, its protocol id, its control information and the three
// fields of that.
ActionMember Vlan(u32 tag) {
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
    return {"Vlan",
            tag,
            tag + 1,
            tag + 1,
            16,
            false,
            {{"SET_TAG", Value::U32, 0x81000001, any},
             {"SET_TPID", Value::U16, 0x88A8, tpid},
             {"SET_TCI", Value::U16, 0xFFFF, tci},
             {"SET_PBITS", Value::U8, 7, pbits},
             {"SET_DEI", Value::U8, 1, dei},
             {"SET_VID", Value::U16, 4095, vid},
             {"COPY_TAG_FROM_TAG", Value::U32, other, any},
             {"COPY_TPID_FROM_TAG", Value::U32, other, tpid},
             {"COPY_TCI_FROM_TAG", Value::U32, other, tci},
             {"COPY_PBITS_FROM_TAG", Value::U32, other, pbits},
             {"COPY_VID_FROM_TAG", Value::U32, other, vid},
             {"COPY_DEI_FROM_TAG", Value::U32, other, dei},
             {"XLATE_PBITS_FROM_DSCP", Value::U32, 0xFFFFFFFF, pbits},
             {"XLATE_PBITS_FROM_ETHTYPE", Value::U32, 0xFFFFFFFF, pbits}},
            CallConfig<VlanAction, QIR_Config_VlanAction>,
            CallGet<VlanAction, QIR_Get_VlanAction>,
            CallValidate<VlanAction, qir::Validate_Config_VlanAction>,
            CallStore<VlanAction, qir::Config_VlanAction>,
            CallFill<VlanAction, qir::FillReq_VlanActionReqNode>,
            CallValidate<VlanAction, qir::Validate_Get_VlanAction>,
            CallRead<VlanAction, qir::Get_VlanAction>,
            CallNextVlan,
            CallDump<VlanAction, qir::Dump_VlanActionReq>,
            qir::Dump_Get_VlanAction,
            VlanEntry};
}

ActionMember Pppoe() {
    return {"Pppoe",
            0,
            5,
            5,
            12,
            false,
            {{"0", Value::U32, 0xFFFFFFFF, {0}}},
            CallConfig<PppoeAction, QIR_Config_PppoeAction>,
            CallGet<PppoeAction, QIR_Get_PppoeAction>,
            CallValidate<PppoeAction, qir::Validate_Config_PppoeAction>,
            CallStore<PppoeAction, qir::Config_PppoeAction>,
            CallFill<PppoeAction, qir::FillReq_PppoeActionReqNode>,
            CallValidate<PppoeAction, qir::Validate_Get_PppoeAction>,
            CallRead<PppoeAction, qir::Get_PppoeAction>,
            CallNext<PppoeAction, qir::getNextPppoeAction>,
            CallDump<PppoeAction, qir::Dump_PppoeActionReq>,
            CallDumpGet<qir::Dump_Get_PppoeAction>,
            EntryOf<&qir::ActionBlk::pppoe>};
}

ActionMember Ipv4() {
    enum { DA, SA, TOS, DSCP };
    return {"Ipv4",
            0,
            7,
            7,
            16,
            false,
            {{"DA", Value::Ip, 0xE0000001, {DA}},
             {"SA", Value::Ip, 0x0A000001, {SA}},
             {"TOS", Value::U8, 255, {TOS, DSCP}},
             {"DSCP", Value::U8, 255, {TOS, DSCP}}},
            CallConfig<Ipv4Action, QIR_Config_Ipv4Action>,
            CallGet<Ipv4Action, QIR_Get_Ipv4Action>,
            CallValidate<Ipv4Action, qir::Validate_Config_Ipv4Action>,
            CallStore<Ipv4Action, qir::Config_Ipv4Action>,
            CallFill<Ipv4Action, qir::FillReq_Ipv4ActionReqNode>,
            CallValidate<Ipv4Action, qir::Validate_Get_Ipv4Action>,
            CallRead<Ipv4Action, qir::Get_Ipv4Action>,
            CallNext<Ipv4Action, qir::getNextIpv4Action>,
            CallDump<Ipv4Action, qir::Dump_Ipv4ActionReq>,
            CallDumpGet<qir::Dump_Get_Ipv4Action>,
            EntryOf<&qir::ActionBlk::ipv4>};
}

ActionMember Tcp() {
    enum { SPORT, DPORT };
    return {"Tcp",
            0,
            7,
            0,
            12,
            true,
            {{"SPORT", Value::U16, 65535, {SPORT}}, {"DPORT", Value::U16, 0, {DPORT}}},
            CallConfig<TcpAction, QIR_Config_TcpAction>,
            CallGet<TcpAction, QIR_Get_TcpAction>,
            CallValidate<TcpAction, qir::Validate_Config_TcpAction>,
            CallStore<TcpAction, qir::Config_TcpAction>,
            CallFill<TcpAction, qir::FillReq_TcpActionReqNode>,
            CallValidate<TcpAction, qir::Validate_Get_TcpAction>,
            CallRead<TcpAction, qir::Get_TcpAction>,
            CallNext<TcpAction, qir::getNextTcpAction>,
            CallDump<TcpAction, qir::Dump_TcpActionReq>,
            CallDumpGet<qir::Dump_Get_TcpAction>,
            EntryOf<&qir::ActionBlk::tcp>};
}

ActionMember Udp() {
    enum { SPORT, DPORT };
    return {"Udp",
            0,
            7,
            1,
            12,
            true,
            {{"SPORT", Value::U16, 65535, {SPORT}}, {"DPORT", Value::U16, 0, {DPORT}}},
            CallConfig<UdpAction, QIR_Config_UdpAction>,
            CallGet<UdpAction, QIR_Get_UdpAction>,
            CallValidate<UdpAction, qir::Validate_Config_UdpAction>,
            CallStore<UdpAction, qir::Config_UdpAction>,
            CallFill<UdpAction, qir::FillReq_UdpActionReqNode>,
            CallValidate<UdpAction, qir::Validate_Get_UdpAction>,
            CallRead<UdpAction, qir::Get_UdpAction>,
            CallNext<UdpAction, qir::getNextUdpAction>,
            CallDump<UdpAction, qir::Dump_UdpActionReq>,
            CallDumpGet<qir::Dump_Get_UdpAction>,
            EntryOf<&qir::ActionBlk::udp>};
}

void Put(AnyAction *req, u32 offset, u32 word) {
    std::memcpy(req->bytes + offset, &word, sizeof word);
}

} // namespace

const std::vector<ActionMember> &ActionMembers() {
    static const std::vector<ActionMember> members = {Eth(), Vlan(0), Vlan(1), Pppoe(), Ipv4(), Tcp(), Udp()};
    return members;
}

const ActionMember &ActionOf(const char *label) {
    for (const ActionMember &m : ActionMembers()) {
        if (m.Label() == label) {
            return m;
        }
    }
    throw std::invalid_argument(label);
}

AnyAction MakeAction(const ActionMember &m, u32 type, u32 value, u8 fill) {
    AnyAction req;
    std::memset(req.bytes, fill, sizeof req.bytes);
    SetOp(&req, 0);
    SetType(&req, type);
    if (m.IsVlan()) {
        SetTag(&req, m.tag);
    }
    const u16 half = static_cast<u16>(value);
    switch (type < m.NumTypes() ? m.types[type].value : Value::U32) {
    case Value::None:
        break;
    case Value::Mac:
        std::memset(req.bytes + 8, static_cast<u8>(value), 6);
        break;
    case Value::U8:
        req.bytes[8] = static_cast<u8>(value);
        break;
    case Value::U16:
        std::memcpy(req.bytes + 8, &half, sizeof half);
        break;
    case Value::U32:
        Put(&req, 8, value);
        break;
    case Value::Ip:
        Put(&req, 8, value);
        Put(&req, 12, 24);
        break;
    }
    return req;
}

AnyAction GoodAction(const ActionMember &m, u32 type) {
    return MakeAction(m, type, m.types[type].good);
}

void SetOp(AnyAction *req, u32 op) {
    Put(req, 0, op);
}

void SetType(AnyAction *req, u32 type) {
    Put(req, 4, type);
}

void SetTag(AnyAction *req, u32 tag) {
    Put(req, 12, tag);
}

u32 TypeOf(const AnyAction &req) {
    u32 type = 0;
    std::memcpy(&type, req.bytes + 4, sizeof type);
    return type;
}

Outcome JudgeDependency(const ActionMember &m, Fcb *fcb, u32 type) {
    u16 *const present = &m.Entry(fcb)->curBmap;
    const auto &excludedBy = m.types[type].excludedBy;
    if (std::any_of(excludedBy.begin(), excludedBy.end(),
                    [&](u32 other) { return (*present & (1u << other)) != 0; })) {
        return {23, Code(m.Chk(), 23)};
    }
    *present = static_cast<u16>(*present | (1u << type));
    return {};
}

Outcome JudgeEthAction(Fcb *fcb, u32 type) {
    Outcome outcome = JudgeDependency(ActionOf("Eth"), fcb, type);
    if (outcome.code != 0) {
        return outcome;
    }
    const std::string fn = "Config_EthAction";
    const qir::ActionBlk &blk = fcb->actionBlk;
    const unsigned matched = fcb->filterBlk.totalTags;
    const unsigned pushed = blk.pushedTags;
    const bool lastWasPush = blk.lastEthAction == e_ETH_ACTION_PUSH_TAG;
    const bool lastWasPop = blk.lastEthAction == e_ETH_ACTION_POP_TAG;
    switch (type) {
    case e_ETH_ACTION_PUSH_TAG:
        if (blk.eth.reqCount > 0 && !lastWasPush) {
            return {9, Code(fn, 9)};
        }
        if (matched + pushed >= 2) { // a third tag
            return {25, "pushedTags=" + std::to_string(pushed) +
                            " filter totalTags=" + std::to_string(matched) + " \n" + Code(fn, 25)};
        }
        // the new tag stands at position matched + pushed + 1, 1 or 2
        if ((blk.hdrBmap & (matched + pushed == 0 ? 0x0002 : 0x0004)) == 0) {
            return {25, Code(fn, 25)};
        }
        return {};
    case e_ETH_ACTION_POP_TAG:
        return blk.poppedTags >= matched + pushed ? Outcome{25, Code(fn, 25)} : Outcome{};
    default:
        return lastWasPop ? Outcome{9, Code(fn, 9)} : Outcome{};
    }
}

Outcome JudgeAndStoreAction(const ActionMember &m, Fcb *fcb, const AnyAction &req) {
    const u32 type = TypeOf(req);
    Outcome outcome = m.IsEth() ? JudgeEthAction(fcb, type) : JudgeDependency(m, fcb, type);
    if (outcome.code != 0) {
        return outcome;
    }
    HdrEntry *const entry = m.Entry(fcb);
    ModelAppend(fcb, entry->reqList, type, req.bytes, m.recordSize);
    entry->reqCount = static_cast<u16>(entry->reqCount + 1); // PPPoE counts on from the fill
    if (m.IsEth()) {
        fcb->actionBlk.lastEthAction = type;
        fcb->actionBlk.pushedTags =
            static_cast<u8>(fcb->actionBlk.pushedTags + (type == e_ETH_ACTION_PUSH_TAG));
        fcb->actionBlk.poppedTags =
            static_cast<u8>(fcb->actionBlk.poppedTags + (type == e_ETH_ACTION_POP_TAG));
    }
    return outcome;
}

} // namespace test
