// The life of a table (allocate, free, activate, deactivate), written once for the kinds that have one.
//
// A description adds what differs between the kinds' operations: texts, codes and driver requests.
#ifndef QIRAPI_API_TABLE_OPS_H
#define QIRAPI_API_TABLE_OPS_H

#include "qirapi/api/operation.h"
#include "qirapi/driver/driver.h"
#include "qirapi/private/table_kinds.h"

namespace qir {

struct AsTableOps : AsKind {
    static constexpr const char *kNoneFree = "No free AS table available";
    static constexpr u32 kFreeWhileActive = e_RET_ERR_STATE_ALREADY_ACTIVE;
    static constexpr u32 kActivateTwice = e_RET_ERR_STATE_ALREADY_ACTIVE;
    static constexpr u32 kDeactivateInactive = e_RET_ERR_STATE_NOT_ACTIVE;
    static constexpr bool kBusyWhileUsed = false;
    static constexpr auto kFromIdx = GetAsTblHdlFromIdx;
    static constexpr auto kValidate = Validate_AsTblHdl;
    static constexpr auto kInit = Init_AsTbl;
    static constexpr auto kActivate = Activate_AsTable;
    static constexpr auto kDeactivate = Deactivate_AsTable;
};

struct DscpTableOps : DscpKind {
    static constexpr const char *kNoneFree = "No Free DSCP Table available";
    static constexpr u32 kFreeWhileActive = e_RET_ERR_RESRC_ALREADY_ACTIVE;
    static constexpr u32 kActivateTwice = e_RET_ERR_RESRC_ALREADY_ACTIVE;
    static constexpr u32 kDeactivateInactive = e_RET_ERR_RESRC_NOT_ACTIVE;
    static constexpr bool kBusyWhileUsed = false;
    static constexpr auto kFromIdx = GetDscpTblHdlFromIdx;
    static constexpr auto kValidate = Validate_DscpTblHdl;
    static constexpr auto kInit = Init_DscpTbl;
    static constexpr auto kActivate = Activate_DscpToPbitsTable;
    static constexpr auto kDeactivate = Deactivate_DscpToPbitsTable;
};

struct PacTableOps : PacKind {
    static constexpr const char *kNoneFree = "No Free PAC Table available";
    static constexpr u32 kFreeWhileActive = e_RET_ERR_RESRC_ALREADY_ACTIVE;
    static constexpr u32 kActivateTwice = e_RET_ERR_STATE_NOTCFG; // no code of its own
    static constexpr u32 kDeactivateInactive = e_RET_ERR_RESRC_NOT_ACTIVE;
    static constexpr bool kBusyWhileUsed = true;
    static constexpr auto kFromIdx = GetPacTblHdlFromIdx;
    static constexpr auto kValidate = Validate_PacTblHdl;
    static constexpr auto kInit = Init_PacTbl;
    static constexpr auto kActivate = Activate_PacTable;
    static constexpr auto kDeactivate = Deactivate_PacTable;
};

template <class Ops> typename Ops::Info &TblOf(typename Ops::Hdl hdl) {
    return Ops::Pool()[hdl.f1.id];
}

template <class Ops> u32 AllocTable(const char *fn, typename Ops::Hdl *hdl_p) {
    QIR_INF_AS(fn, "Params: %s_p<0x%p>\n", Ops::kHdlName, Ptr(hdl_p));
    if (hdl_p == nullptr) {
        return QIR_FAIL_AS(fn, e_RET_ERR_NULL_PTR);
    }
    // The scan writes each index to the caller's handle: with no table free it is left at the last one.
    for (u8 idx = 0; idx < Ops::kPoolSize; ++idx) {
        Ops::kFromIdx(hdl_p, idx);
        typename Ops::Info &tbl = Ops::Pool()[idx];
        if (tbl.status == e_STATUS_FREE) {
            Ops::kInit(idx);
            tbl.hdl = *hdl_p;
            tbl.status = e_STATUS_ALLOC;
            QIR_INF_AS(fn, "%s<%u>\n", Ops::kHdlName, hdl_p->f1.id);
            return QIR_END_AS(fn, e_RET_OK);
        }
    }
    QIR_ERR_AS(fn, "%s\n", Ops::kNoneFree);
    return QIR_FAIL_AS(fn, e_RET_ERR_RESRC_UNAVAIL);
}

// What an operation that takes only a handle begins with: parameter lines, null check, validation. The caller
// passes the code to QIR_END.
template <class Ops> u32 OpenTable(const char *fn, const typename Ops::Hdl *hdl_p) {
    QIR_INF_AS(fn, "Params: %s_p<0x%p>\n", Ops::kHdlName, Ptr(hdl_p));
    if (hdl_p == nullptr) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_NULL_PTR);
    }
    QIR_INF_AS(fn, "Params2: %s<%u>\n", Ops::kHdlName, hdl_p->f1.id);
    return Ops::kValidate(*hdl_p);
}

template <class Ops> u32 FreeTable(const char *fn, const typename Ops::Hdl *hdl_p) {
    if (const u32 rc = OpenTable<Ops>(fn, hdl_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    typename Ops::Info &tbl = TblOf<Ops>(*hdl_p);
    if (tbl.status == e_STATUS_ACTIVE) {
        return QIR_FAIL_AS(fn, Ops::kFreeWhileActive);
    }
    if (Ops::kBusyWhileUsed && tbl.refCnt != 0) {
        QIR_ERR_AS(fn, "Non-zero RefCnt <%u>\n", tbl.refCnt);
        return QIR_FAIL_AS(fn, e_RET_ERR_RESRC_BUSY);
    }
    tbl.status = e_STATUS_FREE;
    return QIR_END_AS(fn, e_RET_OK);
}

template <class Ops> u32 ActivateTable(const char *fn, const typename Ops::Hdl *hdl_p) {
    if (const u32 rc = OpenTable<Ops>(fn, hdl_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    typename Ops::Info &tbl = TblOf<Ops>(*hdl_p);
    if (tbl.status == e_STATUS_ACTIVE) {
        return QIR_FAIL_AS(fn, Ops::kActivateTwice);
    }
    if (tbl.status != e_STATUS_CFG) {
        return QIR_FAIL_AS(fn, e_RET_ERR_STATE_NOTCFG);
    }
    const u32 rc = Ops::kActivate(&tbl);
    if (rc == e_RET_OK) {
        tbl.status = e_STATUS_ACTIVE;
    }
    return QIR_END_AS(fn, rc);
}

template <class Ops> u32 DeactivateTable(const char *fn, const typename Ops::Hdl *hdl_p) {
    if (const u32 rc = OpenTable<Ops>(fn, hdl_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    typename Ops::Info &tbl = TblOf<Ops>(*hdl_p);
    if (tbl.status != e_STATUS_ACTIVE) {
        return QIR_FAIL_AS(fn, Ops::kDeactivateInactive);
    }
    const u32 rc = Ops::kDeactivate(&tbl);
    if (rc == e_RET_OK) {
        tbl.status = e_STATUS_CFG;
    }
    return QIR_END_AS(fn, rc);
}

// May a table in this state be given a configuration? ALLOC and CFG.
inline bool IsConfigurable(u32 status) {
    return status == e_STATUS_ALLOC || status == e_STATUS_CFG;
}

} // namespace qir

#endif
