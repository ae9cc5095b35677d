// Indexes that the driver assigned when a log was recorded, and those that it assigns now.
#ifndef EMU_TOOL_REPLAY_INDEXES_H
#define EMU_TOOL_REPLAY_INDEXES_H

#include "emu/journal/records.h"

#include <map>
#include <optional>

namespace orxemu::tool {

// Indexes of one kind. Recorded numbers are those of the log, numbers are those of the device.
class IndexMap {
  public:
    enum class Found {
        Yes,
        Missing, // the request that should have brought it was not accepted, or not sent
        Clash,   // the number that would be sent belongs to another object of this replay
    };
    struct Lookup {
        Found found = Found::Yes;
        std::uint32_t number = 0;
    };

    // What a request has to carry for a recorded index. An index that the log never saw assigned names
    // something that the hardware held before, and keeps its number.
    Lookup Find(std::uint32_t recorded) const;
    // The number of a recorded index whose object is active; nothing for any other.
    std::optional<std::uint32_t> Active(std::uint32_t recorded) const;

    // The driver assigned `number`. When the request was refused in the recording, there is no recorded index.
    void Assign(std::optional<std::uint32_t> recorded, std::uint32_t number);
    // The recorded index has no object in this replay.
    void Miss(std::uint32_t recorded);
    // The object of a recorded index is gone. Its number is remembered, so that no request for the released
    // object reaches another object that got the number since.
    void Release(std::uint32_t recorded);

  private:
    enum class Life { Active, Released, Missing };
    struct Object {
        Life life;
        std::uint32_t number;
    };
    std::map<std::uint32_t, Object> objects_; // by recorded index
    // Numbers of active objects of this replay, with the recorded index that came with each.
    std::map<std::uint32_t, std::optional<std::uint32_t>> inUse_;
};

// The indexes of all kinds.
class Indexes {
  public:
    IndexMap &Of(journal::IndexKind kind) { return maps_[kind]; }

  private:
    std::map<journal::IndexKind, IndexMap> maps_;
};

} // namespace orxemu::tool

#endif
