// Null pointers inside the engine: each is named by an assertion line and then used, which ends the program. On
// a console the lines are the last that is heard of it.
#include "qirapi/access/flow_access.h"
#include "qirapi/access/table_access.h"
#include "qirapi/driver/driver.h"
#include "qirapi/private/actions.h"
#include "qirapi/private/filters.h"
#include "qirapi/private/fwd_info.h"
#include "qirapi/private/headers.h"
#include "qirapi/private/req_list.h"
#include "qirapi/private/rules.h"
#include "qirapi/private/tables.h"
#include "tests/bad_arguments/last_words.h"
#include "tests/support/library.h"

#include <functional>

namespace {

using namespace bad_arguments;
using test::Assertion;

class NullPointers : public test::LibraryTest {};

struct NullCall {
    const char *module;
    const char *function;
    std::vector<const char *> asserted;
    std::function<void()> call;
    std::string then = {}; // what else is printed before the pointer is used
};

void ExpectAsserted(const std::vector<NullCall> &calls) {
    for (const NullCall &row : calls) {
        std::string lines;
        for (const char *text : row.asserted) {
            lines += Assertion(row.module, row.function, text);
        }
        bool ended = false;
        EXPECT_EQ(LastWords(row.call, &ended), lines + row.then) << row.function;
        EXPECT_TRUE(ended) << row.function << " came back";
    }
}

constexpr const char *kFcb = "(fcb_p != NULL)";
constexpr const char *kTbl = "(tbl_p != NULL)";
constexpr const char *kCfg = "(cfg_p != NULL)";
constexpr const char *kEnt = "(ent_p != NULL)";
constexpr const char *kFwd = "(fwdInfo_p != NULL)";
constexpr const char *kFilter = "(filter_p != NULL)";
constexpr const char *kAction = "(action_p != NULL)";

TEST_F(NullPointers, FieldsOfAnFcb) {
    ExpectAsserted({
        {kAccess, "setFlowSection", {kFcb}, [] { qir::setFlowSection(nullptr, 0); }},
        {kAccess,
         "getFlowSection",
         {kFcb, "(section_p != NULL)"},
         [] { qir::getFlowSection(nullptr, nullptr); }},
        {kAccess, "setFwdInfo", {kFcb, kFwd}, [] { qir::setFwdInfo(nullptr, nullptr); }},
        {kAccess, "getFwdInfo", {kFcb, kFwd}, [] { qir::getFwdInfo(nullptr, nullptr); }},
        {kAccess, "updateFwdInfo", {kFcb, kFwd}, [] { qir::updateFwdInfo(nullptr, nullptr); }},
        {kAccess, "setAsOverride", {kFcb}, [] { qir::setAsOverride(nullptr, 0); }},
        {kAccess,
         "getAsOverride",
         {kFcb, "(asOverride_p != NULL)"},
         [] { qir::getAsOverride(nullptr, nullptr); }},
        {kAccess,
         "getEpInfo",
         {kFcb, "(epTblSts_p != NULL)", "(epTblHdl_p != NULL)"},
         [] { qir::getEpInfo(nullptr, nullptr, nullptr); }},
        {kAccess,
         "setPacInfo",
         {kFcb, "(pacTblInfo_p != NULL)"},
         [] { qir::setPacInfo(nullptr, 1, 0, nullptr); }},
        {kAccess,
         "getPacInfo",
         {kFcb, "(pacTblSts_p != NULL)", "(pbitsSource_p != NULL)", "(pacTblHdl_p != NULL)"},
         [] { qir::getPacInfo(nullptr, nullptr, nullptr, nullptr); }},
        {kAccess, "getFilterNumVlanTags", {kFcb}, [] { qir::getFilterNumVlanTags(nullptr, nullptr); }},
        {kAccess, "getActionNumVlanTags", {kFcb}, [] { qir::getActionNumVlanTags(nullptr, nullptr); }},
        {kAccess,
         "getNextReq",
         {kFcb, "(reqList_p != NULL)", "(req_pp != NULL)"},
         [] { qir::getNextReq(nullptr, nullptr, nullptr); }},
    });
}

TEST_F(NullPointers, TableThatAFlowIsToUse) {
    // The count of the table is changed before the FCB is looked at.
    const std::string counted = Assertion(kAccess, "incrEpTblRefCnt", kTbl);
    ExpectAsserted({{kAccess,
                     "setEpInfo",
                     {kFcb, "(epTblInfo_p != NULL)"},
                     [] { qir::setEpInfo(nullptr, e_TBLSTATUS_ENABLE, nullptr); },
                     counted}});
}

TEST_F(NullPointers, NumberOfTags) {
    static qir::Fcb fcb{};
    ExpectAsserted({
        {kAccess,
         "getFilterNumVlanTags",
         {"(numVlanTags_p != NULL )"},
         [] { qir::getFilterNumVlanTags(&fcb, nullptr); }},
        {kAccess,
         "getActionNumVlanTags",
         {"(numVlanTags_p != NULL )"},
         [] { qir::getActionNumVlanTags(&fcb, nullptr); }},
    });
}

// Where one assertion speaks of two arguments, either one is enough.
TEST_F(NullPointers, SecondOfTwoInOneAssertion) {
    static qir::Fcb fcb{};
    static qir::ReqNode *node_p;
    ExpectAsserted({
        {kPrivate,
         "Alloc_ReqNode",
         {"((fcb_p != NULL) && (allocReqNode_pp != NULL))"},
         [] { qir::Alloc_ReqNode(&fcb, nullptr); }},
        {kPrivate,
         "Alloc_ReqNode",
         {"((fcb_p != NULL) && (allocReqNode_pp != NULL))"},
         [] { qir::Alloc_ReqNode(nullptr, &node_p); }},
    });
    // This flow is not in the hardware: its hits are refused before the second pointer is used.
    EXPECT_EQ(LastWords([] { qir::Get_FCBHits(&fcb, nullptr); }),
              Assertion(kPrivate, "Get_FCBHits", "(fcb_p != NULL) && (fcbHits_p != NULL)"));
}

template <class Record>
NullCall Iterator(const char *fn, void (*next)(qir::Fcb *, void **, Record *), const char *record) {
    return {kAccess, fn, {kFcb, "(infoHdl_pp != NULL)", record}, [next] { next(nullptr, nullptr, nullptr); }};
}

template <class Record>
NullCall Iterator(const char *fn, void (*next)(qir::Fcb *, qir::u32, void **, Record *), const char *record) {
    return {
        kAccess, fn, {kFcb, "(infoHdl_pp != NULL)", record}, [next] { next(nullptr, 0, nullptr, nullptr); }};
}

TEST_F(NullPointers, Iterators) {
    ExpectAsserted({
        Iterator("getNextEthFilter", qir::getNextEthFilter, kFilter),
        Iterator("getNextVlanFilter", qir::getNextVlanFilter, kFilter),
        Iterator("getNextPppoeFilter", qir::getNextPppoeFilter, kFilter),
        Iterator("getNextIpv4Filter", qir::getNextIpv4Filter, kFilter),
        Iterator("getNextTcpFilter", qir::getNextTcpFilter, kFilter),
        Iterator("getNextUdpFilter", qir::getNextUdpFilter, kFilter),
        Iterator("getNextEthAction", qir::getNextEthAction, kAction),
        Iterator("getNextVlanAction", qir::getNextVlanAction, kAction),
        Iterator("getNextPppoeAction", qir::getNextPppoeAction, kAction),
        Iterator("getNextIpv4Action", qir::getNextIpv4Action, kAction),
        Iterator("getNextTcpAction", qir::getNextTcpAction, kAction),
        Iterator("getNextUdpAction", qir::getNextUdpAction, kAction),
    });
}

TEST_F(NullPointers, FieldsOfATable) {
    ExpectAsserted({
        {kAccess, "incrAsTblRefCnt", {kTbl}, [] { qir::incrAsTblRefCnt(nullptr); }},
        {kAccess, "decrAsTblRefCnt", {kTbl}, [] { qir::decrAsTblRefCnt(nullptr); }},
        {kAccess, "incrDscpTblRefCnt", {kTbl}, [] { qir::incrDscpTblRefCnt(nullptr); }},
        {kAccess, "decrDscpTblRefCnt", {kTbl}, [] { qir::decrDscpTblRefCnt(nullptr); }},
        {kAccess, "incrEpTblRefCnt", {kTbl}, [] { qir::incrEpTblRefCnt(nullptr); }},
        {kAccess, "decrEpTblRefCnt", {kTbl}, [] { qir::decrEpTblRefCnt(nullptr); }},
        {kAccess, "incrPacTblRefCnt", {kTbl}, [] { qir::incrPacTblRefCnt(nullptr); }},
        {kAccess, "decrPacTblRefCnt", {kTbl}, [] { qir::decrPacTblRefCnt(nullptr); }},
        {kAccess, "setAsTblCfg", {kTbl, kCfg}, [] { qir::setAsTblCfg(nullptr, nullptr); }},
        {kAccess, "getAsTblCfg", {kTbl, kCfg}, [] { qir::getAsTblCfg(nullptr, nullptr); }},
        {kAccess, "setAsTblEntry", {kTbl, kEnt}, [] { qir::setAsTblEntry(nullptr, 0, nullptr); }},
        {kAccess, "getAsTblEntry", {kTbl, kEnt}, [] { qir::getAsTblEntry(nullptr, 0, nullptr); }},
        {kAccess,
         "setDscpToPbitsTable_DefPbits",
         {kTbl, "(def_p != NULL)"},
         [] { qir::setDscpToPbitsTable_DefPbits(nullptr, nullptr); }},
        {kAccess,
         "getDscpToPbitsTable_DefPbits",
         {kTbl, "(def_p != NULL)"},
         [] { qir::getDscpToPbitsTable_DefPbits(nullptr, nullptr); }},
        {kAccess,
         "setDscpToPbitsTable",
         {kTbl, "(dscpMapping_p != NULL)"},
         [] { qir::setDscpToPbitsTable(nullptr, nullptr); }},
        {kAccess, "getDscpToPbitsTable", {kTbl}, [] { qir::getDscpToPbitsTable(nullptr, 0, nullptr); }},
        {kAccess, "setEpTblCfg", {kTbl, kCfg}, [] { qir::setEpTblCfg(nullptr, nullptr); }},
        {kAccess, "getEpTblCfg", {kTbl, kCfg}, [] { qir::getEpTblCfg(nullptr, nullptr); }},
        {kAccess, "setEpTblEntry", {kTbl, kEnt}, [] { qir::setEpTblEntry(nullptr, 0, nullptr); }},
        {kAccess, "getEpTblEntry", {kTbl, kEnt}, [] { qir::getEpTblEntry(nullptr, 0, nullptr); }},
        {kAccess, "setPacTblCfg", {kTbl, kCfg}, [] { qir::setPacTblCfg(nullptr, nullptr); }},
        {kAccess, "getPacTblCfg", {kTbl, kCfg}, [] { qir::getPacTblCfg(nullptr, nullptr); }},
        {kAccess, "setPacTblEntry", {kTbl, kEnt}, [] { qir::setPacTblEntry(nullptr, 0, nullptr); }},
        {kAccess, "getPacTblEntry", {kTbl, kEnt}, [] { qir::getPacTblEntry(nullptr, 0, nullptr); }},
        {kAccess,
         "Dump_AsTable",
         {kTbl},
         [] { qir::Dump_AsTable(nullptr); },
         "-------------------- AsTable -----------------------\n"},
        {kPrivate,
         "Set_AsTblCfg",
         {"((tblIdx < QIR_ASTBL_MAXNUM) && (asTblCfg_p != NULL))"},
         [] { qir::Set_AsTblCfg(0, nullptr); }},
        {kPrivate, "Fill_AsTblCfg", {"(asTblCfg_p != NULL)"}, [] { qir::Fill_AsTblCfg(nullptr, 1); }},
    });
}

TEST_F(NullPointers, DriverRequests) {
    ExpectAsserted({
        {kPrivate, "Activate_AsTable", {"(asTblInfo_p != NULL)"}, [] { qir::Activate_AsTable(nullptr); }},
        {kPrivate, "Deactivate_AsTable", {"(asTblInfo_p != NULL)"}, [] { qir::Deactivate_AsTable(nullptr); }},
        {kPrivate,
         "Activate_DscpToPbitsTable",
         {"(dpTblInfo_p != NULL)"},
         [] { qir::Activate_DscpToPbitsTable(nullptr); }},
        {kPrivate,
         "Deactivate_DscpToPbitsTable",
         {"(dpTblInfo_p != NULL)"},
         [] { qir::Deactivate_DscpToPbitsTable(nullptr); }},
        {kPrivate, "Activate_PacTable", {"(pacTblInfo_p != NULL)"}, [] { qir::Activate_PacTable(nullptr); }},
        {kPrivate,
         "Deactivate_PacTable",
         {"(pacTblInfo_p != NULL)"},
         [] { qir::Deactivate_PacTable(nullptr); }},
        {kPrivate, "Activate_FCB", {kFcb}, [] { qir::Activate_FCB(nullptr); }},
        {kPrivate, "Deactivate_FCB", {kFcb}, [] { qir::Deactivate_FCB(nullptr); }},
        {kPrivate,
         "Get_FCBHits",
         {"(fcb_p != NULL) && (fcbHits_p != NULL)"},
         [] { qir::Get_FCBHits(nullptr, nullptr); }},
        {kPrivate, "Update_FwdInfo", {kFcb, kFwd}, [] { qir::Update_FwdInfo(nullptr, nullptr); }},
    });
}

TEST_F(NullPointers, HeadersAndForwarding) {
    constexpr const char *kDst = "(dstMask_p != NULL)";
    ExpectAsserted({
        {kPrivate, "IsSet_FilterAllReqdHdr", {kFcb}, [] { qir::IsSet_FilterAllReqdHdr(nullptr, 0); }},
        {kPrivate, "IsSet_ActionAllReqdHdr", {kFcb}, [] { qir::IsSet_ActionAllReqdHdr(nullptr, 0); }},
        {kPrivate, "Alloc_Hdr", {kFcb, "(hdr_p != NULL)"}, [] { qir::Alloc_Hdr(nullptr, nullptr); }},
        {kPrivate,
         "Alloc_ReqNode",
         {"((fcb_p != NULL) && (allocReqNode_pp != NULL))"},
         [] { qir::Alloc_ReqNode(nullptr, nullptr); }},
        {kPrivate, "Validate_FwdInfo", {kFcb, kFwd}, [] { qir::Validate_FwdInfo(nullptr, nullptr); }},
        {kPrivate,
         "AddDstPortToFwdInfo",
         {kFcb, kDst, kFwd},
         [] { qir::AddDstPortToFwdInfo(nullptr, nullptr, nullptr); }},
        {kPrivate,
         "RemDstPortFromFwdInfo",
         {kFcb, kDst, kFwd},
         [] { qir::RemDstPortFromFwdInfo(nullptr, nullptr, nullptr); }},
    });
}

template <class Record> NullCall Dump(const char *fn, void (*dump)(const Record *), const char *asserted) {
    return {kPrivate, fn, {asserted}, [dump] { dump(nullptr); }, "type"};
}

TEST_F(NullPointers, Dumps) {
    ExpectAsserted({
        Dump("Dump_EthFilterReq", qir::Dump_EthFilterReq, kFilter),
        Dump("Dump_VlanFilterReq", qir::Dump_VlanFilterReq, kFilter),
        Dump("Dump_PppoeFilterReq", qir::Dump_PppoeFilterReq, kFilter),
        Dump("Dump_Ipv4FilterReq", qir::Dump_Ipv4FilterReq, kFilter),
        Dump("Dump_TcpFilterReq", qir::Dump_TcpFilterReq, kFilter),
        Dump("Dump_UdpFilterReq", qir::Dump_UdpFilterReq, kFilter),
        Dump("Dump_EthActionReq", qir::Dump_EthActionReq, kAction),
        Dump("Dump_VlanActionReq", qir::Dump_VlanActionReq, kAction),
        Dump("Dump_PppoeActionReq", qir::Dump_PppoeActionReq, kAction),
        Dump("Dump_Ipv4ActionReq", qir::Dump_Ipv4ActionReq, kAction),
        Dump("Dump_TcpActionReq", qir::Dump_TcpActionReq, kAction),
        Dump("Dump_UdpActionReq", qir::Dump_UdpActionReq, kAction),
    });
}

TEST_F(NullPointers, Rules) {
    constexpr const char *kBmap = "(curBmap_p != NULL)";
    constexpr const char *kCount = "(cmpOpCurCnt_p != NULL)";
    ExpectAsserted({
        {kPrivate,
         "Chk_FilterDepBmapTbl",
         {kBmap, kCount},
         [] { qir::Chk_FilterDepBmapTbl(0, 0, nullptr, 0, nullptr); }},
        {kPrivate,
         "Chk_L4FilterDepBmapTbl",
         {kBmap, kCount},
         [] { qir::Chk_L4FilterDepBmapTbl(0, 0, nullptr, 0, nullptr); }},
        {kPrivate, "Chk_ActionDepBmapTbl", {kBmap}, [] { qir::Chk_ActionDepBmapTbl(0, 0, nullptr); }},
        {kPrivate, "Chk_L4ActionDepBmapTbl", {kBmap}, [] { qir::Chk_L4ActionDepBmapTbl(0, 0, nullptr); }},
    });
}

template <class Record>
NullCall Store(const char *fn, qir::u32 (*config)(qir::Fcb *, const Record *), const char *record) {
    return {kPrivate, fn, {kFcb, record}, [config] { config(nullptr, nullptr); }};
}

TEST_F(NullPointers, RequestsToStore) {
    // A filter without a tag gets its node first.
    const std::string noFlow =
        Assertion(kPrivate, "Alloc_ReqNode", "((fcb_p != NULL) && (allocReqNode_pp != NULL))");
    std::vector<NullCall> filters = {
        Store("Config_EthFilter", qir::Config_EthFilter, kFilter),
        Store("Config_PppoeFilter", qir::Config_PppoeFilter, kFilter),
        Store("Config_Ipv4Filter", qir::Config_Ipv4Filter, kFilter),
        Store("Config_TcpFilter", qir::Config_TcpFilter, kFilter),
        Store("Config_UdpFilter", qir::Config_UdpFilter, kFilter),
    };
    for (NullCall &filter : filters) {
        filter.then = noFlow;
    }
    ExpectAsserted(filters);
    ExpectAsserted({
        Store("Config_VlanFilter", qir::Config_VlanFilter, kFilter),
        Store("Config_EthAction", qir::Config_EthAction, kAction),
        Store("Config_VlanAction", qir::Config_VlanAction, kAction),
        Store("Config_PppoeAction", qir::Config_PppoeAction, kAction),
        Store("Config_Ipv4Action", qir::Config_Ipv4Action, kAction),
        Store("Config_TcpAction", qir::Config_TcpAction, kAction),
        Store("Config_UdpAction", qir::Config_UdpAction, kAction),
    });
}

} // namespace
