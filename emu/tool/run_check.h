// Whether the stand-in can be loaded into a program, as far as its file says. A program that runs without it
// finds no device, or the real one.
#ifndef EMU_TOOL_RUN_CHECK_H
#define EMU_TOOL_RUN_CHECK_H

#include "emu/journal/words.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace orxemu::tool {

// What processor a program or library is for.
struct ElfKind {
    unsigned char wordSize; // ELFCLASS*
    unsigned char order;    // ELFDATA*
    std::uint16_t machine;
    bool operator==(const ElfKind &) const = default;
};

// Nothing for a file that is no program or library: a script, say.
std::optional<ElfKind> ElfKindOf(const std::filesystem::path &path);
journal::ByteOrder OrderOf(const ElfKind &kind);
std::string Describe(const ElfKind &kind);

// Throws RunTrouble (126) about a program that the library cannot be loaded into, or that the emulator cannot
// run. The library is of this machine's byte order. For a script it looks at the program that runs it. It
// leaves what is no program at all to the system to refuse. A program that only starts others (`isLauncher`)
// may do without the library.
void CheckProgram(const std::string &file, const std::filesystem::path &library, const ElfKind &libraryKind,
                  bool emulated, bool isLauncher);

} // namespace orxemu::tool

#endif
