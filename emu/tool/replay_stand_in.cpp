#include "emu/device_node.h"
#include "emu/orxemu.h"
#include "emu/tool/replay_target.h"

#include <cerrno>

namespace orxemu::tool {

// The requests go to the device itself: nothing stands in front of open and ioctl in this program.
Answer StandInTarget::Send(int request, std::span<std::uint8_t> record) {
    orxemu_clearLog(); // nobody reads it, and it has an end
    const int result = IoctlDevice(request, record.data());
    return {true, result == 0 ? 0 : errno};
}

} // namespace orxemu::tool
