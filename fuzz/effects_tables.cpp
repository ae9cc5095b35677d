// AS, DSCP-to-pbits, PAC and EP tables.
#include "fuzz/effect_rows.h"

#include <type_traits>
#include <utility>

namespace fuzz {

using namespace qir;

namespace {

// ---- Life, the same for all kinds

// The record that stands at the place.
template <auto place>
using InfoAt = std::remove_cvref_t<decltype(*place(std::declval<QirCtxt>(), std::declval<Call>()))>;

// An allocated table is as start-up leaves it, but for its handle and its status.
template <auto place> void Alloc(InfoAt<place> &tbl, const Moment &moment) {
    tbl = *place(moment.start, moment.call);
    tbl.hdl.word = moment.call.hdl;
    tbl.status = e_STATUS_ALLOC;
}

// It is the lowest that was FREE.
template <auto place> Complaint Allocates(const Moment &moment) {
    const auto *const taken = place(moment.before, moment.call);
    if (taken != nullptr && taken->status != e_STATUS_FREE) {
        return "took a table that was not FREE";
    }
    Call lower = moment.call;
    for (lower.table = 0; taken != nullptr && lower.table < moment.call.table; ++lower.table) {
        if (place(moment.before, lower)->status == e_STATUS_FREE) {
            return "a lower table was FREE";
        }
    }
    return Makes<place, Alloc<place>>(moment);
}

template <auto place> bool IsNoneFree(const Moment &moment) {
    Call each;
    for (each.table = 0; place(moment.before, each) != nullptr; ++each.table) {
        if (place(moment.before, each)->status == e_STATUS_FREE) {
            return false;
        }
    }
    return true;
}

template <auto place> void Free(InfoAt<place> &tbl, const Moment &) {
    tbl.status = e_STATUS_FREE;
}

// Which index the driver gave is looked at with the request.
template <auto place> void Activate(InfoAt<place> &tbl, const Moment &moment) {
    tbl.status = e_STATUS_ACTIVE;
    tbl.hwTblIdx = place(moment.now, moment.call)->hwTblIdx;
}

template <auto place> void Deactivate(InfoAt<place> &tbl, const Moment &) {
    tbl.status = e_STATUS_CFG;
    tbl.hwTblIdx = kNoHwIdx;
}

// The driver failed, and the slot is forgotten all the same.
template <auto place> void ForgetSlot(InfoAt<place> &tbl, const Moment &) {
    tbl.hwTblIdx = kNoHwIdx;
}

// ---- AS tables

const AsTblCfg *AsCfgOf(const QirCtxt &ctxt, const Call &call) {
    const AsTblInfo *const tbl = AsTblOf(ctxt, call);
    return tbl != nullptr ? &tbl->cfg : nullptr;
}

const AsEntSlot *AsSlotOf(const QirCtxt &ctxt, const Call &call) {
    const AsTblInfo *const tbl = AsTblOf(ctxt, call);
    return tbl != nullptr && call.arg[0] < QIR_ASENT_MAXNUM ? tbl->ent + call.arg[0] : nullptr;
}

const AsEnt *AsEntOf(const QirCtxt &ctxt, const Call &call) {
    const AsEntSlot *const slot = AsSlotOf(ctxt, call);
    return slot != nullptr ? &slot->ent : nullptr;
}

void SetAsCfg(AsTblInfo &tbl, const Moment &moment) {
    tbl.cfg = RecordOf<AsTblCfg>(moment.call);
    tbl.status = e_STATUS_CFG;
}

void SetAsEntry(AsTblInfo &tbl, const Moment &moment) {
    AsEntSlot &slot = tbl.ent[moment.call.arg[0] % QIR_ASENT_MAXNUM];
    slot = {RecordOf<AsEnt>(moment.call), e_STATUS_ALLOC};
}

void DeleteAsEntry(AsTblInfo &tbl, const Moment &moment) {
    tbl.ent[moment.call.arg[0] % QIR_ASENT_MAXNUM].status = e_STATUS_FREE;
}

bool IsInUse(const AsEntSlot &slot, const Moment &) {
    return slot.status != e_STATUS_FREE;
}

// ---- DSCP-to-pbits tables

const DscpDefPbits *DefPbitsOf(const QirCtxt &ctxt, const Call &call) {
    const DscpTblInfo *const tbl = DscpTblOf(ctxt, call);
    return tbl != nullptr ? &tbl->cfg : nullptr;
}

const u8 *PbitsOf(const QirCtxt &ctxt, const Call &call) {
    const DscpTblInfo *const tbl = DscpTblOf(ctxt, call);
    return tbl != nullptr && call.arg[0] < QIR_DSCP_MAX ? tbl->pbits + call.arg[0] : nullptr;
}

void SetDefPbits(DscpTblInfo &tbl, const Moment &moment) {
    tbl.cfg = RecordOf<DscpDefPbits>(moment.call);
    std::fill(std::begin(tbl.pbits), std::end(tbl.pbits), tbl.cfg.pbits);
    tbl.status = e_STATUS_CFG;
}

void SetDscp(DscpTblInfo &tbl, const Moment &moment) {
    const auto mapping = RecordOf<DscpMapping>(moment.call);
    for (u32 dscp = mapping.startDscp; dscp <= mapping.endDscp && dscp < QIR_DSCP_MAX; ++dscp) {
        tbl.pbits[dscp] = mapping.pbits;
    }
}

// ---- PAC tables

const PacTblCfg *PacCfgOf(const QirCtxt &ctxt, const Call &call) {
    const PacTblInfo *const tbl = PacTblOf(ctxt, call);
    return tbl != nullptr ? &tbl->cfg : nullptr;
}

const PacTblCfg *PacEntOf(const QirCtxt &ctxt, const Call &call) {
    const PacTblInfo *const tbl = PacTblOf(ctxt, call);
    return tbl != nullptr && call.arg[0] < QIR_PBITS_MAX ? tbl->ent + call.arg[0] : nullptr;
}

void SetPacCfg(PacTblInfo &tbl, const Moment &moment) {
    tbl.cfg = RecordOf<PacTblCfg>(moment.call);
    std::fill(std::begin(tbl.ent), std::end(tbl.ent), tbl.cfg);
    tbl.status = e_STATUS_CFG;
}

void SetPacEntry(PacTblInfo &tbl, const Moment &moment) {
    tbl.ent[moment.call.arg[0] % QIR_PBITS_MAX] = RecordOf<PacTblCfg>(moment.call);
}

bool IsUsed(const PacTblInfo &tbl, const Moment &) {
    return tbl.refCnt != 0;
}

// clang-format off
constexpr Effect kEffects[] = {
    {"QIR_Alloc_AsTable",                 e_RET_OK,                Allocates<AsTblOf>},
    {"QIR_Alloc_AsTable",                 e_RET_ERR_RESRC_UNAVAIL, Needs<IsNoneFree<AsTblOf>>},
    {"QIR_Free_AsTable",                  e_RET_OK,                Makes<AsTblOf, Free<AsTblOf>>},
    {"QIR_Activate_AsTable",              e_RET_OK,                Makes<AsTblOf, Activate<AsTblOf>>},
    {"QIR_Deactivate_AsTable",            e_RET_OK,                Makes<AsTblOf, Deactivate<AsTblOf>>},
    {"QIR_Deactivate_AsTable",            e_RET_DRIVER_FAILURE,    Makes<AsTblOf, ForgetSlot<AsTblOf>>},
    {"QIR_Alloc_DscpToPbitsTable",        e_RET_OK,                Allocates<DscpTblOf>},
    {"QIR_Alloc_DscpToPbitsTable",        e_RET_ERR_RESRC_UNAVAIL, Needs<IsNoneFree<DscpTblOf>>},
    {"QIR_Free_DscpToPbitsTable",         e_RET_OK,                Makes<DscpTblOf, Free<DscpTblOf>>},
    {"QIR_Activate_DscpToPbitsTable",     e_RET_OK,                Makes<DscpTblOf, Activate<DscpTblOf>>},
    {"QIR_Deactivate_DscpToPbitsTable",   e_RET_OK,                Makes<DscpTblOf, Deactivate<DscpTblOf>>},
    {"QIR_Deactivate_DscpToPbitsTable",   e_RET_DRIVER_FAILURE,    Makes<DscpTblOf, ForgetSlot<DscpTblOf>>},
    {"QIR_Alloc_PacTable",                e_RET_OK,                Allocates<PacTblOf>},
    {"QIR_Alloc_PacTable",                e_RET_ERR_RESRC_UNAVAIL, Needs<IsNoneFree<PacTblOf>>},
    {"QIR_Free_PacTable",                 e_RET_OK,                Makes<PacTblOf, Free<PacTblOf>>},
    {"QIR_Activate_PacTable",             e_RET_OK,                Makes<PacTblOf, Activate<PacTblOf>>},
    {"QIR_Deactivate_PacTable",           e_RET_OK,                Makes<PacTblOf, Deactivate<PacTblOf>>},
    {"QIR_Deactivate_PacTable",           e_RET_DRIVER_FAILURE,    Makes<PacTblOf, ForgetSlot<PacTblOf>>},
    {"QIR_Set_AsTableCfg",                e_RET_OK,                Makes<AsTblOf, SetAsCfg>},
    {"QIR_Get_AsTableCfg",                e_RET_OK,                Holds<AsCfgOf>},
    {"QIR_Set_AsTableEntry",              e_RET_OK,                Makes<AsTblOf, SetAsEntry>},
    {"QIR_Set_AsTableEntry",              e_RET_ERR_RESRC_UNAVAIL, NeedsOf<AsSlotOf, IsInUse>},
    {"QIR_Get_AsTableEntry",              e_RET_OK,                Holds<AsEntOf>},
    {"QIR_Delete_AsTableEntry",           e_RET_OK,                Makes<AsTblOf, DeleteAsEntry>},
    {"QIR_Dump_AsTable",                  e_RET_OK,                DoesNothing},
    {"QIR_Set_DscpToPbitsTable_DefPbits", e_RET_OK,                Makes<DscpTblOf, SetDefPbits>},
    {"QIR_Get_DscpToPbitsTable_DefPbits", e_RET_OK,                Holds<DefPbitsOf>},
    {"QIR_Set_DscpToPbitsTable",          e_RET_OK,                Makes<DscpTblOf, SetDscp>},
    {"QIR_Get_DscpToPbitsTable",          e_RET_OK,                Holds<PbitsOf>},
    {"QIR_Dump_DscpToPbitsTable",         e_RET_OK,                DoesNothing},
    {"QIR_Free_PacTable",                 e_RET_ERR_RESRC_BUSY,    NeedsOf<PacTblOf, IsUsed>},
    {"QIR_Set_PacTableCfg",               e_RET_OK,                Makes<PacTblOf, SetPacCfg>},
    {"QIR_Get_PacTableCfg",               e_RET_OK,                Holds<PacCfgOf>},
    {"QIR_Set_PacTableEntry",             e_RET_OK,                Makes<PacTblOf, SetPacEntry>},
    {"QIR_Get_PacTableEntry",             e_RET_OK,                Holds<PacEntOf>},
    {"QIR_Dump_PacTable",                 e_RET_OK,                DoesNothing},
    // The EP operations accept anything and do nothing.
    {"QIR_Alloc_EpTable",                 e_RET_OK,                DoesNothing},
    {"QIR_Free_EpTable",                  e_RET_OK,                DoesNothing},
    {"QIR_Activate_EpTable",              e_RET_OK,                DoesNothing},
    {"QIR_Deactivate_EpTable",            e_RET_OK,                DoesNothing},
    {"QIR_Set_EpTableCfg",                e_RET_OK,                DoesNothing},
    {"QIR_Get_EpTableCfg",                e_RET_OK,                DoesNothing},
    {"QIR_Set_EpTableEntry",              e_RET_OK,                DoesNothing},
    {"QIR_Get_EpTableEntry",              e_RET_OK,                DoesNothing},
};
// clang-format on

} // namespace

std::span<const Effect> TableEffects() {
    return kEffects;
}

} // namespace fuzz
