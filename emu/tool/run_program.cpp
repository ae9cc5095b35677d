#include "emu/tool/run_program.h"

#include "emu/tool/run_check.h"
#include "emu/tool/run_trouble.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <glob.h>
#include <optional>
#include <unistd.h>
#include <utility>

namespace orxemu::tool {

RunTrouble SystemTrouble(const std::string &what, int err, int status) {
    return RunTrouble(what + ": " + std::strerror(err), status);
}

namespace {

namespace fs = std::filesystem;

constexpr const char *kLibrary = "liborxemu.so";
constexpr const char *kPreloadVariable = "LD_PRELOAD";
// A user-mode emulator sets what stands in here, with commas in between, for the emulated program.
constexpr const char *kEmulatedVariables = "QEMU_SET_ENV";
// The loader splits its list at blanks and colons and replaces words that begin with a dollar sign; the
// emulator splits at commas.
constexpr const char *kSplitting = " \t\n:$,";

// --- Files of programs

bool IsExecutable(const fs::path &path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0;
}

// The folders of PATH; an empty one is the current folder.
std::vector<std::string> SearchPath() {
    const char *variable = std::getenv("PATH");
    std::string text = variable != nullptr ? variable : "/bin:/usr/bin";
    std::vector<std::string> folders;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(':', begin), text.size());
        folders.push_back(end > begin ? text.substr(begin, end - begin) : ".");
        begin = end + 1;
    }
    return folders;
}

// As a shell finds a command. Throws RunTrouble with one of the two statuses.
std::string FindCommand(const std::string &name, int statusNotFound, int statusCannotRun) {
    std::vector<std::string> candidates;
    if (name.find('/') != std::string::npos) {
        candidates.push_back(name);
    } else if (!name.empty()) {
        for (const std::string &folder : SearchPath()) {
            candidates.push_back(folder + "/" + name);
        }
    }
    const auto found = std::find_if(candidates.begin(), candidates.end(), IsExecutable);
    if (found != candidates.end()) {
        return *found;
    }
    std::error_code ignored;
    for (const std::string &candidate : candidates) {
        if (fs::exists(candidate, ignored)) {
            const int err = fs::is_directory(candidate, ignored) ? EISDIR : EACCES;
            throw SystemTrouble(candidate + " cannot be run", err, statusCannotRun);
        }
    }
    throw RunTrouble(name.empty() ? "the program's name is empty" : name + " is not there, or not in PATH",
                     statusNotFound);
}

// --- The library

// As `cmake --install` places them: programs in bin, libraries in lib or lib64 or lib/<machine>.
fs::path FindLibrary() {
    std::error_code err;
    const fs::path folder = fs::read_symlink("/proc/self/exe", err).parent_path();
    if (fs::exists(folder / kLibrary, err)) {
        return folder / kLibrary;
    }
    for (const char *place : {"lib*", "lib*/*"}) {
        glob_t matches = {};
        const std::string pattern = (folder / ".." / place / kLibrary).string();
        std::optional<fs::path> found;
        if (glob(pattern.c_str(), 0, nullptr, &matches) == 0) {
            found = matches.gl_pathv[0];
        }
        globfree(&matches);
        if (found) {
            return *found;
        }
    }
    throw RunTrouble(std::string(kLibrary) + " is neither in " + folder.string() +
                     " nor in the library folder beside it; --library FILE says where it is");
}

// What it sends to the tool is in its own byte order.
ElfKind CheckLibrary(const fs::path &library) {
    const std::optional<ElfKind> kind = ElfKindOf(library);
    if (!kind) {
        std::error_code ignored;
        throw RunTrouble(library.string() + (fs::exists(library, ignored)
                                                 ? " is no library that can be preloaded"
                                                 : " is not there"));
    }
    if (OrderOf(*kind) != journal::kHostOrder) {
        throw RunTrouble(library.string() + " is " + Describe(*kind) + ", and this orxemu is " +
                         journal::NameOf(journal::kHostOrder) +
                         "-endian: use the orxemu that was built with it");
    }
    return *kind;
}

