// Start-up, flow sections, global and port settings, rate limiters.
#include "fuzz/effect_rows.h"

namespace fuzz {

using namespace qir;

namespace {

// ---- Flow sections

const FlowSection *SectionOf(const QirCtxt &ctxt, const Call &call) {
    return call.arg[0] < e_FLOW_SECTION_MAX ? ctxt.cfg.flowSection + call.arg[0] : nullptr;
}

const u16 *BudgetOf(const QirCtxt &ctxt, const Call &call) {
    const FlowSection *const section = SectionOf(ctxt, call);
    return section != nullptr ? &section->maxFlows : nullptr;
}

void SetBudget(FlowSection &section, const Moment &moment) {
    section.maxFlows = static_cast<u16>(moment.call.arg[1]);
}

bool IsBelowUse(const FlowSection &section, const Moment &moment) {
    return moment.call.arg[1] < section.cfgFlows;
}

bool IsBeyondAllFlows(const Moment &moment) {
    u32 budgets = moment.call.arg[1];
    for (u32 section = 0; section < e_FLOW_SECTION_MAX; ++section) {
        budgets += section == moment.call.arg[0] ? 0u : moment.before.cfg.flowSection[section].maxFlows;
    }
    return budgets > QIR_MAX_FLOWS;
}

// ---- Settings

const u32 *FlowMissActionOf(const QirCtxt &ctxt, const Call &) {
    return &ctxt.flowMissAction;
}

const u32 *PadLenOf(const QirCtxt &ctxt, const Call &call) {
    return call.port < QIR_PADPORT_MAX ? ctxt.portPadLenTbl + call.port : nullptr;
}

const u32 *DefAclOf(const QirCtxt &ctxt, const Call &call) {
    return call.port < QIR_PORT_MAX ? ctxt.portDefAclTbl + call.port : nullptr;
}

const TpidCfg *TpidOf(const QirCtxt &ctxt, const Call &call) {
    return call.port < QIR_PORT_MAX ? ctxt.tpidTbl + call.port : nullptr;
}

// ---- Rate limiters

const u32 *RlStatusOf(const QirCtxt &ctxt, const Call &) {
    return &ctxt.rlStatus;
}

const RlTciCfg *TciOf(const QirCtxt &ctxt, const Call &call) {
    return call.rlDir < QIR_RLDIR_MAX ? ctxt.rlTciCfgTbl + call.rlDir : nullptr;
}

const RlSlot *LimiterOf(const QirCtxt &ctxt, const Call &call) {
    return call.rlDir < QIR_RLDIR_MAX && call.rlIndex < QIR_RLINDEX_MAX
               ? &ctxt.rlTbl[call.rlDir][call.rlIndex]
               : nullptr;
}

const RlEnt *LimiterCfgOf(const QirCtxt &ctxt, const Call &call) {
    const RlSlot *const limiter = LimiterOf(ctxt, call);
    return limiter != nullptr ? &limiter->ent : nullptr;
}

void AllocLimiter(RlSlot &limiter, const Moment &) {
    limiter = {{}, e_STATUS_ALLOC};
}

void SetLimiter(RlSlot &limiter, const Moment &moment) {
    limiter = {RecordOf<RlEnt>(moment.call), e_STATUS_CFG};
}

template <u32 state> void SetState(RlSlot &limiter, const Moment &) {
    limiter.state = state;
}

bool IsInUse(const RlSlot &limiter, const Moment &) {
    return limiter.state != e_STATUS_FREE;
}

bool IsActive(const RlSlot &limiter, const Moment &) {
    return limiter.state == e_STATUS_ACTIVE;
}

// clang-format off
constexpr Effect kEffects[] = {
    {"QIR_Init_Sys",            e_RET_OK,                DoesNothing}, // compared with the first one
    {"QIR_Set_SectionMaxFlows", e_RET_OK,                Makes<SectionOf, SetBudget>},
    {"QIR_Set_SectionMaxFlows", e_RET_ERR_RESRC_BUSY,    NeedsOf<SectionOf, IsBelowUse>},
    {"QIR_Set_SectionMaxFlows", e_RET_ERR_RESRC_UNAVAIL, Needs<IsBeyondAllFlows>},
    {"QIR_Get_SectionMaxFlows", e_RET_OK,                Holds<BudgetOf>},
    {"QIR_Set_FlowMissAction",  e_RET_OK,                Holds<FlowMissActionOf>},
    {"QIR_Get_FlowMissAction",  e_RET_OK,                Holds<FlowMissActionOf>},
    {"QIR_Set_PortPadLen",      e_RET_OK,                Holds<PadLenOf>},
    {"QIR_Get_PortPadLen",      e_RET_OK,                Holds<PadLenOf>},
    {"QIR_Set_PortDefAcl",      e_RET_OK,                Holds<DefAclOf>},
    {"QIR_Get_PortDefAcl",      e_RET_OK,                Holds<DefAclOf>},
    {"QIR_Set_Tpid",            e_RET_OK,                Holds<TpidOf>},
    {"QIR_Get_Tpid",            e_RET_OK,                Holds<TpidOf>},
    {"QIR_Set_RLStatus",        e_RET_OK,                Holds<RlStatusOf>},
    {"QIR_Get_RLStatus",        e_RET_OK,                Holds<RlStatusOf>},
    {"QIR_Set_RLTciCfg",        e_RET_OK,                Holds<TciOf>},
    {"QIR_Get_RLTciCfg",        e_RET_OK,                Holds<TciOf>},
    {"QIR_Alloc_RL",            e_RET_OK,                Makes<LimiterOf, AllocLimiter>},
    {"QIR_Alloc_RL",            e_RET_ERR_RESRC_UNAVAIL, NeedsOf<LimiterOf, IsInUse>},
    {"QIR_Free_RL",             e_RET_OK,                Makes<LimiterOf, SetState<e_STATUS_FREE>>},
    {"QIR_Free_RL",             e_RET_ERR_RESRC_BUSY,    NeedsOf<LimiterOf, IsActive>},
    {"QIR_Set_RL",              e_RET_OK,                Makes<LimiterOf, SetLimiter>},
    {"QIR_Get_RL",              e_RET_OK,                Holds<LimiterCfgOf>},
    {"QIR_Activate_RL",         e_RET_OK,                Makes<LimiterOf, SetState<e_STATUS_ACTIVE>>},
    {"QIR_Deactivate_RL",       e_RET_OK,                Makes<LimiterOf, SetState<e_STATUS_CFG>>},
};
// clang-format on

} // namespace

std::span<const Effect> SystemEffects() {
    return kEffects;
}

} // namespace fuzz
