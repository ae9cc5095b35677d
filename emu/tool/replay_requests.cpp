#include "emu/tool/replay_requests.h"

#include "emu/tool/terminal.h"
#include "qirapi/driver/driver_records.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace orxemu::tool {

namespace {

using journal::Bytes;
using journal::IndexKind;
using journal::kHostOrder;

constexpr unsigned kWord = 4;

std::uint32_t WordAt(journal::ByteView bytes, std::size_t offset) {
    return journal::Load(bytes, offset, kWord, kHostOrder);
}

void PutWord(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t value) {
    journal::Store(bytes, offset, kWord, kHostOrder, value);
}

} // namespace

ReplayEnd Replay::Run() {
    std::size_t n = 0;
    bool goOn = true;
    for (const journal::LogEntry &entry : log_.entries) {
        ++n;
        if (entry.isOpen) {
            continue;
        }
        if (goOn) {
            goOn = One(entry, n);
        } else {
            ++counts_.notSent;
        }
    }
    if (goOn) {
        return ReplayEnd::Done;
    }
    return trouble_ ? ReplayEnd::Trouble : ReplayEnd::Stopped;
}

// Returns whether the replay goes on, as do the functions that end the work on a request.
bool Replay::One(const journal::LogEntry &entry, std::size_t n) {
    const journal::RequestInfo *info = qir::FindRequest(entry.request);
    if (info == nullptr) {
        Tell(entry, "request " + std::to_string(n) + " skipped: its number " + std::to_string(entry.request) +
                        " is unknown");
        ++counts_.skipped;
        return true;
    }
    if (!journal::WasTaken(entry) && !rules_.withRefused) {
        ++counts_.skipped;
        ++counts_.skippedRefused;
        return true;
    }
    Request request{entry, *info, n, entry.in, entry.fcb};
    if (!entry.recordRead) {
        return Skip(request, "its record could not be read when it was recorded");
    }
    if (info->copiesFcb && entry.fcb.empty()) {
        return Skip(request, "its FCB was not read when it was recorded");
    }
    if (log_.order != kHostOrder) {
        journal::ConvertRecord(*info, request.record, log_.order);
        if (info->copiesFcb) {
            journal::ConvertFcb(request.fcb, log_.order);
        }
    }
    const Obstacle obstacle = TranslateIndexes(request);
    switch (obstacle.found) {
    case IndexMap::Found::Missing:
        return Skip(request, obstacle.what);
    case IndexMap::Found::Clash:
        return Refuse(request, "not sent: " + obstacle.what);
    case IndexMap::Found::Yes:
        break;
    }
    TranslateNotes(request);
    return SendTranslated(request);
}

bool Replay::SendTranslated(Request &request) {
    std::optional<LowFcb> newPlace;
    if (request.info.copiesFcb) {
        try {
            PlaceFcb(request, newPlace).Write(request.fcb);
        } catch (const std::bad_alloc &) {
            return Fail(request, "no memory is left below 4 GiB for its FCB");
        }
    }
    Bytes answered = request.record;
    const Answer answer = target_.Send(request.info.number, answered);
    KeepTheAnswer(request, answered, answer);
    WriteLine(request, answered, answer);
    if (!answer.opened) {
        return Fail(request, target_.Name() + " cannot be opened: " + journal::ErrnoName(answer.err));
    }
    if (answer.err != 0) {
        return Refuse(request, "refused: " + journal::ErrnoName(answer.err));
    }
    NoteAccepted(request, answered, std::move(newPlace));
    ++counts_.accepted;
    return true;
}

// A device that writes elsewhere in the record is reported, and only its answer is kept: a log with the rest
// could not be read.
void Replay::KeepTheAnswer(const Request &request, Bytes &answered, const Answer &answer) const {
    const bool accepted = answer.opened && answer.err == 0;
    const auto [offset, size] = accepted ? request.info.answer : qir::kNoAnswer;
    Bytes kept = request.record;
    std::copy_n(answered.begin() + static_cast<std::ptrdiff_t>(offset), size,
                kept.begin() + static_cast<std::ptrdiff_t>(offset));
    if (kept != answered) {
        Tell(request.entry, std::string(request.info.name) + " (request " + std::to_string(request.n) +
                                "): " + target_.Name() + " changed bytes that are no answer");
        answered = std::move(kept);
    }
}

bool Replay::Refuse(const Request &request, const std::string &what) {
    NoteNotAccepted(request);
    if (!journal::WasTaken(request.entry)) {
        ++counts_.refusedAsRecorded;
        return true;
    }
    ++counts_.refused;
    Tell(request.entry,
         std::string(request.info.name) + " (request " + std::to_string(request.n) + ") " + what);
    return rules_.keepGoing;
}

bool Replay::Skip(const Request &request, const std::string &why) {
    NoteNotAccepted(request);
    ++counts_.skipped;
    Tell(request.entry,
         std::string(request.info.name) + " (request " + std::to_string(request.n) + ") skipped: " + why);
    return true;
}

