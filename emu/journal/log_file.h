// The log of requests: lines of JSON.
//
//   {"format":"orxemu-log","version":2,"byteOrder":"big","crc":"448c4032"}
//   {"n":1,"request":27,"name":"activate-pac-table","fields":{...},"raw":"a5a5...","answer":{"index":0},
//    "rawOut":"0000...","crc":"..."}
//   {"n":2,"request":29,"name":"activate-flow","fields":{...},"raw":"...","fcb":{...},"fcbRaw":"...",
//    "answer":{"errno":"EIO","fault":"fail"},"crc":"..."}
//   {"n":3,"open":"/dev/pktorx","answer":{"errno":"ENOENT"},"crc":"..."}           an opening that failed
//   {"end":{"requests":2,"failedOpens":1,"openDescriptors":0},"crc":"..."}         and "lost", when lines are
//                                                                                  missing
//
// `n` counts the lines from 1, without a gap. "raw" are the bytes that were sent, "fields" what they say. A
// reader decodes the raw bytes again and refuses a line whose fields say something else, so that no edited
// line ever reaches a driver.
//
// "answer" says what the driver wrote: the index of an activation, the counters of get-flow-hits. "rawOut" is
// the record as it came back, when the driver changed it. Both need a request that the hardware took. An
// unknown request number has no name, no fields and no raw bytes. "fault" is "fail" when the hardware did
// nothing, and "answer-lost" when it did it and the caller was told an error.
//
// "crc" is the last member of every line, without blanks around it: the CRC-32 (emu/journal/checksum.h) of
// the line from its first brace up to, and without, `,"crc":`, in eight lower-case hexadecimal digits. The
// closing brace and the line end follow. It finds the edits that no member contradicts. The reader checks it
// last, because a member that is missing or wrong tells more. Further blanks and another order of the other
// members are accepted when the checksum fits them.
#ifndef EMU_JOURNAL_LOG_FILE_H
#define EMU_JOURNAL_LOG_FILE_H

#include "emu/journal/records.h"

#include <cstdio>
#include <string>

namespace orxemu::journal {

enum class FaultMark { None, Fail, AnswerLost };

struct LogEntry {
    std::size_t line = 0; // in the file; 0 when it comes from no file
    bool isOpen = false;  // an opening that failed; then only `err` counts
    int request = 0;
    int err = 0; // errno of the answer on this machine, 0 when it was accepted
    // The machine that wrote the log had no name for this errno. Here the number may mean another error.
    bool errIsUnnamed = false;
    FaultMark fault = FaultMark::None;
    bool recordRead = false; // the record could be read from the caller's memory
    Bytes in, out; // the record as it came and as the driver left it; empty when it could not be read
    Bytes fcb;     // empty when none was copied
};

// Whether the hardware did it, whatever the caller was told.
bool WasTaken(const LogEntry &entry);

struct LogEnd {
    std::size_t requests = 0;
    std::size_t failedOpens = 0;
    int openDescriptors = 0; // of the device, when the program ended
    std::uint32_t lost = 0;  // requests and failed openings that have no line
};

struct Log {
    ByteOrder order = kHostOrder;
    std::vector<LogEntry> entries;
    bool complete = false; // its last line is there
    LogEnd end;
};

// What is wrong with a file. Text() is "FILE:LINE: WHAT", or "FILE: WHAT" when the line is 0.
struct Problem {
    std::string file;
    std::size_t line = 0;
    std::string what;
    std::string Text() const;
};

// Names of errno values as logs carry them ("EIO"), because numbers differ between machines; a value without
// a name is its number in digits.
std::string ErrnoName(int err);
// Of an answer that has one.
std::string ErrnoName(const LogEntry &entry);
// Takes names and numbers above 0; returns 0 for anything else. A name that only other machines have becomes
// the nearest one of this machine.
int ErrnoOf(std::string_view text);

// Each is one line, with its line end. `n` counts from 1.
std::string LogHeadLine(ByteOrder order);
std::string LogEntryLine(const LogEntry &entry, std::size_t n, ByteOrder order);
std::string LogEndLine(const LogEnd &end);

// Writes lines to a file as they come. After the first failure nothing more is written.
class LogWriter {
  public:
    LogWriter() = default;
    LogWriter(const LogWriter &) = delete;
    LogWriter &operator=(const LogWriter &) = delete;
    ~LogWriter();
    // False, with problem() set, when the file cannot be created.
    bool Open(const std::string &path, ByteOrder order);
    bool IsOpen() const { return file_ != nullptr; }
    void Write(const LogEntry &entry);
    // Writes the last line and closes; false, with problem() set, when any line could not be written.
    bool Close(const LogEnd &end);
    const Problem &problem() const { return problem_; }

  private:
    std::FILE *file_ = nullptr;
    ByteOrder order_ = kHostOrder;
    std::size_t count_ = 0;
    bool failed_ = false;
    Problem problem_;
};

// Reads a whole log. False, with `problem` set, at the first bad line: no JSON, a member that is missing,
// unknown or of a wrong type, a number out of order, raw bytes of a wrong length, fields that the raw bytes do
// not say, an answer that no driver gives, a wrong checksum, anything behind the last line, a last line that
// is missing, has wrong counts or says that requests are lost. `log` then has the good entries in front of it.
//
// An unknown request number is no error: a later version of the driver may know it.
bool ReadLog(std::string_view text, const std::string &fileName, Log &log, Problem &problem);

// A file's whole contents; false, with `problem` set, when it cannot be read.
bool ReadFile(const std::string &path, std::string &text, Problem &problem);

// "log", "state", or false with `problem` set for a file that is neither.
enum class FileKind { Log, State };
bool KindOf(std::string_view text, const std::string &fileName, FileKind &kind, Problem &problem);

} // namespace orxemu::journal

#endif
