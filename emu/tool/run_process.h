// The program under test as a process, and the signals that the tool gets while it runs.
#ifndef EMU_TOOL_RUN_PROCESS_H
#define EMU_TOOL_RUN_PROCESS_H

#include "emu/server/descriptor.h"
#include "emu/tool/run_program.h"

namespace orxemu::tool {

class Process {
  public:
    // Starts the program. Throws RunTrouble when it cannot be executed.
    explicit Process(const Program &program);

    // Readable when HandleSignals() has something to do.
    int descriptor() const { return signals_.get(); }
    // Passes on to the program what would end the tool, and notices the program's end.
    void HandleSignals();
    bool hasEnded() const { return hasEnded_; }
    // 128 and the signal for a program that was killed by one.
    int ExitStatus() const;

  private:
    Descriptor signals_;
    pid_t pid_ = -1;
    bool hasEnded_ = false;
    int waitStatus_ = 0;
};

} // namespace orxemu::tool

#endif
