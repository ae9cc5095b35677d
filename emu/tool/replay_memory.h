// Memory for FCBs at addresses that a record's 32-bit word can carry.
#ifndef EMU_TOOL_REPLAY_MEMORY_H
#define EMU_TOOL_REPLAY_MEMORY_H

#include "emu/journal/words.h"

namespace orxemu::tool {

// An FCB in pages of its own, which stay where they are until it is destroyed: a driver may keep the address
// of an active flow's FCB.
class LowFcb {
  public:
    // Throws std::bad_alloc when there is no room below 4 GiB.
    LowFcb();
    LowFcb(LowFcb &&other) noexcept;
    LowFcb &operator=(LowFcb &&other) noexcept;
    ~LowFcb();

    std::uint32_t Address() const {
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(place_));
    }
    // Exactly the bytes of an FCB.
    void Write(journal::ByteView fcb);

  private:
    void *place_;
};

} // namespace orxemu::tool

#endif
