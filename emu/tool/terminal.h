// How the tool writes for people: columns that line up, colours where a terminal shows them, and output that
// ends quietly when its reader has gone.
#ifndef EMU_TOOL_TERMINAL_H
#define EMU_TOOL_TERMINAL_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orxemu::tool {

// The columns that UTF-8 text takes up. Every code point counts as one: the tool writes no wide ones, and puts
// no file names into columns. Bytes that are no UTF-8 count one each.
std::size_t DisplayWidth(std::string_view text);

enum class Colour { Plain, Bold, Dim, Red, Green, Yellow };

// What a user said about colours.
struct ColourChoice {
    bool off = false;
};
// Colours are for a terminal, and for users who have not turned them off with the flag or with NO_COLOR (any
// value but an empty one).
bool UseColours(const ColourChoice &choice);
// The same rule for tests, which say what the terminal and NO_COLOR are.
bool UseColours(const ColourChoice &choice, bool isTerminal, const char *noColor);

// Text in a colour; as it is when `colours` is off or it is empty.
std::string Paint(std::string_view text, Colour colour, bool colours);

// Text in which control characters are shown ("\x1b"), so that no file can send them to the terminal.
std::string Printable(std::string_view text);

struct Cell {
    std::string text;
    Colour colour = Colour::Plain;
    bool right = false; // aligned to the right
};

// Rows of cells and lines between them. A column is as wide as its widest cell, except that the last cell of
// a row widens nothing. No line ends in blanks.
class Columns {
  public:
    void AddRow(std::vector<Cell> row);
    // A line of its own behind the rows so far; it takes no part in the columns.
    void AddLine(std::string line, Colour colour = Colour::Plain);
    std::string Text(bool colours) const;

  private:
    struct Line {
        std::vector<Cell> cells; // empty for a line of its own
        Cell whole;
    };
    std::vector<std::size_t> Widths() const;
    std::vector<Line> lines_;
};

// Writes the text to standard output. When the reader has gone (a closed pipe), the rest is dropped, which is
// no failure. False, with a message on standard error, when it cannot be written for another reason.
bool WriteOutput(std::string_view text);

// "orxemu: MESSAGE" on standard error.
void Complain(std::string_view message);

} // namespace orxemu::tool

#endif
