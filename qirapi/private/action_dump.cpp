#include "qirapi/private/actions.h"
#include "qirapi/private/report.h"
#include "qirapi/private/request_values.h"

#include <stdio.h>

namespace qir {

namespace {

constexpr RequestLabel kEthLabels[] = {
    {e_ETH_ACTION_DA, "<e_ETH_ACTION_DA> ", Show::kMac},
    {e_ETH_ACTION_SA, "<e_ETH_ACTION_SA> ", Show::kMac},
    {e_ETH_ACTION_ETHTYPE, "<e_ETH_ACTION_ETHTYPE> ", Show::kValHexU16},
    {e_ETH_ACTION_PUSH_TAG, "<e_ETH_ACTION_PUSH_TAG> ", Show::kNothing},
    {e_ETH_ACTION_POP_TAG, "<e_ETH_ACTION_POP_TAG> ", Show::kNothing},
};
constexpr RequestLabel kVlanLabels[] = {
    {e_VLAN_ACTION_SET_TAG, "<e_VLAN_ACTION_SET_TAG> ", Show::kValHexU32},
    {e_VLAN_ACTION_SET_TPID, "<e_VLAN_ACTION_SET_TPID> ", Show::kValHexU16},
    {e_VLAN_ACTION_SET_TCI, "<e_VLAN_ACTION_SET_TCI> ", Show::kValHexU16},
    {e_VLAN_ACTION_SET_PBITS, "<e_VLAN_ACTION_SET_PBITS> ", Show::kValDecU8},
    {e_VLAN_ACTION_SET_DEI, "<e_VLAN_ACTION_SET_DEI> ", Show::kValDecU8},
    {e_VLAN_ACTION_SET_VID, "<e_VLAN_ACTION_SET_VID> ", Show::kValDecU16},
    {e_VLAN_ACTION_COPY_TAG_FROM_TAG, "<e_VLAN_ACTION_COPY_TAG_FROM_TAG> ", Show::kValDecU32},
    {e_VLAN_ACTION_COPY_TPID_FROM_TAG, "<e_VLAN_ACTION_COPY_TPID_FROM_TAG> ", Show::kValDecU32},
    {e_VLAN_ACTION_COPY_TCI_FROM_TAG, "<e_VLAN_ACTION_COPY_TCI_FROM_TAG> ", Show::kValDecU32},
    {e_VLAN_ACTION_COPY_PBITS_FROM_TAG, "<e_VLAN_ACTION_COPY_PBITS_FROM_TAG> ", Show::kValDecU32},
    {e_VLAN_ACTION_COPY_VID_FROM_TAG, "<e_VLAN_ACTION_COPY_VID_FROM_TAG> ", Show::kValDecU32},
    {e_VLAN_ACTION_COPY_DEI_FROM_TAG, "<e_VLAN_ACTION_COPY_DEI_FROM_TAG> ", Show::kValDecU32},
    {e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP, "<e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP> ", Show::kValDecU32},
    {e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE, "<e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE> ", Show::kNothing},
};
constexpr RequestLabel kIpv4Labels[] = {
    {e_IPV4_ACTION_DA, "<e_IPV4_ACTION_DA> ", Show::kCidr},
    {e_IPV4_ACTION_SA, "<e_IPV4_ACTION_SA> ", Show::kCidr},
    {e_IPV4_ACTION_TOS, "<e_IPV4_ACTION_TOS> ", Show::kValDecU8},
    {e_IPV4_ACTION_DSCP, "<e_IPV4_ACTION_DSCP> ", Show::kValDecU8},
};
constexpr RequestLabel kTcpLabels[] = {
    {e_TCP_ACTION_SPORT, "<e_TCP_ACTION_SPORT> ", Show::kValDecU16},
    {e_TCP_ACTION_DPORT, "<e_TCP_ACTION_DPORT> ", Show::kValDecU16},
};
constexpr RequestLabel kUdpLabels[] = {
    {e_UDP_ACTION_SPORT, "<e_UDP_ACTION_SPORT> ", Show::kValDecU16},
    {e_UDP_ACTION_DPORT, "<e_UDP_ACTION_DPORT> ", Show::kValDecU16},
};

template <class Record>
void DumpReq(const char *fn, const Record *action_p, const RequestLabel *labels, u32 numLabels,
             const char *what = "") {
    QEL_ASSERT_AS(fn, action_p != nullptr, "(action_p != NULL)");
    printf("type");
    if (!PrintRequest(labels, numLabels, action_p->type, &action_p->val)) {
        QIR_ERR_AS(fn, "Unknown %saction type <%u> \n", what, action_p->type);
    }
    puts(", ");
}

template <class Record, u32 N>
void DumpReq(const char *fn, const Record *action_p, const RequestLabel (&labels)[N], const char *what = "") {
    DumpReq(fn, action_p, labels, N, what);
}

// Reads an action of `type` back and prints it; prints nothing when there is none.
template <class Record>
void DumpGet(FlowHdl *flowHdl_p, u32 type, u32 (*get)(FlowHdl *, Record *), const char *title) {
    Record action{};
    action.type = type;
    if (get(flowHdl_p, &action) != e_RET_OK) {
        return;
    }
    putchar('\n');
    puts(title);
    puts("op type ");
    puts("--------");
    printf("<%u> <%u>\n", action.op, action.type);
}

} // namespace

void Dump_EthActionReq(const EthAction *action_p) {
    DumpReq(__func__, action_p, kEthLabels);
}

void Dump_VlanActionReq(const VlanAction *action_p) {
    DumpReq(__func__, action_p, kVlanLabels, "VLAN ");
}

// The PPPoE action has no label: its type is always reported as unknown.
void Dump_PppoeActionReq(const PppoeAction *action_p) {
    DumpReq(__func__, action_p, nullptr, 0);
}

void Dump_Ipv4ActionReq(const Ipv4Action *action_p) {
    DumpReq(__func__, action_p, kIpv4Labels);
}

void Dump_TcpActionReq(const TcpAction *action_p) {
    DumpReq(__func__, action_p, kTcpLabels);
}

void Dump_UdpActionReq(const UdpAction *action_p) {
    DumpReq(__func__, action_p, kUdpLabels);
}

void Dump_Get_EthAction(FlowHdl *flowHdl_p, u32 type) {
    DumpGet(flowHdl_p, type, QIR_Get_EthAction, "Dump of QIR_GetEthAction");
}

void Dump_Get_VlanAction(FlowHdl *flowHdl_p, u32 toTagNum, u32 type) {
    VlanAction action{};
    action.type = type;
    action.toTagNum = toTagNum;
    if (QIR_Get_VlanAction(flowHdl_p, &action) != e_RET_OK) {
        return;
    }
    putchar('\n');
    puts("Dump of QIR_GetVlanAction");
    puts("op tagNum type ");
    puts("---------------");
    printf("<%u>  <%u>  <%u>\n", action.op, action.toTagNum, action.type);
}

void Dump_Get_PppoeAction(FlowHdl *flowHdl_p, u32 type) {
    DumpGet(flowHdl_p, type, QIR_Get_PppoeAction, "Dump of QIR_GetPppoeAction");
}

void Dump_Get_Ipv4Action(FlowHdl *flowHdl_p, u32 type) {
    DumpGet(flowHdl_p, type, QIR_Get_Ipv4Action, "Dump of QIR_GetIpv4Action");
}

void Dump_Get_TcpAction(FlowHdl *flowHdl_p, u32 type) {
    DumpGet(flowHdl_p, type, QIR_Get_TcpAction, "Dump of QIR_GetTcpAction");
}

void Dump_Get_UdpAction(FlowHdl *flowHdl_p, u32 type) {
    DumpGet(flowHdl_p, type, QIR_Get_UdpAction, "Dump of QIR_GetUdpAction");
}

} // namespace qir
