// `orxemu run` as a child process, and what it leaves behind.
#ifndef TESTS_ORXEMU_RUN_RUN_KIT_H
#define TESTS_ORXEMU_RUN_RUN_KIT_H

#include "emu/journal/log_file.h"
#include "emu/journal/state_file.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/types.h>
#include <vector>

namespace run_test {

using test::FileText;
using test::WriteFile;

using Words = std::vector<std::string>;

constexpr int kKilled = 1000; // and the signal: the tool itself was killed

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

struct Conditions {
    std::string input{};   // standard input
    Words environment{};   // NAME=VALUE besides the test's own
    rlim_t fileLimit = 0;  // bytes that a file may have, the child's output too; 0: no limit
    int ignoredSignal = 0; // 0: none
    int blockedSignal = 0;
    int terminal = -1;               // of a session that begins with the child; -1: in the test's session
    std::vector<long> deadlyCalls{}; // system calls that kill it
};

// Whether an emulator runs the programs of this build: then a program can execute no other.
bool Emulated();

// A child that has been started; ends with Finish().
class Child {
  public:
    explicit Child(const Words &words, const Conditions &conditions = {});
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child();
    pid_t pid() const { return pid_; }
    // What it, or what outlives it, has printed so far on standard output.
    std::string OutputSoFar() const;
    // Whether that comes to be in it; a minute is for a machine that is busy.
    bool Prints(const std::string &text) const;
    Outcome Finish();

  private:
    pid_t pid_;
    int in_, out_, err_;
};

// "orxemu" and these words, and the emulator in front when there is one.
Words Tool(const Words &words);
// "orxemu run OPTIONS -- PROGRAM", with --emulator when there is one.
Words RunWords(const Words &options, const Words &program);
// The program that does these steps.
Words Steps(const Words &steps);

Outcome Finished(const Words &words, const Conditions &conditions = {});
Outcome RunSteps(const Words &options, const Words &steps, const Conditions &conditions = {});
Outcome RunOrxtest(const Words &options, int test, const Conditions &conditions = {});
// The steps on the stand-in alone, in no session but one that the conditions name.
Outcome RunAlone(const Words &steps, Conditions conditions = {});

// A folder of its own for each test.
class RunTest : public ::testing::Test {
  protected:
    std::string Path(const std::string &name) const { return folder_.File(name); }
    Words Files() const { return folder_.Names(); }
    void WriteProgram(const std::string &name, const std::string &text) const;

    // Says that it does not run, and runs nothing. The message may begin with this one.
    static void ExpectRefused(const Words &words, int status, const std::string &message);

    // A log or state that checks out; adds a failure when it does not.
    orxemu::journal::Log ReadLog(const std::string &name = "a.json") const;
    std::unique_ptr<OrxEmuState> ReadState(const std::string &name = "s.json") const;

  private:
    const test::TempFolder folder_;
};

bool Appears(const std::string &path);

} // namespace run_test

#endif
