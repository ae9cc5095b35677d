#include "emu/tool/replay_target.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace orxemu::tool {

Answer DeviceTarget::Send(int request, std::span<std::uint8_t> record) {
    const int fd = open(path_.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return {false, errno};
    }
    const int result = ioctl(fd, static_cast<unsigned long>(request), record.data());
    const int err = result == -1 ? errno : 0;
    close(fd);
    return {true, err};
}

} // namespace orxemu::tool
