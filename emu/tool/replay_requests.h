// The requests of a log, sent again.
//
// A replay sends the requests that the hardware took when they were recorded. The driver may assign other
// indexes than it did then, so that every index in a request is replaced; each FCB gets a place of its own.
#ifndef EMU_TOOL_REPLAY_REQUESTS_H
#define EMU_TOOL_REPLAY_REQUESTS_H

#include "emu/journal/log_file.h"
#include "emu/tool/replay_indexes.h"
#include "emu/tool/replay_memory.h"
#include "emu/tool/replay_target.h"

namespace orxemu::tool {

struct ReplayRules {
    bool keepGoing = false;   // behind a refusal
    bool withRefused = false; // requests that were refused when they were recorded are sent too
};

struct ReplayCounts {
    std::size_t accepted = 0;
    std::size_t skipped = 0;
    std::size_t skippedRefused = 0; // skipped because they were refused when they were recorded
    std::size_t refused = 0;
    std::size_t refusedAsRecorded = 0;
    std::size_t notSent = 0; // behind the request that the replay stopped at
};

enum class ReplayEnd {
    Done,    // to the last request
    Stopped, // at a refusal
    Trouble  // the device could not be opened, or there was no place for an FCB
};

// Says on standard error what does not go as it was recorded, and writes what it sends to `writer` when that
// is open.
class Replay {
  public:
    Replay(const journal::Log &log, std::string fileName, ReplayTarget &target, journal::LogWriter &writer,
           ReplayRules rules)
        : log_(log), fileName_(std::move(fileName)), target_(target), writer_(writer), rules_(rules) {}

    // To be called once.
    ReplayEnd Run();
    const ReplayCounts &Counts() const { return counts_; }
    // What the last line of the written log has to say.
    const journal::LogEnd &WrittenEnd() const { return writtenEnd_; }

  private:
    // A request of the log, of a known kind, and as it is sent now.
    struct Request {
        const journal::LogEntry &entry;
        const journal::RequestInfo &info;
        std::size_t n; // in the log
        journal::Bytes record, fcb;
    };

    bool One(const journal::LogEntry &entry, std::size_t n);
    bool SendTranslated(Request &request);
    void KeepTheAnswer(const Request &request, journal::Bytes &answered, const Answer &answer) const;
    bool Refuse(const Request &request, const std::string &what);
    bool Skip(const Request &request, const std::string &why);
    bool Fail(const Request &request, const std::string &what);
    void Tell(const journal::LogEntry &entry, const std::string &text) const;

    // Why a recorded index cannot be replaced.
    struct Obstacle {
        IndexMap::Found found = IndexMap::Found::Yes;
        std::string what;
    };
    Obstacle TranslateIndexes(Request &request);
    void TranslateIndex(Request &request, std::size_t offset, journal::IndexKind kind, Obstacle &obstacle);
    void TranslateNotes(Request &request);
    LowFcb &PlaceFcb(Request &request, std::optional<LowFcb> &newPlace);

    void NoteAccepted(const Request &request, const journal::Bytes &answered, std::optional<LowFcb> newPlace);
    void NoteNotAccepted(const Request &request);
    void WriteLine(const Request &request, const journal::Bytes &answered, const Answer &answer);

    const journal::Log &log_;
    std::string fileName_;
    ReplayTarget &target_;
    journal::LogWriter &writer_;
    ReplayRules rules_;
    ReplayCounts counts_;
    journal::LogEnd writtenEnd_;
    bool trouble_ = false;
    Indexes indexes_;
    std::map<std::uint32_t, LowFcb> fcbs_; // of active flows, by their number
};

} // namespace orxemu::tool

#endif
