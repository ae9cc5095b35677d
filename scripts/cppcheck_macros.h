// Macros as cppcheck reads them, which gives a file up where it meets one that it cannot read. Included in
// front of every file: in place of log/log_lines.h, whose __VA_OPT__ it does not know, and for the tests of
// several types, which its own list of GoogleTest's macros does not have.
//
// A line is its format with its arguments, so that the two are held against each other. An assertion prints
// and carries on, so that what it says of a pointer or an index is not known behind it.
#ifndef QEL_LOG_LINES_H
#define QEL_LOG_LINES_H

#ifdef __cplusplus
#include "log/qel_log.h"

#include <stdio.h>

#define QEL_LOG_ERROR_AS(fn, logId, ...) (void)(fn), (void)(logId), printf(__VA_ARGS__)
#define QEL_LOG_INFO_AS(fn, logId, ...)  (void)(fn), (void)(logId), printf(__VA_ARGS__)
#define QEL_LOG_DEBUG_AS(fn, logId, ...) (void)(fn), (void)(logId), printf(__VA_ARGS__)

#define QEL_LOG_ERROR(logId, ...) QEL_LOG_ERROR_AS(__func__, logId, __VA_ARGS__)
#define QEL_LOG_INFO(logId, ...)  QEL_LOG_INFO_AS(__func__, logId, __VA_ARGS__)
#define QEL_LOG_DEBUG(logId, ...) QEL_LOG_DEBUG_AS(__func__, logId, __VA_ARGS__)

#define QEL_ASSERT_AS(fn, cond, text) (void)(fn), (void)(cond), (void)(text)
#define QEL_ASSERT(cond, text)        QEL_ASSERT_AS(__func__, cond, text)

#define TYPED_TEST(suite, name) template <class TypeParam> void suite##_##name()
#endif

#endif
