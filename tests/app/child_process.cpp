#include "tests/app/child_process.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace app_test {

namespace {

constexpr char kPreload[] = "LD_PRELOAD=";

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

std::vector<std::string> Environment(const std::string &preload) {
    std::vector<std::string> variables;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        if (std::string(*variable).rfind(kPreload, 0) != 0) {
            variables.emplace_back(*variable);
        }
    }
    if (!preload.empty()) {
        variables.push_back(kPreload + preload);
    }
    return variables;
}

// The list of pointers that the system calls take.
std::vector<char *> Pointers(std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

ChildResult RunChild(const std::string &program, const std::vector<std::string> &args,
                     const std::string &preload) {
    std::vector<std::string> argTexts = args;
    argTexts.insert(argTexts.begin(), program);
    std::vector<std::string> variableTexts = Environment(preload);
    const std::vector<char *> argv = Pointers(argTexts);
    const std::vector<char *> variables = Pointers(variableTexts);
    const File out = TemporaryFile();
    const File err = TemporaryFile();

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(out.get()), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(err.get()), STDERR_FILENO);
    pid_t child = 0;
    const int failure =
        posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), variables.data());
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

} // namespace app_test
