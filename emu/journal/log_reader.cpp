// A line is read in two steps: first what counts (request number, raw bytes, answer), then everything else is
// written anew from that and has to be what the line says. So every member is checked, and none is trusted.
#include "emu/journal/json_lines.h"
#include "emu/journal/log_lines.h"
#include "qirapi/private/fcb_records.h"

#include <algorithm>
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
        entry.err = ErrnoOf(TextMember(answer, "errno"));
        if (entry.err == 0) {
            throw Error{"answer.errno is " + answer["errno"].dump(-1, ' ', true) +
                        ", not a name or a number above 0"};
        }
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
    }
    if (info.copiesFcb && line.contains("fcbRaw")) {
        entry.fcb = HexMember(line, "fcbRaw", sizeof(qir::Fcb));
    }
    if (entry.err == 0 && !entry.recordRead) {
        throw Error{"raw is missing in a request that was accepted"};
    }
    if (entry.err == 0 && info.copiesFcb && entry.fcb.empty()) {
        throw Error{"fcbRaw is missing in a request that was accepted"};
    }
}

// The line as it has to be. An errno counts by its name: its number is another one on another machine.
Json Expected(const Json &line, const LogEntry &entry, std::size_t n, ByteOrder order) {
    Json expected = LogEntryJson(entry, n, order);
    if (entry.err != 0) {
        expected["answer"]["errno"] = line["answer"]["errno"];
    }
    return expected;
}

LogEntry ReadEntry(const Json &line, std::size_t n, ByteOrder order) {
    MustBe(Member(line, "n"), n, "it has to be", "n");
    LogEntry entry;
    entry.isOpen = line.contains("open");
    ReadAnswer(line, entry);
    if (entry.isOpen) {
        if (entry.err == 0) {
            throw Error{"answer.errno is missing in an opening that failed"};
        }
    } else {
        entry.request = static_cast<int>(NumberMember(line, "request", INT_MIN, INT_MAX));
        if (const RequestInfo *const info = FindRequestInfo(entry.request); info != nullptr) {
            MustBe(Member(line, "name"), info->name, "the number says", "name");
            ReadRecord(line, *info, entry);
        }
    }
    MustBe(line, Expected(line, entry, n, order), entry.isOpen ? "it has to be" : "the raw bytes say");
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
    }
    MustBe(line, LogEndJson(end), "the log has");
    log.end = end;
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
            log.complete = true;
            continue;
        }
        LogEntry entry = ReadEntry(line, log.entries.size() + 1, log.order);
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
