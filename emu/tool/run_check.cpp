#include "emu/tool/run_check.h"

#include "emu/tool/run_trouble.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <fstream>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace orxemu::tool {

namespace {

// The program that a script names in its first line, of which the system reads so much. Nothing for a file
// that is no script.
std::optional<std::string> InterpreterOf(const std::string &path) {
    constexpr std::string_view kMark = "#!";
    constexpr std::string_view kBlanks = " \t";
    std::array<char, 256> head = {};
    std::ifstream file(path, std::ios::binary);
    file.read(head.data(), head.size());
    std::string_view line(head.data(), static_cast<std::size_t>(file.gcount()));
    line = line.substr(0, line.find('\n'));
    if (!line.starts_with(kMark)) {
        return std::nullopt;
    }
    line.remove_prefix(kMark.size());
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    const std::string_view name = line.substr(0, line.find_first_of(kBlanks));
    return name.empty() ? std::nullopt : std::optional<std::string>(name);
}

// A script may be run by a script; the system follows as many.
std::string ProgramBehind(const std::string &file) {
    constexpr int kMostScripts = 5;
    std::string program = file;
    for (int i = 0; i < kMostScripts; ++i) {
        const std::optional<std::string> interpreter = InterpreterOf(program);
        if (!interpreter) {
            break;
        }
        program = *interpreter;
    }
    return program;
}

// Reads a structure at an offset; false when the file ends before.
template <class Struct> bool Read(std::ifstream &file, std::uint64_t offset, Struct &structure) {
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(reinterpret_cast<char *>(&structure), sizeof structure);
    return file.good();
}

// Whether a program of this machine's byte order names a loader, which is what preloads a library.
template <class Head, class Segment> bool NamesLoader(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    Head head = {};
    bool readable = Read(file, 0, head);
    for (unsigned i = 0; readable && i < head.e_phnum; ++i) {
        Segment segment = {};
        readable = Read(file, std::uint64_t{head.e_phoff} + std::uint64_t{i} * sizeof segment, segment);
        if (readable && segment.p_type == PT_INTERP) {
            return true;
        }
    }
    return false;
}

bool IsStatic(const std::string &path, const ElfKind &kind) {
    return kind.wordSize == ELFCLASS64 ? !NamesLoader<Elf64_Ehdr, Elf64_Phdr>(path)
                                       : !NamesLoader<Elf32_Ehdr, Elf32_Phdr>(path);
}

// Then its loader preloads nothing that is not the system's.
bool HasMoreRights(const std::string &path) {
    struct statx info = {};
    if (statx(AT_FDCWD, path.c_str(), 0, STATX_MODE | STATX_UID | STATX_GID, &info) != 0) {
        return false;
    }
    constexpr unsigned kGroupBits = S_ISGID | S_IXGRP;
    const bool user = (info.stx_mode & S_ISUID) != 0 && info.stx_uid != getuid();
    const bool group = (info.stx_mode & kGroupBits) == kGroupBits && info.stx_gid != getgid();
    const bool capabilities = getuid() != 0 && getxattr(path.c_str(), "security.capability", nullptr, 0) > 0;
    return user || group || capabilities;
}

} // namespace

std::optional<ElfKind> ElfKindOf(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    Elf32_Ehdr head = {}; // which begins like that of the other word size
    if (!Read(file, 0, head) || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0) {
        return std::nullopt;
    }
    ElfKind kind = {head.e_ident[EI_CLASS], head.e_ident[EI_DATA], head.e_machine};
    if (OrderOf(kind) != journal::kHostOrder) {
        kind.machine = static_cast<std::uint16_t>(kind.machine << 8 | kind.machine >> 8);
    }
    return kind;
}

journal::ByteOrder OrderOf(const ElfKind &kind) {
    return kind.order == ELFDATA2MSB ? journal::ByteOrder::Big : journal::ByteOrder::Little;
}

std::string Describe(const ElfKind &kind) {
    return std::string(kind.wordSize == ELFCLASS64 ? "64" : "32") + "-bit " + journal::NameOf(OrderOf(kind)) +
           "-endian, machine " + std::to_string(kind.machine);
}

void CheckProgram(const std::string &file, const std::filesystem::path &library, const ElfKind &libraryKind,
                  bool emulated, bool isLauncher) {
    const std::string program = emulated ? file : ProgramBehind(file);
    const std::string name = program == file ? file : program + ", which runs " + file + ",";
    const std::optional<ElfKind> kind = ElfKindOf(program);
    if (kind && *kind != libraryKind) {
        throw RunTrouble(name + " is for another processor (" + Describe(*kind) + ") than " +
                             library.string() + " (" + Describe(libraryKind) +
                             "): use the orxemu that was built for it, with --emulator",
                         kStatusCannotRun);
    }
    if (!kind && emulated) {
        throw RunTrouble(name + " is no program that --emulator can run", kStatusCannotRun);
    }
    if (!isLauncher && kind && IsStatic(program, *kind)) {
        throw RunTrouble(name + " is linked statically and cannot load the stand-in; when it only starts "
                                "programs that can, --launcher runs it",
                         kStatusCannotRun);
    }
    if (!emulated && HasMoreRights(program)) {
        throw RunTrouble(name + " has more rights than its user and cannot load the stand-in",
                         kStatusCannotRun);
    }
}

} // namespace orxemu::tool
