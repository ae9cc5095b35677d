// How an operation ends: its checks in order, each with the code it gives, as a table that can be executed
// and printed.
//
// An operation is described over a scene: the arguments of one call that succeeds, and what that call finds
// in the library. Each row says in words what can be wrong, changes the scene accordingly and names the code
// that the call has to yield. Rows stand in the order of the checks. A row is executed on its own, together
// with each single later row, and together with all later rows; it has to yield its own code every time.
//
//     Describe<AsScene>("QIR_Free_AsTable", [](AsScene &s) { return QIR_Free_AsTable(s.hdl_p); })
//         .When("`asTblHdl_p` is null", e_RET_ERR_NULL_PTR, [](AsScene &s) { s.hdl_p = nullptr; })
//         .When("the table is ACTIVE", e_RET_ERR_STATE_ALREADY_ACTIVE, [](AsScene &s) { s.Activate(); })
//         .Otherwise()
#ifndef TESTS_RETURN_CODES_DESCRIBE_H
#define TESTS_RETURN_CODES_DESCRIBE_H

#include "tests/return_codes/codes.h"
#include "tests/support/library.h"

#include <cctype>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace return_codes {

// A way in which a row's condition comes about, and what the call prints then.
struct Way {
    bool alone = false; // only on its own, not together with later rows
    std::string by;     // function that names the code
    // Error lines in front of the closing line, where they are not just the code's name.
    std::vector<std::string> errors;
    bool hasErrors = false;
    std::string standardError; // what the driver layer has to say
};

struct Row {
    std::string condition;
    uint32_t code = 0;
    std::string answer;       // in place of the code, for an operation that yields no code
    bool unreachable = false; // no sequence of operations leads here; the test prepares the shadow
    std::vector<Way> ways;    // the first one also stands for the row together with earlier rows
};

struct Outcome {
    uint32_t code = 0;
    test::Output printed;
    bool changedContext = false;
    bool openedDevice = false;
};

// A way of a row, by their indexes.
struct Pick {
    std::size_t row;
    std::size_t way;
};

struct Operation {
    std::string name;
    std::string note;    // what the rows do not say
    bool closing = true; // ends a failure with a "retVal" line
    std::vector<Row> rows;
    // In a fresh library: sets the scene, changes it in the order of the picks and calls the operation.
    std::function<Outcome(const std::vector<Pick> &)> run;
};

// Operations under one heading of the page.
struct Family {
    std::string title;
    std::vector<Operation> operations;
};

// What all scenes have in common.
struct Scene {
    Scene() = default;
    Scene(const Scene &) = delete;
    Scene &operator=(const Scene &) = delete;

    // Changes that would get into the way of others are made just before the call.
    void AtLast(std::function<void()> change) { atLast.push_back(std::move(change)); }

    std::deque<std::function<void()>> atLast;
};

// A step of the preparation, which has to succeed.
void Must(uint32_t code);

// What the driver layer prints when it cannot open the device, and when the driver refuses a request.
std::string NoDevice();
std::string Refused(int request);

// The log level of calls.
inline uint32_t levelOfCalls = 1;

// Calls, with the scene's last changes made, and notes what is printed and touched.
Outcome CallAtLast(Scene &scene, const std::function<uint32_t()> &call);

