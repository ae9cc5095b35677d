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

// `preload`, when not empty, is put in front of the program's libraries.
ChildResult RunChild(const std::string &program, const std::vector<std::string> &args,
                     const std::string &preload);

} // namespace app_test

#endif
