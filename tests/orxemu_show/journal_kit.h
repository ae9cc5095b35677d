// What the tests of `orxemu show` and `orxemu diff` share: logs and states of what the library did on the
// stand-in of this process, the same in the other byte order, files, and the tool as a user starts it.
#ifndef TESTS_ORXEMU_SHOW_JOURNAL_KIT_H
#define TESTS_ORXEMU_SHOW_JOURNAL_KIT_H

#include "emu/journal/log_file.h"
#include "emu/journal/state_file.h"
#include "tests/support/child_process.h"
#include "tests/support/library.h"
#include "tests/support/temp_folder.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace journal_kit {

using orxemu::journal::ByteOrder;
using orxemu::journal::Bytes;
using orxemu::journal::Json;
using orxemu::journal::Log;
using orxemu::journal::LogEntry;

constexpr ByteOrder kOtherOrder =
    orxemu::journal::kHostOrder == ByteOrder::Big ? ByteOrder::Little : ByteOrder::Big;

class JournalTest : public test::LibraryTest {};

// The requests that have reached the stand-in, as a complete log.
Log RecordedLog();
// The same requests from a machine of the other byte order.
Log InOtherOrder(Log log);
// Counts the entries again, for a log whose entries a test has changed.
void Recount(Log &log);

std::string TextOf(const Log &log);
std::string StateText();
// A file with this text, which is gone at the end of the test.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string &text) { test::WriteFile(path_, text); }
    const std::string &Path() const { return path_; }

  private:
    const test::TempFolder folder_;
    const std::string path_ = folder_.File("journal");
};

test::ChildResult RunTool(const std::vector<std::string> &args);

// A flow of section 1 that matches a VLAN id of user port 0, rewrites it and forwards to GEM port 3 on queue 7.
FlowHdl TranslatingFlow(uint16_t from, uint16_t to);
FwdInfo ToGemPort3();
// Sets headers in order; fails the test when one is refused.
void AllocHdrs(FlowHdl &flow, uint32_t blk, std::initializer_list<uint32_t> hdrs);
// A PAC table that overrides the GEM port of all pbits, ready to be activated.
PacTblHdl PacTable(uint8_t gemPort);

std::vector<std::string> LinesOf(const std::string &text);

} // namespace journal_kit

#endif
