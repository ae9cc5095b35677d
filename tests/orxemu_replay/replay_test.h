// The fixture of the replay's tests: requests are recorded on the stand-in of this process and sent again to
// it, over its hooks, as to a device.
#ifndef TESTS_ORXEMU_REPLAY_REPLAY_TEST_H
#define TESTS_ORXEMU_REPLAY_REPLAY_TEST_H

#include "emu/journal/log_file.h"
#include "emu/tool/replay_requests.h"
#include "tests/emu/emu_test.h"
#include "tests/orxemu_show/journal_kit.h"

#include <map>
#include <string>
#include <vector>

namespace replay_test {

using namespace emu_test;
using journal_kit::InOtherOrder;
using journal_kit::kOtherOrder;
using journal_kit::TextOf;
using orxemu::journal::ByteOrder;
using orxemu::journal::FaultMark;
using orxemu::journal::Log;
using orxemu::journal::LogEntry;
using orxemu::tool::ReplayCounts;
using orxemu::tool::ReplayEnd;
using orxemu::tool::ReplayRules;

// The name that logs of these tests go by in messages. Entry n stands in line n + 1.
constexpr const char *kLogName = "a.json";

// Fault marks of entries, by their number in the log.
using Marks = std::map<std::size_t, FaultMark>;

// What the stand-in's log holds, as a log file, and as a reader finds it there.
std::string RecordedText(const Marks &marks = {});
Log Recorded(const Marks &marks = {});
Log Read(const std::string &text);

struct ReplayRun {
    ReplayEnd end = ReplayEnd::Done;
    ReplayCounts counts;
    std::string err; // standard error
};

// Sends the log to the device node of this process.
ReplayRun RunReplay(const Log &log, ReplayRules rules = {}, const std::string &node = kDevice);

// "1 sent, 2 skipped (1 refused then), 3 refused, 4 as recorded, 5 not sent"
std::string Told(const ReplayCounts &counts);
std::string Told(std::size_t accepted, std::size_t skipped, std::size_t skippedRefused, std::size_t refused,
                 std::size_t asRecorded, std::size_t notSent);

// "orxemu: a.json:LINE: TEXT", with its line end, for entry n.
std::string Line(std::size_t n, const std::string &text);

class ReplayTest : public EmuTest {
  protected:
    static OrxEmuState Held() { return State(); }
    static void ExpectHeld(const OrxEmuState &state) {
        EXPECT_EQ(std::memcmp(&state, orxemu_state(), sizeof state), 0)
            << "the hardware holds something else";
    }
    // The requests that have reached the device, by number and errno: "27 29 29:ENOENT".
    static std::string Sent();
};

// Requests of every kind; each index that a request carries was assigned before. Three flows, two of them
// with PAC tables, two PAC tables, an AS and a DSCP table; one of each is deactivated again and another one
// takes its number. All are accepted on an empty stand-in.
void SendSession();
constexpr std::size_t kSessionRequests = 27;

} // namespace replay_test

#endif
