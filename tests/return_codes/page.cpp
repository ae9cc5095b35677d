#include "tests/return_codes/page.h"

#include "tests/return_codes/operations.h"

#include <sstream>

namespace return_codes {

namespace {

const char kIntroduction[] =
    R"(# Return codes

Every public operation returns one 32-bit number. `e_RET_OK` (0) is success. `e_RET_DRIVER_FAILURE` (1) says that the
device could not be opened or that the driver refused the request. Any other number is one of the `e_RET_ERR_*` values
below; the numbers in between are not used.

An operation makes its checks in a fixed order and stops at the first one that fails. For each operation the list below
gives the checks in that order: what has to be wrong, and the code that the caller gets. The last line is what happens
when nothing is wrong. The driver is asked after all other checks, so `e_RET_DRIVER_FAILURE` also says that the
arguments and the state were good.

A code names a kind of error, and many checks share it; one operation can return the same code for several reasons. A
failing check prints the code's name in double quotes as an error line of log module 12, often after a line that says
more, and the operation ends with a line "retVal" and the number. For `e_RET_DRIVER_FAILURE` the log has the "retVal"
line only; the driver layer prints its own line on standard error.

A line that ends in *(unreachable)* has its place in the order, but no sequence of operations leads there.

The test program `test_return_codes` executes the lists below line by line and generates this page from them; run it
with `UPDATE_DOCS=1` to rewrite the page.

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
