#include "emu/tool/run_program.h"

#include "emu/tool/run_check.h"
#include "emu/tool/run_trouble.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <glob.h>
#include <sstream>
#include <wordexp.h>

namespace orxemu::tool {

namespace {

namespace fs = std::filesystem;

constexpr const char *kLibrary = "liborxemu.so";
constexpr const char *kPreloadVariable = "LD_PRELOAD";
// A user-mode emulator sets what stands in here, with commas in between, for the emulated program.
constexpr const char *kEmulatedVariables = "QEMU_SET_ENV";
// The loader splits its list at blanks and colons and replaces words that begin with a dollar sign; the
// emulator splits at commas.
constexpr const char *kSplitting = " \t\n:$,";

std::string VariableOr(const char *name, const std::string &otherwise) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : otherwise;
}

// As a shell finds a command. Throws RunTrouble with one of the two statuses.
std::string FindCommand(const std::string &name, int statusNotFound, int statusCannotRun) {
    std::istringstream folders(VariableOr("PATH", "/bin:/usr/bin") + ":");
    std::string inTheWay;
    std::error_code ignored;
    const bool isPath = name.find('/') != std::string::npos;
    for (std::string folder; isPath || std::getline(folders, folder, ':');) {
        const std::string path = isPath ? name : (folder.empty() ? "." : folder) + "/" + name;
        if (fs::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0) {
            return path;
        }
        inTheWay = inTheWay.empty() && fs::exists(path, ignored) ? path : inTheWay;
        if (isPath) {
            break;
        }
    }
    if (name.empty() || inTheWay.empty()) {
        throw RunTrouble(name.empty() ? "the program's name is empty"
                                      : name + " is not there, or not in PATH",
                         statusNotFound);
    }
    throw SystemTrouble(inTheWay + " cannot be run", fs::is_directory(inTheWay) ? EISDIR : EACCES,
                        statusCannotRun);
}

// As `cmake --install` places them: programs in bin, libraries in lib or lib64 or lib/<machine>.
fs::path FindLibrary() {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char *place : {".", "../lib*", "../lib*/*"}) {
        glob_t matches = {};
        const int result = glob((folder / place / kLibrary).c_str(), 0, nullptr, &matches);
        const fs::path found = result == 0 ? matches.gl_pathv[0] : "";
        globfree(&matches);
        if (!found.empty()) {
            return fs::canonical(found);
        }
    }
    throw RunTrouble(std::string(kLibrary) + " is neither in " + folder.string() +
                     " nor in the library folder beside it; --library FILE says where it is");
}

// A command line's words, as a shell splits them.
std::vector<std::string> SplitWords(const std::string &line) {
    wordexp_t split = {};
    const int result = wordexp(line.c_str(), &split, WRDE_NOCMD | WRDE_UNDEF);
    const std::vector<std::string> words(split.we_wordv, split.we_wordv + (result == 0 ? split.we_wordc : 0));
    if (result == 0) {
        wordfree(&split);
    }
    if (words.empty()) {
        throw RunTrouble("--emulator: \"" + line + "\" is no command line");
    }
    return words;
}

void SetVariable(std::vector<std::string> &environment, const std::string &variable) {
    const std::string name = variable.substr(0, variable.find('=') + 1);
    std::erase_if(environment, [&name](const std::string &entry) { return entry.starts_with(name); });
    environment.push_back(variable);
}

// The library as a list of the loader's can name it.
std::string NameInList(const fs::path &library, Descriptor &open) {
    if (library.string().find_first_of(kSplitting) == std::string::npos) {
        return library.string();
    }
    open = Descriptor(::open(library.c_str(), O_RDONLY | O_CLOEXEC));
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(open.get());
}

// The runtime of a sanitizer comes in front, what the user preloads behind.
void SetPreload(Program &program, const fs::path &library, bool emulated) {
    std::string list = ORXEMU_PRELOAD_FIRST; // NOLINT(readability-redundant-string-init): not always empty
    // cppcheck-suppress knownConditionTrueFalse ; in some builds it is not
    list += (list.empty() ? "" : ":") + NameInList(library, program.library);
    const std::string users = VariableOr(kPreloadVariable, "");
    list += users.empty() ? "" : ":" + users;
    const std::string preload = std::string(kPreloadVariable) + "=" + list;
    if (!emulated) {
        SetVariable(program.environment, preload);
        return;
    }
    if (list.find(',') != std::string::npos) {
        throw RunTrouble(std::string("--emulator: ") + kPreloadVariable + " must not have commas: " + list);
    }
    const std::string others = VariableOr(kEmulatedVariables, "");
    SetVariable(program.environment,
                std::string(kEmulatedVariables) + "=" + others + (others.empty() ? "" : ",") + preload);
}

} // namespace

Program FindProgram(const ProgramOptions &options, const std::string &session) {
    const bool emulated = !options.emulator.empty();
    const fs::path library = options.library.empty() ? FindLibrary() : fs::absolute(options.library);
    Program program;
    program.name = options.words.front();
    program.file = FindCommand(program.name, kStatusNotFound, kStatusCannotRun);
    CheckProgram(program.file, library, emulated, options.isLauncher);
    program.words = options.words;
    if (emulated) {
        const std::vector<std::string> emulator = SplitWords(options.emulator);
        program.words.front() = program.file;
        program.words.insert(program.words.begin(), emulator.begin(), emulator.end());
        program.file = FindCommand(emulator.front(), kStatusRunTrouble, kStatusRunTrouble);
    }
    for (char **variable = environ; *variable != nullptr; ++variable) {
        program.environment.emplace_back(*variable);
    }
    SetPreload(program, library, emulated);
    SetVariable(program.environment, session); // of a session around this one, too
    return program;
}

} // namespace orxemu::tool
