#include "qirapi/private/filters.h"

#include "qirapi/api/request_ops.h"
#include "qirapi/private/request_values.h"

using namespace qir;

namespace {

// "Params2" lines. How much of the value they show differs. This and the texts' oddities (a blank before the
// line end, the PPPoE value without its closing bracket) are intended.

void LogEthConfig(const char *fn, FlowHdl flowHdl, const EthFilter &filter) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> type<%u> cmpOp<%u> val<0x%.4x> \n", flowHdl.f1.id, filter.op,
               filter.type, filter.cmpOp, LoadU16(&filter.val));
}

void LogEthGet(const char *fn, FlowHdl flowHdl, const EthFilter &filter) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> type<%u> cmpOp<%u> \n", flowHdl.f1.id, filter.op, filter.type,
               filter.cmpOp);
}

void LogVlanConfig(const char *fn, FlowHdl flowHdl, const VlanFilter &filter) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> toTagNum<%u> type<%u> cmpOp<%u> val<0x%.8x> \n",
               flowHdl.f1.id, filter.op, filter.toTagNum, filter.type, filter.cmpOp, LoadU32(&filter.val));
}

void LogVlanGet(const char *fn, FlowHdl flowHdl, const VlanFilter &filter) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> toTagNum<%u> type<%u> cmpOp<%u>\n", flowHdl.f1.id, filter.op,
               filter.toTagNum, filter.type, filter.cmpOp);
}

void LogPppoeConfig(const char *fn, FlowHdl flowHdl, const PppoeFilter &filter) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> type<%u> cmpOp<%u> val<0x%.4x\n", flowHdl.f1.id, filter.op,
               filter.type, filter.cmpOp, LoadU16(&filter.val));
}

void LogIpv4Config(const char *fn, FlowHdl flowHdl, const Ipv4Filter &filter) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> type<%u> cmpOp<%u> val<0x%.8x>\n", flowHdl.f1.id, filter.op,
               filter.type, filter.cmpOp, LoadU32(&filter.val));
}

template <class Filter> void LogFilter(const char *fn, FlowHdl flowHdl, const Filter &filter) {
    QIR_INF_AS(fn, "Params2: flowHdl<%u> op<%u> type<%u> cmpOp<%u>\n", flowHdl.f1.id, filter.op, filter.type,
               filter.cmpOp);
}

} // namespace

u32 QIR_Config_EthFilter(FlowHdl *flowHdl_p, const EthFilter *filter_p) {
    return ConfigFilter<EthFilterKind>(__func__, flowHdl_p, filter_p, LogEthConfig, Validate_Config_EthFilter,
                                       Config_EthFilter);
}

u32 QIR_Get_EthFilter(FlowHdl *flowHdl_p, EthFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilter<EthFilterKind>(__func__, flowHdl_p, filter_p, size, elemCount_p, LogEthGet,
                                    Validate_Get_EthFilter, Get_EthFilter);
}

u32 QIR_Config_VlanFilter(FlowHdl *flowHdl_p, const VlanFilter *filter_p) {
    return ConfigFilter<VlanFilterKind>(__func__, flowHdl_p, filter_p, LogVlanConfig,
                                        Validate_Config_VlanFilter, Config_VlanFilter);
}

u32 QIR_Get_VlanFilter(FlowHdl *flowHdl_p, VlanFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilter<VlanFilterKind>(__func__, flowHdl_p, filter_p, size, elemCount_p, LogVlanGet,
                                     Validate_Get_VlanFilter, Get_VlanFilter);
}

u32 QIR_Config_PppoeFilter(FlowHdl *flowHdl_p, const PppoeFilter *filter_p) {
    return ConfigFilter<PppoeFilterKind>(__func__, flowHdl_p, filter_p, LogPppoeConfig,
                                         Validate_Config_PppoeFilter, Config_PppoeFilter);
}

u32 QIR_Get_PppoeFilter(FlowHdl *flowHdl_p, PppoeFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilter<PppoeFilterKind>(__func__, flowHdl_p, filter_p, size, elemCount_p,
                                      LogFilter<PppoeFilter>, Validate_Get_PppoeFilter, Get_PppoeFilter);
}

u32 QIR_Config_MplsFilter(FlowHdl *, const void *) {
    return e_RET_OK;
}

u32 QIR_Get_MplsFilter(FlowHdl *, void *, u8, u8 *) {
    return e_RET_OK;
}

u32 QIR_Config_Ipv4Filter(FlowHdl *flowHdl_p, const Ipv4Filter *filter_p) {
    return ConfigFilter<Ipv4FilterKind>(__func__, flowHdl_p, filter_p, LogIpv4Config,
                                        Validate_Config_Ipv4Filter, Config_Ipv4Filter);
}

u32 QIR_Get_Ipv4Filter(FlowHdl *flowHdl_p, Ipv4Filter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilter<Ipv4FilterKind>(__func__, flowHdl_p, filter_p, size, elemCount_p, LogFilter<Ipv4Filter>,
                                     Validate_Get_Ipv4Filter, Get_Ipv4Filter);
}

u32 QIR_Config_TcpFilter(FlowHdl *flowHdl_p, const TcpFilter *filter_p) {
    return ConfigFilter<TcpFilterKind>(__func__, flowHdl_p, filter_p, LogFilter<TcpFilter>,
                                       Validate_Config_TcpFilter, Config_TcpFilter);
}

u32 QIR_Get_TcpFilter(FlowHdl *flowHdl_p, TcpFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilter<TcpFilterKind>(__func__, flowHdl_p, filter_p, size, elemCount_p, LogFilter<TcpFilter>,
                                    Validate_Get_TcpFilter, Get_TcpFilter);
}

u32 QIR_Config_UdpFilter(FlowHdl *flowHdl_p, const UdpFilter *filter_p) {
    return ConfigFilter<UdpFilterKind>(__func__, flowHdl_p, filter_p, LogFilter<UdpFilter>,
                                       Validate_Config_UdpFilter, Config_UdpFilter);
}

u32 QIR_Get_UdpFilter(FlowHdl *flowHdl_p, UdpFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilter<UdpFilterKind>(__func__, flowHdl_p, filter_p, size, elemCount_p, LogFilter<UdpFilter>,
                                    Validate_Get_UdpFilter, Get_UdpFilter);
}
