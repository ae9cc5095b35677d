// Any bytes as a log or a state, as they are and with every line signed, as records and as an FCB. Nothing
// may crash, what is read has to be the same when it is written and read again, and a conversion there and
// back changes nothing.
#include "emu/journal/checksum.h"
#include "emu/journal/rule_text.h"
#include "emu/journal/state_file.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

using namespace orxemu::journal;

constexpr std::size_t kFcbBytes = ORXEMU_FCB_BYTES;
constexpr std::size_t kFcbSizeWord = 4; // in a flow's record

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

ByteOrder Other(ByteOrder order) {
    return order == ByteOrder::Big ? ByteOrder::Little : ByteOrder::Big;
}

std::string TextOf(const Log &log) {
    std::string text = LogHeadLine(log.order);
    for (std::size_t i = 0; i < log.entries.size(); ++i) {
        text += LogEntryLine(log.entries[i], i + 1, log.order);
    }
    return text + LogEndLine(log.end);
}

void ReadAsText(std::string_view text) {
    Problem problem;
    FileKind kind{};
    KindOf(text, "f", kind, problem);
    Log log;
    if (ReadLog(text, "f", log, problem)) {
        Log again;
        Require(ReadLog(TextOf(log), "f", again, problem));
        Require(TextOf(again) == TextOf(log));
    } else {
        Require(problem.line != 0 && !problem.what.empty());
    }
    const auto state = std::make_unique<OrxEmuState>();
    ByteOrder order{};
    if (ReadState(text, "f", *state, order, problem)) {
        const auto again = std::make_unique<OrxEmuState>();
        Require(ReadState(StateText(*state), "f", *again, order, problem));
        Require(StateText(*again) == StateText(*state));
    } else {
        Require(problem.line != 0 && !problem.what.empty());
    }
}

// The text with a right checksum in each line that ends as an object does: nobody guesses one.
std::string Signed(std::string_view text) {
    constexpr std::string_view kChecksum = ",\"crc\":\"";
    std::string all;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.ends_with('}')) {
            const std::size_t sum = line.rfind(kChecksum);
            line = line.substr(0, sum != std::string_view::npos ? sum : line.size() - 1);
            all.append(line).append(kChecksum).append(ChecksumOf(line)).append("\"}");
        } else {
            all.append(line);
        }
        all.append(end == std::string_view::npos ? "" : "\n");
    }
    return all;
}

// `size` bytes of the input, with zeros behind its end.
Bytes Take(ByteView input, std::size_t size) {
    Bytes bytes(size);
    std::ranges::copy(input.first(std::min(input.size(), size)), bytes.begin());
    return bytes;
}

void ReadAsEntry(ByteView input, ByteOrder order) {
    const std::span<const RequestInfo> all = qir::kRequestTable;
    const RequestInfo &info = all[input.empty() ? 0 : input[0] % all.size()];
    LogEntry entry;
    entry.request = info.number;
    entry.recordRead = true;
    entry.in = Take(input, info.recordSize);
    if (info.copiesFcb) {
        Store(entry.in, kFcbSizeWord, 4, order, kFcbBytes);
        entry.fcb = Take(input, kFcbBytes);
    }
    entry.out = entry.in;
    LogEnd end;
    end.requests = 1;
    Log log;
    Problem problem;
    Require(ReadLog(LogHeadLine(order) + LogEntryLine(entry, 1, order) + LogEndLine(end), "f", log, problem));
    Require(log.entries[0].in == entry.in && log.entries[0].fcb == entry.fcb);

    Bytes record = entry.in;
    ConvertRecord(info, record, order);
    Require(DecodeRecord(info, record, Other(order)) == DecodeRecord(info, entry.in, order));
    ConvertRecord(info, record, Other(order));
    Require(record == entry.in);
    const Json fcb = info.copiesFcb ? DecodeFcb(entry.fcb, order) : Json(nullptr);
    Require(!RequestText(info, DecodeRecord(info, entry.in, order), fcb).empty());
}

void ReadAsFcb(ByteView input, ByteOrder order) {
    const Bytes original = Take(input, kFcbBytes);
    Bytes fcb = original;
    const Json decoded = DecodeFcb(fcb, order);
    ConvertFcb(fcb, order);
    Require(DecodeFcb(fcb, Other(order)) == decoded);
    ConvertFcb(fcb, Other(order));
    Require(fcb == original);
    Require(!RuleText(decoded).empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const ByteView input(data, size);
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    ReadAsText(text);
    ReadAsText(Signed(text));
    for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
        ReadAsEntry(input, order);
        ReadAsFcb(input, order);
    }
    return 0;
}
