// Runs a program as a user starts it, without a shell in between.
#ifndef TESTS_SUPPORT_CHILD_PROCESS_H
#define TESTS_SUPPORT_CHILD_PROCESS_H

#include <string>
#include <vector>

namespace test {

struct ChildResult {
    int status = -1; // exit status, 0 to 255; -1 when the program did not exit by itself
    std::string out;
    std::string err;
};

// The words of the command that runs a program of this build: it begins with an emulator when the build is
// for another processor.
std::vector<std::string> CommandOf(const std::string &program, const std::vector<std::string> &args);

// The pointers that exec and its like take; they are good as long as the words.
std::vector<char *> Pointers(std::vector<std::string> &words);

// `setting`, when not empty, is a "NAME=VALUE" for the environment, which has no other stand-in for the
// driver.
ChildResult RunChild(std::vector<std::string> command, const std::string &setting = "");

} // namespace test

#endif
