#include "tests/support/child_process.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

// Settings that preload a library, in this machine's programs and in emulated ones.
constexpr const char *kPreloads[] = {"LD_PRELOAD=", "QEMU_SET_ENV="};

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File TemporaryFile() {
    File file(std::tmpfile());
    if (file == nullptr) {
        std::perror("temporary file");
        std::abort();
    }
    return file;
}

std::string Text(const File &file) {
    std::string text;
    std::rewind(file.get());
    for (int c = std::fgetc(file.get()); c != EOF; c = std::fgetc(file.get())) {
        text.push_back(static_cast<char>(c));
    }
    return text;
}

bool Preloads(const std::string &variable) {
    return std::any_of(std::begin(kPreloads), std::end(kPreloads),
                       [&variable](const char *name) { return variable.rfind(name, 0) == 0; });
}

std::vector<std::string> Environment(const std::string &setting) {
    std::vector<std::string> variables;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        if (!Preloads(*variable)) {
            variables.emplace_back(*variable);
        }
    }
    if (!setting.empty()) {
        variables.push_back(setting);
    }
    return variables;
}

} // namespace

std::vector<std::string> CommandOf(const std::string &program, const std::vector<std::string> &args) {
    std::vector<std::string> words;
    std::istringstream emulator(EMULATOR);
    for (std::string word; std::getline(emulator, word, '|');) {
        words.push_back(word);
    }
    words.push_back(program);
    words.insert(words.end(), args.begin(), args.end());
    return words;
}

std::vector<char *> Pointers(std::vector<std::string> &words) {
    std::vector<char *> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string &word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

ChildResult RunChild(std::vector<std::string> command, const std::string &setting) {
    std::vector<std::string> variableTexts = Environment(setting);
    const std::vector<char *> argv = Pointers(command);
    const std::vector<char *> variables = Pointers(variableTexts);
    const File out = TemporaryFile();
    const File err = TemporaryFile();

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(out.get()), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(err.get()), STDERR_FILENO);
    pid_t child = 0;
    const int failure = posix_spawnp(&child, argv.front(), &actions, nullptr, argv.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);

    ChildResult result;
    int status = 0;
    if (failure == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)) {
        result.status = WEXITSTATUS(status);
    }
    result.out = Text(out);
    result.err = Text(err);
    return result;
}

} // namespace test
