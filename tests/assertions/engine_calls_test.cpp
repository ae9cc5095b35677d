// The engine and the driver access.
#include "qirapi/driver/driver.h"
#include "qirapi/private/actions.h"
#include "qirapi/private/filters.h"
#include "qirapi/private/fwd_info.h"
#include "qirapi/private/headers.h"
#include "qirapi/private/req_list.h"
#include "qirapi/private/rules.h"
#include "qirapi/private/tables.h"
#include "tests/assertions/assertions_test.h"

namespace assertions {
namespace {

// Good arguments that are the caller's own.
u8 byte;
u16 bmap;
FwdInfo fwdInfo;
DstMask dstMask;
FlowHdr flowHdr;
FcbHits fcbHits;
AsTblCfg asTblCfg;
qir::ReqNode *reqNode_p;
EthFilter ethFilter;
VlanFilter vlanFilter;
PppoeFilter pppoeFilter;
Ipv4Filter ipv4Filter;
TcpFilter tcpFilter;
UdpFilter udpFilter;
EthAction ethAction;
VlanAction vlanAction;
PppoeAction pppoeAction;
Ipv4Action ipv4Action;
TcpAction tcpAction;
UdpAction udpAction;

TEST_F(BadCalls, PointersOfTheDriverAccessAreAssertedThenUsed) {
    ExpectAsserted(
        "qirapi_private",
        {
            {"Activate_AsTable", "(asTblInfo_p != NULL)", [] { qir::Activate_AsTable(nullptr); }},
            {"Activate_DscpToPbitsTable", "(dpTblInfo_p != NULL)",
             [] { qir::Activate_DscpToPbitsTable(nullptr); }},
            {"Activate_PacTable", "(pacTblInfo_p != NULL)", [] { qir::Activate_PacTable(nullptr); }},
            {"Activate_FCB", "(fcb_p != NULL)", [] { qir::Activate_FCB(nullptr); }},
            {"Deactivate_AsTable", "(asTblInfo_p != NULL)", [] { qir::Deactivate_AsTable(nullptr); }},
            {"Deactivate_DscpToPbitsTable", "(dpTblInfo_p != NULL)",
             [] { qir::Deactivate_DscpToPbitsTable(nullptr); }},
            {"Deactivate_PacTable", "(pacTblInfo_p != NULL)", [] { qir::Deactivate_PacTable(nullptr); }},
            {"Deactivate_FCB", "(fcb_p != NULL)", [] { qir::Deactivate_FCB(nullptr); }},
            {"Get_FCBHits", "(fcb_p != NULL) && (fcbHits_p != NULL)",
             [] { qir::Get_FCBHits(nullptr, &fcbHits); }},
            {"Update_FwdInfo", "(fcb_p != NULL)", [] { qir::Update_FwdInfo(nullptr, &fwdInfo); }},
            {"Update_FwdInfo", "(fwdInfo_p != NULL)", [] { qir::Update_FwdInfo(&Objects().fcb, nullptr); }},
        });
}

TEST_F(BadCalls, PointersOfForwardingAndHeadersAreAssertedThenUsed) {
    ExpectAsserted(
        "qirapi_private",
        {
            {"Validate_FwdInfo", "(fcb_p != NULL)", [] { qir::Validate_FwdInfo(nullptr, &fwdInfo); }},
            {"Validate_FwdInfo", "(fwdInfo_p != NULL)",
             [] { qir::Validate_FwdInfo(&Objects().fcb, nullptr); }},
            {"AddDstPortToFwdInfo", "(fcb_p != NULL)",
             [] { qir::AddDstPortToFwdInfo(nullptr, &dstMask, &fwdInfo); }},
            {"AddDstPortToFwdInfo", "(dstMask_p != NULL)",
             [] { qir::AddDstPortToFwdInfo(&Objects().fcb, nullptr, &fwdInfo); }},
            {"AddDstPortToFwdInfo", "(fwdInfo_p != NULL)",
             [] { qir::AddDstPortToFwdInfo(&Objects().fcb, &dstMask, nullptr); }},
            {"RemDstPortFromFwdInfo", "(fcb_p != NULL)",
             [] { qir::RemDstPortFromFwdInfo(nullptr, &dstMask, &fwdInfo); }},
            {"RemDstPortFromFwdInfo", "(dstMask_p != NULL)",
             [] { qir::RemDstPortFromFwdInfo(&Objects().fcb, nullptr, &fwdInfo); }},
            {"RemDstPortFromFwdInfo", "(fwdInfo_p != NULL)",
             [] { qir::RemDstPortFromFwdInfo(&Objects().fcb, &dstMask, nullptr); }},
            {"IsSet_FilterAllReqdHdr", "(fcb_p != NULL)",
             [] { qir::IsSet_FilterAllReqdHdr(nullptr, e_FLOWHDR_ETH); }},
            {"IsSet_ActionAllReqdHdr", "(fcb_p != NULL)",
             [] { qir::IsSet_ActionAllReqdHdr(nullptr, e_FLOWHDR_ETH); }},
            {"Alloc_Hdr", "(fcb_p != NULL)", [] { qir::Alloc_Hdr(nullptr, &flowHdr); }},
            {"Alloc_Hdr", "(hdr_p != NULL)", [] { qir::Alloc_Hdr(&Objects().fcb, nullptr); }},
            {"Alloc_ReqNode", "((fcb_p != NULL) && (allocReqNode_pp != NULL))",
             [] { qir::Alloc_ReqNode(nullptr, &reqNode_p); }},
            {"Alloc_ReqNode", "((fcb_p != NULL) && (allocReqNode_pp != NULL))",
             [] { qir::Alloc_ReqNode(&Objects().fcb, nullptr); }},
        });
}

TEST_F(BadCalls, PointersOfRequestsAreAssertedThenUsed) {
    ExpectAsserted(
        "qirapi_private",
        {
            {"Config_EthFilter", "(fcb_p != NULL)", [] { qir::Config_EthFilter(nullptr, &ethFilter); }},
            {"Config_EthFilter", "(filter_p != NULL)",
             [] { qir::Config_EthFilter(&Objects().fcb, nullptr); }},
            {"Config_VlanFilter", "(fcb_p != NULL)", [] { qir::Config_VlanFilter(nullptr, &vlanFilter); }},
            {"Config_VlanFilter", "(filter_p != NULL)",
             [] { qir::Config_VlanFilter(&Objects().fcb, nullptr); }},
            {"Config_PppoeFilter", "(fcb_p != NULL)", [] { qir::Config_PppoeFilter(nullptr, &pppoeFilter); }},
            {"Config_PppoeFilter", "(filter_p != NULL)",
             [] { qir::Config_PppoeFilter(&Objects().fcb, nullptr); }},
            {"Config_Ipv4Filter", "(fcb_p != NULL)", [] { qir::Config_Ipv4Filter(nullptr, &ipv4Filter); }},
            {"Config_Ipv4Filter", "(filter_p != NULL)",
             [] { qir::Config_Ipv4Filter(&Objects().fcb, nullptr); }},
            {"Config_TcpFilter", "(fcb_p != NULL)", [] { qir::Config_TcpFilter(nullptr, &tcpFilter); }},
            {"Config_TcpFilter", "(filter_p != NULL)",
             [] { qir::Config_TcpFilter(&Objects().fcb, nullptr); }},
            {"Config_UdpFilter", "(fcb_p != NULL)", [] { qir::Config_UdpFilter(nullptr, &udpFilter); }},
            {"Config_UdpFilter", "(filter_p != NULL)",
             [] { qir::Config_UdpFilter(&Objects().fcb, nullptr); }},
            {"Dump_EthFilterReq", "(filter_p != NULL)", [] { qir::Dump_EthFilterReq(nullptr); }},
            {"Dump_VlanFilterReq", "(filter_p != NULL)", [] { qir::Dump_VlanFilterReq(nullptr); }},
            {"Dump_PppoeFilterReq", "(filter_p != NULL)", [] { qir::Dump_PppoeFilterReq(nullptr); }},
            {"Dump_Ipv4FilterReq", "(filter_p != NULL)", [] { qir::Dump_Ipv4FilterReq(nullptr); }},
            {"Dump_TcpFilterReq", "(filter_p != NULL)", [] { qir::Dump_TcpFilterReq(nullptr); }},
            {"Dump_UdpFilterReq", "(filter_p != NULL)", [] { qir::Dump_UdpFilterReq(nullptr); }},
            {"Config_EthAction", "(fcb_p != NULL)", [] { qir::Config_EthAction(nullptr, &ethAction); }},
            {"Config_EthAction", "(action_p != NULL)",
             [] { qir::Config_EthAction(&Objects().fcb, nullptr); }},
            {"Config_VlanAction", "(fcb_p != NULL)", [] { qir::Config_VlanAction(nullptr, &vlanAction); }},
            {"Config_VlanAction", "(action_p != NULL)",
             [] { qir::Config_VlanAction(&Objects().fcb, nullptr); }},
            {"Config_PppoeAction", "(fcb_p != NULL)", [] { qir::Config_PppoeAction(nullptr, &pppoeAction); }},
            {"Config_PppoeAction", "(action_p != NULL)",
             [] { qir::Config_PppoeAction(&Objects().fcb, nullptr); }},
            {"Config_Ipv4Action", "(fcb_p != NULL)", [] { qir::Config_Ipv4Action(nullptr, &ipv4Action); }},
            {"Config_Ipv4Action", "(action_p != NULL)",
             [] { qir::Config_Ipv4Action(&Objects().fcb, nullptr); }},
            {"Config_TcpAction", "(fcb_p != NULL)", [] { qir::Config_TcpAction(nullptr, &tcpAction); }},
            {"Config_TcpAction", "(action_p != NULL)",
             [] { qir::Config_TcpAction(&Objects().fcb, nullptr); }},
            {"Config_UdpAction", "(fcb_p != NULL)", [] { qir::Config_UdpAction(nullptr, &udpAction); }},
            {"Config_UdpAction", "(action_p != NULL)",
             [] { qir::Config_UdpAction(&Objects().fcb, nullptr); }},
            {"Dump_EthActionReq", "(action_p != NULL)", [] { qir::Dump_EthActionReq(nullptr); }},
            {"Dump_VlanActionReq", "(action_p != NULL)", [] { qir::Dump_VlanActionReq(nullptr); }},
            {"Dump_PppoeActionReq", "(action_p != NULL)", [] { qir::Dump_PppoeActionReq(nullptr); }},
            {"Dump_Ipv4ActionReq", "(action_p != NULL)", [] { qir::Dump_Ipv4ActionReq(nullptr); }},
            {"Dump_TcpActionReq", "(action_p != NULL)", [] { qir::Dump_TcpActionReq(nullptr); }},
            {"Dump_UdpActionReq", "(action_p != NULL)", [] { qir::Dump_UdpActionReq(nullptr); }},
        });
}

TEST_F(BadCalls, PointersOfTheRuleChecksAreAssertedThenUsed) {
    ExpectAsserted(
        "qirapi_private",
        {
            {"Chk_FilterDepBmapTbl", "(curBmap_p != NULL)",
             [] { qir::Chk_FilterDepBmapTbl(0, 0, nullptr, e_CMP_EQ, &byte); }},
            {"Chk_FilterDepBmapTbl", "(cmpOpCurCnt_p != NULL)",
             [] { qir::Chk_FilterDepBmapTbl(0, 0, &bmap, e_CMP_EQ, nullptr); }},
            {"Chk_L4FilterDepBmapTbl", "(curBmap_p != NULL)",
             [] { qir::Chk_L4FilterDepBmapTbl(0, 0, nullptr, e_CMP_EQ, &byte); }},
            {"Chk_L4FilterDepBmapTbl", "(cmpOpCurCnt_p != NULL)",
             [] { qir::Chk_L4FilterDepBmapTbl(0, 0, &bmap, e_CMP_EQ, nullptr); }},
            {"Chk_ActionDepBmapTbl", "(curBmap_p != NULL)", [] { qir::Chk_ActionDepBmapTbl(0, 0, nullptr); }},
            {"Chk_L4ActionDepBmapTbl", "(curBmap_p != NULL)",
             [] { qir::Chk_L4ActionDepBmapTbl(0, 0, nullptr); }},
        });
}

TEST_F(BadCalls, IndexesOfTheRuleChecksAreAssertedThenUsed) {
    ExpectAsserted("qirapi_private",
                   {
                       {"Chk_FilterDepBmapTbl", "(hdr < e_FLOWHDR_MAX)",
                        [] { qir::Chk_FilterDepBmapTbl(e_FLOWHDR_MAX, 0, &bmap, e_CMP_EQ, &byte); }},
                       {"Chk_FilterDepBmapTbl", "(type < QIR_HDR_FILT_MAX)",
                        [] { qir::Chk_FilterDepBmapTbl(0, QIR_HDR_FILT_MAX, &bmap, e_CMP_EQ, &byte); }},
                       {"Chk_FilterDepBmapTbl", "(cmpOp < e_CMP_MAX)",
                        [] { qir::Chk_FilterDepBmapTbl(0, 0, &bmap, e_CMP_MAX, &byte); }},
                       {"Chk_L4FilterDepBmapTbl", "(hdr < e_L4FLOWHDR_MAX)",
                        [] { qir::Chk_L4FilterDepBmapTbl(e_L4FLOWHDR_MAX, 0, &bmap, e_CMP_EQ, &byte); }},
                       {"Chk_L4FilterDepBmapTbl", "(type < QIR_HDR_FILT_MAX)",
                        [] { qir::Chk_L4FilterDepBmapTbl(0, QIR_HDR_FILT_MAX, &bmap, e_CMP_EQ, &byte); }},
                       {"Chk_L4FilterDepBmapTbl", "(cmpOp < e_CMP_MAX)",
                        [] { qir::Chk_L4FilterDepBmapTbl(0, 0, &bmap, e_CMP_MAX, &byte); }},
                       {"Chk_ActionDepBmapTbl", "(hdr < e_FLOWHDR_MAX)",
                        [] { qir::Chk_ActionDepBmapTbl(e_FLOWHDR_MAX, 0, &bmap); }},
                       {"Chk_ActionDepBmapTbl", "(type < QIR_HDR_FILT_MAX)",
                        [] { qir::Chk_ActionDepBmapTbl(0, QIR_HDR_FILT_MAX, &bmap); }},
                       {"Chk_L4ActionDepBmapTbl", "(hdr < e_L4FLOWHDR_MAX)",
                        [] { qir::Chk_L4ActionDepBmapTbl(e_L4FLOWHDR_MAX, 0, &bmap); }},
                       {"Chk_L4ActionDepBmapTbl", "(type < QIR_HDR_FILT_MAX)",
                        [] { qir::Chk_L4ActionDepBmapTbl(0, QIR_HDR_FILT_MAX, &bmap); }},
                   });
}

TEST_F(BadCalls, PointersOfTablesAreAssertedThenUsed) {
    ExpectAsserted("qirapi_private",
                   {
                       {"Set_AsTblCfg", "((tblIdx < QIR_ASTBL_MAXNUM) && (asTblCfg_p != NULL))",
                        [] { qir::Set_AsTblCfg(0, nullptr); }},
                       {"Fill_AsTblCfg", "(asTblCfg_p != NULL)", [] { qir::Fill_AsTblCfg(nullptr, 1); }},
                   });
}

TEST_F(BadCalls, IndexesOfTablesAreAssertedThenUsed) {
    ExpectAsserted("qirapi_private",
                   {
                       {"Set_AsTblCfg", "((tblIdx < QIR_ASTBL_MAXNUM) && (asTblCfg_p != NULL))",
                        [] { qir::Set_AsTblCfg(QIR_ASTBL_MAXNUM, &asTblCfg); }},
                       {"Dump_DscpToPbitsTable", "(dscpTblIdx < QIR_DSCPTBL_MAXNUM)",
                        [] { qir::Dump_DscpToPbitsTable(QIR_DSCPTBL_MAXNUM); }},
                       {"Dump_PacTable", "(pacTblIdx < QIR_PACTBL_MAXNUM)",
                        [] { qir::Dump_PacTable(QIR_PACTBL_MAXNUM); }},
                   });
}

// The only one of the public operations that takes an index out of the shadow without looking at it.
TEST_F(BadCalls, SectionOfAFreedFlowIsAssertedThenUsed) {
    ExpectAsserted("qirapi", {
                                 {"QIR_Free_FCB", "(section < e_FLOW_SECTION_MAX)",
                                  [] {
                                      FlowHdl flowHdl{};
                                      QIR_Alloc_FCB(1, &flowHdl);
                                      qirCtxt_gp->fcbPool[flowHdl.f1.id].section = e_FLOW_SECTION_MAX;
                                      QIR_Free_FCB(&flowHdl);
                                  }},
                             });
}

} // namespace
} // namespace assertions
