// The time that each operation takes, by Google Benchmark. Standard output belongs to the library, whose
// error lines go there: the results go to the file of --benchmark_out.

#include "bench/operations.h"

#include <benchmark/benchmark.h>

namespace {

// For operations whose state has to be made anew for each iteration, which takes longer than they do.
constexpr int kFewIterations = 10;

void Measure(benchmark::State &state, const bench::Operation &operation) {
    operation.prepare();
    operation.run(0); // what happens at the first run only
    if (operation.runs == 0) {
        for (auto _ : state) {
            operation.run(0);
        }
        state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        operation.prepare();
        state.ResumeTiming();
        for (unsigned index = 0; index < operation.runs; ++index) {
            operation.run(index);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * operation.runs);
}

} // namespace

int main(int argc, char **argv) {
    for (const bench::Operation &operation : bench::Operations()) {
        auto *const registered = benchmark::RegisterBenchmark(
            operation.name, [&operation](benchmark::State &state) { Measure(state, operation); });
        if (operation.process) {
            registered->UseRealTime();
        }
        if (operation.runs != 0) {
            registered->Iterations(kFewIterations);
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    return benchmark::RunSpecifiedBenchmarks() == 0 ? 1 : 0;
}
