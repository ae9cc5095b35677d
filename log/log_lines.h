// The line formats, one macro per class of line.
//
// Every macro asks the gate first and evaluates its arguments only when the line is printed: a disabled line
// costs two comparisons. An error line always passes and gets nothing but its module's row there. The `_AS`
// forms print under the name of another function: a shared core uses them to speak for the operation that it
// serves.
//
// An assertion is not gated. It prints the condition and the program carries on with the next statement; it
// never aborts and never changes a result. Its first field is the source module, which the build gives to
// every folder (QEL_SOURCE_MODULE), so that a file can be split without touching its lines. The text is
// given beside the condition because it is read by people and scripts, down to its blanks.
#ifndef QEL_LOG_LINES_H
#define QEL_LOG_LINES_H

#include "log/qel_log.h"

#include <stdio.h>

#define QEL_LOG_ERROR_AS(fn, logId, fmt, ...)                                                                \
    do {                                                                                                     \
        const QelModInfo *const qelRow_ = qelLog_logIsEnabled((logId), QEL_LOG_LEVEL_ERROR);                 \
        printf("[ERROR %s] %-10s,%d: " fmt, qelRow_->name, (fn), __LINE__ __VA_OPT__(, ) __VA_ARGS__);       \
    } while (false)

// Of a row that may be null: then the line is off.
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
