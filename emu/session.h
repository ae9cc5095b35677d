// A session: several processes on one hardware, which outlives them and is watched by `orxemu run`.
//
// A process that is in no session has the hardware to itself. Only its threads take turns; nobody hears of it.
#ifndef EMU_SESSION_H
#define EMU_SESSION_H

#include "emu/cancellation.h"
#include "emu/faults.h"
#include "emu/orxemu.h"

#include <csignal>

namespace orxemu {

// Joins the session that the environment names, if it does; further calls do nothing. When its memory is gone, has
// another layout or is not for this user, the process has no device: one of its own would look like the
// session's.
void JoinSession();

// Descriptors of the device that this process has opened; negative: that it has closed again.
void CountDescriptors(int change);

// Such a descriptor is not the program's.
bool IsSessionDescriptor(int fd);
// Those that are there, the lowest first; returns how many.
constexpr int kSessionDescriptors = 2;
int SessionDescriptorsInOrder(int (&fds)[kSessionDescriptors]);

// While it lives no other process and no other thread reaches the hardware, and this thread runs no signal
// handler and cannot be cancelled. The kernel takes the lock from a process that dies with it.
class HardwareLock {
  public:
    HardwareLock();
    HardwareLock(const HardwareLock &) = delete;
    HardwareLock &operator=(const HardwareLock &) = delete;
    ~HardwareLock();
    // False when the process has lost the file of the lock: then the hardware is not to be touched.
    bool isHeld() const { return isHeld_; }

  private:
    CancellationOff whole_; // until everything else is as it was
    sigset_t signals_;
    bool isHeld_;
};

// Messages to the tool, sent under the lock. A tool that is gone is no failure, and one that does not read
// is waited for once, for as long as it has set. What was expected and does not come is missing: a message
// that could not be sent, or a request whose process does not come as far as its report.
void ExpectReport();
void ReportRequest(const OrxEmuRequest &request, FaultKind fault, bool recordRead);
void ReportFailedOpen(int err, FaultKind fault);
// An opening or a request that was refused because the lock is not held.
void CountUnserved();

} // namespace orxemu

#endif
