#include "qirapi/private/filters.h"
#include "qirapi/private/report.h"
#include "qirapi/private/request_values.h"
#include "qirapi/private/rules.h"

#include <stdio.h>
#include <string.h>

namespace qir {

namespace {

// "type", its name and the value. `what` names the header in the message about an unknown type.
template <class Record, u32 N>
void DumpTypeAndValue(const char *fn, const Record *filter_p, const TypeRule (&rules)[N], const char *what) {
    QEL_ASSERT_AS(fn, filter_p != nullptr, "(filter_p != NULL)");
    printf("type");
    if (!PrintRequest(rules, filter_p->type, &filter_p->val)) {
        QIR_ERR_AS(fn, "Unknown %sfilter type <%u> \n", what, filter_p->type);
    }
}

} // namespace

void Dump_EthFilterReq(const EthFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kEthFilters, "");
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_VlanFilterReq(const VlanFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kVlanFilters, "");
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_PppoeFilterReq(const PppoeFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kPppoeFilters, "PPPoE ");
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_Ipv4FilterReq(const Ipv4Filter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kIpv4Filters, "ipv4 ");
    if (filter_p->type == e_IPV4_FILT_DSCP && filter_p->cmpOp == e_CMP_IN_RANGE) {
        printf("- <%u> ", LoadU8(&filter_p->val2));
    }
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_TcpFilterReq(const TcpFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kTcpFilters, "tcp ");
    Dump_CmpOp(filter_p->cmpOp);
}

void Dump_UdpFilterReq(const UdpFilter *filter_p) {
    DumpTypeAndValue(__func__, filter_p, kUdpFilters, "udp ");
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
