#include "emu/tool/run_check.h"

#include "emu/journal/words.h"
#include "emu/tool/run_trouble.h"

#include <elf.h>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace orxemu::tool {

namespace {

// What processor a program or library is for: bytes 0 to 19 of its file have it.
struct ElfKind {
    bool has64Bits;
    bool isBigEndian;
    unsigned machine;
    bool operator==(const ElfKind &) const = default;
};

constexpr bool kIsBigEndian = journal::kHostOrder == journal::ByteOrder::Big;

// Reads a structure at an offset; false when the file ends before.
template <class Struct> bool Read(std::ifstream &file, std::uint64_t offset, Struct &structure) {
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(reinterpret_cast<char *>(&structure), sizeof structure);
    return file.good();
}

// Nothing for a file that is no program or library: a script, say.
std::optional<ElfKind> KindOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    Elf32_Ehdr head = {}; // which begins like that of the other word size
    if (!Read(file, 0, head) || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0) {
        return std::nullopt;
    }
    const bool isBig = head.e_ident[EI_DATA] == ELFDATA2MSB;
    const unsigned machine = head.e_machine;
    return ElfKind{head.e_ident[EI_CLASS] == ELFCLASS64, isBig,
                   isBig == kIsBigEndian ? machine : (machine << 8 | machine >> 8) & 0xFFFF};
}

std::string Describe(const ElfKind &kind) {
    return std::string(kind.has64Bits ? "64" : "32") + "-bit " + (kind.isBigEndian ? "big" : "little") +
           "-endian, machine " + std::to_string(kind.machine);
}

// Is a program, of this machine's byte order, linked statically? Then it names no loader, and only a loader
// preloads libraries.
template <class Head, class Segment> bool IsStatic(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    Head head = {};
    Segment segment = {};
    Read(file, 0, head);
    for (std::uint64_t i = 0; i < head.e_phnum && Read(file, head.e_phoff + i * sizeof segment, segment);
         ++i) {
        if (segment.p_type == PT_INTERP) {
            return false;
        }
    }
    return true;
}

// Then its loader preloads nothing that is not the system's.
bool HasMoreRights(const std::string &path) {
    struct statx info = {};
    statx(AT_FDCWD, path.c_str(), 0, STATX_MODE | STATX_UID | STATX_GID, &info);
    return ((info.stx_mode & S_ISUID) != 0 && info.stx_uid != getuid()) ||
           ((info.stx_mode & S_ISGID) != 0 && info.stx_gid != getgid()) ||
           (getuid() != 0 && getxattr(path.c_str(), "security.capability", nullptr, 0) > 0);
}

} // namespace

void CheckProgram(const std::string &file, const std::filesystem::path &library, bool emulated,
                  bool isLauncher) {
    const std::optional<ElfKind> libraryKind = KindOf(library);
    if (!libraryKind) {
        throw RunTrouble(library.string() + (std::filesystem::exists(library)
                                                 ? " is no library that can be preloaded"
                                                 : " is not there"));
    }
    if (libraryKind->isBigEndian != kIsBigEndian) {
        throw RunTrouble(library.string() + " is " + Describe(*libraryKind) + ", and this orxemu is " +
                         journal::NameOf(journal::kHostOrder) +
                         "-endian: use the orxemu that was built with it");
    }
    const auto refuse = [&file](const std::string &why) { throw RunTrouble(file + why, kStatusCannotRun); };
    const std::optional<ElfKind> kind = KindOf(file);
    if (kind && *kind != *libraryKind) {
        refuse(" is for another processor (" + Describe(*kind) + ") than " + library.string() + " (" +
               Describe(*libraryKind) + "): use the orxemu that was built for it, with --emulator");
    }
    if (!kind && emulated) {
        refuse(" is no program that --emulator can run");
    }
    if (kind && !isLauncher &&
        (kind->has64Bits ? IsStatic<Elf64_Ehdr, Elf64_Phdr>(file) : IsStatic<Elf32_Ehdr, Elf32_Phdr>(file))) {
        refuse(" is linked statically and cannot load the stand-in; when it only starts programs that can, "
               "--launcher runs it");
    }
    if (!emulated && HasMoreRights(file)) {
        refuse(" has more rights than its user and cannot load the stand-in");
    }
}

} // namespace orxemu::tool
