// Life and configuration of flows.
#include "fuzz/effect_rows.h"

#include <bit>
#include <utility>

namespace fuzz {

using namespace qir;

namespace {

// ---- Life

// An allocated flow is as start-up leaves it, but for what the caller chose.
void Alloc(Fcb &fcb, const Moment &moment) {
    fcb = *FlowOf(moment.start, moment.call);
    fcb.status = e_STATUS_ALLOC;
    fcb.flowHdl.word = moment.call.hdl;
    fcb.section = moment.call.arg[0];
}

u32 LowestFree(const QirCtxt &ctxt) {
    u32 flow = 0;
    while (flow < QIR_MAX_FLOWS && ctxt.fcbPool[flow].status != e_STATUS_FREE) {
        ++flow;
    }
    return flow;
}

Complaint AllocatesNamed(const Moment &moment) {
    const Fcb *const taken = FlowOf(moment.before, moment.call);
    return taken != nullptr && taken->status != e_STATUS_FREE ? "took a flow that was not FREE"
                                                              : Makes<FlowOf, Alloc>(moment);
}

Complaint AllocatesLowest(const Moment &moment) {
    const bool isNamed = FlowOf(moment.before, moment.call) != nullptr;
    return isNamed && LowestFree(moment.before) < moment.call.flow ? "a lower flow was FREE"
                                                                   : AllocatesNamed(moment);
}

bool IsNoneFree(const Moment &moment) {
    return LowestFree(moment.before) == QIR_MAX_FLOWS;
}

bool IsInUse(const Fcb &fcb, const Moment &) {
    return fcb.status != e_STATUS_FREE;
}

Complaint AnswersWhetherFree(const Moment &moment) {
    const bool isFree = moment.now.fcbPool[moment.call.arg[0]].status == e_STATUS_FREE;
    return RecordOf<u32>(moment.call) == (isFree ? 1u : 0u) ? Complaint{} : "the wrong answer";
}

// All but status and associations stays as it was until the flow is allocated again.
void Free(Fcb &fcb, const Moment &) {
    fcb.status = e_STATUS_FREE;
    fcb.tblAssoc = 0;
}

// Which index the driver gave is looked at with the request.
void Activate(Fcb &fcb, const Moment &moment) {
    fcb.status = e_STATUS_ACTIVE;
    fcb.hwFlowIdx = FlowOf(moment.now, moment.call)->hwFlowIdx;
}

void Deactivate(Fcb &fcb, const Moment &) {
    fcb.status = e_STATUS_CFG;
}

bool IsTableMissing(const Fcb &fcb, const Moment &moment) {
    const auto isMissing = [&fcb](u16 bit, const auto &pool, u32 table) {
        return (fcb.tblAssoc & bit) != 0 && table < std::size(pool) && pool[table].status != e_STATUS_ACTIVE;
    };
    return isMissing(kTblAssocEp, moment.before.epTblPool, fcb.epTblHdl.f1.id) ||
           isMissing(kTblAssocPac, moment.before.pacTblPool, fcb.pacTblHdl.f1.id);
}

// ---- Forwarding

void SetFwdInfo(Fcb &fcb, const Moment &moment) {
    fcb.fwdInfo = RecordOf<FwdInfo>(moment.call);
    fcb.fwdInfoSet = 1;
    fcb.status = e_STATUS_CFG;
}

const FwdInfo *FwdInfoOf(const QirCtxt &ctxt, const Call &call) {
    const Fcb *const fcb = FlowOf(ctxt, call);
    return fcb != nullptr ? &fcb->fwdInfo : nullptr;
}

// Calls visit(bit) for the bits of a mask.
template <class Visit> void ForBits(u32 mask, Visit visit) {
    for (; mask != 0; mask &= mask - 1) {
        visit(static_cast<u32>(std::countr_zero(mask)));
    }
}

// All get the queue that the flow keeps for the first of them. The GPON port does not join the ports, and
// whatever GEM ports there are, it is bit 9 that stands for them.
void AddDst(Fcb &fcb, const Moment &moment) {
    constexpr u32 kGpon = 1u << QIR_GPON_PORT;
    const auto added = RecordOf<DstMask>(moment.call);
    DstMask &dst = fcb.fwdInfo.dst;
    const u32 ports = added.portMask & ((1u << QIR_PORT_MAX) - 1) & ~kGpon;
    const u32 gems = (added.portMask & kGpon) != 0 ? added.gemPortIdxMask : 0;
    const u8 queue = ports != 0  ? dst.portQid[std::countr_zero(ports)]
                     : gems != 0 ? dst.gemQid[std::countr_zero(gems)]
                                 : u8{0};
    ForBits(ports, [&](u32 port) { dst.portQid[port] = queue; });
    ForBits(gems, [&](u32 gem) { dst.gemQid[gem] = queue; });
    dst.portMask |= ports;
    dst.gemPortIdxMask |= gems != 0 ? 1u << 9 : 0;
}

// Without a port, nothing.
void RemDst(Fcb &fcb, const Moment &moment) {
    const auto removed = RecordOf<DstMask>(moment.call);
    if (removed.portMask != 0) {
        fcb.fwdInfo.dst.portMask &= ~removed.portMask;
        fcb.fwdInfo.dst.gemPortIdxMask &= ~removed.gemPortIdxMask;
    }
}

// ---- Address screening, EP and PAC tables

void SetAsOverride(Fcb &fcb, const Moment &moment) {
    fcb.asOverride = moment.call.arg[0];
    fcb.status = e_STATUS_CFG;
}

const u32 *AsOverrideOf(const QirCtxt &ctxt, const Call &call) {
    const Fcb *const fcb = FlowOf(ctxt, call);
    return fcb != nullptr ? &fcb->asOverride : nullptr;
}

void Associate(Fcb &fcb, u16 bit, u32 asked) {
    fcb.tblAssoc = static_cast<u16>(asked == e_TBLSTATUS_ENABLE ? fcb.tblAssoc | bit : fcb.tblAssoc & ~bit);
}

// Of any call that came as far as the association.
void StoreEpHdl(Fcb &fcb, const Moment &moment) {
    fcb.epTblHdl.word = moment.call.hdl;
}

// On an ACTIVE flow, too, though it is refused.
void AssociateEp(Fcb &fcb, const Moment &moment) {
    StoreEpHdl(fcb, moment);
    Associate(fcb, kTblAssocEp, moment.call.arg[0]);
}

void SetEpInfo(Fcb &fcb, const Moment &moment) {
    AssociateEp(fcb, moment);
    fcb.status = e_STATUS_CFG;
}

void StorePacHdl(Fcb &fcb, const Moment &moment) {
    fcb.pacTblHdl.word = moment.call.hdl;
}

void SetPacInfo(Fcb &fcb, const Moment &moment) {
    StorePacHdl(fcb, moment);
    Associate(fcb, kTblAssocPac, moment.call.arg[0]);
    fcb.pbitsSource = moment.call.arg[1];
    fcb.status = e_STATUS_CFG;
}

// The words that a reading call gave, one behind the other.
template <std::size_t num> bool Gave(const Moment &moment, const u32 (&words)[num]) {
    const std::vector<u8> &record = moment.call.record;
    return record.size() == sizeof words && std::memcmp(record.data(), words, sizeof words) == 0;
}

bool GaveEpInfo(const Moment &moment) {
    const Fcb &fcb = *FlowOf(moment.now, moment.call);
    return Gave(moment, {(fcb.tblAssoc & kTblAssocEp) != 0 ? 1u : 0u, fcb.epTblHdl.word});
}

bool GavePacInfo(const Moment &moment) {
    const Fcb &fcb = *FlowOf(moment.now, moment.call);
    return Gave(moment, {(fcb.tblAssoc & kTblAssocPac) != 0 ? 1u : 0u, fcb.pbitsSource, fcb.pacTblHdl.word});
}

template <auto gave> Complaint Gives(const Moment &moment) {
    return moment.call.flow == kNone || !gave(moment) ? "the record is not what is stored" : Complaint{};
}

// clang-format off
constexpr Effect kEffects[] = {
    {"QIR_Alloc_FCB",               e_RET_OK,                       AllocatesLowest},
    {"QIR_Alloc_FCB",               e_RET_ERR_RESRC_UNAVAIL,        Needs<IsNoneFree>},
    {"QIR_Alloc_FCB_Specify_Index", e_RET_OK,                       AllocatesNamed},
    {"QIR_Alloc_FCB_Specify_Index", e_RET_ERR_RESRC_UNAVAIL,        NeedsOf<FlowOf, IsInUse>},
    {"Is_Orx_free",                 e_RET_OK,                       AnswersWhetherFree},
    {"QIR_Activate_FCB",            e_RET_OK,                       Makes<FlowOf, Activate>},
    {"QIR_Activate_FCB",            e_RET_ERR_STATE_NOT_ACTIVE,     NeedsOf<FlowOf, IsTableMissing>},
    {"QIR_Deactivate_FCB",          e_RET_OK,                       Makes<FlowOf, Deactivate>},
    {"QIR_Free_FCB",                e_RET_OK,                       Makes<FlowOf, Free>},
    {"QIR_Get_FCBHits",             e_RET_OK,                       DoesNothing}, // the driver gives them
    {"QIR_Dump_HdrReqList",         e_RET_OK,                       DoesNothing},
    {"QIR_Dump_FCB",                e_RET_OK,                       DoesNothing},
    {"QIR_Set_FwdInfo",             e_RET_OK,                       Makes<FlowOf, SetFwdInfo>},
    {"QIR_Get_FwdInfo",             e_RET_OK,                       Holds<FwdInfoOf>},
    {"QIR_Add_DstPortInfo",         e_RET_OK,                       Makes<FlowOf, AddDst>},
    {"QIR_Rem_DstPortInfo",         e_RET_OK,                       Makes<FlowOf, RemDst>},
    {"QIR_Set_AsOverride",          e_RET_OK,                       Makes<FlowOf, SetAsOverride>},
    {"QIR_Get_AsOverride",          e_RET_OK,                       Holds<AsOverrideOf>},
    {"QIR_Set_EpInfo",              e_RET_OK,                       Makes<FlowOf, SetEpInfo>},
    {"QIR_Set_EpInfo",              e_RET_ERR_RESRC_ALREADY_ACTIVE, Makes<FlowOf, StoreEpHdl>},
    {"QIR_Set_EpInfo",              e_RET_ERR_RESRC_NOT_ACTIVE,     Makes<FlowOf, StoreEpHdl>},
    {"QIR_Set_EpInfo",              e_RET_ERR_STATE_NOTCFG,         Makes<FlowOf, AssociateEp>},
    {"QIR_Get_EpInfo",              e_RET_OK,                       Gives<GaveEpInfo>},
    {"QIR_Set_PacInfo",             e_RET_OK,                       Makes<FlowOf, SetPacInfo>},
    {"QIR_Set_PacInfo",             e_RET_ERR_RESRC_ALREADY_ACTIVE, Makes<FlowOf, StorePacHdl>},
    {"QIR_Set_PacInfo",             e_RET_ERR_RESRC_NOT_ACTIVE,     Makes<FlowOf, StorePacHdl>},
    {"QIR_Set_PacInfo",             e_RET_ERR_STATE_NOTCFG,         Makes<FlowOf, StorePacHdl>},
    {"QIR_Get_PacInfo",             e_RET_OK,                       Gives<GavePacInfo>},
};
// clang-format on

} // namespace

std::span<const Effect> FlowEffects() {
    return kEffects;
}

} // namespace fuzz
