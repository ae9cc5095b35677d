// Marks what cannot happen: QEL_NEVER(condition, "why not").
//
// The value is the condition's, so that the mark costs nothing and what follows it stays written down: what
// the code would do if its tables, or its neighbours, ever changed. A build that counts coverage leaves out
// what only a true condition leads to. A build with sanitizers stops the program when a condition is true
// after all.
//
// A mark stands on one line, where scripts/coverage.sh finds it.
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
