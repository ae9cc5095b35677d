// Actions of the six headers: validation, storage, read-back, dump.
//
// Validate_Config_* checks the request alone. Config_* checks that no action on the header excludes it, for
// Ethernet also the order and the number of tags, and stores it. Get_* reads the first request of one type.
#ifndef QIRAPI_PRIVATE_ACTIONS_H
#define QIRAPI_PRIVATE_ACTIONS_H

#include "qirapi/private/context.h"

namespace qir {

u32 Validate_Config_EthAction(const EthAction *action_p);
u32 Validate_Config_VlanAction(const VlanAction *action_p);
u32 Validate_Config_PppoeAction(const PppoeAction *action_p);
u32 Validate_Config_Ipv4Action(const Ipv4Action *action_p);
u32 Validate_Config_TcpAction(const TcpAction *action_p);
u32 Validate_Config_UdpAction(const UdpAction *action_p);

u32 Config_EthAction(Fcb *fcb_p, const EthAction *action_p);
u32 Config_VlanAction(Fcb *fcb_p, const VlanAction *action_p);
u32 Config_PppoeAction(Fcb *fcb_p, const PppoeAction *action_p);
u32 Config_Ipv4Action(Fcb *fcb_p, const Ipv4Action *action_p);
u32 Config_TcpAction(Fcb *fcb_p, const TcpAction *action_p);
u32 Config_UdpAction(Fcb *fcb_p, const UdpAction *action_p);

void FillReq_EthActionReqNode(const EthAction *action_p, ReqNode *reqNode_p);
void FillReq_VlanActionReqNode(const VlanAction *action_p, ReqNode *reqNode_p);
void FillReq_PppoeActionReqNode(const PppoeAction *action_p, ReqNode *reqNode_p);
void FillReq_Ipv4ActionReqNode(const Ipv4Action *action_p, ReqNode *reqNode_p);
void FillReq_TcpActionReqNode(const TcpAction *action_p, ReqNode *reqNode_p);
void FillReq_UdpActionReqNode(const UdpAction *action_p, ReqNode *reqNode_p);

u32 Validate_Get_EthAction(const EthAction *action_p);
u32 Validate_Get_VlanAction(const VlanAction *action_p);
u32 Validate_Get_PppoeAction(const PppoeAction *action_p);
u32 Validate_Get_Ipv4Action(const Ipv4Action *action_p);
u32 Validate_Get_TcpAction(const TcpAction *action_p);
u32 Validate_Get_UdpAction(const UdpAction *action_p);

u32 Get_EthAction(const Fcb *fcb_p, EthAction *action_p);
u32 Get_VlanAction(const Fcb *fcb_p, VlanAction *action_p);
u32 Get_PppoeAction(const Fcb *fcb_p, PppoeAction *action_p);
u32 Get_Ipv4Action(const Fcb *fcb_p, Ipv4Action *action_p);
u32 Get_TcpAction(const Fcb *fcb_p, TcpAction *action_p);
u32 Get_UdpAction(const Fcb *fcb_p, UdpAction *action_p);

// What all Get_*Action share: copies `size` bytes of the list's first request of `type`. 0, or
// e_RET_ERR_NO_SUCH_ENTRY.
u32 Get_Action(const Fcb *fcb_p, void *action_p, u32 type, const ReqNode *reqList_p, u32 size);

void Dump_EthActionReq(const EthAction *action_p);
void Dump_VlanActionReq(const VlanAction *action_p);
void Dump_PppoeActionReq(const PppoeAction *action_p);
void Dump_Ipv4ActionReq(const Ipv4Action *action_p);
void Dump_TcpActionReq(const TcpAction *action_p);
void Dump_UdpActionReq(const UdpAction *action_p);

// Diagnostic read-back of one action through the public operations.
void Dump_Get_EthAction(FlowHdl *flowHdl_p, u32 type);
void Dump_Get_VlanAction(FlowHdl *flowHdl_p, u32 toTagNum, u32 type);
void Dump_Get_PppoeAction(FlowHdl *flowHdl_p, u32 type);
void Dump_Get_Ipv4Action(FlowHdl *flowHdl_p, u32 type);
void Dump_Get_TcpAction(FlowHdl *flowHdl_p, u32 type);
void Dump_Get_UdpAction(FlowHdl *flowHdl_p, u32 type);

} // namespace qir

#endif
