// What each test of the program asks of the driver, step by step, and what is to come of it when one of the
// steps fails.
#ifndef TESTS_FAULTS_SCENARIO_PLAN_H
#define TESTS_FAULTS_SCENARIO_PLAN_H

#include "tests/faults/fault.h"
#include "tests/faults/two_sides.h"

#include <optional>
#include <string>
#include <vector>

namespace faults {

enum class Kind { As, Dscp, Pac, Flow };

// An object is brought into the hardware.
struct Step {
    Kind kind;
    unsigned idx;                // its place in the library's pool
    std::optional<unsigned> pac; // flow: the PAC table that it uses, by its place in the pool
};

struct Scenario {
    const char *number; // as on the command line
    std::vector<Step> steps;
};
const std::vector<Scenario> &Scenarios();

int RequestOf(const Step &step);

// What is seen of one run of the program.
struct ProgramRun {
    int status;
    std::string out; // standard output, masked
    std::string err; // standard error
    std::vector<OrxEmuRequest> requests;
    std::size_t opens; // successful openings of the device
    Shadow shadow;
    Hardware hardware;
};

// Runs the test in a library as at process start, on the hardware as it is.
ProgramRun RunOnce(const Scenario &scenario);

// No fault when there is no value.
struct Disturbance {
    const Fault &fault;
    std::size_t step; // the request of this step meets it
};

// What a run has to look like on hardware that holds `before`. Texts and records are those of `undisturbed`,
// a run without a fault that sent a request for every step.
ProgramRun Predict(const Scenario &scenario, const ProgramRun &undisturbed, const Hardware &before,
                   const std::optional<Disturbance> &disturbance);

void ExpectRun(const ProgramRun &actual, const ProgramRun &expected);

} // namespace faults

#endif
