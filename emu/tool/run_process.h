// The program under test as a process, and the signals that the tool gets while it runs.
#ifndef EMU_TOOL_RUN_PROCESS_H
#define EMU_TOOL_RUN_PROCESS_H

#include "emu/tool/run_program.h"
#include "emu/tool/run_session.h"

#include <array>
#include <csignal>
#include <sys/types.h>

namespace orxemu::tool {

// What the tool does with signals while it lives. The keyboard's are the program's, which gets them too.
class SignalHandling {
  public:
    SignalHandling();
    SignalHandling(const SignalHandling &) = delete;
    SignalHandling &operator=(const SignalHandling &) = delete;
    ~SignalHandling();
    // As they were before: for the process that becomes the program.
    void Restore() const;
    // Readable when a signal has come; Next() is its number, 0 when there is none.
    int descriptor() const { return readingEnd_.get(); }
    int Next() const;

    static constexpr std::array kSignals = {SIGCHLD, SIGTERM, SIGHUP, SIGINT, SIGQUIT, SIGPIPE};

  private:
    void Set(std::size_t index, void (*handler)(int));

    OwnedDescriptor readingEnd_;
    OwnedDescriptor writingEnd_;
    std::array<struct sigaction, kSignals.size()> before_ = {};
    sigset_t blockedBefore_ = {};
};

class Process {
  public:
    // Starts the program. Throws RunTrouble when it cannot be executed.
    Process(Program &program, Session &session);

    // Readable when HandleSignals() has something to do.
    int descriptor() const { return signals_.descriptor(); }
    // Passes signals on to the program and notices its end.
    void HandleSignals();
    bool hasEnded() const { return hasEnded_; }
    // 128 and the signal for a program that was killed by one.
    int ExitStatus() const;

  private:
    SignalHandling signals_;
    pid_t pid_ = -1;
    bool hasEnded_ = false;
    int waitStatus_ = 0;
};

} // namespace orxemu::tool

#endif
