// Executes the table of operations row by row, and holds the page of the documentation against it.
#include "tests/return_codes/operations.h"
#include "tests/return_codes/page.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace return_codes {

namespace {

std::string ReadFile(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << "cannot read " << path;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> OperationNames() {
    std::vector<std::string> names;
    for (const Family &family : Families()) {
        for (const Operation &operation : family.operations) {
            names.push_back(operation.name);
        }
    }
    return names;
}

bool IsError(const std::string &line) {
    return line.rfind("[ERROR orxapi] ", 0) == 0;
}

bool NamesACode(const std::string &line) {
    return IsError(line) && line.find(",#: \"e_RET_") != std::string::npos;
}

// What a call prints, as far as it is about the code.
struct Lines {
    std::vector<std::string> errors; // error lines, without the closing line
    std::vector<std::string> names;  // of these, those that name a code
    std::vector<std::string> closing;
    bool closesAtTheEnd = false;
};

Lines Sort(const std::string &out) {
    Lines lines;
    for (const std::string &line : test::Lines(out)) {
        lines.closesAtTheEnd = IsError(line) && line.find(",#: retVal <") != std::string::npos;
        if (lines.closesAtTheEnd) {
            lines.closing.push_back(line + "\n");
        } else if (IsError(line)) {
            lines.errors.push_back(line + "\n");
            if (NamesACode(line)) {
                lines.names.push_back(line + "\n");
            }
        }
    }
    return lines;
}

std::vector<std::string> ExpectedErrors(const Operation &operation, const Row &row, const Way &way) {
    if (way.hasErrors) {
        return way.errors;
    }
    if (row.code <= e_RET_DRIVER_FAILURE) {
        return {};
    }
    return {test::CodeLine(way.by.empty() ? operation.name : way.by, NameOf(row.code))};
}

void ExpectEnding(const Operation &operation, const Row &row, const Way &way, const Outcome &outcome) {
    EXPECT_EQ(outcome.code, row.code);
    EXPECT_EQ(outcome.printed.err, way.standardError);

    const Lines printed = Sort(outcome.printed.out);
    const std::vector<std::string> expected = ExpectedErrors(operation, row, way);
    std::vector<std::string> expectedNames;
    std::copy_if(expected.begin(), expected.end(), std::back_inserter(expectedNames), NamesACode);
    EXPECT_EQ(printed.names, expectedNames) << outcome.printed.out;
    for (const std::string &line : expected) {
        EXPECT_EQ(std::count(printed.errors.begin(), printed.errors.end(), line),
                  std::count(expected.begin(), expected.end(), line))
            << line << "in\n"
            << outcome.printed.out;
    }
    if (row.code <= e_RET_DRIVER_FAILURE) {
        EXPECT_EQ(printed.errors, expected);
    }

    const bool closes = operation.closing && row.code != e_RET_OK;
    const std::vector<std::string> closing =
        closes ? std::vector<std::string>{test::RetVal(operation.name, row.code)}
               : std::vector<std::string>{};
    EXPECT_EQ(printed.closing, closing);
    EXPECT_EQ(printed.closesAtTheEnd, closes) << outcome.printed.out;
}

// A refused call leaves library and driver as they were, but for these: the driver failed; a filter or an
// action was recorded before its value, order or node was refused; a header was allocated in part; the table
// of a flow is noted before its state is looked at.
bool MayLeaveTraces(const std::string &operation, uint32_t code) {
    const auto is = [&](const char *text) { return operation.find(text) != std::string::npos; };
    return code <= e_RET_DRIVER_FAILURE ||
           (is("QIR_Config_") && (code == e_RET_ERR_REQOUTOFORDER || code == e_RET_ERR_RESRC_UNAVAIL ||
                                  code == e_RET_ERR_INVALID_CMPOPSEQ || code == e_RET_ERR_INVALID_PARAM)) ||
           (is("QIR_Alloc_Hdr") && code == e_RET_ERR_RESRC_UNAVAIL) ||
           ((is("QIR_Set_EpInfo") || is("QIR_Set_PacInfo")) && code >= e_RET_ERR_RESRC_NOT_ACTIVE &&
            code <= e_RET_ERR_STATE_NOTCFG);
}

bool HasParams2(const std::string &out) {
    return out.find(": Params2: ") != std::string::npos;
}

// At level 2 parameter lines come first and nothing else is new: up to the null check those that show
// pointers, then those that show what they point to.
void ExpectParameterLines(const Operation &operation, const Way &way, const Outcome &outcome,
                          const Outcome &informed, bool hasParams2) {
    EXPECT_EQ(informed.code, outcome.code);
    std::string others;
    bool late = false;
    for (const std::string &line : test::Lines(informed.printed.out)) {
        if (line.rfind("[INF orxapi] ", 0) != 0) {
            others += line + "\n";
            continue;
        }
        late = late || !others.empty();
    }
    EXPECT_EQ(others, outcome.printed.out);
    if (outcome.code > e_RET_DRIVER_FAILURE) {
        EXPECT_FALSE(late) << informed.printed.out;
        EXPECT_EQ(informed.printed.out.rfind("[INF orxapi] " + operation.name + ": Params: ", 0), 0u);
        EXPECT_EQ(HasParams2(informed.printed.out),
                  hasParams2 && (outcome.code != e_RET_ERR_NULL_PTR || !way.by.empty()))
            << informed.printed.out;
    }
}

} // namespace

class ReturnCodesOf : public test::LibraryTest, public ::testing::WithParamInterface<std::string> {
  protected:
    // From a fresh library each time.
    Outcome Run(const Operation &operation, const std::vector<Pick> &picks, uint32_t level) {
        SetUp();
        levelOfCalls = level;
        Outcome outcome = operation.run(picks);
        levelOfCalls = 1;
        return outcome;
    }

