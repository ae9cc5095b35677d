#include "emu/journal/log_lines.h"

#include "emu/journal/json_lines.h"
#include "qirapi/driver/driver_records.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace orxemu::journal {

namespace {

// Above all errno values of any kernel.
constexpr int kMaxNamedErrno = 4095;

// Names that the C library does not tell. Which of them are other names of a value, and which are values of
// their own, differs between machines.
struct ErrnoRow {
    std::string_view name;
    int err;
};
constexpr ErrnoRow kOtherErrnos[] = {
    {"EDEADLOCK", EDEADLOCK}, {"ENOTSUP", ENOTSUP}, {"EWOULDBLOCK", EWOULDBLOCK},
#ifdef EINIT
    {"EINIT", EINIT},
#else
    {"EINIT", EIO},
#endif
#ifdef EREMDEV
    {"EREMDEV", EREMDEV},
#else
    {"EREMDEV", EREMOTEIO},
#endif
};

// Empty for a value without a name.
std::string_view KnownName(int err) {
    if (const char *const name = err != 0 ? strerrorname_np(err) : nullptr; name != nullptr) {
        return name;
    }
    const auto *row = std::ranges::find(kOtherErrnos, err, &ErrnoRow::err);
    return row != std::end(kOtherErrnos) ? row->name : std::string_view();
}

Json AnswerJson(const RequestInfo *info, const LogEntry &entry, ByteOrder order) {
    Json answer = Json::object();
    if (entry.err != 0) {
        answer["errno"] = ErrnoName(entry);
        if (entry.fault != FaultMark::None) {
            answer["fault"] = entry.fault == FaultMark::Fail ? kFaultFail : kFaultAnswerLost;
        }
    }
    if (info != nullptr && entry.recordRead && WasTaken(entry)) {
        answer.update(DecodeAnswer(*info, entry.out, order));
    }
    return answer;
}

} // namespace

std::string Problem::Text() const {
    return file + ":" + (line == 0 ? "" : std::to_string(line) + ":") + " " + what;
}

bool WasTaken(const LogEntry &entry) {
    return entry.err == 0 || entry.fault == FaultMark::AnswerLost;
}

std::string ErrnoName(int err) {
    const std::string_view name = KnownName(err);
    return name.empty() ? std::to_string(err) : std::string(name);
}

std::string ErrnoName(const LogEntry &entry) {
    return entry.errIsUnnamed ? std::to_string(entry.err) : ErrnoName(entry.err);
}

int ErrnoOf(std::string_view text) {
    int err = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), err);
    if (failure == std::errc{} && end == text.data() + text.size()) {
        return err > 0 ? err : 0;
    }
    for (err = 1; err <= kMaxNamedErrno; ++err) {
        if (const char *const name = strerrorname_np(err); name != nullptr && text == name) {
            return err;
        }
    }
    const auto *row = std::ranges::find(kOtherErrnos, text, &ErrnoRow::name);
    return row != std::end(kOtherErrnos) ? row->err : 0;
}

Json LogEntryJson(const LogEntry &entry, std::size_t n, ByteOrder order) {
    Json line;
    line["n"] = n;
    if (entry.isOpen) {
        line["open"] = qir::kPktOrxDevice;
        line["answer"] = AnswerJson(nullptr, entry, order);
        return line;
    }
    line["request"] = entry.request;
    const RequestInfo *const info = qir::FindRequest(entry.request);
    if (info != nullptr) {
        line["name"] = info->name;
        if (entry.recordRead) {
            line["fields"] = DecodeRecord(*info, entry.in, order);
            line["raw"] = ToHex(entry.in);
        }
        if (!entry.fcb.empty()) {
            line["fcb"] = DecodeFcb(entry.fcb, order);
            line["fcbRaw"] = ToHex(entry.fcb);
        }
    }
    line["answer"] = AnswerJson(info, entry, order);
    if (info != nullptr && entry.recordRead && entry.out != entry.in) {
        line["rawOut"] = ToHex(entry.out);
    }
    return line;
}

Json LogEndJson(const LogEnd &end) {
    Json counts;
    counts["requests"] = end.requests;
    counts["failedOpens"] = end.failedOpens;
    counts["openDescriptors"] = end.openDescriptors;
    if (end.lost != 0) {
        counts["lost"] = end.lost;
    }
    Json line;
    line["end"] = std::move(counts);
    return line;
}

std::string LogHeadLine(ByteOrder order) {
    return HeadLine(kLogFormat, order);
}

std::string LogEntryLine(const LogEntry &entry, std::size_t n, ByteOrder order) {
    return LineOf(LogEntryJson(entry, n, order));
}

std::string LogEndLine(const LogEnd &end) {
    return LineOf(LogEndJson(end));
}

} // namespace orxemu::journal
