// Runs a program as a user starts it, without a shell in between.
#ifndef TESTS_APP_CHILD_PROCESS_H
#define TESTS_APP_CHILD_PROCESS_H

#include <string>
#include <vector>

namespace app_test {

struct ChildResult {
    int status = -1; // exit status, 0 to 255; -1 when the program did not exit by itself
    std::string out;
    std::string err;
};

// `setting`, when not empty, is a "NAME=VALUE" for the program's environment, which has no other stand-in for
// the driver. A program of another processor runs through the emulator of this build.
ChildResult RunChild(const std::string &program, const std::vector<std::string> &args,
                     const std::string &setting);

} // namespace app_test

#endif
