// The instructions that each operation takes, for callgrind: it writes one profile for each request below,
// named after the operation. Programs are counted by running them under callgrind, not here.

#include "bench/operations.h"

#include <valgrind/callgrind.h>

namespace {

// Without a function it counts what the counting itself takes.
[[gnu::noinline]] void Count(const char *name, void (*run)(unsigned)) {
    CALLGRIND_ZERO_STATS;
    if (run != nullptr) {
        run(1);
    }
    CALLGRIND_DUMP_STATS_AT(name);
}

} // namespace

int main() {
    Count("nothing", nullptr);
    for (const bench::Operation &operation : bench::Operations()) {
        if (!operation.process) {
            operation.prepare();
            operation.run(0); // symbols are resolved at their first use
            Count(operation.name, operation.run);
        }
    }
    return 0;
}
