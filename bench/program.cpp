#include "bench/operations.h"

#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>

namespace bench {

void RunProgram(const char *const argv[], const char *standIn, const char *output) {
    std::string preload = std::string("LD_PRELOAD=") + standIn;
    char *const environment[] = {preload.data(), nullptr};
    char *const bare[] = {nullptr};
    posix_spawn_file_actions_t actions;
    pid_t child = 0;
    int status = 0;
    if (posix_spawn_file_actions_init(&actions) != 0 ||
        posix_spawn_file_actions_addopen(&actions, 1, output, O_WRONLY | O_CREAT | O_TRUNC, 0600) != 0 ||
        posix_spawn(&child, argv[0], &actions, nullptr, const_cast<char *const *>(argv),
                    *standIn == '\0' ? bare : environment) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        std::abort();
    }
    posix_spawn_file_actions_destroy(&actions);
}

} // namespace bench
