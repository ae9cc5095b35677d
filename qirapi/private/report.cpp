#include "qirapi/private/report.h"

#include "log/qel_log.h"

#include <stdio.h>

namespace qir {

namespace {

// The highest value that QirRetCode can hold: its codes have 7 bits.
constexpr u32 kLastEnumValue = 0x7F;

constexpr QelModInfo kAnyLevel = {QEL_LOG_ID_ORXAPI, "", UINT32_MAX, 0};

// This library's row in the log table. Error lines always pass the gate.
const QelModInfo *ErrorRow() {
    return qelLog_logIsEnabled(QEL_LOG_ID_ORXAPI, QEL_LOG_LEVEL_ERROR);
}

} // namespace

constinit const QelModInfo *orxapiRow_p = &kAnyLevel;

void FindLogRow() {
    orxapiRow_p = ErrorRow();
}

#define QIR_NAME_OF(code)                                                                                    \
    case code:                                                                                               \
        return #code

// The switch has no default, so that a code without a name does not compile.
const char *RetCodeName(u32 code) {
    if (code > kLastEnumValue) {
        return nullptr;
    }
    switch (static_cast<QirRetCode>(code)) {
    case e_RET_OK:
    case e_RET_DRIVER_FAILURE:
        break;
        QIR_NAME_OF(e_RET_ERR_NULL_PTR);
        QIR_NAME_OF(e_RET_ERR_INVALID_HDL);
        QIR_NAME_OF(e_RET_ERR_NO_SUCH_ENTRY);
        QIR_NAME_OF(e_RET_ERR_OVERFLOW);
        QIR_NAME_OF(e_RET_ERR_REQOUTOFORDER);
        QIR_NAME_OF(e_RET_ERR_HDROUTOFORDER);
        QIR_NAME_OF(e_RET_ERR_HDRNOTCFG);
        QIR_NAME_OF(e_RET_ERR_RESRC_UNAVAIL);
        QIR_NAME_OF(e_RET_ERR_RESRC_BUSY);
        QIR_NAME_OF(e_RET_ERR_RESRC_NOT_ACTIVE);
        QIR_NAME_OF(e_RET_ERR_RESRC_ALREADY_ACTIVE);
        QIR_NAME_OF(e_RET_ERR_STATE_NOTCFG);
        QIR_NAME_OF(e_RET_ERR_STATE_NOT_ACTIVE);
        QIR_NAME_OF(e_RET_ERR_STATE_ALREADY_ACTIVE);
        QIR_NAME_OF(e_RET_ERR_INVALID_CMPOPSEQ);
        QIR_NAME_OF(e_RET_ERR_INVALID_FILTSEQ);
        QIR_NAME_OF(e_RET_ERR_INVALID_ACTIONSEQ);
        QIR_NAME_OF(e_RET_ERR_INVALID_PARAM);
        QIR_NAME_OF(e_RET_ERR_INVALID_SECTION);
        QIR_NAME_OF(e_RET_ERR_INVALID_NUMFLOWS);
        QIR_NAME_OF(e_RET_ERR_INVALID_FWDACTION);
        QIR_NAME_OF(e_RET_ERR_INVALID_SRCPORT);
        QIR_NAME_OF(e_RET_ERR_INVALID_SRCPORTMASK);
        QIR_NAME_OF(e_RET_ERR_INVALID_DSTPORTMASK);
        QIR_NAME_OF(e_RET_ERR_INVALID_DSTQID);
        QIR_NAME_OF(e_RET_ERR_INVALID_GEMPORTIDXMASK);
        QIR_NAME_OF(e_RET_ERR_INVALID_HDRTYPE);
        QIR_NAME_OF(e_RET_ERR_INVALID_BLOCKTYPE);
        QIR_NAME_OF(e_RET_ERR_INVALID_TAGNUM);
        QIR_NAME_OF(e_RET_ERR_INVALID_CONFIGOPER);
        QIR_NAME_OF(e_RET_ERR_INVALID_CMPOPER);
        QIR_NAME_OF(e_RET_ERR_INVALID_FILT);
        QIR_NAME_OF(e_RET_ERR_INVALID_ACTION);
        QIR_NAME_OF(e_RET_ERR_INVALID_ASENT);
        QIR_NAME_OF(e_RET_ERR_INVALID_ASOVRD);
        QIR_NAME_OF(e_RET_ERR_INVALID_ACLTYPE);
        QIR_NAME_OF(e_RET_ERR_INVALID_OVRD);
        QIR_NAME_OF(e_RET_ERR_INVALID_ENTIDX);
        QIR_NAME_OF(e_RET_ERR_INVALID_IPPREFIXLENVAL);
        QIR_NAME_OF(e_RET_ERR_INVALID_PBITS);
        QIR_NAME_OF(e_RET_ERR_INVALID_DSCPVAL);
        QIR_NAME_OF(e_RET_ERR_INVALID_GEMPORTIDX);
        QIR_NAME_OF(e_RET_ERR_INVALID_FLOWPRIO);
        QIR_NAME_OF(e_RET_ERR_INVALID_TBLSTATUS);
        QIR_NAME_OF(e_RET_ERR_INVALID_ETHTYPE);
        QIR_NAME_OF(e_RET_ERR_INVALID_VLANTAG);
        QIR_NAME_OF(e_RET_ERR_INVALID_PBITS_SOURCE);
        QIR_NAME_OF(e_RET_ERR_INVALID_RAWACTION_TYPE);
        QIR_NAME_OF(e_RET_ERR_INVALID_RAWACTION_OFFSET);
        QIR_NAME_OF(e_RET_ERR_INVALID_RAWACTION_SIZE);
        QIR_NAME_OF(e_RET_ERR_INVALID_PADLEN);
        QIR_NAME_OF(e_RET_ERR_INVALID_RLSTATUS);
        QIR_NAME_OF(e_RET_ERR_INVALID_RLINDEX);
        QIR_NAME_OF(e_RET_ERR_INVALID_RLDIR);
        QIR_NAME_OF(e_RET_ERR_INVALID_RLUNIT);
        QIR_NAME_OF(e_RET_ERR_INVALID_RLRATE);
    }
    return nullptr;
}

#undef QIR_NAME_OF

u32 Refuse(const char *fn, int line, u32 code) {
    printf("[ERROR %s] %-10s,%d: \"%s\"\n", ErrorRow()->name, fn, line, RetCodeName(code));
    return code;
}

u32 CloseFailed(const char *fn, int line, u32 code) {
    printf("[ERROR %s] %-10s,%d: retVal <%u>\n", ErrorRow()->name, fn, line, code);
    return code;
}

} // namespace qir
