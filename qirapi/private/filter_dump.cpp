#include "qirapi/private/filters.h"
#include "qirapi/private/report.h"
#include "qirapi/private/request_values.h"
#include "qirapi/private/rules.h"

#include <stdio.h>
#include <string.h>

namespace qir {

namespace {

constexpr RequestLabel kEthLabels[] = {
    {e_ETH_FILT_MCAST, "<e_ETH_FILT_MCAST> ", Show::kNothing},
    {e_ETH_FILT_BCAST, "<e_ETH_FILT_BCAST> ", Show::kNothing},
    {e_ETH_FILT_DA, "<e_ETH_FILT_DA> ", Show::kTwoMacs},
    {e_ETH_FILT_SA, "<e_ETH_FILT_SA> val", Show::kTwoMacs},
    {e_ETH_FILT_ETHTYPE, "<e_ETH_FILT_ETHTYPE> ", Show::kValHexU16},
};
constexpr RequestLabel kVlanLabels[] = {
    {e_VLAN_FILT_TAG, "<e_VLAN_FILT_TAG> ", Show::kValHexU32},
    {e_VLAN_FILT_TPID, "<e_VLAN_FILT_TPID> ", Show::kValHexU16},
    {e_VLAN_FILT_TCI, "<e_VLAN_FILT_TCI> ", Show::kValHexU16},
    {e_VLAN_FILT_PBITS, "<e_VLAN_FILT_PBITS> ", Show::kValDecU8},
    {e_VLAN_FILT_DEI, "<e_VLAN_FILT_DEI> ", Show::kValDecU8},
    {e_VLAN_FILT_VID, "<e_VLAN_FILT_VID> ", Show::kValDecU16},
};
constexpr RequestLabel kPppoeLabels[] = {
    {e_PPPOE_FILT_VER, "<e_PPPOE_FILT_VER> ", Show::kDecU8},
    {e_PPPOE_FILT_TYPE, "<e_PPPOE_FILT_TYPE> ", Show::kDecU8},
    {e_PPPOE_FILT_CODE, "<e_PPPOE_FILT_CODE> ", Show::kDecU8},
    {e_PPPOE_FILT_SESID, "<e_PPPOE_FILT_SESID> ", Show::kDecU16},
    {e_PPPOE_FILT_PROTO, "<e_PPPOE_FILT_PROTO> ", Show::kDecU16},
};
constexpr RequestLabel kIpv4Labels[] = {
    {e_IPV4_FILT_VER, "<e_IPV4_FILT_VER> ", Show::kDecU8},
    {e_IPV4_FILT_IHL, "<e_IPV4_FILT_IHL> ", Show::kDecU8},
    {e_IPV4_FILT_SA, "<e_IPV4_FILT_SA> ", Show::kCidr},
    {e_IPV4_FILT_DA, "<e_IPV4_FILT_DA> ", Show::kCidr},
    {e_IPV4_FILT_MCAST, "<e_IPV4_FILT_MCAST> ", Show::kDecU8},
    {e_IPV4_FILT_TOS, "<e_IPV4_FILT_TOS> ", Show::kDecU8},
    {e_IPV4_FILT_DSCP, "<e_IPV4_FILT_DSCP> ", Show::kDecU8},
    {e_IPV4_FILT_DSCP_1P, "<e_IPV4_FILT_DSCP_1P> ", Show::kDecU8},
    {e_IPV4_FILT_TTL_GT1, "<e_IPV4_FILT_TTL_GT1> ", Show::kDecU8},
    {e_IPV4_FILT_PROTO, "<e_IPV4_FILT_PROTO> ", Show::kDecU16},
    {e_IPV4_FILT_FRAG, "<e_IPV4_FILT_FRAG> ", Show::kDecU16},
};
constexpr RequestLabel kTcpLabels[] = {
    {e_TCP_FILT_SPORT, "<e_TCP_FILT_SPORT> ", Show::kDecU16},
    {e_TCP_FILT_DPORT, "<e_TCP_FILT_DPORT> ", Show::kDecU16},
    {e_TCP_FILT_SYN, "<e_TCP_FILT_SYN> ", Show::kDecU8},
    {e_TCP_FILT_ACK, "<e_TCP_FILT_ACK> ", Show::kDecU8},
    {e_TCP_FILT_FIN, "<e_TCP_FILT_FIN> ", Show::kDecU8},
    {e_TCP_FILT_RST, "<e_TCP_FILT_RST> ", Show::kDecU8},
    {e_TCP_FILT_CTRL, "<e_TCP_FILT_CTRL> ", Show::kDecU8},
};
constexpr RequestLabel kUdpLabels[] = {
    {e_UDP_FILT_SPORT, "<e_UDP_FILT_SPORT> ", Show::kDecU16},
    {e_UDP_FILT_DPORT, "<e_UDP_FILT_DPORT> ", Show::kDecU16},
};

// "type", label and value. `what` names the header in the message about an unknown type.
template <class Record, u32 N>
void DumpTypeAndValue(const char *fn, const Record *filter_p, const RequestLabel (&labels)[N],
                      const char *what) {
    QEL_ASSERT_AS(fn, filter_p != nullptr, "(filter_p != NULL)");
    printf("type");
    if (!PrintRequest(labels, filter_p->type, &filter_p->val)) {
        QIR_ERR_AS(fn, "Unknown %sfilter type <%u> \n", what, filter_p->type);
    }
}

} // namespace

void Dump_EthFilterReq(const EthFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kEthLabels, "");
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_VlanFilterReq(const VlanFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kVlanLabels, "");
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_PppoeFilterReq(const PppoeFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kPppoeLabels, "PPPoE ");
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_Ipv4FilterReq(const Ipv4Filter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kIpv4Labels, "ipv4 ");
    if (filter_p->type == e_IPV4_FILT_DSCP && filter_p->cmpOp == e_CMP_IN_RANGE) {
        printf("- <%u> ", LoadU8(&filter_p->val2));
    }
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_TcpFilterReq(const TcpFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kTcpLabels, "tcp ");
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_UdpFilterReq(const UdpFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kUdpLabels, "udp ");
    Dump_CmpOp(filter_p->cmpOp);
}

