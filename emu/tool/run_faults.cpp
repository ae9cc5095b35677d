#include "emu/tool/run_faults.h"

#include "emu/journal/log_file.h"
#include "emu/tool/run_trouble.h"

#include <cerrno>
#include <charconv>
#include <map>

namespace orxemu::tool {

namespace {

constexpr const char *kErrnos = "an error's name, such as EIO or ENODEV, or its number, 1 to 4095";
// No kernel has a larger one: a system call returns it as one of the last 4095 addresses.
constexpr int kMaxErrno = 4095;

// VALUE[:ERRNO].
struct FaultText {
    std::string value;
    int err = EIO;
};

FaultText Split(const std::string &option, const std::string &text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) {
        return {text};
    }
    const std::string name = text.substr(colon + 1);
    const int err = journal::ErrnoOf(name);
    if (err == 0 || err > kMaxErrno) {
        throw RunTrouble(option + " " + text + ": \"" + name + "\" is not " + kErrnos);
    }
    return {text.substr(0, colon), err};
}

// Decimal digits alone; 0 when it is none of them or does not fit.
unsigned Number(const std::string &text) {
    unsigned number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, err] = std::from_chars(text.data(), end, number);
    return err == std::errc() && stop == end ? number : 0;
}

std::string RequestNames() {
    std::string names;
    for (const journal::RequestInfo &info : journal::AllRequests()) {
        names +=
            std::string(names.empty() ? "" : ", ") + info.name + " (" + std::to_string(info.number) + ")";
    }
    return names;
}

int RequestNumber(const std::string &option, const std::string &name) {
    const journal::RequestInfo *info = journal::FindRequestInfo(name);
    if (info == nullptr) {
        const unsigned number = Number(name);
        info = number <= INT32_MAX ? journal::FindRequestInfo(static_cast<int>(number)) : nullptr;
    }
    if (info == nullptr) {
        throw RunTrouble(option + ": there is no request \"" + name + "\"; the requests are " +
                         RequestNames());
    }
    return info->number;
}

void Arm(FaultList &list, FaultKind kind, int request, unsigned nth, int err) {
    if (list.num == ORXEMU_MAX_FAULTS) {
        throw RunTrouble("more than " + std::to_string(ORXEMU_MAX_FAULTS) + " faults");
    }
    ArmFault(list, kind, request, nth, err);
}

void ArmCounted(FaultList &list, FaultKind kind, const std::string &option,
                const std::vector<std::string> &texts) {
    for (const std::string &text : texts) {
        const FaultText fault = Split(option, text);
        const unsigned nth = Number(fault.value);
        if (nth == 0) {
            throw RunTrouble(option + " " + text + ": \"" + fault.value +
                             "\" is not a number from 1; the value is N or " + "N:ERRNO, where ERRNO is " +
                             kErrnos);
        }
        Arm(list, kind, 0, nth, fault.err);
    }
}

} // namespace

FaultList ParseFaults(const FaultOptions &options) {
    FaultList list = {};
    ArmCounted(list, FaultKind::FailRequest, "--fail", options.fail);
    ArmCounted(list, FaultKind::LoseAnswer, "--fail-after", options.failAfter);
    ArmCounted(list, FaultKind::FailOpen, "--fail-open", options.failOpen);
    std::map<int, unsigned> turns;
    for (const std::string &text : options.failRequest) {
        const FaultText fault = Split("--fail-request", text);
        const int request = RequestNumber("--fail-request", fault.value);
        Arm(list, FaultKind::FailRequest, request, ++turns[request], fault.err);
    }
    return list;
}

} // namespace orxemu::tool
