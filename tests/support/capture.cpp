#include "tests/support/capture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <regex>
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
    static const std::regex lineNumber(R"((\[(?:ERROR|ASSERT) [^\]]*\] [A-Za-z0-9_]+ *),[0-9]+: )");
    static const std::regex pointer(R"(0x0x[0-9a-f]+)");
    static const std::regex nil(R"(0x\(nil\))");
    std::string masked = std::regex_replace(text, lineNumber, "$1,#: ");
    masked = std::regex_replace(masked, pointer, "0x<ptr>");
    return std::regex_replace(masked, nil, "0x<nil>");
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
