#include "qirapi/access/table_access.h"

#include "qirapi/private/report.h"

#include <string.h>

namespace qir {

namespace {

template <class Info> void IncrRefCnt(const char *fn, Info *tbl_p) {
    QEL_ASSERT_AS(fn, tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT_AS(fn, tbl_p->refCnt < QIR_MAX_FLOWS, "(tbl_p->refCnt < QIR_MAX_FLOWS)");
    ++tbl_p->refCnt;
}

template <class Info>
void DecrRefCnt(const char *fn, Info *tbl_p, const char *text = "(tbl_p->refCnt != 0)") {
    QEL_ASSERT_AS(fn, tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT_AS(fn, tbl_p->refCnt != 0, text);
    --tbl_p->refCnt;
}

template <class Info, class Cfg> void SetCfg(const char *fn, Info *tbl_p, const Cfg *cfg_p) {
    QEL_ASSERT_AS(fn, tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT_AS(fn, cfg_p != nullptr, "(cfg_p != NULL)");
    memcpy(&tbl_p->cfg, cfg_p, sizeof *cfg_p);
}

template <class Info, class Cfg> void GetCfg(const char *fn, const Info *tbl_p, Cfg *cfg_p) {
    QEL_ASSERT_AS(fn, tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT_AS(fn, cfg_p != nullptr, "(cfg_p != NULL)");
    memcpy(cfg_p, &tbl_p->cfg, sizeof *cfg_p);
}

} // namespace

void incrAsTblRefCnt(AsTblInfo *tbl_p) {
    IncrRefCnt(__func__, tbl_p);
}

void decrAsTblRefCnt(AsTblInfo *tbl_p) {
    DecrRefCnt(__func__, tbl_p);
}

void incrDscpTblRefCnt(DscpTblInfo *tbl_p) {
    IncrRefCnt(__func__, tbl_p);
}

void decrDscpTblRefCnt(DscpTblInfo *tbl_p) {
    DecrRefCnt(__func__, tbl_p, "(tbl_p->refCnt != 0 )");
}

void incrEpTblRefCnt(EpTblInfo *tbl_p) {
    IncrRefCnt(__func__, tbl_p);
}

void decrEpTblRefCnt(EpTblInfo *tbl_p) {
    DecrRefCnt(__func__, tbl_p);
}

void incrPacTblRefCnt(PacTblInfo *tbl_p) {
    IncrRefCnt(__func__, tbl_p);
}

void decrPacTblRefCnt(PacTblInfo *tbl_p) {
    DecrRefCnt(__func__, tbl_p);
}

void setAsTblCfg(AsTblInfo *tbl_p, const AsTblCfg *cfg_p) {
    SetCfg(__func__, tbl_p, cfg_p);
}

void getAsTblCfg(const AsTblInfo *tbl_p, AsTblCfg *cfg_p) {
    GetCfg(__func__, tbl_p, cfg_p);
}

void setAsTblEntry(AsTblInfo *tbl_p, u8 entIdx, const AsEnt *ent_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(entIdx < QIR_ASENT_MAXNUM, "(entIdx < QIR_ASENT_MAXNUM)");
    QEL_ASSERT(ent_p != nullptr, "(ent_p != NULL)");
    memcpy(&tbl_p->ent[entIdx].ent, ent_p, sizeof *ent_p);
}

void getAsTblEntry(const AsTblInfo *tbl_p, u8 entIdx, AsEnt *ent_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(entIdx < QIR_ASENT_MAXNUM, "(entIdx < QIR_ASENT_MAXNUM)");
    QEL_ASSERT(ent_p != nullptr, "(ent_p != NULL)");
    memcpy(ent_p, &tbl_p->ent[entIdx].ent, sizeof *ent_p);
}

void setDscpToPbitsTable_DefPbits(DscpTblInfo *tbl_p, const DscpDefPbits *def_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(def_p != nullptr, "(def_p != NULL)");
    memcpy(&tbl_p->cfg, def_p, sizeof *def_p);
    memset(tbl_p->pbits, def_p->pbits, sizeof tbl_p->pbits);
}

void getDscpToPbitsTable_DefPbits(const DscpTblInfo *tbl_p, DscpDefPbits *def_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(def_p != nullptr, "(def_p != NULL)");
    memcpy(def_p, &tbl_p->cfg, sizeof *def_p);
}

void setDscpToPbitsTable(DscpTblInfo *tbl_p, const DscpMapping *dscpMapping_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(dscpMapping_p != nullptr, "(dscpMapping_p != NULL)");
    for (u32 dscp = dscpMapping_p->startDscp; dscp <= dscpMapping_p->endDscp; ++dscp) {
        tbl_p->pbits[dscp] = dscpMapping_p->pbits;
    }
}

void getDscpToPbitsTable(const DscpTblInfo *tbl_p, u8 dscp, u8 *pbits_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(dscp < QIR_DSCP_MAX, "(dscp < QIR_DSCP_MAX)");
    *pbits_p = tbl_p->pbits[dscp];
}

void setEpTblCfg(EpTblInfo *tbl_p, const EpTblCfg *cfg_p) {
    SetCfg(__func__, tbl_p, cfg_p);
}

void getEpTblCfg(const EpTblInfo *tbl_p, EpTblCfg *cfg_p) {
    GetCfg(__func__, tbl_p, cfg_p);
}

void setEpTblEntry(EpTblInfo *tbl_p, u8 entIdx, const EpEnt *ent_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(entIdx < QIR_EPENT_MAXNUM, "(entIdx < QIR_EPENT_MAXNUM)");
    QEL_ASSERT(ent_p != nullptr, "(ent_p != NULL)");
    memcpy(&tbl_p->ent[entIdx].ent, ent_p, sizeof *ent_p);
}

void getEpTblEntry(const EpTblInfo *tbl_p, u8 entIdx, EpEnt *ent_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(entIdx < QIR_EPENT_MAXNUM, "(entIdx < QIR_EPENT_MAXNUM)");
    QEL_ASSERT(ent_p != nullptr, "(ent_p != NULL)");
    memcpy(ent_p, &tbl_p->ent[entIdx].ent, sizeof *ent_p);
}

void setPacTblCfg(PacTblInfo *tbl_p, const PacTblCfg *cfg_p) {
    SetCfg(__func__, tbl_p, cfg_p);
    for (PacTblCfg &ent : tbl_p->ent) {
        memcpy(&ent, cfg_p, sizeof ent);
    }
}

void getPacTblCfg(const PacTblInfo *tbl_p, PacTblCfg *cfg_p) {
    GetCfg(__func__, tbl_p, cfg_p);
}

void setPacTblEntry(PacTblInfo *tbl_p, u8 pbits, const PacTblCfg *ent_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(pbits < QIR_PBITS_MAX, "(pbits < QIR_PBITS_MAX)");
    QEL_ASSERT(ent_p != nullptr, "(ent_p != NULL)");
    memcpy(&tbl_p->ent[pbits], ent_p, sizeof *ent_p);
}

void getPacTblEntry(const PacTblInfo *tbl_p, u8 pbits, PacTblCfg *ent_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    QEL_ASSERT(pbits < QIR_PBITS_MAX, "(pbits < QIR_PBITS_MAX)");
    QEL_ASSERT(ent_p != nullptr, "(ent_p != NULL)");
    memcpy(ent_p, &tbl_p->ent[pbits], sizeof *ent_p);
}

} // namespace qir
