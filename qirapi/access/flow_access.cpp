#include "qirapi/access/flow_access.h"

#include "qirapi/access/table_access.h"
#include "qirapi/private/report.h"

#include <string.h>

namespace qir {

namespace {

void SetAssoc(Fcb *fcb_p, u16 bit, bool on) {
    fcb_p->tblAssoc = static_cast<u16>(on ? fcb_p->tblAssoc | bit : fcb_p->tblAssoc & ~bit);
}

u32 GetAssoc(const Fcb *fcb_p, u16 bit) {
    return (fcb_p->tblAssoc & bit) != 0 ? e_TBLSTATUS_ENABLE : e_TBLSTATUS_DISABLE;
}

void GetNumVlanTags(const char *fn, u16 hdrBmap, u8 *numVlanTags_p) {
    QEL_ASSERT_AS(fn, numVlanTags_p != nullptr, "(numVlanTags_p != NULL )");
    const u32 outer = (hdrBmap >> e_FLOWHDR_VLAN0) & 1u;
    const u32 inner = (hdrBmap >> e_FLOWHDR_VLAN1) & 1u;
    *numVlanTags_p = static_cast<u8>(outer + inner);
}

} // namespace

void setFlowSection(Fcb *fcb_p, u32 section) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(section < e_FLOW_SECTION_MAX, "(section < e_FLOW_SECTION_MAX )");
    fcb_p->section = section;
}

void getFlowSection(const Fcb *fcb_p, u32 *section_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(section_p != nullptr, "(section_p != NULL)");
    *section_p = fcb_p->section;
}

void setFwdInfo(Fcb *fcb_p, const FwdInfo *fwdInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(fwdInfo_p != nullptr, "(fwdInfo_p != NULL)");
    memcpy(&fcb_p->fwdInfo, fwdInfo_p, sizeof *fwdInfo_p);
}

void getFwdInfo(const Fcb *fcb_p, FwdInfo *fwdInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(fwdInfo_p != nullptr, "(fwdInfo_p != NULL)");
    memcpy(fwdInfo_p, &fcb_p->fwdInfo, sizeof *fwdInfo_p);
}

void updateFwdInfo(Fcb *fcb_p, const FwdInfo *fwdInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(fwdInfo_p != nullptr, "(fwdInfo_p != NULL)");
    memcpy(&fcb_p->fwdInfo.dst, &fwdInfo_p->dst, sizeof fwdInfo_p->dst);
}

void setAsOverride(Fcb *fcb_p, u32 asOverride) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    fcb_p->asOverride = asOverride;
}

void getAsOverride(const Fcb *fcb_p, u32 *asOverride_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(asOverride_p != nullptr, "(asOverride_p != NULL)");
    *asOverride_p = fcb_p->asOverride;
}

void setEpInfo(Fcb *fcb_p, u32 epTblSts, EpTblInfo *epTblInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(epTblInfo_p != nullptr, "(epTblInfo_p != NULL)");
    const bool enable = epTblSts == e_TBLSTATUS_ENABLE;
    if (enable) {
        incrEpTblRefCnt(epTblInfo_p);
    } else {
        decrEpTblRefCnt(epTblInfo_p);
    }
    SetAssoc(fcb_p, kTblAssocEp, enable);
}

void getEpInfo(const Fcb *fcb_p, u32 *epTblSts_p, EpTblHdl *epTblHdl_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(epTblSts_p != nullptr, "(epTblSts_p != NULL)");
    QEL_ASSERT(epTblHdl_p != nullptr, "(epTblHdl_p != NULL)");
    *epTblSts_p = GetAssoc(fcb_p, kTblAssocEp);
    *epTblHdl_p = fcb_p->epTblHdl;
}

void setPacInfo(Fcb *fcb_p, u32 pacTblSts, u32 pbitsSource, PacTblInfo *pacTblInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(pacTblInfo_p != nullptr, "(pacTblInfo_p != NULL)");
    fcb_p->pbitsSource = pbitsSource;
    const bool enable = pacTblSts == e_TBLSTATUS_ENABLE;
    if (enable) {
        incrPacTblRefCnt(pacTblInfo_p);
    } else {
        decrPacTblRefCnt(pacTblInfo_p);
    }
    SetAssoc(fcb_p, kTblAssocPac, enable);
}

void getPacInfo(const Fcb *fcb_p, u32 *pacTblSts_p, u32 *pbitsSource_p, PacTblHdl *pacTblHdl_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(pacTblSts_p != nullptr, "(pacTblSts_p != NULL)");
    QEL_ASSERT(pbitsSource_p != nullptr, "(pbitsSource_p != NULL)");
    QEL_ASSERT(pacTblHdl_p != nullptr, "(pacTblHdl_p != NULL)");
    *pacTblSts_p = GetAssoc(fcb_p, kTblAssocPac);
    *pbitsSource_p = fcb_p->pbitsSource;
    *pacTblHdl_p = fcb_p->pacTblHdl;
}

void getFilterNumVlanTags(const Fcb *fcb_p, u8 *numVlanTags_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    GetNumVlanTags(__func__, fcb_p->filterBlk.hdrBmap, numVlanTags_p);
}

void getActionNumVlanTags(const Fcb *fcb_p, u8 *numVlanTags_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    GetNumVlanTags(__func__, fcb_p->actionBlk.hdrBmap, numVlanTags_p);
}

} // namespace qir