// Capacity of the two diagnostic read-backs.
constexpr u8 kReadBackSize = 4;

void Dump_Get_EthFilter(FlowHdl *flowHdl_p, const EthFilter *filter_p) {
    EthFilter filters[kReadBackSize];
    memset(filters, 0, sizeof filters);
    filters[0] = *filter_p;
    u8 elemCount = 0;
    QIR_Get_EthFilter(flowHdl_p, filters, kReadBackSize, &elemCount);
    if (elemCount == 0) {
        return;
    }
    putchar('\n');
    puts("Dump of QIR_GetEthFilter");
    puts("idx  op type cmpOp");
    puts("-------------------");
    for (u32 i = 0; i < elemCount; ++i) {
        printf("<%u> <%u> <%u>  <%u>\n", i, filters[i].op, filters[i].type, filters[i].cmpOp);
    }
}

void Dump_Get_VlanFilter(FlowHdl *flowHdl_p, const VlanFilter *filter_p) {
    VlanFilter filters[kReadBackSize];
    memset(filters, 0, sizeof filters);
    filters[0] = *filter_p;
    u8 elemCount = 0;
    QIR_Get_VlanFilter(flowHdl_p, filters, kReadBackSize, &elemCount);
    if (elemCount == 0) {
        return;
    }
    putchar('\n');
    puts("Dump of QIR_GetVlanFilter");
    puts("idx  op toTagNum type cmpOp");
    puts("-------------------");
    for (u32 i = 0; i < elemCount; ++i) {
        printf("<%u> <%u> <%u>    <%u>  <%u>\n", i, filters[i].op, filters[i].toTagNum, filters[i].type,
               filters[i].cmpOp);
    }
}

} // namespace qir
