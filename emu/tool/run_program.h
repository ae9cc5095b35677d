// What `orxemu run` executes: the program, found and looked at before anything runs, and the words and the
// environment it is started with.
#ifndef EMU_TOOL_RUN_PROGRAM_H
#define EMU_TOOL_RUN_PROGRAM_H

#include "emu/server/descriptor.h"

#include <string>
#include <vector>

namespace orxemu::tool {

struct ProgramOptions {
    std::vector<std::string> words; // the program and its arguments
    std::string library;            // liborxemu.so; empty: the one beside the tool or in the library folder
    std::string emulator;           // a command line, empty when the program is for this machine
    bool isLauncher = false;        // it may be linked statically, for it only starts others
};

struct Program {
    std::string name;
    std::string file; // to execute
    std::vector<std::string> words;
    std::vector<std::string> environment;
    Descriptor library; // open while the program runs when it is loaded by its number
};

// `session` is the variable that names the session. Throws RunTrouble: a program that is not there (127) or
// cannot be run on the stand-in (126); a library or an emulator that is not there or is not for this tool (125).
Program FindProgram(const ProgramOptions &options, const std::string &session);

} // namespace orxemu::tool

#endif
