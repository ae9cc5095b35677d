#include "emu/tool/terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace orxemu::tool {

namespace {

constexpr std::string_view kColumnGap = "  ";
constexpr std::string_view kColourEnd = "\x1b[0m";

// By Colour.
constexpr std::array<std::string_view, 6> kColourStarts = {"",         "\x1b[1m",  "\x1b[2m",
                                                           "\x1b[31m", "\x1b[32m", "\x1b[33m"};

// Length of the sequence that a first byte announces; 1 for what announces none.
std::size_t SequenceLength(unsigned char first) {
    if (first >= 0xC2 && first < 0xE0) {
        return 2;
    }
    if (first >= 0xE0 && first < 0xF0) {
        return 3;
    }
    return first >= 0xF0 && first < 0xF5 ? 4 : 1;
}

bool Continues(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Bytes of the code point at the front.
std::size_t CodePointLength(std::string_view text) {
    const std::size_t length = SequenceLength(static_cast<unsigned char>(text.front()));
    if (length > text.size() || !std::all_of(text.begin() + 1, text.begin() + length, Continues)) {
        return 1;
    }
    return length;
}

// The code points 0x80 to 0x9F, which terminals take for controls too, are C2 80 to C2 9F.
bool IsControl(std::string_view codePoint) {
    const auto last = static_cast<unsigned char>(codePoint.back());
    if (codePoint.size() == 1) {
        return last < 0x20 || last >= 0x7F;
    }
    return codePoint.size() == 2 && codePoint.front() == '\xC2' && last < 0xA0;
}

std::string Blanks(std::size_t count) {
    return std::string(count, ' ');
}

} // namespace

std::size_t DisplayWidth(std::string_view text) {
    std::size_t width = 0;
    for (; !text.empty(); text.remove_prefix(CodePointLength(text))) {
        ++width;
    }
    return width;
}

bool UseColours(const ColourChoice &choice, bool isTerminal, const char *noColor) {
    const bool unwanted = noColor != nullptr && *noColor != '\0';
    return isTerminal && !choice.off && !unwanted;
}

bool UseColours(const ColourChoice &choice) {
    return UseColours(choice, isatty(STDOUT_FILENO) == 1, std::getenv("NO_COLOR"));
}

std::string Paint(std::string_view text, Colour colour, bool colours) {
    std::string painted(text);
    if (!colours || colour == Colour::Plain || text.empty()) {
        return painted;
    }
    painted.insert(0, kColourStarts.at(static_cast<std::size_t>(colour)));
    painted.append(kColourEnd);
    return painted;
}

std::string Printable(std::string_view text) {
    std::string printable;
    while (!text.empty()) {
        const std::string_view codePoint = text.substr(0, CodePointLength(text));
        text.remove_prefix(codePoint.size());
        if (!IsControl(codePoint)) {
            printable.append(codePoint);
            continue;
        }
        for (const char c : codePoint) {
            std::array<char, 5> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\x%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(c)));
            printable.append(escaped.data());
        }
    }
    return printable;
}

void Columns::AddRow(std::vector<Cell> row) {
    while (!row.empty() && row.back().text.empty()) {
        row.pop_back();
    }
    lines_.push_back({std::move(row), {}});
}

void Columns::AddLine(std::string line, Colour colour) {
    lines_.push_back({{}, {std::move(line), colour, false}});
}

std::vector<std::size_t> Columns::Widths() const {
    std::vector<std::size_t> widths;
    for (const Line &line : lines_) {
        widths.resize(std::max(widths.size(), line.cells.size()));
        for (std::size_t i = 0; i < line.cells.size(); ++i) {
            const Cell &cell = line.cells[i];
            if (i + 1 < line.cells.size() || cell.right) {
                widths[i] = std::max(widths[i], DisplayWidth(cell.text));
            }
        }
    }
    return widths;
}

std::string Columns::Text(bool colours) const {
    const std::vector<std::size_t> widths = Widths();
    std::string text;
    for (const Line &line : lines_) {
        text.append(Paint(line.whole.text, line.whole.colour, colours));
        std::string owed; // blanks are written only when something follows
        for (std::size_t i = 0; i < line.cells.size(); ++i) {
            const Cell &cell = line.cells[i];
            const std::size_t width = DisplayWidth(cell.text);
            const std::string padding = Blanks(widths[i] > width ? widths[i] - width : 0);
            if (cell.right) {
                owed.append(padding);
            }
            if (!cell.text.empty()) {
                text.append(owed).append(Paint(cell.text, cell.colour, colours));
                owed.clear();
            }
            owed.append(cell.right ? "" : padding).append(kColumnGap);
        }
        text.push_back('\n');
    }
    return text;
}

bool WriteOutput(std::string_view text) {
    std::signal(SIGPIPE, SIG_IGN);
    while (!text.empty()) {
        const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EPIPE) {
            return true;
        } else if (errno != EINTR) {
            Complain(std::string("standard output: ") + std::strerror(errno));
            return false;
        }
    }
    return true;
}

void Complain(std::string_view message) {
    std::fprintf(stderr, "orxemu: %s\n", Printable(message).c_str());
}

} // namespace orxemu::tool
