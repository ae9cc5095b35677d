#include "emu/device_node.h"

#include "emu/caller_memory.h"
#include "emu/cancellation.h"
#include "emu/device.h"
#include "emu/hardware.h"
#include "emu/next.h"
#include "emu/request_log.h"
#include "emu/session.h"
#include "emu/session_memory.h"
#include "qirapi/driver/driver_records.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <string_view>
#include <unistd.h>

namespace orxemu {

namespace {

// A descriptor of the device is a real one, of a device that is always there, so that its number is taken, and
// fstat() says that it is one of a character device.
constexpr const char *kPlaceholderPath = "/dev/null";

// Its number may become another file's behind the hooks (by fclose, and by whatever opens something else), also
// the same device's. What has been opened here is therefore marked: with a signal for when something can be read,
// which this device never sends and which programs choose for no other file. A file without a name would have an
// inode of its own instead, but would be a regular file, in which what is written stays.
constexpr int kMark = SIGXFSZ;

bool IsMarked(int fd) {
    return fcntl(fd, F_GETSIG) == kMark;
}

// A program's threads open and close descriptors at any time.
struct Place {
    std::atomic<int> taken; // by a descriptor of the device, plus 1; 0: free
    // The process that opened it. A child has inherited the place, and its copy of the descriptor does not
    // count.
    std::atomic<pid_t> opener;
};
constinit Place places[ORXEMU_MAX_DESCRIPTORS] = {};

// The process whose memory this is; 0 before it was asked for.
constinit std::atomic<pid_t> memoryOwner = 0;

bool OwnsMemory() {
    pid_t owner = 0;
    return memoryOwner.compare_exchange_strong(owner, getpid()) || owner == getpid();
}

// Of what a parent has opened, a child in the parent's memory has copies.
void Forget(Place &place, int fd) {
    const pid_t opener = place.opener;
    const bool isOpener = opener == getpid();
    int expected = fd + 1;
    if ((isOpener || OwnsMemory()) && place.taken.compare_exchange_strong(expected, 0) && isOpener) {
        CountDescriptors(-1);
    }
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

// New descriptor, or -1 with errno.
int OpenPlaceholder(int flags) {
    const int fd = NextOpen(kPlaceholderPath, O_RDWR | (flags & O_CLOEXEC), 0);
    if (fd >= 0 && fcntl(fd, F_SETSIG, kMark) != 0) {
        const int err = errno;
        NextClose(fd);
        errno = err;
        return -1;
    }
    return fd;
}

// Errno of a new descriptor that cannot be had, or 0.
int TryOpen(int flags, int &fd) {
    Hardware &hardware = TheHardware();
    if (hardware.missing != 0) {
        return ENOENT;
    }
    fd = OpenPlaceholder(flags);
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

// Errno, or 0.
int OpenUnderLock(int flags, int &fd) {
    const HardwareLock lock;
    if (!lock.isHeld()) {
        CountUnserved();
        return kUnserved;
    }
    const int fault = TakeOpenFault(TheHardware().faults);
    const int err = fault != 0 ? fault : TryOpen(flags, fd);
    if (err != 0) {
        ReportFailedOpen(err, fault != 0 ? FaultKind::FailOpen : FaultKind::None);
    }
    return err;
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

int ServeUnderLock(int request, void *record) {
    const HardwareLock lock;
    if (!lock.isHeld()) {
        CountUnserved();
        return kUnserved;
    }
    ExpectReport();
    Fault fault = TakeRequestFault(TheHardware().faults, request);
    bool recordRead = false;
    OrxEmuRequest &entry = NewLogEntry();
    entry.request = request;
    entry.err = Serve(entry, fault, record, recordRead);
    ReportRequest(entry, fault.kind, recordRead);
    return entry.err;
}

} // namespace

bool IsDevicePath(const char *path) {
    if (path == nullptr) {
        return false;
    }
    constexpr std::size_t kSize = std::string_view(qir::kPktOrxDevice).size() + 1;
    char beginning[kSize];
    const int savedErrno = errno;
    const int err = CopyFromCaller(beginning, path, kSize);
    errno = savedErrno;
    if (err == 0) {
        return std::memcmp(beginning, qir::kPktOrxDevice, kSize) == 0;
    }
    // A path that is shorter may end where memory ends, and a bad one is the kernel's to refuse. When it
    // could not be looked at, for want of descriptors, say, it has to be a good one.
    return err != EFAULT && std::strcmp(path, qir::kPktOrxDevice) == 0;
}

bool IsDeviceDescriptor(int fd) {
    const bool known = fd >= 0 && std::any_of(std::begin(places), std::end(places), [fd](const Place &place) {
                           return place.taken.load() == fd + 1;
                       });
    if (known && !IsMarked(fd)) {
        ForgetDescriptor(fd);
        return false;
    }
    return known;
}

int OpenDevice(int flags) {
    int fd = -1;
    const int err = OpenUnderLock(flags, fd);
    if (err != 0) {
        errno = err;
        return -1;
    }
    return fd;
}

// Once it is forgotten it has to be closed.
int CloseDevice(int fd) {
    const CancellationOff whole;
    ForgetDescriptor(fd);
    return NextClose(fd);
}

int IoctlDevice(int request, void *record) {
    const int savedErrno = errno;
    const int err = ServeUnderLock(request, record);
    errno = err != 0 ? err : savedErrno;
    return err != 0 ? -1 : 0;
}

void ForgetDescriptor(int fd) {
    if (fd >= 0) {
        ForgetDescriptors(static_cast<unsigned>(fd), static_cast<unsigned>(fd));
    }
}

void ForgetDescriptors(unsigned first, unsigned last) {
    for (Place &place : places) {
        const int fd = place.taken.load() - 1;
        if (fd >= 0 && static_cast<unsigned>(fd) >= first && static_cast<unsigned>(fd) <= last) {
            Forget(place, fd);
        }
    }
}

void OwnMemory() {
    memoryOwner = getpid();
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
