// Marks what cannot happen: QEL_NEVER(condition, "why not").
//
// The value is that of the condition. So the mark costs nothing, and the code after it still says what
// happens if a table or a caller ever changes. The coverage build leaves out the code that only a true
// condition leads to. A build with sanitizers stops the program if a condition is true after all.
//
// Keep a mark on one line, where scripts/coverage.sh finds it.
#ifndef QEL_NEVER_H
#define QEL_NEVER_H

#if defined QEL_NEVER_IS_LEFT_OUT
#define QEL_NEVER(condition, reason) (false && (condition))
#elif defined QEL_NEVER_IS_CHECKED
#include <stdio.h>
#include <stdlib.h>

inline bool qelNever(bool condition, const char *file, int line, const char *reason) {
    if (condition) {
        fprintf(stderr, "%s:%d: cannot happen, because %s\n", file, line, reason);
        abort();
    }
    return condition;
}

#define QEL_NEVER(condition, reason) qelNever((condition), __FILE__, __LINE__, reason)
#else
#define QEL_NEVER(condition, reason) (condition)
#endif

#endif
