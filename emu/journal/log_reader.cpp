// The reader takes each line in three steps. It reads what counts: request number, raw bytes, answer. From
// that it writes the whole line anew and compares it with what stands there. Last it checks the checksum. So
// no member is trusted, and the message names the one that is wrong, which a checksum could not do.
#include "emu/journal/json_lines.h"
#include "emu/journal/log_lines.h"
#include "qirapi/driver/driver_records.h"

#include <algorithm>
#include <cctype>
#include <climits>

namespace orxemu::journal {

namespace {

FaultMark FaultOf(const std::string &text) {
    if (text == kFaultFail) {
        return FaultMark::Fail;
    }
    if (text == kFaultAnswerLost) {
        return FaultMark::AnswerLost;
    }
    throw Error{"answer.fault is \"" + text + "\", neither fail nor answer-lost"};
}

void ReadAnswer(const Json &line, LogEntry &entry) {
    const Json &answer = Member(line, "answer");
    if (!answer.is_object()) {
        throw Error{"answer is no object"};
    }
    if (answer.contains("errno")) {
        const std::string text = TextMember(answer, "errno");
        entry.err = ErrnoOf(text);
        if (entry.err == 0) {
            throw Error{"answer.errno is " + answer["errno"].dump(-1, ' ', true) +
                        ", not a name or a number above 0"};
        }
        entry.errIsUnnamed = std::isdigit(static_cast<unsigned char>(text.front())) != 0;
    }
    if (answer.contains("fault")) {
        entry.fault = FaultOf(TextMember(answer, "fault"));
    }
}

void ReadRecord(const Json &line, const RequestInfo &info, LogEntry &entry) {
    entry.recordRead = line.contains("raw");
    if (entry.recordRead) {
        entry.in = HexMember(line, "raw", info.recordSize);
        entry.out = line.contains("rawOut") ? HexMember(line, "rawOut", info.recordSize) : entry.in;
    } else if (WasTaken(entry)) {
        throw Error{"raw is missing in a request that the hardware took"};
    }
    if (info.copiesFcb && line.contains("fcbRaw")) {
        entry.fcb = HexMember(line, "fcbRaw", sizeof(qir::Fcb));
    } else if (info.copiesFcb && WasTaken(entry)) {
        throw Error{"fcbRaw is missing in a request that the hardware took"};
    }
}

// The driver copies an FCB when the record says where it lies and that it has the size of one.
void FcbMustBeCopied(const LogEntry &entry, ByteOrder order) {
    if (entry.fcb.empty()) {
        return;
    }
    if (!entry.recordRead) {
        throw Error{"fcbRaw is there without raw"};
    }
    const std::uint32_t size =
        Load(entry.in, offsetof(qir::FlowRecord, fcbSize), sizeof(qir::FlowRecord::fcbSize), order);
    if (size != sizeof(qir::Fcb)) {
        throw Error{"fields.fcbSize is " + std::to_string(size) + ", the driver copies an FCB of " +
                    std::to_string(sizeof(qir::Fcb)) + " bytes"};
    }
}

// Where the record came back changed, the driver must have written.
void OutMustBeAnswered(const RequestInfo &info, const LogEntry &entry) {
    if (entry.in == entry.out) {
        return;
    }
    if (!WasTaken(entry)) {
        throw Error{"rawOut is there in a request that the hardware did not take"};
    }
    const auto [offset, size] = info.answer;
    for (std::size_t i = 0; i < entry.in.size(); ++i) {
        if ((i < offset || i >= offset + size) && entry.in[i] != entry.out[i]) {
            throw Error{"rawOut differs from raw at byte " + std::to_string(i) +
                        ", which the driver does not write"};
        }
    }
}

// An answer is lost only when the hardware has taken the request.
void AnswerMustNotBeLost(const LogEntry &entry, const char *where) {
    if (entry.fault == FaultMark::AnswerLost) {
        throw Error{"answer.fault is \"" + std::string(kFaultAnswerLost) + "\" in " + where};
    }
}

// The line as it has to be. The errno is taken as it stands: the name may be one of another machine.
Json Expected(const Json &line, const LogEntry &entry, std::size_t n, ByteOrder order) {
    Json expected = LogEntryJson(entry, n, order);
    if (entry.err != 0) {
        expected["answer"]["errno"] = line["answer"]["errno"];
    }
    return expected;
}

// Returns nothing for an unknown number.
const RequestInfo *ReadRequest(const Json &line, LogEntry &entry) {
    entry.request = static_cast<int>(NumberMember(line, "request", INT_MIN, INT_MAX));
    const RequestInfo *const info = qir::FindRequest(entry.request);
    if (info == nullptr) {
        AnswerMustNotBeLost(entry, "a request of an unknown number");
        return nullptr;
    }
    MustBe(Member(line, "name"), info->name, "the number says", "name");
    ReadRecord(line, *info, entry);
    return info;
}

LogEntry ReadEntry(const Json &line, std::size_t n, ByteOrder order) {
    MustBe(Member(line, "n"), n, "it has to be", "n");
    LogEntry entry;
    entry.isOpen = line.contains("open");
    ReadAnswer(line, entry);
    const RequestInfo *info = nullptr;
    if (!entry.isOpen) {
        info = ReadRequest(line, entry);
    } else if (entry.err == 0) {
        throw Error{"answer.errno is missing in an opening that failed"};
    } else {
        AnswerMustNotBeLost(entry, "an opening that failed");
    }
    MustBe(line, Expected(line, entry, n, order), entry.isOpen ? "it has to be" : "the raw bytes say");
    if (info != nullptr) {
        FcbMustBeCopied(entry, order);
        OutMustBeAnswered(*info, entry);
    }
    return entry;
}

void ReadEnd(const Json &line, Log &log) {
    const Json &counts = Member(line, "end");
    LogEnd end;
    for (const LogEntry &entry : log.entries) {
        ++(entry.isOpen ? end.failedOpens : end.requests);
    }
    if (counts.is_object()) {
        end.openDescriptors = static_cast<int>(NumberMember(counts, "openDescriptors", 0, INT_MAX));
        if (counts.contains("lost")) {
            end.lost = static_cast<std::uint32_t>(NumberMember(counts, "lost", 1, UINT32_MAX));
        }
    }
    MustBe(line, LogEndJson(end), "the log has");
    log.end = end;
    if (end.lost != 0) {
        throw Error{"requests that are missing in this log: " + std::to_string(end.lost)};
    }
}

void ReadLines(JsonLines &lines, Log &log) {
    log.order = ReadHead(lines, kLogFormat);
    Json line;
    while (lines.Next(line)) {
        if (log.complete) {
            throw Error{"the log has ended before this line"};
        }
        if (line.contains("end")) {
            ReadEnd(line, log);
            lines.MustBeIntact();
            log.complete = true;
            continue;
        }
        LogEntry entry = ReadEntry(line, log.entries.size() + 1, log.order);
        lines.MustBeIntact();
        entry.line = lines.line();
        log.entries.push_back(std::move(entry));
    }
    if (!log.complete) {
        throw Error{"the last line of the log is missing behind this one"};
    }
}

} // namespace

bool ReadLog(std::string_view text, const std::string &fileName, Log &log, Problem &problem) {
    log = Log{};
    JsonLines lines(text);
    try {
        ReadLines(lines, log);
        return true;
    } catch (const Error &error) {
        problem = {fileName, std::max<std::size_t>(lines.line(), 1), error.what};
        return false;
    }
}

bool KindOf(std::string_view text, const std::string &fileName, FileKind &kind, Problem &problem) {
    JsonLines lines(text);
    try {
        Json head;
        if (!lines.Next(head)) {
            throw Error{"the file is empty"};
        }
        const std::string format = TextMember(head, "format");
        if (format != kLogFormat && format != kStateFormat) {
            throw Error{"the file is neither a log nor a state of orxemu"};
        }
        kind = format == kLogFormat ? FileKind::Log : FileKind::State;
        return true;
    } catch (const Error &error) {
        problem = {fileName, 1, error.what};
        return false;
    }
}

} // namespace orxemu::journal
