#include "qirapi/private/actions.h"

#include "qirapi/api/request_ops.h"

using namespace qir;

namespace {

void LogVlanAction(const char *fn, FlowHdl flowHdl, const VlanAction &action) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> toTagNum<%u> type<%u>\n", flowHdl.f1.id, action.op,
               action.toTagNum, action.type);
}

template <class Action> void LogAction(const char *fn, FlowHdl flowHdl, const Action &action) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> type<%u>\n", flowHdl.f1.id, action.op, action.type);
}

} // namespace

u32 QIR_Config_EthAction(FlowHdl *flowHdl_p, const EthAction *action_p) {
    return ConfigAction<EthActionKind>(__func__, flowHdl_p, action_p, LogAction<EthAction>,
                                       Validate_Config_EthAction, Config_EthAction);
}

u32 QIR_Get_EthAction(FlowHdl *flowHdl_p, EthAction *action_p) {
    return GetAction<EthActionKind>(__func__, flowHdl_p, action_p, LogAction<EthAction>,
                                    Validate_Get_EthAction, Get_EthAction);
}

u32 QIR_Config_VlanAction(FlowHdl *flowHdl_p, const VlanAction *action_p) {
    return ConfigAction<VlanActionKind>(__func__, flowHdl_p, action_p, LogVlanAction,
                                        Validate_Config_VlanAction, Config_VlanAction);
}

u32 QIR_Get_VlanAction(FlowHdl *flowHdl_p, VlanAction *action_p) {
    return GetAction<VlanActionKind>(__func__, flowHdl_p, action_p, LogVlanAction, Validate_Get_VlanAction,
                                     Get_VlanAction);
}

u32 QIR_Config_PppoeAction(FlowHdl *flowHdl_p, const PppoeAction *action_p) {
    return ConfigAction<PppoeActionKind>(__func__, flowHdl_p, action_p, LogAction<PppoeAction>,
                                         Validate_Config_PppoeAction, Config_PppoeAction);
}

u32 QIR_Get_PppoeAction(FlowHdl *flowHdl_p, PppoeAction *action_p) {
    return GetAction<PppoeActionKind>(__func__, flowHdl_p, action_p, LogAction<PppoeAction>,
                                      Validate_Get_PppoeAction, Get_PppoeAction);
}

u32 QIR_Config_MplsAction(FlowHdl *, const void *) {
    return e_RET_OK;
}

u32 QIR_Get_MplsAction(FlowHdl *, void *) {
    return e_RET_OK;
}

u32 QIR_Config_Ipv4Action(FlowHdl *flowHdl_p, const Ipv4Action *action_p) {
    return ConfigAction<Ipv4ActionKind>(__func__, flowHdl_p, action_p, LogAction<Ipv4Action>,
                                        Validate_Config_Ipv4Action, Config_Ipv4Action);
}

u32 QIR_Get_Ipv4Action(FlowHdl *flowHdl_p, Ipv4Action *action_p) {
    return GetAction<Ipv4ActionKind>(__func__, flowHdl_p, action_p, LogAction<Ipv4Action>,
                                     Validate_Get_Ipv4Action, Get_Ipv4Action);
}

u32 QIR_Config_TcpAction(FlowHdl *flowHdl_p, const TcpAction *action_p) {
    return ConfigAction<TcpActionKind>(__func__, flowHdl_p, action_p, LogAction<TcpAction>,
                                       Validate_Config_TcpAction, Config_TcpAction);
}

u32 QIR_Get_TcpAction(FlowHdl *flowHdl_p, TcpAction *action_p) {
    return GetAction<TcpActionKind>(__func__, flowHdl_p, action_p, LogAction<TcpAction>,
                                    Validate_Get_TcpAction, Get_TcpAction);
}

u32 QIR_Config_UdpAction(FlowHdl *flowHdl_p, const UdpAction *action_p) {
    return ConfigAction<UdpActionKind>(__func__, flowHdl_p, action_p, LogAction<UdpAction>,
                                       Validate_Config_UdpAction, Config_UdpAction);
}

u32 QIR_Get_UdpAction(FlowHdl *flowHdl_p, UdpAction *action_p) {
    return GetAction<UdpActionKind>(__func__, flowHdl_p, action_p, LogAction<UdpAction>,
                                    Validate_Get_UdpAction, Get_UdpAction);
}
