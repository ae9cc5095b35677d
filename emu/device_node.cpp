#include "emu/device_node.h"

#include "emu/caller_memory.h"
#include "emu/device.h"
#include "emu/faults.h"
#include "emu/next.h"
#include "emu/orxemu.h"
#include "emu/request_log.h"
#include "qirapi/driver/driver_records.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace orxemu {

namespace {

// A descriptor of the device is a real one, of a device that is always there, so that its number is taken.
constexpr const char *kPlaceholderPath = "/dev/null";

// Open descriptors in the order of opening.
constinit int descriptors[ORXEMU_MAX_DESCRIPTORS] = {};
constinit int numDescriptors = 0;
constinit bool missing = false;
constinit size_t numOpens = 0;

int FindDescriptor(int fd) {
    for (int i = 0; i < numDescriptors; ++i) {
        if (descriptors[i] == fd) {
            return i;
        }
    }
    return -1;
}

// Errno of the answer.
int Serve(OrxEmuRequest &entry, const Fault &fault, void *record) {
    const RequestKind *kind = FindRequest(entry.request);
    int copyErr = 0;
    if (kind != nullptr) {
        entry.recordSize = kind->recordSize;
        copyErr = CopyFromCaller(entry.in, record, entry.recordSize);
        std::memcpy(entry.out, entry.in, sizeof entry.out);
    }
    if (fault.kind == FaultKind::FailRequest) {
        return fault.err;
    }
    int err = ENOTTY;
    if (kind != nullptr) {
        Exchange exchange(entry, record);
        err = copyErr != 0 ? copyErr : kind->handle(exchange);
    }
    return fault.kind == FaultKind::LoseAnswer ? fault.err : err;
}

} // namespace

bool IsDevicePath(const char *path) {
    return path != nullptr && std::strcmp(path, qir::kPktOrxDevice) == 0;
}

bool IsDeviceDescriptor(int fd) {
    return FindDescriptor(fd) >= 0;
}

int OpenDevice(int flags) {
    int err = TakeOpenFault();
    if (err == 0 && missing) {
        err = ENOENT;
    }
    if (err == 0 && numDescriptors == ORXEMU_MAX_DESCRIPTORS) {
        err = EMFILE;
    }
    if (err != 0) {
        errno = err;
        return -1;
    }
    const int fd = NextOpen(kPlaceholderPath, O_RDWR | (flags & O_CLOEXEC), 0);
    if (fd >= 0) {
        // The number may still be known when its descriptor was closed behind the hooks.
        ForgetDescriptor(fd);
        descriptors[numDescriptors++] = fd;
        ++numOpens;
    }
    return fd;
}

int IoctlDevice(int request, void *record) {
    const int savedErrno = errno;
    OrxEmuRequest &entry = NewLogEntry();
    entry.request = request;
    entry.err = Serve(entry, TakeRequestFault(request), record);
    const bool failed = entry.err != 0;
    errno = failed ? entry.err : savedErrno;
    return failed ? -1 : 0;
}

void ForgetDescriptor(int fd) {
    const int found = FindDescriptor(fd);
    if (found < 0) {
        return;
    }
    --numDescriptors;
    for (int i = found; i < numDescriptors; ++i) {
        descriptors[i] = descriptors[i + 1];
    }
}

void ResetNode() {
    missing = false;
    numOpens = 0;
}

} // namespace orxemu

int orxemu_openDescriptors() {
    return orxemu::numDescriptors;
}

size_t orxemu_numOpens() {
    return orxemu::numOpens;
}

void orxemu_setPresent(int present) {
    orxemu::missing = present == 0;
}
