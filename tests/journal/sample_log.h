// A log with a line of every sort.
#ifndef TESTS_JOURNAL_SAMPLE_LOG_H
#define TESTS_JOURNAL_SAMPLE_LOG_H

#include "emu/journal/log_file.h"
#include "tests/journal/fcb_image.h"
#include "tests/journal/sealed_line.h"

#include <cerrno>

namespace journal_test {

using orxemu::journal::FaultMark;
using orxemu::journal::Log;
using orxemu::journal::LogEnd;
using orxemu::journal::LogEntry;

inline LogEntry Sent(int request, const Image &record) {
    LogEntry entry;
    entry.request = request;
    entry.recordRead = true;
    entry.in = entry.out = record.bytes();
    return entry;
}

inline Bytes SampleFcb(ByteOrder order) {
    FcbImage fcb(order);
    fcb.AddHeader(kEthFilter);
    fcb.AddHeader(kVlan0Filter);
    fcb.AddHeader(kVlan0Action);
    fcb.AddReq({&kVlan0Filter, 5, 0, Value::U16, 200, 0, nullptr});
    fcb.AddReq({&kVlan0Action, 5, 0, Value::U16, 1200, 0, nullptr});
    return fcb.bytes();
}

inline Image FlowRecord(ByteOrder order, std::uint32_t flowIdx) {
    return Image(20, order)
        .Put32(0, flowIdx)
        .Put32(4, 1884)
        .Put32(8, 0x8049000)
        .Put32(12, 3)
        .Put32(16, 0xFFFFFFFF);
}

inline std::vector<LogEntry> SampleEntries(ByteOrder order) {
    std::vector<LogEntry> entries;
    // 1: accepted, no answer.
    entries.push_back(Sent(17, Image(8, order).Put32(0, 1).Put32(4, 2)));
    // 2: accepted, an index assigned.
    entries.push_back(Sent(23, Image(92, order).Put32(0, 0xA5A5A5A5).Put32(24, 2)));
    entries.back().out = Image(92, order).Put32(0, 4).Put32(24, 2).bytes();
    // 3: a flow.
    entries.push_back(Sent(29, FlowRecord(order, 0xA5A5A5A5)));
    entries.back().out = FlowRecord(order, 300).bytes();
    entries.back().fcb = SampleFcb(order);
    // 4: refused.
    entries.push_back(Sent(19, Image(32, order).Put32(0, 2).Put32(12, 77)));
    entries.back().err = EINVAL;
    // 5: an opening that failed.
    entries.emplace_back();
    entries.back().isOpen = true;
    entries.back().err = ENOENT;
    // 6: a fault, nothing done.
    entries.push_back(Sent(39, Image(4, order).Put32(0, 1)));
    entries.back().err = EIO;
    entries.back().fault = FaultMark::Fail;
    // 7: a fault, the answer lost.
    entries.push_back(Sent(21, Image(472, order).Put32(0, 0xA5A5A5A5)));
    entries.back().out = Image(472, order).Put32(0, 0).bytes();
    entries.back().err = EIO;
    entries.back().fault = FaultMark::AnswerLost;
    // 8: hit counters.
    entries.push_back(Sent(38, Image(40, order).Put32(0, 300).Fill(4, 36, 0)));
    entries.back().out = Image(40, order).Put32(0, 300).Fill(4, 36, 0).Put32(4, 1).Put32(36, 1000000).bytes();
    // 9: a record that could not be read.
    entries.emplace_back();
    entries.back().request = 28;
    entries.back().err = EFAULT;
    // 10: an FCB that could not be read.
    entries.push_back(Sent(30, FlowRecord(order, 300)));
    entries.back().err = EFAULT;
    // 11: a request that nobody knows.
    entries.emplace_back();
    entries.back().request = 99;
    entries.back().err = ENOTTY;
    // 12: an errno without a name, an opening that a fault let fail.
    entries.emplace_back();
    entries.back().isOpen = true;
    entries.back().err = 4000;
    entries.back().fault = FaultMark::Fail;
    return entries;
}

inline LogEnd SampleEnd() {
    return {.requests = 10, .failedOpens = 2, .openDescriptors = 1};
}

// The lines of the log, each with its end: the head, entries 1 to 12, the end.
inline std::vector<std::string> SampleLines(ByteOrder order) {
    std::vector<std::string> lines{orxemu::journal::LogHeadLine(order)};
    for (const LogEntry &entry : SampleEntries(order)) {
        lines.push_back(LogEntryLine(entry, lines.size(), order));
    }
    lines.push_back(LogEndLine(SampleEnd()));
    return lines;
}

inline std::string Joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) {
        text += line;
    }
    return text;
}

} // namespace journal_test

#endif
