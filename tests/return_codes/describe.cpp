#include "tests/return_codes/describe.h"

namespace return_codes {

void Must(uint32_t code) {
    EXPECT_EQ(code, 0u) << "a step of the preparation failed";
}

std::string NoDevice() {
    return "qel_dev_open </dev/pktorx> error no 2\n";
}

std::string Refused(int request) {
    return "pktOrxDevIoctl <" + std::to_string(request) + "> error\n";
}

Outcome CallAtLast(Scene &scene, const std::function<uint32_t()> &call) {
    for (const std::function<void()> &change : scene.atLast) {
        change();
    }
    Outcome outcome;
    const test::ContextSnapshot before;
    const std::size_t opens = orxemu_numOpens();
    test::RaiseLog(levelOfCalls);
    outcome.printed = test::CaptureBoth([&] { outcome.code = call(); });
    test::RaiseLog(1);
    outcome.changedContext = !before.Unchanged();
    outcome.openedDevice = orxemu_numOpens() != opens;
    outcome.printed.out = test::Mask(outcome.printed.out);
    return outcome;
}

Operation Always(const std::string &name, const std::string &note, std::function<uint32_t()> call) {
    return Describe<Scene>(name, [call = std::move(call)](Scene &) { return call(); })
        .Note(note)
        .When("always", e_RET_OK, [](Scene &) {});
}

Operation Placeholder(const std::string &name, std::function<uint32_t()> call) {
    return Always(name, "A placeholder: nothing is looked at, and nothing done.", std::move(call));
}

} // namespace return_codes
