// A session: several processes on one hardware, which outlives them and is watched by `orxemu run`.
//
// A process that is in no session has the hardware to itself, and all of this does nothing.
#ifndef EMU_SESSION_H
#define EMU_SESSION_H

#include "emu/faults.h"
#include "emu/orxemu.h"

#include <csignal>

namespace orxemu {

// Joins the session that the environment names; further calls do nothing. When its memory is gone or has
// another layout the process has no device: one of its own would look like the session's.
void JoinSession();

// Descriptors of the device that this process has opened; negative: that it has closed again.
void CountDescriptors(int change);

// Such a descriptor is not the program's.
bool IsSessionDescriptor(int fd);

// While it lives no other process and no other thread reaches the hardware, and no signal handler runs on
// this thread. The kernel takes the lock from a process that dies with it.
class HardwareLock {
  public:
    HardwareLock();
    HardwareLock(const HardwareLock &) = delete;
    HardwareLock &operator=(const HardwareLock &) = delete;
    ~HardwareLock();

  private:
    sigset_t signals_;
};

// Messages to the tool, sent under the lock. A tool that is gone is no failure, and one that does not read
// is waited for once, for as long as it has set. Messages that cannot be sent are counted, and so is a
// request whose process does not come as far as its report.
void ExpectReport();
void ReportRequest(const OrxEmuRequest &request, FaultKind fault, bool recordRead);
void ReportFailedOpen(int err);

} // namespace orxemu

#endif
