// Reads files of JSON lines, and compares what a line says with what it has to say.
#ifndef EMU_JOURNAL_JSON_LINES_H
#define EMU_JOURNAL_JSON_LINES_H

#include "emu/journal/log_file.h"

#include <nlohmann/json.hpp>

namespace orxemu::journal {

constexpr std::size_t kMaxLineBytes = std::size_t{64} * 1024;

// What is wrong with a line.
struct Error {
    std::string what;
};

// Reads a file's lines as JSON objects.
class JsonLines {
  public:
    explicit JsonLines(std::string_view text) : rest_(text) {}

    // The next line's object, without its checksum. False at the end of the file. Throws Error.
    bool Next(Json &object);
    // Throws Error when the checksum of the line that Next delivered last is wrong. Call it after the line's
    // contents have been checked: they say better what is wrong.
    void MustBeIntact() const;
    // Number of the line that Next delivered last, from 1.
    std::size_t line() const { return line_; }
    bool AtEnd() const { return rest_.empty(); }

  private:
    std::string_view rest_;
    std::string_view text_; // of that line
    std::size_t line_ = 0;
};

// The object of one line. Throws Error.
Json ParseObject(std::string_view line);

// Throws Error at the first difference between `found` and `expected`; the order of members does not count.
// `source` introduces the expected value in the message: "the raw bytes say".
void MustBe(const Json &found, const Json &expected, const std::string &source, const std::string &path = {});

// A member; each throws Error when it is missing or of another type.
const Json &Member(const Json &object, const char *name);
std::string TextMember(const Json &object, const char *name);
// From `min` to `max`.
std::int64_t NumberMember(const Json &object, const char *name, std::int64_t min, std::int64_t max);
// Hexadecimal digits of `size` bytes.
Bytes HexMember(const Json &object, const char *name, std::size_t size);

// Reads the first line, which has to name this format, and returns the byte order of the records. Throws Error.
ByteOrder ReadHead(JsonLines &lines, const char *format);
std::string HeadLine(const char *format, ByteOrder order);
// One line, with its checksum and its end. The object has members.
std::string LineOf(const Json &object);

} // namespace orxemu::journal

#endif
