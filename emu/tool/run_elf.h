// Programs and libraries as files: what processor they are for, and whether the loader that preloads the
// stand-in takes part in them.
#ifndef EMU_TOOL_RUN_ELF_H
#define EMU_TOOL_RUN_ELF_H

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
    std::uint32_t machine;
    bool operator==(const ElfKind &) const = default;
};

// Nothing for a file that is no such program: a script, say.
std::optional<ElfKind> ElfKindOf(const std::filesystem::path &path);
journal::ByteOrder OrderOf(const ElfKind &kind);
std::string Describe(const ElfKind &kind);

// Whether it is a program that asks for no loader, so that nothing can be preloaded into it. A loader that is
// executed itself, with a program as its argument, is none.
bool IsStatic(const std::filesystem::path &path);

} // namespace orxemu::tool

#endif
