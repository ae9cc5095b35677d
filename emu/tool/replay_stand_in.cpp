#include "emu/tool/replay_target.h"

#include <cstdint>
#include <cstring>

namespace orxemu::tool {

// The FCB of a flow lies where the record says.
Answer StandInTarget::Send(int number, std::span<std::uint8_t> record) {
    const qir::RequestInfo *info = qir::FindRequest(number);
    const std::uint32_t fcb = info != nullptr ? FcbAddressIn(*info, record.data()) : 0;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the wire carries the address as a word
    const auto *fcbBytes = reinterpret_cast<const std::uint8_t *>(std::uintptr_t{fcb});
    const orxemu::Answer answer = device_.Serve({number, record.data(), fcbBytes, true});
    std::memcpy(record.data() + answer.offset, answer.bytes, answer.size);
    return {true, answer.err};
}

} // namespace orxemu::tool