template <class S> class Describe {
  public:
    using Change = std::function<void(S &)>;

    Describe(const std::string &name, std::function<uint32_t(S &)> call) : call_(std::move(call)) {
        operation_.name = name;
    }

    // What the call finds besides what every scene of the kind brings along.
    Describe &Given(Change prepare) {
        prepare_ = std::move(prepare);
        return *this;
    }
    Describe &Note(const std::string &text) {
        operation_.note = text;
        return *this;
    }
    Describe &WithoutClosingLine() {
        operation_.closing = false;
        return *this;
    }

    // The next row.
    Describe &When(const std::string &condition, uint32_t code, Change change) {
        Row row;
        row.condition = condition;
        row.code = code;
        operation_.rows.push_back(row);
        changes_.emplace_back();
        return AddWay(std::move(change));
    }
    // The last row: nothing is wrong.
    Describe &Otherwise() {
        return When("otherwise", e_RET_OK, [](S &) {});
    }
    // Another way to the condition of the row; it names the code in the same function as the way before it.
    Describe &Or(Change change) { return AddWay(std::move(change)); }
    // The same, executed on its own only.
    Describe &OnItsOwn(Change change) {
        AddWay(std::move(change));
        Last().alone = true;
        return *this;
    }

    // About the way added last: the function that names the code; the error lines, where they differ.
    Describe &By(const std::string &function) {
        Last().by = function;
        return *this;
    }
    Describe &Prints(const std::vector<std::string> &errors) {
        Last().errors = errors;
        Last().hasErrors = true;
        return *this;
    }
    // A handle's validator has a line of its own in front of the code's name.
    Describe &PrintsInvalidHdl(const std::string &validator, const std::string &why) {
        return Prints({test::Err(validator, why), test::CodeLine(validator, "e_RET_ERR_INVALID_HDL")});
    }
    // About the row added last.
    Describe &Unreachable() {
        operation_.rows.back().unreachable = true;
        return *this;
    }
    Describe &Answer(const std::string &answer) {
        operation_.rows.back().answer = answer;
        return *this;
    }

    // The row of a table's handle: a table that was never allocated, and an index beyond the pool. `kind` is
    // as in the name of the validator, e.g. "AsTbl"; `hdlOf` finds the scene's handle.
    template <class HdlOf>
    Describe &WhenBadTable(const std::string &kind, unsigned poolSize, unsigned neverAllocated, HdlOf hdlOf) {
        const std::string validator = "Validate_" + kind + "Hdl";
        std::string hdl = kind + "Hdl";
        hdl.front() = static_cast<char>(std::tolower(hdl.front()));
        return When("`" + hdl + "` is " + std::to_string(poolSize) + " or more, or the table is free",
                    e_RET_ERR_INVALID_HDL, [=](S &s) { hdlOf(s).f1.id = neverAllocated & 0xFFu; })
            .PrintsInvalidHdl(validator,
                              "Invalid " + hdl + "<" + std::to_string(neverAllocated) + ">, table is free")
            .Or([=](S &s) { hdlOf(s).f1.id = poolSize & 0xFFu; })
            .PrintsInvalidHdl(validator,
                              "Value out of range for " + hdl + "<" + std::to_string(poolSize) + ">");
    }

    // The row of the driver, where it stands in the order.
    Describe &Driver(int request, const std::string &condition = "the driver fails") {
        When(condition, e_RET_DRIVER_FAILURE,
             [request](S &s) { s.AtLast([request] { orxemu_failRequest(request, 1, 5); }); });
        Last().standardError = Refused(request);
        OnItsOwn([](S &s) { s.AtLast([] { orxemu_setPresent(0); }); });
        Last().standardError = NoDevice();
        return *this;
    }

    operator Operation() const {
        Operation operation = operation_;
        operation.run = [call = call_, prepare = prepare_,
                         changes = changes_](const std::vector<Pick> &picks) {
            S scene;
            if (prepare) {
                prepare(scene);
            }
            for (const Pick &pick : picks) {
                changes[pick.row][pick.way](scene);
            }
            return CallAtLast(scene, [&] { return call(scene); });
        };
        return operation;
    }

  private:
    Describe &AddWay(Change change) {
        Way way;
        if (!operation_.rows.back().ways.empty()) {
            way.by = Last().by;
        }
        operation_.rows.back().ways.push_back(way);
        changes_.back().push_back(std::move(change));
        return *this;
    }
    Way &Last() { return operation_.rows.back().ways.back(); }

    Operation operation_;
    std::function<uint32_t(S &)> call_;
    Change prepare_;
    std::vector<std::vector<Change>> changes_; // by row and way
};

// An operation that succeeds whatever its arguments are: one row.
Operation Always(const std::string &name, const std::string &note, std::function<uint32_t()> call);
// The same, of an operation that does nothing.
Operation Placeholder(const std::string &name, std::function<uint32_t()> call);

} // namespace return_codes

#endif
