#include "bench/device.h"

#include "qirapi/driver/driver_records.h"

#include <cstdarg>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>

// The linker gives the library these for open, ioctl and close, and the originals these other names.
extern "C" {
int __real_open(const char *path, int flags, ...);
int __real_ioctl(int fd, unsigned long request, ...);
int __real_close(int fd);
int __wrap_open(const char *path, int flags, ...);
int __wrap_ioctl(int fd, unsigned long request, ...);
int __wrap_close(int fd);
}

namespace bench {

namespace {

constexpr const char *kNullDevice = "/dev/null";
constexpr int kNoDescriptor = 0; // no system call sees it
constexpr unsigned kHwIdx = 7;

Device device = Device::kInProcess;

// What the driver says to an activation: it took the flow, here is its index.
void Answer(unsigned long request, void *record) {
    if (request == qir::kOrxActivateFlow) {
        static_cast<qir::FlowRecord *>(record)->flowIdx = kHwIdx;
    }
}

} // namespace

void UseDevice(Device newDevice) {
    device = newDevice;
}

void CallNullDevice() {
    qir::FlowRecord record{};
    const int fd = __real_open(kNullDevice, O_RDWR);
    if (fd < 0) {
        std::abort();
    }
    __real_ioctl(fd, static_cast<unsigned long>(qir::kOrxActivateFlow), &record);
    __real_close(fd);
}

} // namespace bench

extern "C" {

// The library opens nothing but the node.
int __wrap_open(const char *, int flags, ...) {
    return bench::device == bench::Device::kInProcess ? bench::kNoDescriptor
                                                      : __real_open(bench::kNullDevice, flags);
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
    std::va_list args;
    va_start(args, request);
    void *const record = va_arg(args, void *);
    va_end(args);
    if (bench::device == bench::Device::kNull) {
        __real_ioctl(fd, request, record);
    }
    bench::Answer(request, record);
    return 0;
}

int __wrap_close(int fd) {
    return bench::device == bench::Device::kInProcess ? 0 : __real_close(fd);
}

} // extern "C"
