// The fixture of the scenarios' tests: besides the library, the program's own globals are as at process
// start.
#ifndef TESTS_APP_APP_TEST_H
#define TESTS_APP_APP_TEST_H

#include "app/flow_records.h"
#include "tests/app/flow_image.h"
#include "tests/support/library.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace app_test {

// Releases all flow records and sets the program's globals as at process start.
void ResetApp();

class AppTest : public test::LibraryTest {
  protected:
    void SetUp() override;
    void TearDown() override;
};

// Command line arguments as a program gets them: the count and the cursor are there to be moved.
class Args {
  public:
    explicit Args(std::initializer_list<const char *> args);
    Args(const Args &) = delete;
    Args &operator=(const Args &) = delete;

    int count;
    char **cursor;

    // The i-th argument itself.
    char *Text(std::size_t i) { return pointers_.at(i); }
    // How many arguments the cursor has moved on.
    long Moved() const { return cursor - pointers_.data(); }

  private:
    std::vector<std::string> texts_;
    std::vector<char *> pointers_;
};

struct RunResult {
    int status = 0;
    test::Output output; // standard output masked
};

// Runs the program's entry point in this process; the program name comes first by itself.
RunResult RunOrxtest(std::initializer_list<const char *> args);

// Handles with all bits set, as scenarios prepare them.
FlowHdl UnsetFlow();

// Leaves `left` flow records unused.
void LeaveFlowRecords(int left);

// A driver request, the n-th of the log: flow activation with this block, the PAC table's index in the
// hardware, and the shadow behind it, which must be active under `hwFlowIdx`.
void ExpectFlowRequest(std::size_t n, const FlowImage &flow, std::optional<uint32_t> hwPacTblIdx,
                       uint32_t hwFlowIdx);
// A table request.
void ExpectTableRequest(std::size_t n, int number, const Image &record);

} // namespace app_test

#endif
