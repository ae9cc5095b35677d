// The tool's side of a session: it owns what the processes under test share, and reads what they report.
#ifndef EMU_TOOL_RUN_SESSION_H
#define EMU_TOOL_RUN_SESSION_H

#include "emu/session_memory.h"

#include <string>

namespace orxemu::tool {

// A descriptor that is closed with its owner.
class OwnedDescriptor {
  public:
    OwnedDescriptor() = default;
    OwnedDescriptor(const OwnedDescriptor &) = delete;
    OwnedDescriptor &operator=(const OwnedDescriptor &) = delete;
    ~OwnedDescriptor() { Reset(); }
    int get() const { return fd_; }
    void Reset(int fd = -1);

  private:
    int fd_ = -1;
};

class Session {
  public:
    // Throws RunTrouble when the system does not give it what it needs.
    Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session();

    SessionMemory &memory() { return *memory_; }

    // What the environment variable of the session has to be.
    std::string Variable() const;
    // In the process that becomes the program: its descriptors stay open in what it executes.
    void BequeathDescriptors() const;
    // Once the program has its own: the channel ends with the last process that can send.
    void CloseSendingEnd() { sendingEnd_.Reset(); }

    // Readable when a message waits, or all senders are gone.
    int channel() const { return receivingEnd_.get(); }
    // A request or an opening that failed; false when no message waits.
    bool Receive(SessionMessage &message);
    // Why a process could not join and found no device, as far as Receive() has seen; 0: there was none.
    int joinErr() const { return joinErr_; }
    // Whether processes that can send are left, as far as Receive() has seen.
    bool hasSenders() const { return hasSenders_; }

    // Keeps all processes off the hardware. False when one of them is busy with it, which may be because it
    // waits for room in the channel.
    bool TryLock() { return SetLock(true); }
    void Unlock() { SetLock(false); }

  private:
    bool SetLock(bool locked);

    SessionMemory *memory_ = nullptr;
    int segment_ = -1;
    OwnedDescriptor lockFile_;
    OwnedDescriptor sendingEnd_;
    OwnedDescriptor receivingEnd_;
    bool hasSenders_ = true;
    int joinErr_ = 0;
};

} // namespace orxemu::tool

#endif
