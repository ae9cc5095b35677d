#include "qirapi/private/actions.h"
#include "qirapi/private/report.h"
#include "qirapi/private/request_values.h"

#include <stdio.h>

namespace qir {

namespace {

template <class Record, u32 N>
void DumpReq(const char *fn, const Record *action_p, const TypeRule (&rules)[N], const char *what = "") {
    QEL_ASSERT_AS(fn, action_p != nullptr, "(action_p != NULL)");
    printf("type");
    if (!PrintRequest(rules, action_p->type, &action_p->val)) {
        QIR_ERR_AS(fn, "Unknown %saction type <%u> \n", what, action_p->type);
    }
    puts(", ");
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
    DumpReq(__func__, action_p, kEthActions);
}

void Dump_VlanActionReq(const VlanAction *action_p) {
    DumpReq(__func__, action_p, kVlanActions, "VLAN ");
}

void Dump_PppoeActionReq(const PppoeAction *action_p) {
    DumpReq(__func__, action_p, kPppoeActions);
}

void Dump_Ipv4ActionReq(const Ipv4Action *action_p) {
    DumpReq(__func__, action_p, kIpv4Actions);
}

void Dump_TcpActionReq(const TcpAction *action_p) {
    DumpReq(__func__, action_p, kTcpActions);
}

void Dump_UdpActionReq(const UdpAction *action_p) {
    DumpReq(__func__, action_p, kUdpActions);
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
