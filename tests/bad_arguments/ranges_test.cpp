// Numbers out of range inside the engine: the first one that is too large is named by an assertion line, and then
// used; the last one that is not is used without a word.
#include "qirapi/access/flow_access.h"
#include "qirapi/access/table_access.h"
#include "qirapi/private/actions.h"
#include "qirapi/private/fcb.h"
#include "qirapi/private/filters.h"
#include "qirapi/private/headers.h"
#include "qirapi/private/rules.h"
#include "qirapi/private/tables.h"
#include "tests/bad_arguments/last_words.h"
#include "tests/support/library.h"

namespace {

using namespace bad_arguments;
using qir::u16;
using qir::u32;
using qir::u8;
using test::Assertion;

class Ranges : public test::LibraryTest {};

struct Range {
    const char *module;
    const char *function;
    const char *asserted;
    u32 end; // the first number out of range
    std::function<void(u32)> call;
};

void ExpectAssertedFrom(const std::vector<Range> &ranges) {
    for (const Range &range : ranges) {
        SCOPED_TRACE(range.function);
        const std::string line = Assertion(range.module, range.function, range.asserted);
        const std::string beyond = LastWords([&range] { range.call(range.end); });
        EXPECT_EQ(beyond.substr(0, line.size()), line) << range.end;
        const std::string last = LastWords([&range] { range.call(range.end - 1); });
        EXPECT_EQ(last.find(range.asserted), std::string::npos) << range.end - 1 << ": " << last;
    }
}

u8 Byte(u32 number) {
    return static_cast<u8>(number);
}

TEST_F(Ranges, EntriesOfTables) {
    static AsEnt asEnt;
    static EpEnt epEnt;
    static PacTblCfg pacEnt;
    static u8 pbits;
    qir::QirCtxt &ctxt = *qirCtxt_gp;
    constexpr const char *kAs = "(entIdx < QIR_ASENT_MAXNUM)";
    constexpr const char *kEp = "(entIdx < QIR_EPENT_MAXNUM)";
    constexpr const char *kPac = "(pbits < QIR_PBITS_MAX)";
    ExpectAssertedFrom({
        {kAccess, "setAsTblEntry", kAs, 8,
         [&](u32 i) { qir::setAsTblEntry(ctxt.asTblPool, Byte(i), &asEnt); }},
        {kAccess, "getAsTblEntry", kAs, 8,
         [&](u32 i) { qir::getAsTblEntry(ctxt.asTblPool, Byte(i), &asEnt); }},
        {kAccess, "setEpTblEntry", kEp, 8,
         [&](u32 i) { qir::setEpTblEntry(ctxt.epTblPool, Byte(i), &epEnt); }},
        {kAccess, "getEpTblEntry", kEp, 8,
         [&](u32 i) { qir::getEpTblEntry(ctxt.epTblPool, Byte(i), &epEnt); }},
        {kAccess, "setPacTblEntry", kPac, 8,
         [&](u32 i) { qir::setPacTblEntry(ctxt.pacTblPool, Byte(i), &pacEnt); }},
        {kAccess, "getPacTblEntry", kPac, 8,
         [&](u32 i) { qir::getPacTblEntry(ctxt.pacTblPool, Byte(i), &pacEnt); }},
        {kAccess, "getDscpToPbitsTable", "(dscp < QIR_DSCP_MAX)", 64,
         [&](u32 i) { qir::getDscpToPbitsTable(ctxt.dscpTblPool, Byte(i), &pbits); }},
    });
}

TEST_F(Ranges, UsersOfATable) {
    const auto counted = [](auto *pool, auto count) {
        return [pool, count](u32 users) {
            pool->refCnt = static_cast<u16>(users);
            count(pool);
        };
    };
    constexpr const char *kUsers = "(tbl_p->refCnt < QIR_MAX_FLOWS)";
    qir::QirCtxt &ctxt = *qirCtxt_gp;
    ExpectAssertedFrom({
        {kAccess, "incrAsTblRefCnt", kUsers, 512, counted(ctxt.asTblPool, qir::incrAsTblRefCnt)},
        {kAccess, "incrDscpTblRefCnt", kUsers, 512, counted(ctxt.dscpTblPool, qir::incrDscpTblRefCnt)},
        {kAccess, "incrEpTblRefCnt", kUsers, 512, counted(ctxt.epTblPool, qir::incrEpTblRefCnt)},
        {kAccess, "incrPacTblRefCnt", kUsers, 512, counted(ctxt.pacTblPool, qir::incrPacTblRefCnt)},
    });
}

TEST_F(Ranges, IndexesOfPools) {
    static AsTblHdl asHdl;
    static DscpTblHdl dscpHdl;
    static EpTblHdl epHdl;
    static PacTblHdl pacHdl;
    static AsTblCfg cfg;
    constexpr const char *kAsHdl = "(asTblHdl.f1.id < QIR_ASTBL_MAXNUM)";
    constexpr const char *kDscpHdl = "(dscpTblHdl.f1.id < QIR_DSCPTBL_MAXNUM)";
    constexpr const char *kEpHdl = "(epTblHdl.f1.id < QIR_EPTBL_MAXNUM)";
    constexpr const char *kPacHdl = "(pacTblHdl.f1.id < QIR_PACTBL_MAXNUM)";
    constexpr const char *kFlow = "(flowHdl.f1.id < QIR_MAX_FLOWS)";
    ExpectAssertedFrom({
        {kPrivate, "GetIdxFromAsTblHdl", kAsHdl, 16, [](u32 i) { qir::GetIdxFromAsTblHdl(test::AsHdl(i)); }},
        {kPrivate, "GetIdxFromDscpTblHdl", kDscpHdl, 6,
         [](u32 i) { qir::GetIdxFromDscpTblHdl(test::DscpHdl(i)); }},
        {kPrivate, "GetIdxFromEpTblHdl", kEpHdl, 6, [](u32 i) { qir::GetIdxFromEpTblHdl(test::EpHdl(i)); }},
        {kPrivate, "GetIdxFromPacTblHdl", kPacHdl, 16,
         [](u32 i) { qir::GetIdxFromPacTblHdl(test::PacHdl(i)); }},
        {kPrivate, "GetPtrFromAsTblHdl", kAsHdl, 16, [](u32 i) { qir::GetPtrFromAsTblHdl(test::AsHdl(i)); }},
        {kPrivate, "GetPtrFromDscpTblHdl", kDscpHdl, 6,
         [](u32 i) { qir::GetPtrFromDscpTblHdl(test::DscpHdl(i)); }},
        {kPrivate, "GetPtrFromEpTblHdl", kEpHdl, 6, [](u32 i) { qir::GetPtrFromEpTblHdl(test::EpHdl(i)); }},
        {kPrivate, "GetPtrFromPacTblHdl", kPacHdl, 16,
         [](u32 i) { qir::GetPtrFromPacTblHdl(test::PacHdl(i)); }},
        {kPrivate, "GetAsTblHdlFromIdx", "(asTblIdx < QIR_ASTBL_MAXNUM)", 16,
         [](u32 i) { qir::GetAsTblHdlFromIdx(&asHdl, Byte(i)); }},
        {kPrivate, "GetDscpTblHdlFromIdx", "(dscpTblIdx < QIR_DSCPTBL_MAXNUM)", 6,
         [](u32 i) { qir::GetDscpTblHdlFromIdx(&dscpHdl, Byte(i)); }},
        {kPrivate, "GetEpTblHdlFromIdx", "(epTblIdx < QIR_EPTBL_MAXNUM)", 6,
         [](u32 i) { qir::GetEpTblHdlFromIdx(&epHdl, Byte(i)); }},
        {kPrivate, "GetPacTblHdlFromIdx", "(pacTblIdx < QIR_PACTBL_MAXNUM)", 16,
         [](u32 i) { qir::GetPacTblHdlFromIdx(&pacHdl, Byte(i)); }},
        {kPrivate, "Set_AsTblCfg", "((tblIdx < QIR_ASTBL_MAXNUM) && (asTblCfg_p != NULL))", 16,
         [](u32 i) { qir::Set_AsTblCfg(Byte(i), &cfg); }},
        {kPrivate, "Dump_DscpToPbitsTable", "(dscpTblIdx < QIR_DSCPTBL_MAXNUM)", 6,
         [](u32 i) { qir::Dump_DscpToPbitsTable(Byte(i)); }},
        {kPrivate, "Dump_PacTable", "(pacTblIdx < QIR_PACTBL_MAXNUM)", 16,
         [](u32 i) { qir::Dump_PacTable(Byte(i)); }},
        {kPrivate, "GetIdxFromFlowHdl", kFlow, 512, [](u32 i) { qir::GetIdxFromFlowHdl(test::Flow(i)); }},
        {kPrivate, "GetFCB", kFlow, 512, [](u32 i) { qir::GetFCB(test::Flow(i)); }},
        {kPrivate, "GetFlowHdlFromIdx", "(flowIdx < QIR_MAX_FLOWS)", 512,
         [](u32 i) { qir::GetFlowHdlFromIdx(static_cast<u16>(i)); }},
    });
}

TEST_F(Ranges, NamesThatAreDumped) {
    ExpectAssertedFrom({
        {kAccess, "Dump_Status", "(status < e_STATUS_MAX)", 4, qir::Dump_Status},
        {kPrivate, "Dump_CmpOp", "(cmpOp < e_CMP_MAX)", 3, qir::Dump_CmpOp},
        {kPrivate, "Dump_AsOverride", "( asOvrd < e_AS_OVERRIDE_MAX )", 2, qir::Dump_AsOverride},
        {kPrivate, "Dump_TblStatus", "(tblStatus < e_TBLSTATUS_MAX)", 2, qir::Dump_TblStatus},
        {kPrivate, "Dump_FwdAction", "(action < e_FWD_ACTION_MAX)", 8, qir::Dump_FwdAction},
    });
}

TEST_F(Ranges, Rules) {
    static u16 bmap;
    static u8 count;
    constexpr const char *kHdr = "(hdr < e_FLOWHDR_MAX)";
    constexpr const char *kL4Hdr = "(hdr < e_L4FLOWHDR_MAX)";
    constexpr const char *kType = "(type < QIR_HDR_FILT_MAX)";
    constexpr const char *kOp = "(cmpOp < e_CMP_MAX)";
    const auto filter = [](u32 hdr, u32 type, u32 op) {
        qir::Chk_FilterDepBmapTbl(hdr, Byte(type), &bmap, op, &count);
    };
    const auto l4Filter = [](u32 hdr, u32 type, u32 op) {
        qir::Chk_L4FilterDepBmapTbl(hdr, Byte(type), &bmap, op, &count);
    };
    const auto action = [](u32 hdr, u32 type) { qir::Chk_ActionDepBmapTbl(hdr, Byte(type), &bmap); };
    const auto l4Action = [](u32 hdr, u32 type) { qir::Chk_L4ActionDepBmapTbl(hdr, Byte(type), &bmap); };
    ExpectAssertedFrom({
        {kPrivate, "Chk_FilterDepBmapTbl", kHdr, 8, [&](u32 hdr) { filter(hdr, 0, 0); }},
        {kPrivate, "Chk_FilterDepBmapTbl", kType, 16, [&](u32 type) { filter(0, type, 0); }},
        {kPrivate, "Chk_FilterDepBmapTbl", kOp, 3, [&](u32 op) { filter(0, 0, op); }},
        {kPrivate, "Chk_L4FilterDepBmapTbl", kL4Hdr, 2, [&](u32 hdr) { l4Filter(hdr, 0, 0); }},
        {kPrivate, "Chk_L4FilterDepBmapTbl", kType, 16, [&](u32 type) { l4Filter(0, type, 0); }},
        {kPrivate, "Chk_L4FilterDepBmapTbl", kOp, 3, [&](u32 op) { l4Filter(0, 0, op); }},
        {kPrivate, "Chk_ActionDepBmapTbl", kHdr, 8, [&](u32 hdr) { action(hdr, 0); }},
        {kPrivate, "Chk_ActionDepBmapTbl", kType, 16, [&](u32 type) { action(0, type); }},
        {kPrivate, "Chk_L4ActionDepBmapTbl", kL4Hdr, 2, [&](u32 hdr) { l4Action(hdr, 0); }},
        {kPrivate, "Chk_L4ActionDepBmapTbl", kType, 16, [&](u32 type) { l4Action(0, type); }},
    });
}

TEST_F(Ranges, HeadersTagsAndSections) {
    static qir::Fcb fcb{};
    static void *request;
    static VlanFilter filter;
    static VlanAction action;
    constexpr const char *kHdr = "(flowHdr < e_FLOWHDR_MAX)";
    constexpr const char *kTag = "(toTagNum < e_VLAN_TAG_MAX)";
    ExpectAssertedFrom({
        {kPrivate, "IsSet_FilterAllReqdHdr", kHdr, 8,
         [](u32 hdr) { qir::IsSet_FilterAllReqdHdr(&fcb, hdr); }},
        {kPrivate, "IsSet_ActionAllReqdHdr", kHdr, 8,
         [](u32 hdr) { qir::IsSet_ActionAllReqdHdr(&fcb, hdr); }},
        {kAccess, "setFlowSection", "(section < e_FLOW_SECTION_MAX )", 3,
         [](u32 section) { qir::setFlowSection(&fcb, section); }},
        {kAccess, "getNextVlanFilter", kTag, 2,
         [](u32 tag) { qir::getNextVlanFilter(&fcb, tag, &request, &filter); }},
        {kAccess, "getNextVlanAction", kTag, 2,
         [](u32 tag) { qir::getNextVlanAction(&fcb, tag, &request, &action); }},
        {kPrivate, "Config_VlanFilter", "(filter_p->toTagNum < e_VLAN_TAG_MAX)", 2,
         [](u32 tag) {
             filter.toTagNum = tag;
             qir::Config_VlanFilter(&fcb, &filter);
         }},
        {kPrivate, "Config_VlanAction", "(action_p->toTagNum < e_VLAN_TAG_MAX)", 2,
         [](u32 tag) {
             action.toTagNum = tag;
             qir::Config_VlanAction(&fcb, &action);
         }},
    });
}

// The only one of the public operations that takes an index out of the shadow without looking at it.
TEST_F(Ranges, SectionOfAFlowThatIsFreed) {
    ExpectAssertedFrom({
        {"qirapi", "QIR_Free_FCB", "(section < e_FLOW_SECTION_MAX)", e_FLOW_SECTION_MAX,
         [](u32 section) {
             FlowHdl flowHdl{};
             QIR_Alloc_FCB(1, &flowHdl);
             qirCtxt_gp->fcbPool[flowHdl.f1.id].section = section;
             QIR_Free_FCB(&flowHdl);
         }},
    });
}

} // namespace
