// Start-up, flow sections, global and port settings, rate limiters.
#include "fuzz/public_calls.h"

namespace fuzz {

namespace {

// Rarely: it takes as long as many other calls, and ends what they have begun.
void InitSys(Input &in, Call &call) {
    if (!in.Rarely()) {
        call.name = "(no start-up)";
        return;
    }
    call.doing = Doing::InitSystem;
    call.rc = QIR_Init_Sys();
}

void SetSectionMaxFlows(Input &in, Call &call) {
    call.doing = Doing::SetBudget;
    call.arg[0] = in.Below(e_FLOW_SECTION_MAX);
    const u16 numFlows = in.Half();
    call.arg[1] = numFlows;
    call.rc = QIR_Set_SectionMaxFlows(call.arg[0], numFlows);
}

void GetSectionMaxFlows(Input &in, Call &call) {
    auto numFlows = Unwritten<u16>();
    call.arg[0] = in.Below(e_FLOW_SECTION_MAX);
    call.rc = QIR_Get_SectionMaxFlows(call.arg[0], in.OrNull(numFlows));
    call.Tell(numFlows);
}

void SetFlowMissAction(Input &in, Call &call) {
    call.doing = Doing::SetFlowMissAction;
    const u32 action = in.Below(QIR_FLOWMISSACTION_MAX);
    call.Tell(action);
    call.rc = QIR_Set_FlowMissAction(action);
}

void GetFlowMissAction(Input &in, Call &call) {
    auto action = Unwritten<u32>();
    call.rc = QIR_Get_FlowMissAction(in.OrNull(action));
    call.Tell(action);
}

u32 TakePort(Input &in, Call &call, u32 num) {
    const u32 port = in.Below(num);
    call.port = port < num ? port : kNone;
    return port;
}

void SetPortPadLen(Input &in, Call &call) {
    call.doing = Doing::SetPadLen;
    const u32 port = TakePort(in, call, QIR_PADPORT_MAX);
    const u32 padLen = in.Word();
    call.Tell(padLen < QIR_PADLEN_MIN ? 0u : padLen);
    call.rc = QIR_Set_PortPadLen(port, padLen);
}

void GetPortPadLen(Input &in, Call &call) {
    auto padLen = Unwritten<u32>();
    const u32 port = TakePort(in, call, QIR_PADPORT_MAX);
    call.rc = QIR_Get_PortPadLen(port, in.OrNull(padLen));
    call.Tell(padLen);
}

void SetPortDefAcl(Input &in, Call &call) {
    call.doing = Doing::SetDefAcl;
    const u32 port = TakePort(in, call, QIR_PORT_MAX);
    const u32 aclType = in.Below(QIR_ACLTYPE_MAX);
    call.Tell(aclType);
    call.rc = QIR_Set_PortDefAcl(port, aclType);
}

void GetPortDefAcl(Input &in, Call &call) {
    auto aclType = Unwritten<u32>();
    const u32 port = TakePort(in, call, QIR_PORT_MAX);
    call.rc = QIR_Get_PortDefAcl(port, in.OrNull(aclType));
    call.Tell(aclType);
}

void SetTpid(Input &in, Call &call) {
    call.doing = Doing::SetTpid;
    TpidCfg cfg{};
    cfg.portId = TakePort(in, call, QIR_PORT_MAX);
    in.Fill(cfg.tpid, sizeof cfg.tpid);
    call.Tell(cfg);
    call.rc = QIR_Set_Tpid(in.OrNull(cfg));
}

void GetTpid(Input &in, Call &call) {
    auto cfg = Unwritten<TpidCfg>();
    cfg.portId = TakePort(in, call, QIR_PORT_MAX);
    call.rc = QIR_Get_Tpid(in.OrNull(cfg));
    call.Tell(cfg);
}

void SetRlStatus(Input &in, Call &call) {
    call.doing = Doing::SetRlStatus;
    const u32 status = in.Below(QIR_RLSTATUS_MAX);
    call.Tell(status);
    call.rc = QIR_Set_RLStatus(status);
}

void GetRlStatus(Input &in, Call &call) {
    auto status = Unwritten<u32>();
    call.rc = QIR_Get_RLStatus(in.OrNull(status));
    call.Tell(status);
}

struct Limiter {
    u32 dir;
    u32 index;
};

Limiter TakeLimiter(Input &in, Call &call) {
    const u32 dir = in.Below(QIR_RLDIR_MAX);
    const u32 index = in.Below(QIR_RLINDEX_MAX);
    call.rlDir = dir < QIR_RLDIR_MAX ? dir : kNone;
    call.rlIndex = index < QIR_RLINDEX_MAX ? index : kNone;
    return {dir, index};
}

void SetRlTciCfg(Input &in, Call &call) {
    call.doing = Doing::SetRlTci;
    const u32 dir = in.Below(QIR_RLDIR_MAX);
    call.rlDir = dir < QIR_RLDIR_MAX ? dir : kNone;
    RlTciCfg cfg{};
    cfg.tci[0] = in.Half();
    cfg.tci[1] = in.Byte();
    call.Tell(cfg);
    call.rc = QIR_Set_RLTciCfg(dir, cfg);
}

void GetRlTciCfg(Input &in, Call &call) {
    auto cfg = Unwritten<RlTciCfg>();
    const u32 dir = in.Below(QIR_RLDIR_MAX);
    call.rlDir = dir < QIR_RLDIR_MAX ? dir : kNone;
    call.rc = QIR_Get_RLTciCfg(dir, in.OrNull(cfg));
    call.Tell(cfg);
}

template <Doing doing, auto operation> void OnLimiter(Input &in, Call &call) {
    call.doing = doing;
    const Limiter limiter = TakeLimiter(in, call);
    call.rc = operation(limiter.dir, limiter.index);
}

void SetRl(Input &in, Call &call) {
    call.doing = Doing::ChangeRl;
    const Limiter limiter = TakeLimiter(in, call);
    RlEnt ent{};
    ent.tci = in.Word();
    ent.cirUnit = in.Below(QIR_RLUNIT_MAX);
    ent.cirRate = in.Word();
    ent.cbs = in.Byte();
    call.Tell(ent);
    call.rc = QIR_Set_RL(limiter.dir, limiter.index, ent);
}

void GetRl(Input &in, Call &call) {
    auto ent = Unwritten<RlEnt>();
    const Limiter limiter = TakeLimiter(in, call);
    call.rc = QIR_Get_RL(limiter.dir, limiter.index, in.OrNull(ent));
    call.Tell(ent);
}

constexpr Operation kOperations[] = {
    {"QIR_Init_Sys", InitSys},
    {"QIR_Set_SectionMaxFlows", SetSectionMaxFlows},
    {"QIR_Get_SectionMaxFlows", GetSectionMaxFlows},
    {"QIR_Set_FlowMissAction", SetFlowMissAction},
    {"QIR_Get_FlowMissAction", GetFlowMissAction},
    {"QIR_Set_PortPadLen", SetPortPadLen},
    {"QIR_Get_PortPadLen", GetPortPadLen},
    {"QIR_Set_PortDefAcl", SetPortDefAcl},
    {"QIR_Get_PortDefAcl", GetPortDefAcl},
    {"QIR_Set_Tpid", SetTpid},
    {"QIR_Get_Tpid", GetTpid},
    {"QIR_Set_RLStatus", SetRlStatus},
    {"QIR_Get_RLStatus", GetRlStatus},
    {"QIR_Set_RLTciCfg", SetRlTciCfg},
    {"QIR_Get_RLTciCfg", GetRlTciCfg},
    {"QIR_Alloc_RL", OnLimiter<Doing::ChangeRl, QIR_Alloc_RL>},
    {"QIR_Free_RL", OnLimiter<Doing::ChangeRl, QIR_Free_RL>},
    {"QIR_Set_RL", SetRl},
    {"QIR_Get_RL", GetRl},
    {"QIR_Activate_RL", OnLimiter<Doing::SwitchRl, QIR_Activate_RL>},
    {"QIR_Deactivate_RL", OnLimiter<Doing::SwitchRl, QIR_Deactivate_RL>},
};

} // namespace

std::span<const Operation> SystemOperations() {
    return kOperations;
}

} // namespace fuzz