// --- Words and environment

// A command line's words, split at blanks; quotes of either kind keep them.
std::vector<std::string> SplitWords(const std::string &line) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    char quote = '\0';
    for (const char c : line + " ") {
        if (quote != '\0' && c == quote) {
            quote = '\0';
        } else if (quote == '\0' && (c == '"' || c == '\'')) {
            quote = c;
            inWord = true;
        } else if (quote != '\0' || (c != ' ' && c != '\t')) {
            word += c;
            inWord = true;
        } else if (inWord) {
            words.push_back(std::exchange(word, {}));
            inWord = false;
        }
    }
    if (quote != '\0' || words.empty()) {
        throw RunTrouble("--emulator: \"" + line + "\" is no command line");
    }
    return words;
}

std::string VariableOr(const char *name, const std::string &otherwise) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : otherwise;
}

} // namespace

TemporaryLink::~TemporaryLink() {
    if (!folder_.empty()) {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
}

std::string TemporaryLink::Create(const fs::path &target) {
    std::string pattern = VariableOr("TMPDIR", "/tmp");
    if (pattern.empty() || pattern.find_first_of(kSplitting) != std::string::npos) {
        pattern = "/tmp";
    }
    pattern += "/orxemu.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw SystemTrouble(pattern + " cannot be created", errno);
    }
    folder_ = pattern;
    const fs::path link = folder_ / kLibrary;
    std::error_code err;
    fs::create_symlink(target, link, err);
    if (err) {
        throw SystemTrouble(link.string() + " cannot be created", err.value());
    }
    return link.string();
}

Program::Program(const ProgramOptions &options) {
    const bool emulated = !options.emulator.empty();
    const fs::path library = options.library.empty() ? FindLibrary() : fs::path(options.library);
    const ElfKind libraryKind = CheckLibrary(library);
    name_ = options.words.front();
    file_ = FindCommand(name_, kStatusNotFound, kStatusCannotRun);
    CheckProgram(file_, library, libraryKind, emulated, options.isLauncher);
    words_ = options.words;
    if (emulated) {
        std::vector<std::string> emulator = SplitWords(options.emulator);
        words_.front() = file_;
        words_.insert(words_.begin(), emulator.begin(), emulator.end());
        file_ = FindCommand(emulator.front(), kStatusRunTrouble, kStatusRunTrouble);
    }
    for (char **variable = environ; *variable != nullptr; ++variable) {
        environment_.emplace_back(*variable);
    }
    SetPreload(PreloadPath(fs::absolute(library)), emulated);
}

std::string Program::PreloadPath(const fs::path &library) {
    const std::string path = library.string();
    return path.find_first_of(kSplitting) == std::string::npos ? path : link_.Create(library);
}

// The runtime of a sanitizer comes in front, what the user preloads behind.
void Program::SetPreload(const std::string &preload, bool emulated) {
    std::string list = ORXEMU_PRELOAD_FIRST; // NOLINT(readability-redundant-string-init): not always empty
    // cppcheck-suppress knownConditionTrueFalse ; in some builds it is not
    list += (list.empty() ? "" : ":") + preload;
    const std::string users = VariableOr(kPreloadVariable, "");
    list += users.empty() ? "" : ":" + users;
    std::string variable = kPreloadVariable;
    std::string value = list;
    if (emulated) {
        if (list.find(',') != std::string::npos) {
            throw RunTrouble(std::string("--emulator: ") + kPreloadVariable +
                             " must not have commas: " + list);
        }
        const std::string others = VariableOr(kEmulatedVariables, "");
        variable = kEmulatedVariables;
        value = others + (others.empty() ? "" : ",") + kPreloadVariable + "=" + list;
    }
    std::erase_if(environment_,
                  [&variable](const std::string &entry) { return entry.starts_with(variable + "="); });
    environment_.push_back(variable + "=" + value);
}

} // namespace orxemu::tool
