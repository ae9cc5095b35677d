// Filters of the six headers: validation, storage, read-back, dump.
//
// Validate_Config_* checks the rules, which record the type at once, and then the value. Config_* stores a
// validated request. Get_* copies every stored request of one type to the caller.
#ifndef QIRAPI_PRIVATE_FILTERS_H
#define QIRAPI_PRIVATE_FILTERS_H

#include "qirapi/private/context.h"

namespace qir {

u32 Validate_Config_EthFilter(Fcb *fcb_p, const EthFilter *filter_p);
u32 Validate_Config_VlanFilter(Fcb *fcb_p, const VlanFilter *filter_p);
u32 Validate_Config_PppoeFilter(Fcb *fcb_p, const PppoeFilter *filter_p);
u32 Validate_Config_Ipv4Filter(Fcb *fcb_p, const Ipv4Filter *filter_p);
u32 Validate_Config_TcpFilter(Fcb *fcb_p, const TcpFilter *filter_p);
u32 Validate_Config_UdpFilter(Fcb *fcb_p, const UdpFilter *filter_p);

u32 Config_EthFilter(Fcb *fcb_p, const EthFilter *filter_p);
u32 Config_VlanFilter(Fcb *fcb_p, const VlanFilter *filter_p);
u32 Config_PppoeFilter(Fcb *fcb_p, const PppoeFilter *filter_p);
u32 Config_Ipv4Filter(Fcb *fcb_p, const Ipv4Filter *filter_p);
u32 Config_TcpFilter(Fcb *fcb_p, const TcpFilter *filter_p);
u32 Config_UdpFilter(Fcb *fcb_p, const UdpFilter *filter_p);

void FillReq_EthFilterReqNode(const EthFilter *filter_p, ReqNode *reqNode_p);
void FillReq_VlanFilterReqNode(const VlanFilter *filter_p, ReqNode *reqNode_p);
void FillReq_PppoeFilterReqNode(const PppoeFilter *filter_p, ReqNode *reqNode_p);
void FillReq_Ipv4FilterReqNode(const Ipv4Filter *filter_p, ReqNode *reqNode_p);
void FillReq_TcpFilterReqNode(const TcpFilter *filter_p, ReqNode *reqNode_p);
void FillReq_UdpFilterReqNode(const UdpFilter *filter_p, ReqNode *reqNode_p);

u32 Validate_Get_EthFilter(const EthFilter *filter_p, u8 size, const u8 *elemCount_p);
u32 Validate_Get_VlanFilter(const VlanFilter *filter_p, u8 size, const u8 *elemCount_p);
u32 Validate_Get_PppoeFilter(const PppoeFilter *filter_p, u8 size, const u8 *elemCount_p);
u32 Validate_Get_Ipv4Filter(const Ipv4Filter *filter_p, u8 size, const u8 *elemCount_p);
u32 Validate_Get_TcpFilter(const TcpFilter *filter_p, u8 size, const u8 *elemCount_p);
u32 Validate_Get_UdpFilter(const UdpFilter *filter_p, u8 size, const u8 *elemCount_p);

u32 Get_EthFilter(const Fcb *fcb_p, EthFilter *filter_p, u8 size, u8 *elemCount_p);
u32 Get_VlanFilter(const Fcb *fcb_p, VlanFilter *filter_p, u8 size, u8 *elemCount_p);
u32 Get_PppoeFilter(const Fcb *fcb_p, PppoeFilter *filter_p, u8 size, u8 *elemCount_p);
u32 Get_Ipv4Filter(const Fcb *fcb_p, Ipv4Filter *filter_p, u8 size, u8 *elemCount_p);
u32 Get_TcpFilter(const Fcb *fcb_p, TcpFilter *filter_p, u8 size, u8 *elemCount_p);
u32 Get_UdpFilter(const Fcb *fcb_p, UdpFilter *filter_p, u8 size, u8 *elemCount_p);

// What all Get_*Filter share: copies the list's requests of `type` into an array of `size` records of
// `recordSize` bytes. 0, or e_RET_ERR_OVERFLOW.
u32 Get_Filter(const Fcb *fcb_p, void *filter_p, u32 type, u8 size, u8 *elemCount_p, const ReqNode *reqList_p,
               u32 recordSize);

void Dump_EthFilterReq(const EthFilter *filter_p);
void Dump_VlanFilterReq(const VlanFilter *filter_p);
void Dump_PppoeFilterReq(const PppoeFilter *filter_p);
void Dump_Ipv4FilterReq(const Ipv4Filter *filter_p);
void Dump_TcpFilterReq(const TcpFilter *filter_p);
void Dump_UdpFilterReq(const UdpFilter *filter_p);

// Diagnostic read-back through the public operations, four records at most.
void Dump_Get_EthFilter(FlowHdl *flowHdl_p, const EthFilter *filter_p);
void Dump_Get_VlanFilter(FlowHdl *flowHdl_p, const VlanFilter *filter_p);

} // namespace qir

#endif
