#include "tests/return_codes/page.h"

#include "tests/return_codes/operations.h"

#include <sstream>

namespace return_codes {

namespace {

const char kIntroduction[] =
    R"(# Return codes

Every public operation answers with one 32-bit number. 0 is success. 1 says that the driver layer failed: the device
could not be opened, or the driver refused the request. Any other number is one of the `e_RET_ERR_*` values below; the
numbers in between are not used.

An operation makes its checks in a fixed order, and the first one that fails decides: no later check is made. For each
operation the list below gives its checks in that order, what has to be wrong, and the code that the caller gets. The
last line is what happens when nothing is wrong. Where the hardware has to learn of the change, the driver is asked
after all checks, so that 1 means that the arguments and the state were good.

A code says what kind of thing is wrong, and many checks share it; the same operation can give one code for several
reasons. Each failing check prints the code's name in double quotes as an error line of log module 12, often behind a
line that says more, and the operation ends with a line "retVal" and the number. 0 and 1 have no such name in the log;
a failure of the driver layer has its own line on standard error.

A line that ends in *(unreachable)* has its place in the order, but no sequence of operations leads there.

This page is generated from the table that the test program `test_return_codes` executes line by line.
`UPDATE_DOCS=1` with that program rewrites it.

)";

std::string Ending(const Row &row) {
    if (!row.answer.empty()) {
        return row.answer;
    }
    std::ostringstream ending;
    ending << '`' << NameOf(row.code) << "` (" << row.code << ')';
    return ending.str();
}

// The text in lines of the width that the rest of the documentation has.
std::string Wrapped(const std::string &text) {
    constexpr std::size_t kWidth = 118;
    std::istringstream words(text);
    std::string wrapped;
    std::size_t column = 0;
    for (std::string word; words >> word;) {
        if (column > 0) {
            const bool fits = column + 1 + word.size() <= kWidth;
            wrapped += fits ? ' ' : '\n';
            column = fits ? column + 1 : 0;
        }
        wrapped += word;
        column += word.size();
    }
    return wrapped;
}

void Render(std::ostream &page, const Operation &operation) {
    page << "\n### " << operation.name << "\n\n";
    if (!operation.note.empty()) {
        page << Wrapped(operation.note) << "\n\n";
    }
    std::size_t number = 0;
    for (const Row &row : operation.rows) {
        page << ++number << ". " << row.condition << " -> " << Ending(row)
             << (row.unreachable ? " *(unreachable)*" : "") << "\n";
    }
}

} // namespace

std::string RenderPage() {
    std::ostringstream page;
    page << kIntroduction << "## Codes\n\n| number | name | meaning |\n|---|---|---|\n";
    for (const Code &code : Codes()) {
        page << "| " << code.number << " | `" << code.name << "` | " << code.meaning << " |\n";
    }
    for (const Family &family : Families()) {
        page << "\n## " << family.title << "\n";
        for (const Operation &operation : family.operations) {
            Render(page, operation);
        }
    }
    return page.str();
}

} // namespace return_codes
