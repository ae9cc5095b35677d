#include "tests/support/capture.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace test {

namespace {

// Sends one stream of the process to a temporary file for as long as the object lives.
class Redirect {
  public:
    explicit Redirect(std::FILE *stream) : stream_(stream), file_(std::tmpfile()) {
        std::fflush(stream_);
        saved_ = dup(fileno(stream_));
        if (file_ == nullptr || saved_ < 0 || dup2(fileno(file_), fileno(stream_)) < 0) {
            std::abort();
        }
    }
    Redirect(const Redirect &) = delete;
    Redirect &operator=(const Redirect &) = delete;
    ~Redirect() {
        Restore();
        std::fclose(file_);
    }

    std::string Text() {
        Restore();
        std::string text;
        std::rewind(file_);
        for (int c = std::fgetc(file_); c != EOF; c = std::fgetc(file_)) {
            text.push_back(static_cast<char>(c));
        }
        return text;
    }

  private:
    void Restore() {
        if (saved_ < 0) {
            return;
        }
        std::fflush(stream_);
        dup2(saved_, fileno(stream_));
        close(saved_);
        saved_ = -1;
    }

    std::FILE *stream_;
    std::FILE *file_;
    int saved_ = -1;
};

std::string Line(const char *tag, const std::string &module, const std::string &fn, const char *number,
                 const std::string &text) {
    std::string name = fn;
    name.resize(std::max<std::size_t>(name.size(), 10), ' ');
    return std::string("[") + tag + " " + module + "] " + name + number + ": " + text + "\n";
}

const std::string kPointer = "0x0x";
const std::string kNil = "0x(nil)";

bool IsNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f');
}

std::size_t SkipWhile(const std::string &text, std::size_t at, bool (*matches)(char)) {
    while (at < text.size() && matches(text[at])) {
        ++at;
    }
    return at;
}

// Where the head of an error or assertion line, "[ERROR module] function,123: ", that starts at `at` ends; `at`
// itself when there is none.
std::size_t LineNumberEnd(const std::string &text, std::size_t at) {
    if (text.compare(at, 7, "[ERROR ") != 0 && text.compare(at, 8, "[ASSERT ") != 0) {
        return at;
    }
    std::size_t end = text.find("] ", at);
    if (end == std::string::npos) {
        return at;
    }
    end = SkipWhile(text, end + 2, IsNameChar);
    end = SkipWhile(text, end, [](char c) { return c == ' '; });
    if (end >= text.size() || text[end] != ',') {
        return at;
    }
    const std::size_t number = end + 1;
    end = SkipWhile(text, number, IsDigit);
    return end != number && text.compare(end, 2, ": ") == 0 ? end + 2 : at;
}

} // namespace

Output CaptureBoth(const std::function<void()> &fn) {
    Redirect out(stdout);
    Redirect err(stderr);
    fn();
    Output both;
    both.err = err.Text();
    both.out = out.Text();
    return both;
}

std::string Capture(const std::function<void()> &fn) {
    Redirect out(stdout);
    fn();
    return out.Text();
}

std::string Mask(const std::string &text) {
    std::string masked;
    for (std::size_t at = 0; at < text.size();) {
        if (const std::size_t end = LineNumberEnd(text, at); end != at) {
            const std::size_t comma = text.rfind(',', end);
            masked += text.substr(at, comma - at) + ",#: ";
            at = end;
        } else if (text.compare(at, kPointer.size(), kPointer) == 0) {
            masked += "0x<ptr>";
            at = SkipWhile(text, at + kPointer.size(), IsHexDigit);
        } else if (text.compare(at, kNil.size(), kNil) == 0) {
            masked += "0x<nil>";
            at += kNil.size();
        } else {
            masked += text[at++];
        }
    }
    return masked;
}

std::string CaptureMasked(const std::function<void()> &fn) {
    return Mask(Capture(fn));
}

std::vector<std::string> Lines(const std::string &text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

std::string Err(const std::string &fn, const std::string &text) {
    return Line("ERROR", "orxapi", fn, ",#", text);
}

std::string CodeLine(const std::string &fn, const std::string &name) {
    return Err(fn, "\"" + name + "\"");
}

std::string RetVal(const std::string &fn, unsigned code) {
    return Err(fn, "retVal <" + std::to_string(code) + ">");
}

std::string Refusal(const std::string &fn, const std::string &name, unsigned code) {
    return CodeLine(fn, name) + RetVal(fn, code);
}

std::string Inf(const std::string &fn, const std::string &text) {
    return Line("INF", "orxapi", fn, "", text);
}

std::string Dbg(const std::string &fn, const std::string &text) {
    return Line("DBG", "orxapi", fn, "", text);
}

std::string Assertion(const std::string &module, const std::string &fn, const std::string &text) {
    return Line("ASSERT", module, fn, ",#", text);
}

} // namespace test
