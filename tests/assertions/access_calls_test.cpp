// Accessors of flows and of tables, and the iterators.
#include "qirapi/access/flow_access.h"
#include "qirapi/access/table_access.h"
#include "tests/assertions/assertions_test.h"

namespace assertions {
namespace {

// Good arguments that are the caller's own.
u8 byte;
u32 word;
void *next;
FwdInfo fwdInfo;
EpTblHdl epTblHdl;
PacTblHdl pacTblHdl;
AsTblCfg asTblCfg;
EpTblCfg epTblCfg;
PacTblCfg pacTblCfg;
AsEnt asEnt;
EpEnt epEnt;
DscpDefPbits dscpDefPbits;
DscpMapping dscpMapping;
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

TEST_F(BadCalls, PointersOfFlowAccessorsAreAssertedThenUsed) {
    ExpectAsserted(
        "qirapi_access",
        {
            {"setFlowSection", "(fcb_p != NULL)", [] { qir::setFlowSection(nullptr, 0); }},
            {"getFlowSection", "(fcb_p != NULL)", [] { qir::getFlowSection(nullptr, &word); }},
            {"getFlowSection", "(section_p != NULL)", [] { qir::getFlowSection(&Objects().fcb, nullptr); }},
            {"setFwdInfo", "(fcb_p != NULL)", [] { qir::setFwdInfo(nullptr, &fwdInfo); }},
            {"setFwdInfo", "(fwdInfo_p != NULL)", [] { qir::setFwdInfo(&Objects().fcb, nullptr); }},
            {"getFwdInfo", "(fcb_p != NULL)", [] { qir::getFwdInfo(nullptr, &fwdInfo); }},
            {"getFwdInfo", "(fwdInfo_p != NULL)", [] { qir::getFwdInfo(&Objects().fcb, nullptr); }},
            {"updateFwdInfo", "(fcb_p != NULL)", [] { qir::updateFwdInfo(nullptr, &fwdInfo); }},
            {"updateFwdInfo", "(fwdInfo_p != NULL)", [] { qir::updateFwdInfo(&Objects().fcb, nullptr); }},
            {"setAsOverride", "(fcb_p != NULL)", [] { qir::setAsOverride(nullptr, 0); }},
            {"getAsOverride", "(fcb_p != NULL)", [] { qir::getAsOverride(nullptr, &word); }},
            {"getAsOverride", "(asOverride_p != NULL)", [] { qir::getAsOverride(&Objects().fcb, nullptr); }},
            {"setEpInfo", "(fcb_p != NULL)",
             [] { qir::setEpInfo(nullptr, e_TBLSTATUS_ENABLE, &Objects().epTbl); }},
            {"setEpInfo", "(epTblInfo_p != NULL)",
             [] { qir::setEpInfo(&Objects().fcb, e_TBLSTATUS_ENABLE, nullptr); }},
            {"getEpInfo", "(fcb_p != NULL)", [] { qir::getEpInfo(nullptr, &word, &epTblHdl); }},
            {"getEpInfo", "(epTblSts_p != NULL)", [] { qir::getEpInfo(&Objects().fcb, nullptr, &epTblHdl); }},
            {"getEpInfo", "(epTblHdl_p != NULL)", [] { qir::getEpInfo(&Objects().fcb, &word, nullptr); }},
            {"setPacInfo", "(fcb_p != NULL)",
             [] { qir::setPacInfo(nullptr, e_TBLSTATUS_ENABLE, 0, &Objects().pacTbl); }},
            {"setPacInfo", "(pacTblInfo_p != NULL)",
             [] { qir::setPacInfo(&Objects().fcb, e_TBLSTATUS_ENABLE, 0, nullptr); }},
            {"getPacInfo", "(fcb_p != NULL)", [] { qir::getPacInfo(nullptr, &word, &word, &pacTblHdl); }},
            {"getPacInfo", "(pacTblSts_p != NULL)",
             [] { qir::getPacInfo(&Objects().fcb, nullptr, &word, &pacTblHdl); }},
            {"getPacInfo", "(pbitsSource_p != NULL)",
             [] { qir::getPacInfo(&Objects().fcb, &word, nullptr, &pacTblHdl); }},
            {"getPacInfo", "(pacTblHdl_p != NULL)",
             [] { qir::getPacInfo(&Objects().fcb, &word, &word, nullptr); }},
            {"getFilterNumVlanTags", "(fcb_p != NULL)", [] { qir::getFilterNumVlanTags(nullptr, &byte); }},
            {"getFilterNumVlanTags", "(numVlanTags_p != NULL )",
             [] { qir::getFilterNumVlanTags(&Objects().fcb, nullptr); }},
            {"getActionNumVlanTags", "(fcb_p != NULL)", [] { qir::getActionNumVlanTags(nullptr, &byte); }},
            {"getActionNumVlanTags", "(numVlanTags_p != NULL )",
             [] { qir::getActionNumVlanTags(&Objects().fcb, nullptr); }},
            {"getNextReq", "(fcb_p != NULL)",
             [] { qir::getNextReq(nullptr, &Objects().fcb.reqPool[0], &next); }},
            {"getNextReq", "(reqList_p != NULL)", [] { qir::getNextReq(&Objects().fcb, nullptr, &next); }},
            {"getNextReq", "(req_pp != NULL)",
             [] { qir::getNextReq(&Objects().fcb, &Objects().fcb.reqPool[0], nullptr); }},
        });
}

TEST_F(BadCalls, PointersOfIteratorsAreAssertedThenUsed) {
    ExpectAsserted("qirapi_access",
                   {
                       {"getNextEthFilter", "(fcb_p != NULL)",
                        [] { qir::getNextEthFilter(nullptr, &next, &ethFilter); }},
                       {"getNextEthFilter", "(infoHdl_pp != NULL)",
                        [] { qir::getNextEthFilter(&Objects().fcb, nullptr, &ethFilter); }},
                       {"getNextEthFilter", "(filter_p != NULL)",
                        [] { qir::getNextEthFilter(&Objects().fcb, &next, nullptr); }},
                       {"getNextVlanFilter", "(fcb_p != NULL)",
                        [] { qir::getNextVlanFilter(nullptr, 0, &next, &vlanFilter); }},
                       {"getNextVlanFilter", "(infoHdl_pp != NULL)",
                        [] { qir::getNextVlanFilter(&Objects().fcb, 0, nullptr, &vlanFilter); }},
                       {"getNextVlanFilter", "(filter_p != NULL)",
                        [] { qir::getNextVlanFilter(&Objects().fcb, 0, &next, nullptr); }},
                       {"getNextPppoeFilter", "(fcb_p != NULL)",
                        [] { qir::getNextPppoeFilter(nullptr, &next, &pppoeFilter); }},
                       {"getNextPppoeFilter", "(infoHdl_pp != NULL)",
                        [] { qir::getNextPppoeFilter(&Objects().fcb, nullptr, &pppoeFilter); }},
                       {"getNextPppoeFilter", "(filter_p != NULL)",
                        [] { qir::getNextPppoeFilter(&Objects().fcb, &next, nullptr); }},
                       {"getNextIpv4Filter", "(fcb_p != NULL)",
                        [] { qir::getNextIpv4Filter(nullptr, &next, &ipv4Filter); }},
                       {"getNextIpv4Filter", "(infoHdl_pp != NULL)",
                        [] { qir::getNextIpv4Filter(&Objects().fcb, nullptr, &ipv4Filter); }},
                       {"getNextIpv4Filter", "(filter_p != NULL)",
                        [] { qir::getNextIpv4Filter(&Objects().fcb, &next, nullptr); }},
                       {"getNextTcpFilter", "(fcb_p != NULL)",
                        [] { qir::getNextTcpFilter(nullptr, &next, &tcpFilter); }},
                       {"getNextTcpFilter", "(infoHdl_pp != NULL)",
                        [] { qir::getNextTcpFilter(&Objects().fcb, nullptr, &tcpFilter); }},
                       {"getNextTcpFilter", "(filter_p != NULL)",
                        [] { qir::getNextTcpFilter(&Objects().fcb, &next, nullptr); }},
                       {"getNextUdpFilter", "(fcb_p != NULL)",
                        [] { qir::getNextUdpFilter(nullptr, &next, &udpFilter); }},
                       {"getNextUdpFilter", "(infoHdl_pp != NULL)",
                        [] { qir::getNextUdpFilter(&Objects().fcb, nullptr, &udpFilter); }},
                       {"getNextUdpFilter", "(filter_p != NULL)",
                        [] { qir::getNextUdpFilter(&Objects().fcb, &next, nullptr); }},
                       {"getNextEthAction", "(fcb_p != NULL)",
                        [] { qir::getNextEthAction(nullptr, &next, &ethAction); }},
                       {"getNextEthAction", "(infoHdl_pp != NULL)",
                        [] { qir::getNextEthAction(&Objects().fcb, nullptr, &ethAction); }},
                       {"getNextEthAction", "(action_p != NULL)",
                        [] { qir::getNextEthAction(&Objects().fcb, &next, nullptr); }},
                       {"getNextVlanAction", "(fcb_p != NULL)",
                        [] { qir::getNextVlanAction(nullptr, 0, &next, &vlanAction); }},
                       {"getNextVlanAction", "(infoHdl_pp != NULL)",
                        [] { qir::getNextVlanAction(&Objects().fcb, 0, nullptr, &vlanAction); }},
                       {"getNextVlanAction", "(action_p != NULL)",
                        [] { qir::getNextVlanAction(&Objects().fcb, 0, &next, nullptr); }},
                       {"getNextPppoeAction", "(fcb_p != NULL)",
                        [] { qir::getNextPppoeAction(nullptr, &next, &pppoeAction); }},
                       {"getNextPppoeAction", "(infoHdl_pp != NULL)",
                        [] { qir::getNextPppoeAction(&Objects().fcb, nullptr, &pppoeAction); }},
                       {"getNextPppoeAction", "(action_p != NULL)",
                        [] { qir::getNextPppoeAction(&Objects().fcb, &next, nullptr); }},
                       {"getNextIpv4Action", "(fcb_p != NULL)",
                        [] { qir::getNextIpv4Action(nullptr, &next, &ipv4Action); }},
                       {"getNextIpv4Action", "(infoHdl_pp != NULL)",
                        [] { qir::getNextIpv4Action(&Objects().fcb, nullptr, &ipv4Action); }},
                       {"getNextIpv4Action", "(action_p != NULL)",
                        [] { qir::getNextIpv4Action(&Objects().fcb, &next, nullptr); }},
                       {"getNextTcpAction", "(fcb_p != NULL)",
                        [] { qir::getNextTcpAction(nullptr, &next, &tcpAction); }},
                       {"getNextTcpAction", "(infoHdl_pp != NULL)",
                        [] { qir::getNextTcpAction(&Objects().fcb, nullptr, &tcpAction); }},
                       {"getNextTcpAction", "(action_p != NULL)",
                        [] { qir::getNextTcpAction(&Objects().fcb, &next, nullptr); }},
                       {"getNextUdpAction", "(fcb_p != NULL)",
                        [] { qir::getNextUdpAction(nullptr, &next, &udpAction); }},
                       {"getNextUdpAction", "(infoHdl_pp != NULL)",
                        [] { qir::getNextUdpAction(&Objects().fcb, nullptr, &udpAction); }},
                       {"getNextUdpAction", "(action_p != NULL)",
                        [] { qir::getNextUdpAction(&Objects().fcb, &next, nullptr); }},
                   });
}

TEST_F(BadCalls, PointersOfTableAccessorsAreAssertedThenUsed) {
    ExpectAsserted(
        "qirapi_access",
        {
            {"incrAsTblRefCnt", "(tbl_p != NULL)", [] { qir::incrAsTblRefCnt(nullptr); }},
            {"decrAsTblRefCnt", "(tbl_p != NULL)", [] { qir::decrAsTblRefCnt(nullptr); }},
            {"incrDscpTblRefCnt", "(tbl_p != NULL)", [] { qir::incrDscpTblRefCnt(nullptr); }},
            {"decrDscpTblRefCnt", "(tbl_p != NULL)", [] { qir::decrDscpTblRefCnt(nullptr); }},
            {"incrEpTblRefCnt", "(tbl_p != NULL)", [] { qir::incrEpTblRefCnt(nullptr); }},
            {"decrEpTblRefCnt", "(tbl_p != NULL)", [] { qir::decrEpTblRefCnt(nullptr); }},
            {"incrPacTblRefCnt", "(tbl_p != NULL)", [] { qir::incrPacTblRefCnt(nullptr); }},
            {"decrPacTblRefCnt", "(tbl_p != NULL)", [] { qir::decrPacTblRefCnt(nullptr); }},
            {"setAsTblCfg", "(tbl_p != NULL)", [] { qir::setAsTblCfg(nullptr, &asTblCfg); }},
            {"setAsTblCfg", "(cfg_p != NULL)", [] { qir::setAsTblCfg(&Objects().asTbl, nullptr); }},
            {"getAsTblCfg", "(tbl_p != NULL)", [] { qir::getAsTblCfg(nullptr, &asTblCfg); }},
            {"getAsTblCfg", "(cfg_p != NULL)", [] { qir::getAsTblCfg(&Objects().asTbl, nullptr); }},
            {"setEpTblCfg", "(tbl_p != NULL)", [] { qir::setEpTblCfg(nullptr, &epTblCfg); }},
            {"setEpTblCfg", "(cfg_p != NULL)", [] { qir::setEpTblCfg(&Objects().epTbl, nullptr); }},
            {"getEpTblCfg", "(tbl_p != NULL)", [] { qir::getEpTblCfg(nullptr, &epTblCfg); }},
            {"getEpTblCfg", "(cfg_p != NULL)", [] { qir::getEpTblCfg(&Objects().epTbl, nullptr); }},
            {"setPacTblCfg", "(tbl_p != NULL)", [] { qir::setPacTblCfg(nullptr, &pacTblCfg); }},
            {"setPacTblCfg", "(cfg_p != NULL)", [] { qir::setPacTblCfg(&Objects().pacTbl, nullptr); }},
            {"getPacTblCfg", "(tbl_p != NULL)", [] { qir::getPacTblCfg(nullptr, &pacTblCfg); }},
            {"getPacTblCfg", "(cfg_p != NULL)", [] { qir::getPacTblCfg(&Objects().pacTbl, nullptr); }},
            {"setAsTblEntry", "(tbl_p != NULL)", [] { qir::setAsTblEntry(nullptr, 0, &asEnt); }},
            {"setAsTblEntry", "(ent_p != NULL)", [] { qir::setAsTblEntry(&Objects().asTbl, 0, nullptr); }},
            {"getAsTblEntry", "(tbl_p != NULL)", [] { qir::getAsTblEntry(nullptr, 0, &asEnt); }},
            {"getAsTblEntry", "(ent_p != NULL)", [] { qir::getAsTblEntry(&Objects().asTbl, 0, nullptr); }},
            {"setEpTblEntry", "(tbl_p != NULL)", [] { qir::setEpTblEntry(nullptr, 0, &epEnt); }},
            {"setEpTblEntry", "(ent_p != NULL)", [] { qir::setEpTblEntry(&Objects().epTbl, 0, nullptr); }},
            {"getEpTblEntry", "(tbl_p != NULL)", [] { qir::getEpTblEntry(nullptr, 0, &epEnt); }},
            {"getEpTblEntry", "(ent_p != NULL)", [] { qir::getEpTblEntry(&Objects().epTbl, 0, nullptr); }},
            {"setPacTblEntry", "(tbl_p != NULL)", [] { qir::setPacTblEntry(nullptr, 0, &pacTblCfg); }},
            {"setPacTblEntry", "(ent_p != NULL)", [] { qir::setPacTblEntry(&Objects().pacTbl, 0, nullptr); }},
            {"getPacTblEntry", "(tbl_p != NULL)", [] { qir::getPacTblEntry(nullptr, 0, &pacTblCfg); }},
            {"getPacTblEntry", "(ent_p != NULL)", [] { qir::getPacTblEntry(&Objects().pacTbl, 0, nullptr); }},
            {"setDscpToPbitsTable_DefPbits", "(tbl_p != NULL)",
             [] { qir::setDscpToPbitsTable_DefPbits(nullptr, &dscpDefPbits); }},
            {"setDscpToPbitsTable_DefPbits", "(def_p != NULL)",
             [] { qir::setDscpToPbitsTable_DefPbits(&Objects().dscpTbl, nullptr); }},
            {"getDscpToPbitsTable_DefPbits", "(tbl_p != NULL)",
             [] { qir::getDscpToPbitsTable_DefPbits(nullptr, &dscpDefPbits); }},
            {"getDscpToPbitsTable_DefPbits", "(def_p != NULL)",
             [] { qir::getDscpToPbitsTable_DefPbits(&Objects().dscpTbl, nullptr); }},
            {"setDscpToPbitsTable", "(tbl_p != NULL)",
             [] { qir::setDscpToPbitsTable(nullptr, &dscpMapping); }},
            {"setDscpToPbitsTable", "(dscpMapping_p != NULL)",
             [] { qir::setDscpToPbitsTable(&Objects().dscpTbl, nullptr); }},
            {"getDscpToPbitsTable", "(tbl_p != NULL)", [] { qir::getDscpToPbitsTable(nullptr, 0, &byte); }},
            {"Dump_AsTable", "(tbl_p != NULL)", [] { qir::Dump_AsTable(nullptr); }},
        });
}

TEST_F(BadCalls, IndexesOfTableAccessorsAreAssertedThenUsed) {
    ExpectAsserted("qirapi_access",
                   {
                       {"setAsTblEntry", "(entIdx < QIR_ASENT_MAXNUM)",
                        [] { qir::setAsTblEntry(&Objects().asTbl, QIR_ASENT_MAXNUM, &asEnt); }},
                       {"getAsTblEntry", "(entIdx < QIR_ASENT_MAXNUM)",
                        [] { qir::getAsTblEntry(&Objects().asTbl, QIR_ASENT_MAXNUM, &asEnt); }},
                       {"setEpTblEntry", "(entIdx < QIR_EPENT_MAXNUM)",
                        [] { qir::setEpTblEntry(&Objects().epTbl, QIR_EPENT_MAXNUM, &epEnt); }},
                       {"getEpTblEntry", "(entIdx < QIR_EPENT_MAXNUM)",
                        [] { qir::getEpTblEntry(&Objects().epTbl, QIR_EPENT_MAXNUM, &epEnt); }},
                       {"setPacTblEntry", "(pbits < QIR_PBITS_MAX)",
                        [] { qir::setPacTblEntry(&Objects().pacTbl, QIR_PBITS_MAX, &pacTblCfg); }},
                       {"getPacTblEntry", "(pbits < QIR_PBITS_MAX)",
                        [] { qir::getPacTblEntry(&Objects().pacTbl, QIR_PBITS_MAX, &pacTblCfg); }},
                       {"getDscpToPbitsTable", "(dscp < QIR_DSCP_MAX)",
                        [] { qir::getDscpToPbitsTable(&Objects().dscpTbl, QIR_DSCP_MAX, &byte); }},
                   });
}

} // namespace
} // namespace assertions
