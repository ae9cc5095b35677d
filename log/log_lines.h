// The line formats, one macro per class of line.
//
// Every macro asks the gate first and evaluates its arguments only if it prints: a line that is off costs two
// comparisons. The gate lets every error line pass and only gives it its module's row. The `_AS` forms print
// under the name of another function: a shared core prints under the name of the operation that it serves.
//
// An assertion does not ask the gate. It prints the condition, and the program goes on with what follows:
// it never aborts and never changes a result. Its first field is the source module, which the build gives to
// every folder (QEL_SOURCE_MODULE), so that a file can be split and its lines stay the same. The caller gives
// the text beside the condition, because people and scripts read it, down to its blanks.
#ifndef QEL_LOG_LINES_H
#define QEL_LOG_LINES_H

#include "log/qel_log.h"

#include <stdio.h>

#define QEL_LOG_ERROR_AS(fn, logId, fmt, ...)                                                                \
    do {                                                                                                     \
        const QelModInfo *const qelRow_ = qelLog_logIsEnabled((logId), QEL_LOG_LEVEL_ERROR);                 \
        printf("[ERROR %s] %-10s,%d: " fmt, qelRow_->name, (fn), __LINE__ __VA_OPT__(, ) __VA_ARGS__);       \
    } while (false)

// Prints with the row's name. A null row means that the line is off.
#define QEL_LOG_LINE_OF(row, head, fn, fmt, ...)                                                             \
    do {                                                                                                     \
        if (const QelModInfo *qelRow_ = (row); qelRow_ != nullptr) {                                         \
            printf(head " %-10s: " fmt, qelRow_->name, (fn)__VA_OPT__(, ) __VA_ARGS__);                      \
        }                                                                                                    \
    } while (false)
#define QEL_LOG_INFO_OF(row, ...)  QEL_LOG_LINE_OF(row, "[INF %s]", __VA_ARGS__)
#define QEL_LOG_DEBUG_OF(row, ...) QEL_LOG_LINE_OF(row, "[DBG %s]", __VA_ARGS__)

#define QEL_LOG_INFO_AS(fn, logId, ...)                                                                      \
    QEL_LOG_INFO_OF(qelLog_logIsEnabled((logId), QEL_LOG_LEVEL_INFO), fn, __VA_ARGS__)
#define QEL_LOG_DEBUG_AS(fn, logId, ...)                                                                     \
    QEL_LOG_DEBUG_OF(qelLog_logIsEnabled((logId), QEL_LOG_LEVEL_DEBUG), fn, __VA_ARGS__)

#define QEL_LOG_ERROR(logId, ...) QEL_LOG_ERROR_AS(__func__, logId, __VA_ARGS__)
#define QEL_LOG_INFO(logId, ...)  QEL_LOG_INFO_AS(__func__, logId, __VA_ARGS__)
#define QEL_LOG_DEBUG(logId, ...) QEL_LOG_DEBUG_AS(__func__, logId, __VA_ARGS__)

#define QEL_ASSERT_AS(fn, cond, text)                                                                        \
    do {                                                                                                     \
        if (!(cond)) {                                                                                       \
            printf("[ASSERT %s] %-10s,%d: %s\n", QEL_SOURCE_MODULE, (fn), __LINE__, (text));                 \
        }                                                                                                    \
    } while (false)

#define QEL_ASSERT(cond, text) QEL_ASSERT_AS(__func__, cond, text)

#endif
