// How this library speaks: its lines for log module 12, and how an operation refuses and ends.
//
//     if (hdl_p == nullptr) return QIR_FAIL(e_RET_ERR_NULL_PTR);   code's name, "retVal", return
//     return QIR_END(rc);                                          "retVal" if rc is not 0, return
//
// QIR_REFUSE prints the code's name and yields the code, without the closing line: internal functions use
// it. The `_AS` forms speak for another function (a shared core for the operation that it serves).
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

// The logging library's row of this library's log module. Before start-up it is one of any level, so that
// every line asks the gate.
[[gnu::visibility("hidden")]] extern const QelModInfo *orxapiRow_p;
void FindLogRow(); // at start-up

// The row of a line of that level, or null when the line is off. Nearly all lines are off by the module's own
// level: then not even the gate is asked. The rest is the gate's to decide.
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
