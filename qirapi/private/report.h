// The library's log lines (log module 12), and how an operation refuses a call and ends.
//
//     if (hdl_p == nullptr) return QIR_FAIL(e_RET_ERR_NULL_PTR);   code's name, "retVal", return
//     return QIR_END(rc);                                          "retVal" if rc is not 0, return
//
// Internal functions use QIR_REFUSE: it prints the code's name and returns the code, without the closing
// line. The `_AS` forms print the name of another function: a shared core prints that of the operation it
// serves.
#ifndef QIRAPI_PRIVATE_REPORT_H
#define QIRAPI_PRIVATE_REPORT_H

#include "log/log_lines.h"
#include "qirapi/private/types.h"
#include "qirapi/public/codes.h"

#define QIR_ERR_AS(fn, ...) QEL_LOG_ERROR_AS(fn, QEL_LOG_ID_ORXAPI, __VA_ARGS__)
#define QIR_INF_AS(fn, ...) QEL_LOG_INFO_OF(qir::RowOfLevel(QEL_LOG_LEVEL_INFO), fn, __VA_ARGS__)
#define QIR_DBG_AS(fn, ...) QEL_LOG_DEBUG_OF(qir::RowOfLevel(QEL_LOG_LEVEL_DEBUG), fn, __VA_ARGS__)

#define QIR_ERR(...) QIR_ERR_AS(__func__, __VA_ARGS__)
#define QIR_INF(...) QIR_INF_AS(__func__, __VA_ARGS__)
#define QIR_DBG(...) QIR_DBG_AS(__func__, __VA_ARGS__)

#define QIR_REFUSE_AS(fn, code) qir::Refuse((fn), __LINE__, (code))
#define QIR_REFUSE(code)        QIR_REFUSE_AS(__func__, code)
#define QIR_END_AS(fn, code)    qir::Close((fn), __LINE__, (code))
#define QIR_END(code)           QIR_END_AS(__func__, code)
#define QIR_FAIL_AS(fn, code)   QIR_END_AS(fn, QIR_REFUSE_AS(fn, code))
#define QIR_FAIL(code)          QIR_FAIL_AS(__func__, code)

namespace qir {

// This library's row in the log table. Before start-up it is a row that lets every level pass, so that every
// line asks the gate.
[[gnu::visibility("hidden")]] extern const QelModInfo *orxapiRow_p;
void FindLogRow(); // at start-up

// The row for a line of that level, or null when the line is off. The module's own level turns nearly all
// lines off, without asking the gate. The gate decides on the others.
inline const QelModInfo *RowOfLevel(u32 level) {
    if (orxapiRow_p->logLevel >= level) [[unlikely]] {
        return qelLog_logIsEnabled(QEL_LOG_ID_ORXAPI, level);
    }
    return nullptr;
}

// The code's name as logs print it, e.g. "e_RET_ERR_NULL_PTR"; null for 0, 1 and the unused numbers.
const char *RetCodeName(u32 code);

// Prints the code's name in double quotes as an error line of `fn` and returns the code.
u32 Refuse(const char *fn, int line, u32 code);

// Prints "retVal <code>" as an error line of `fn` and returns the code.
u32 CloseFailed(const char *fn, int line, u32 code);

// The end of a public operation: the line if the code is not 0.
inline u32 Close(const char *fn, int line, u32 code) {
    return code == e_RET_OK ? code : CloseFailed(fn, line, code);
}

} // namespace qir

#endif
