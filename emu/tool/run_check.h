// Whether the stand-in can be loaded into a program, as far as its file says. A program that runs without it
// finds no device, or the real one.
#ifndef EMU_TOOL_RUN_CHECK_H
#define EMU_TOOL_RUN_CHECK_H

#include "emu/tool/run_elf.h"

#include <string>

namespace orxemu::tool {

// Throws RunTrouble (126) about a program that the library cannot be loaded into, or that the emulator cannot
// run. Of a script the program that runs it is looked at. What is no program at all is left to the system to
// refuse. One that only starts others (`isLauncher`) may do without the library.
void CheckProgram(const std::string &file, const std::filesystem::path &library, const ElfKind &libraryKind,
                  bool emulated, bool isLauncher);

} // namespace orxemu::tool

#endif
