// Compiled with the library's flags and placed between two calls, as the lines of the library are.

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