bool Replay::Fail(const Request &request, const std::string &what) {
    trouble_ = true;
    ++counts_.notSent;
    Tell(request.entry,
         std::string(request.info.name) + " (request " + std::to_string(request.n) + ") not sent: " + what);
    return false;
}

void Replay::Tell(const journal::LogEntry &entry, const std::string &text) const {
    Complain(journal::Problem{fileName_, entry.line, text}.Text());
}

Replay::Obstacle Replay::TranslateIndexes(Request &request) {
    Obstacle obstacle;
    if (request.info.index != IndexKind::None && !request.info.assigns()) {
        TranslateIndex(request, qir::kIndexOffset, request.info.index, obstacle);
    }
    // No request activates an EP table, so that epTblIdx has nothing to be replaced by.
    constexpr std::size_t kPacWord = offsetof(qir::FlowRecord, pacTblIdx);
    if (request.info.copiesFcb &&
        WordAt(request.record, kPacWord) != static_cast<std::uint32_t>(qir::kNoTable)) {
        TranslateIndex(request, kPacWord, IndexKind::PacTable, obstacle);
    }
    return obstacle;
}

void Replay::TranslateIndex(Request &request, std::size_t offset, IndexKind kind, Obstacle &obstacle) {
    const std::uint32_t recorded = WordAt(request.record, offset);
    const auto [found, number] = indexes_.Of(kind).Find(recorded);
    if (found == IndexMap::Found::Yes) {
        PutWord(request.record, offset, number);
        return;
    }
    const std::string object =
        std::string(journal::IsTable(kind) ? TableRow(journal::kTableKinds, kind).name : "flow") + " ";
    obstacle.found = found;
    obstacle.what = found == IndexMap::Found::Missing
                        ? object + std::to_string(recorded) + " of the log was not activated"
                        : object + std::to_string(number) + " is now another one of this log";
}

// The library's own note of the index, which the driver keeps with the rest. It stays as it is when it names
// no active object, which is usual.
// cppcheck-suppress constParameter ; its bytes are written to, through the span
void Replay::TranslateNotes(Request &request) {
    std::span<std::uint8_t> bytes = request.fcb;
    std::size_t offset = offsetof(qir::Fcb, hwFlowIdx);
    if (journal::IsTable(request.info.index)) {
        // All kinds of table have it in the same place.
        bytes = request.record;
        offset = offsetof(qir::AsTblRecord, tbl) + offsetof(qir::AsTblInfo, hwTblIdx);
    } else if (!request.info.copiesFcb) {
        return;
    }
    const auto number = indexes_.Of(request.info.index).Active(WordAt(bytes, offset));
    if (number.has_value()) {
        PutWord(bytes, offset, *number);
    }
}

// The FCB of an active flow stays where it is. A flow that is being activated, or that the hardware held
// before the replay, gets a new place.
LowFcb &Replay::PlaceFcb(Request &request, std::optional<LowFcb> &newPlace) {
    const auto known =
        request.info.assigns() ? fcbs_.end() : fcbs_.find(WordAt(request.record, qir::kIndexOffset));
    LowFcb &place = known != fcbs_.end() ? known->second : newPlace.emplace();
    PutWord(request.record, offsetof(qir::FlowRecord, fcbAddr), place.Address());
    return place;
}

void Replay::NoteAccepted(const Request &request, const Bytes &answered, std::optional<LowFcb> newPlace) {
    const journal::LogEntry &entry = request.entry;
    IndexMap &indexes = indexes_.Of(request.info.index);
    const bool isFlow = request.info.copiesFcb;
    if (request.info.assigns()) {
        std::optional<std::uint32_t> recorded;
        if (journal::WasTaken(entry)) {
            recorded = journal::Load(entry.out, qir::kIndexOffset, kWord, log_.order);
        }
        const std::uint32_t number = WordAt(answered, qir::kIndexOffset);
        indexes.Assign(recorded, number);
        if (isFlow) {
            fcbs_.insert_or_assign(number, std::move(*newPlace));
        }
    } else if (request.info.releases()) {
        indexes.Release(journal::Load(entry.in, qir::kIndexOffset, kWord, log_.order));
        if (isFlow) {
            fcbs_.erase(WordAt(request.record, qir::kIndexOffset));
        }
    }
}

// An activation that was not accepted has no index now: requests that name the recorded one cannot be sent.
void Replay::NoteNotAccepted(const Request &request) {
    if (request.info.assigns() && journal::WasTaken(request.entry) && request.entry.recordRead) {
        indexes_.Of(request.info.index)
            .Miss(journal::Load(request.entry.out, qir::kIndexOffset, kWord, log_.order));
    }
}

void Replay::WriteLine(const Request &request, const Bytes &answered, const Answer &answer) {
    journal::LogEntry line;
    line.isOpen = !answer.opened;
    line.err = answer.err;
    if (answer.opened) {
        line.request = request.info.number;
        line.recordRead = true;
        line.in = request.record;
        line.out = answered;
        line.fcb = request.fcb;
        ++writtenEnd_.requests;
    } else {
        ++writtenEnd_.failedOpens;
    }
    if (writer_.IsOpen()) {
        writer_.Write(line);
    }
}

} // namespace orxemu::tool
