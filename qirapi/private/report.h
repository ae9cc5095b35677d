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
#define QIR_INF_AS(fn, ...) QEL_LOG_INFO_AS(fn, QEL_LOG_ID_ORXAPI, __VA_ARGS__)
#define QIR_DBG_AS(fn, ...) QEL_LOG_DEBUG_AS(fn, QEL_LOG_ID_ORXAPI, __VA_ARGS__)

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

// The code's name as logs print it, e.g. "e_RET_ERR_NULL_PTR"; null for 0, 1 and the unused numbers.
const char *RetCodeName(u32 code);

// Prints the code's name in double quotes as an error line of `fn` and returns the code.
u32 Refuse(const char *fn, int line, u32 code);

// The end of a public operation: prints "retVal <code>" as an error line of `fn` if the code is not 0.
u32 Close(const char *fn, int line, u32 code);

} // namespace qir

#endif
