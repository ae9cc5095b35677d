// Whether the stand-in can be loaded into a program, as far as its file says. A program that runs without it
// finds no device, or the real one.
#ifndef EMU_TOOL_RUN_CHECK_H
#define EMU_TOOL_RUN_CHECK_H

#include <filesystem>

namespace orxemu::tool {

// Throws RunTrouble about a library that is none or is not of this tool's byte order (125), and about a program
// that cannot load it or that the emulator cannot run (126). A program that only starts others (`isLauncher`)
// may be linked statically. Of a script nothing is known but its rights.
void CheckProgram(const std::string &file, const std::filesystem::path &library, bool emulated,
                  bool isLauncher);

} // namespace orxemu::tool

#endif
