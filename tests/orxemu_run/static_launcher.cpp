// A program that is linked statically and uses no device: it starts the program of its arguments and ends
// with its status.
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char **argv) {
    if (argc < 2) {
        return 0;
    }
    const pid_t child = fork();
    if (child == 0) {
        execv(argv[1], argv + 1);
        std::perror(argv[1]);
        _exit(99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 99;
}