    void Execute(const Operation &operation, const std::vector<Pick> &picks, const std::string &how) {
        const Pick &pick = picks.back();
        const Row &row = operation.rows[pick.row];
        SCOPED_TRACE(operation.name + ", row " + std::to_string(pick.row + 1) + ": " + row.condition +
                     " -> " + std::to_string(row.code) + "; way " + std::to_string(pick.way + 1) + ", " +
                     how);
        const Outcome outcome = Run(operation, picks, 1);
        ExpectEnding(operation, row, row.ways[pick.way], outcome);
        if (!MayLeaveTraces(operation.name, outcome.code)) {
            EXPECT_FALSE(outcome.changedContext);
            EXPECT_FALSE(outcome.openedDevice);
        }
        ExpectParameterLines(operation, row.ways[pick.way], outcome, Run(operation, picks, 2), hasParams2_);
    }

    bool hasParams2_ = false; // the operation's second parameter lines
};

TEST_P(ReturnCodesOf, FirstFailingCheckDecides) {
    const Operation &operation = OperationOf(GetParam());
    ASSERT_FALSE(operation.rows.empty());
    const std::size_t last = operation.rows.size() - 1; // nothing is wrong
    // Ports have to be good before their TPIDs are shown.
    hasParams2_ = operation.name != "QIR_Set_Tpid" && HasParams2(Run(operation, {{last, 0}}, 2).printed.out);
    for (std::size_t row = 0; row <= last; ++row) {
        for (std::size_t way = 0; way < operation.rows[row].ways.size(); ++way) {
            const Pick pick = {row, way};
            Execute(operation, {pick}, "on its own");
            if (operation.rows[row].ways[way].alone) {
                continue;
            }
            std::vector<Pick> all;
            for (std::size_t later = last; later-- > row + 1;) {
                all.push_back({later, 0});
            }
            for (const Pick &later : all) {
                Execute(operation, {later, pick}, "together with row " + std::to_string(later.row + 1));
            }
            if (all.size() > 1) {
                all.push_back(pick);
                Execute(operation, all, "together with all later rows");
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Operation, ReturnCodesOf, ::testing::ValuesIn(OperationNames()),
                         [](const auto &operation) { return operation.param; });

TEST(ReturnCodeTable, EveryOperationEndsWithSuccess) {
    for (const std::string &name : OperationNames()) {
        const Operation &operation = OperationOf(name);
        ASSERT_FALSE(operation.rows.empty()) << name;
        EXPECT_EQ(operation.rows.back().code, static_cast<uint32_t>(e_RET_OK)) << name;
        for (const Row &row : operation.rows) {
            EXPECT_FALSE(row.ways.empty()) << name << ": " << row.condition;
        }
    }
}

TEST(ReturnCodeTable, EveryCodeIsGivenBySomeOperation) {
    std::set<uint32_t> given;
    for (const Family &family : Families()) {
        for (const Operation &operation : family.operations) {
            for (const Row &row : operation.rows) {
                if (row.answer.empty()) {
                    given.insert(row.code);
                }
            }
        }
    }
    for (const Code &code : Codes()) {
        EXPECT_EQ(given.count(code.number), 1u) << code.name;
    }
}

// The name of the operation that a line of a public header declares, or nothing. Declarations begin in the
// first column with the type of their result.
std::string DeclaredName(const std::string &line) {
    const auto isNameChar = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
    };
    const std::size_t end = line.find('(');
    if (end == std::string::npos || !isNameChar(line.front())) {
        return {};
    }
    std::size_t begin = end;
    while (begin > 0 && isNameChar(line[begin - 1])) {
        --begin;
    }
    const bool hasResult = begin > 0 && (line[begin - 1] == ' ' || line[begin - 1] == '*');
    return hasResult ? line.substr(begin, end - begin) : std::string();
}

TEST(ReturnCodeTable, HasEveryPublicOperation) {
    std::map<std::string, std::string> declared; // and where
    for (const auto &entry : std::filesystem::directory_iterator(PUBLIC_HEADERS)) {
        for (const std::string &line : test::Lines(ReadFile(entry.path()))) {
            if (const std::string name = DeclaredName(line); !name.empty()) {
                declared[name] = entry.path().filename();
            }
        }
    }
    ASSERT_FALSE(declared.empty()) << "no declarations in " PUBLIC_HEADERS;

    std::set<std::string> described;
    for (const std::string &name : OperationNames()) {
        EXPECT_TRUE(described.insert(name).second) << name << " is described twice";
        EXPECT_EQ(declared.count(name), 1u) << name << " is not declared";
    }
    for (const auto &[name, header] : declared) {
        EXPECT_EQ(described.count(name), 1u) << name << " of " << header << " has no rows";
    }
}

// Expects the committed page to be the generated one; with UPDATE_DOCS it rewrites it.
void ExpectCommitted(const char *path, const std::string &page) {
    if (std::getenv("UPDATE_DOCS") != nullptr) {
        std::ofstream file(path, std::ios::binary);
        file << page;
        ASSERT_TRUE(file.flush()) << "cannot write " << path;
        return;
    }
    const std::string committed = ReadFile(path);
    if (page == committed) {
        return;
    }
    const std::vector<std::string> expected = test::Lines(page);
    const std::vector<std::string> found = test::Lines(committed);
    std::size_t i = 0;
    while (i < expected.size() && i < found.size() && expected[i] == found[i]) {
        ++i;
    }
    const auto lineOf = [i](const std::vector<std::string> &lines) {
        return i < lines.size() ? lines[i] : std::string("(the end of the page)");
    };
    FAIL() << path << ":" << i + 1 << "\n  page:  " << lineOf(found) << "\n  table: " << lineOf(expected)
           << "\nUPDATE_DOCS=1 rewrites the page.";
}

TEST(ReturnCodeTable, IsTheOneOfTheDocumentation) {
    ExpectCommitted(RETURN_CODES_PAGE, RenderPage());
}

TEST(RuleTables, AreThoseOfTheDocumentation) {
    ExpectCommitted(RULES_PAGE, RenderRulesPage());
}

} // namespace return_codes
