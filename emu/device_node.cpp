#include "emu/device_node.h"

#include "emu/caller_memory.h"
#include "emu/device.h"
#include "emu/hardware.h"
#include "emu/next.h"
#include "emu/request_log.h"
#include "emu/session.h"
#include "qirapi/driver/driver_records.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace orxemu {

namespace {

// A descriptor of the device is a real one, of a device that is always there, so that its number is taken.
constexpr const char *kPlaceholderPath = "/dev/null";

// A program's threads open and close descriptors at any time.
struct Place {
    std::atomic<int> taken; // by a descriptor of the device, plus 1; 0: free
    // The process that opened it. A child has inherited the place, and its copy of the descriptor does not
    // count.
    std::atomic<pid_t> opener;
};
constinit Place places[ORXEMU_MAX_DESCRIPTORS] = {};

// Null when it is not the device's.
Place *FindDescriptor(int fd) {
    for (Place &place : places) {
        if (fd >= 0 && place.taken.load() == fd + 1) {
            return &place;
        }
    }
    return nullptr;
}

// False when all places are taken.
bool RememberDescriptor(int fd) {
    for (Place &place : places) {
        int expected = 0;
        if (place.taken.compare_exchange_strong(expected, fd + 1)) {
            place.opener = getpid();
            CountDescriptors(1);
            return true;
        }
    }
    return false;
}

// Errno of a new descriptor that cannot be had, or 0.
int TryOpen(int flags, int &fd) {
    Hardware &hardware = TheHardware();
    const int fault = TakeOpenFault(hardware.faults);
    if (fault != 0 || hardware.missing != 0) {
        return fault != 0 ? fault : ENOENT;
    }
    fd = NextOpen(kPlaceholderPath, O_RDWR | (flags & O_CLOEXEC), 0);
    if (fd < 0) {
        return errno;
    }
    // The number may still be known when its descriptor was closed behind the hooks.
    ForgetDescriptor(fd);
    if (!RememberDescriptor(fd)) {
        NextClose(fd);
        return EMFILE;
    }
    ++hardware.numOpens;
    return 0;
}

// Errno of the answer. Of the fault that the request meets it leaves what has become of it: an answer is lost
// only when the hardware has taken the request.
int Serve(OrxEmuRequest &entry, Fault &fault, void *record, bool &recordRead) {
    const RequestKind *kind = FindRequest(entry.request);
    int copyErr = 0;
    if (kind != nullptr) {
        entry.recordSize = kind->recordSize;
        copyErr = CopyFromCaller(entry.in, record, entry.recordSize);
        std::memcpy(entry.out, entry.in, sizeof entry.out);
        recordRead = copyErr == 0;
    }
    if (fault.kind == FaultKind::FailRequest) {
        return fault.err;
    }
    int err = ENOTTY;
    if (kind != nullptr) {
        Exchange exchange(entry, record);
        err = copyErr != 0 ? copyErr : kind->handle(exchange);
    }
    if (fault.kind != FaultKind::LoseAnswer) {
        return err;
    }
    if (err != 0) {
        fault.kind = FaultKind::FailRequest;
    }
    return fault.err;
}

} // namespace

bool IsDevicePath(const char *path) {
    return path != nullptr && std::strcmp(path, qir::kPktOrxDevice) == 0;
}

bool IsDeviceDescriptor(int fd) {
    return FindDescriptor(fd) != nullptr;
}

int OpenDevice(int flags) {
    int fd = -1;
    int err;
    {
        const HardwareLock lock;
        err = TryOpen(flags, fd);
        if (err != 0) {
            ReportFailedOpen(err);
        }
    }
    if (err != 0) {
        errno = err;
        return -1;
    }
    return fd;
}

int IoctlDevice(int request, void *record) {
    const int savedErrno = errno;
    int err;
    {
        const HardwareLock lock;
        ExpectReport();
        Fault fault = TakeRequestFault(TheHardware().faults, request);
        bool recordRead = false;
        OrxEmuRequest &entry = NewLogEntry();
        entry.request = request;
        entry.err = Serve(entry, fault, record, recordRead);
        ReportRequest(entry, fault.kind, recordRead);
        err = entry.err;
    }
    errno = err != 0 ? err : savedErrno;
    return err != 0 ? -1 : 0;
}

void ForgetDescriptor(int fd) {
    Place *found = FindDescriptor(fd);
    if (found == nullptr) {
        return;
    }
    const pid_t opener = found->opener;
    int expected = fd + 1;
    if (found->taken.compare_exchange_strong(expected, 0) && opener == getpid()) {
        CountDescriptors(-1);
    }
}

} // namespace orxemu

int orxemu_openDescriptors() {
    int open = 0;
    for (const orxemu::Place &place : orxemu::places) {
        open += place.taken.load() != 0 ? 1 : 0;
    }
    return open;
}

size_t orxemu_numOpens() {
    return orxemu::TheHardware().numOpens;
}

void orxemu_setPresent(int present) {
    orxemu::TheHardware().missing = present == 0 ? 1 : 0;
}
