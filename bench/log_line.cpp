// Compiled as the library is, so that the line is the line of the library: between calls, as its lines are.

#include "bench/operations.h"

#include "qirapi/private/report.h"

namespace bench {

void WithLine(unsigned value) {
    Use(value);
    QIR_INF("value<%u>\n", value);
    Use(value);
}

void WithoutLine(unsigned value) {
    Use(value);
    Use(value);
}

} // namespace bench
