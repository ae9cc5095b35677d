// The four kinds of table. What all kinds do is written once, as templates over these descriptions.
//
// A kind names its handle, its record, its pool, and the texts in which it differs.
#ifndef QIRAPI_PRIVATE_TABLE_KINDS_H
#define QIRAPI_PRIVATE_TABLE_KINDS_H

#include "qirapi/private/tables.h"

namespace qir {

struct AsKind {
    using Hdl = AsTblHdl;
    using Info = AsTblInfo;
    static constexpr u32 kPoolSize = QIR_ASTBL_MAXNUM;
    static constexpr const char *kHdlName = "asTblHdl";
    static constexpr const char *kHdlInRange = "(asTblHdl.f1.id < QIR_ASTBL_MAXNUM)";
    static constexpr const char *kIdxInRange = "(asTblIdx < QIR_ASTBL_MAXNUM)";
    static Info *Pool() { return qirCtxt_gp->asTblPool; }
};

struct DscpKind {
    using Hdl = DscpTblHdl;
    using Info = DscpTblInfo;
    static constexpr u32 kPoolSize = QIR_DSCPTBL_MAXNUM;
    static constexpr const char *kHdlName = "dscpTblHdl";
    static constexpr const char *kHdlInRange = "(dscpTblHdl.f1.id < QIR_DSCPTBL_MAXNUM)";
    static constexpr const char *kIdxInRange = "(dscpTblIdx < QIR_DSCPTBL_MAXNUM)";
    static Info *Pool() { return qirCtxt_gp->dscpTblPool; }
};

struct EpKind {
    using Hdl = EpTblHdl;
    using Info = EpTblInfo;
    static constexpr u32 kPoolSize = QIR_EPTBL_MAXNUM;
    static constexpr const char *kHdlName = "epTblHdl";
    static constexpr const char *kHdlInRange = "(epTblHdl.f1.id < QIR_EPTBL_MAXNUM)";
    static constexpr const char *kIdxInRange = "(epTblIdx < QIR_EPTBL_MAXNUM)";
    static Info *Pool() { return qirCtxt_gp->epTblPool; }
};

struct PacKind {
    using Hdl = PacTblHdl;
    using Info = PacTblInfo;
    static constexpr u32 kPoolSize = QIR_PACTBL_MAXNUM;
    static constexpr const char *kHdlName = "pacTblHdl";
    static constexpr const char *kHdlInRange = "(pacTblHdl.f1.id < QIR_PACTBL_MAXNUM)";
    static constexpr const char *kIdxInRange = "(pacTblIdx < QIR_PACTBL_MAXNUM)";
    static Info *Pool() { return qirCtxt_gp->pacTblPool; }
};

} // namespace qir

#endif
