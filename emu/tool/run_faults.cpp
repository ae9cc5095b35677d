#include "emu/tool/run_faults.h"

#include "emu/journal/log_file.h"
#include "emu/tool/run_trouble.h"

#include <cerrno>
#include <charconv>
#include <map>

namespace orxemu::tool {

namespace {

// Decimal digits alone; 0 when it is none of them or does not fit.
unsigned Number(const std::string &text) {
    unsigned number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, err] = std::from_chars(text.data(), end, number);
    return err == std::errc() && stop == end ? number : 0;
}

std::string RequestNames() {
    std::string names;
    for (const qir::RequestInfo &info : qir::kRequestTable) {
        names +=
            std::string(names.empty() ? "" : ", ") + info.name + " (" + std::to_string(info.number) + ")";
    }
    return names;
}

int RequestNumber(const std::string &option, const std::string &name) {
    const qir::RequestInfo *info = qir::FindRequest(std::string_view(name));
    info = info == nullptr ? qir::FindRequest(static_cast<int>(Number(name))) : info;
    if (info == nullptr) {
        throw RunTrouble(option + ": there is no request \"" + name + "\"; the requests are " +
                         RequestNames());
    }
    return info->number;
}

// One option of the command line, "VALUE[:ERRNO]".
class FaultReader {
  public:
    FaultReader(std::string option, FaultKind kind, FaultList &list)
        : option_(std::move(option)), kind_(kind), list_(list) {}

    void ReadCounted(const std::vector<std::string> &texts) {
        for (const std::string &text : texts) {
            const auto [value, err] = Split(text);
            const unsigned nth = Number(value);
            if (nth == 0) {
                throw RunTrouble(option_ + " " + text + ": \"" + value +
                                 "\" is not a number from 1; the value is N or N:ERRNO, where ERRNO is " +
                                 kErrnos);
            }
            Arm(0, nth, err);
        }
    }

    // The first one of a name is about the first request of that name, the second one about the second.
    void ReadNamed(const std::vector<std::string> &texts) {
        std::map<int, unsigned> turns;
        for (const std::string &text : texts) {
            const auto [name, err] = Split(text);
            const int request = RequestNumber(option_, name);
            Arm(request, ++turns[request], err);
        }
    }

  private:
    static constexpr const char *kErrnos = "an error's name, such as EIO or ENODEV, or its number, 1 to 4095";

    std::pair<std::string, int> Split(const std::string &text) const {
        // No kernel has a larger one: a system call returns it as one of the last 4095 addresses.
        constexpr int kMaxErrno = 4095;
        const std::size_t colon = text.find(':');
        const std::string name = colon == std::string::npos ? "EIO" : text.substr(colon + 1);
        const int err = journal::ErrnoOf(name);
        if (err == 0 || err > kMaxErrno) {
            throw RunTrouble(option_ + " " + text + ": \"" + name + "\" is not " + kErrnos);
        }
        return {text.substr(0, colon), err};
    }

    void Arm(int request, unsigned nth, int err) {
        if (list_.num == ORXEMU_MAX_FAULTS) {
            throw RunTrouble("more than " + std::to_string(ORXEMU_MAX_FAULTS) + " faults");
        }
        ArmFault(list_, kind_, request, nth, err);
    }

    std::string option_;
    FaultKind kind_;
    FaultList &list_;
};

} // namespace

FaultList ParseFaults(const FaultOptions &options) {
    FaultList list = {};
    FaultReader("--fail", FaultKind::FailRequest, list).ReadCounted(options.fail);
    FaultReader("--fail-after", FaultKind::LoseAnswer, list).ReadCounted(options.failAfter);
    FaultReader("--fail-open", FaultKind::FailOpen, list).ReadCounted(options.failOpen);
    FaultReader("--fail-request", FaultKind::FailRequest, list).ReadNamed(options.failRequest);
    return list;
}

} // namespace orxemu::tool
