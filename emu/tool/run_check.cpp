#include "emu/tool/run_check.h"

#include "emu/tool/run_trouble.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <fstream>
#include <string_view>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
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

// Whether the system heeds what a file says of the rights that it is executed with.
bool GivesRights(const std::string &path) {
    struct statvfs mounted = {};
    const bool noMore = statvfs(path.c_str(), &mounted) == 0 && (mounted.f_flag & ST_NOSUID) != 0;
    return !noMore && prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) != 1;
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
    return (user || group || capabilities) && GivesRights(path);
}

} // namespace

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
    if (!isLauncher && IsStatic(program)) {
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
