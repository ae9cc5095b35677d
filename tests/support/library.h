// The fixture of all tests that touch the library: every test starts from the state of a fresh process after
// QIR_Init_Sys(), with an idle stand-in driver and log levels as at process start (module 12 at level 1).
#ifndef TESTS_SUPPORT_LIBRARY_H
#define TESTS_SUPPORT_LIBRARY_H

#include "emu/orxemu.h"
#include "log/qel_log.h"
#include "qirapi/private/context.h"
#include "qirapi/qirapi.h"
#include "tests/support/capture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace test {

class LibraryTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
};

// Prints parameter lines (level 2) or debug lines too (level 3) from here on.
inline void RaiseLog(uint32_t level) {
    qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, level);
}

// A copy of the context's bytes, to show what a call changed.
class ContextSnapshot {
  public:
    ContextSnapshot();
    // Offsets of the bytes that differ from the context now.
    std::vector<std::size_t> ChangedBytes() const;
    bool Unchanged() const { return ChangedBytes().empty(); }

  private:
    std::vector<unsigned char> bytes_;
};

// Handles by index.
AsTblHdl AsHdl(unsigned id);
DscpTblHdl DscpHdl(unsigned id);
EpTblHdl EpHdl(unsigned id);
PacTblHdl PacHdl(unsigned id);
FlowHdl Flow(unsigned id);

} // namespace test

#endif
