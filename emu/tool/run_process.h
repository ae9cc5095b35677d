// The program under test as a process, and the signals that the tool gets while it runs.
#ifndef EMU_TOOL_RUN_PROCESS_H
#define EMU_TOOL_RUN_PROCESS_H

#include "emu/server/descriptor.h"
#include "emu/tool/run_program.h"

#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orxemu::tool {

// A signal that has come to the tool.
struct CameSignal {
    int number; // 0: none has come
    int code;   // whose it is, as siginfo_t says it
    pid_t sender;
};

// What the tool does with signals while it lives: it notes those that would end it, which may be meant for
// the program. Signals about the tool itself stay as they are.
class SignalHandling {
  public:
    SignalHandling();
    SignalHandling(const SignalHandling &) = delete;
    SignalHandling &operator=(const SignalHandling &) = delete;
    ~SignalHandling();
    // As they were before: for the process that becomes the program.
    void Restore() const;
    // Readable when Next() has one.
    int descriptor() const { return readingEnd_.get(); }
    CameSignal Next() const;

  private:
    struct Before {
        int signal;
        struct sigaction action;
    };
    void Set(int signal, const struct sigaction &action);
    void Note(int signal);
    void Ignore(int signal);
    // One that was ignored stays so: a program that was started with nohup keeps that. It is said again,
    // because an emulator may tell what it found and do otherwise.
    void NoteUnlessIgnored(int signal);

    Descriptor readingEnd_;
    Descriptor writingEnd_;
    std::vector<Before> before_;
    sigset_t blockedBefore_ = {};
};

class Process {
  public:
    // Starts the program in the session that the variable names. Throws RunTrouble when it cannot be executed.
    Process(Program &program, const std::string &sessionVariable);

    // Readable when HandleSignals() has something to do.
    int descriptor() const { return signals_.descriptor(); }
    // Passes signals on to the program and notices its end.
    void HandleSignals();
    bool hasEnded() const { return hasEnded_; }
    // 128 and the signal for a program that was killed by one.
    int ExitStatus() const;

  private:
    // Whether the program has not got it already.
    bool IsToBePassedOn(const CameSignal &signal) const;

    SignalHandling signals_;
    pid_t pid_ = -1;
    bool hasEnded_ = false;
    int waitStatus_ = 0;
};

} // namespace orxemu::tool

#endif
