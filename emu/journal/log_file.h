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
// Lines are counted by `n`, from 1, without a gap. The raw bytes are what was sent; the fields are their
// decoded form. A reader decodes the raw bytes again and refuses a line whose fields say something else, so
// that an edited line is never sent to a driver. Bytes that the driver wrote are in "answer" and, as the
// record came back, in "rawOut" when they differ from "raw": the index of an activation and the counters of
// get-flow-hits, and only when the hardware took the request. An unknown request number has no name, no
// fields and no raw bytes. "fault" is "fail" (the hardware did nothing) or "answer-lost" (it did; then the
// bytes of the request are there).
//
// "crc" is the last member of every line, without blanks around it: the CRC-32 (emu/journal/checksum.h) of
// the bytes of the line in front of `,"crc":`, the brace at the beginning included, in eight lower-case
// hexadecimal digits. Behind it stand the closing brace and the line end. It finds the edits that no member
// contradicts. It is looked at last: a line is refused for a member that is missing or says something else
// first, because that names what has been edited. Other blanks and the order of the other members do not
// count for a line that is signed as it is.
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
    // The errno is a number without a name on the machine that wrote it, whatever has that number here.
    bool errIsUnnamed = false;
    FaultMark fault = FaultMark::None;
    bool recordRead = false; // the record could be read from the caller's memory
    Bytes in, out; // the record as it came and as the driver left it; empty when it could not be read
    Bytes fcb;     // empty when none was copied
};

// The hardware has done it, whatever the caller was told.
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
// Takes names and numbers above 0; 0 when it is neither. A name that only other machines have is the nearest
// of this one's.
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

// Reads a whole log. False, with `problem` set, at the first line that does not check out: no JSON, a member
// missing, unknown or of a wrong type, a number out of order, raw bytes of a wrong length, fields that are
// not the decoded raw bytes, an answer that no driver gives, a checksum that is not the line's, anything
// behind the last line, a last line that is missing, counts something else or says that others are missing.
// `log` has the good entries in front of it.
//
// A line with an unknown request number is good: the number may be from a later version of the driver.
bool ReadLog(std::string_view text, const std::string &fileName, Log &log, Problem &problem);

// A file's whole contents; false, with `problem` set, when it cannot be read.
bool ReadFile(const std::string &path, std::string &text, Problem &problem);

// "log", "state", or false with `problem` set for a file that is neither.
enum class FileKind { Log, State };
bool KindOf(std::string_view text, const std::string &fileName, FileKind &kind, Problem &problem);

} // namespace orxemu::journal

#endif
