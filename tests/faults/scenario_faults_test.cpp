// The program's tests with one request that fails, every request in turn and in every way: the program goes
// on to its end, each object is in the state that its request left it in, and a later start of the program
// finds nothing in its way.
#include "tests/app/app_test.h"
#include "tests/faults/scenario_plan.h"

namespace faults {
namespace {

// Requests of tests 0 to 5.
constexpr unsigned kNumRequests = 15 + 2 + 2 + 6 + 3 + 2;

class ScenarioFaults : public app_test::AppTest {};

ProgramRun RunUndisturbed(const Scenario &scenario) {
    orxemu_reset();
    return RunOnce(scenario);
}

// Did the fault do what it is there for?
bool HasStruck(const Fault &fault, const ProgramRun &run, std::size_t step) {
    if (!fault.isSeen) {
        return run.err.find("error no " + std::to_string(fault.err) + "\n") != std::string::npos;
    }
    return step < run.requests.size() && run.requests[step].err == fault.err;
}

TEST_F(ScenarioFaults, AreNotMetByUndisturbedRuns) {
    unsigned numRequests = 0;
    for (const Scenario &scenario : Scenarios()) {
        SCOPED_TRACE(std::string("test ") + scenario.number);
        const ProgramRun undisturbed = RunUndisturbed(scenario);
        ASSERT_EQ(undisturbed.requests.size(), scenario.steps.size());
        orxemu_reset();
        ExpectRun(undisturbed, Predict(scenario, undisturbed, HardwareNow(), {}));
        EXPECT_EQ(undisturbed.err, "");
        EXPECT_EQ(undisturbed.out.find("[ERROR"), std::string::npos) << undisturbed.out;
        for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
            EXPECT_EQ(undisturbed.requests[i].request, RequestOf(scenario.steps[i])) << "request " << i;
        }
        numRequests += static_cast<unsigned>(undisturbed.requests.size());
    }
    EXPECT_EQ(numRequests, kNumRequests);
}

TEST_F(ScenarioFaults, OfEveryRequestAreOvercome) {
    unsigned injected = 0;
    for (const Scenario &scenario : Scenarios()) {
        const ProgramRun undisturbed = RunUndisturbed(scenario);
        ASSERT_EQ(undisturbed.requests.size(), scenario.steps.size()) << "of test " << scenario.number;
        for (std::size_t step = 0; step < scenario.steps.size(); ++step) {
            for (const Fault &fault : kFaults) {
                SCOPED_TRACE(std::string("test ") + scenario.number + ", request " + std::to_string(step) +
                             ": " + fault.name);
                orxemu_reset();
                const Hardware atPowerOn = HardwareNow();
                fault.arm(static_cast<unsigned>(step + 1));
                const ProgramRun disturbed = RunOnce(scenario);
                ExpectRun(disturbed, Predict(scenario, undisturbed, atPowerOn, Disturbance{fault, step}));
                injected += HasStruck(fault, disturbed, step) ? 1 : 0;

                const ProgramRun second = RunOnce(scenario);
                ExpectRun(second, Predict(scenario, undisturbed, disturbed.hardware, {}));
            }
        }
    }
    PrintInjected(injected);
    EXPECT_EQ(injected, kNumFaults * kNumRequests);
}

} // namespace
} // namespace faults
