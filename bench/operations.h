// What is measured, and what it is measured against: one table for the time and for the instruction counts.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

#include <span>

namespace bench {

struct Operation {
    const char *name;
    // Brings the library into the state that the first run needs.
    void (*prepare)();
    void (*run)(unsigned index);
    // The number of runs, from index 0, before the state has to be prepared again; 0: no limit.
    unsigned runs;
    // It starts a child, whose time does not show in this process's own.
    bool process;
};

std::span<const Operation> Operations();

// Two functions that differ in one information line.
void WithLine(unsigned value);
void WithoutLine(unsigned value);
// What both of them call.
void Use(unsigned value);
// The empty call.
void Empty();

// Starts a program with the environment of the measurement and waits for it; `output` gets what it prints on
// standard output. Aborts when it cannot be started or fails.
void RunProgram(const char *const argv[], const char *standIn, const char *output);

} // namespace bench

#endif
