// What requests and objects of the hardware mean, in a form that can be compared: leaves of text by path.
//
// Two runs that do the same may differ in unset fields, addresses of FCBs, handles and the indexes that the
// driver assigned: these are left out. An index that refers to something is replaced by what it refers to, the
// activation it came from or the object. The order of filters does not count, because all of them have to
// match; that of actions does.
#ifndef EMU_TOOL_MEANING_H
#define EMU_TOOL_MEANING_H

#include "emu/journal/log_file.h"
#include "emu/journal/state_file.h"
#include "emu/tool/leaves.h"

#include <functional>
#include <string>
#include <vector>

namespace orxemu::tool {

// A leaf that says which activation or object an index refers to, by its position among the meanings.
struct Reference {
    std::size_t leaf;
    std::size_t target;
    bool released; // the target had been taken out of the hardware before
};

struct Meaning {
    std::string kind;  // what can be compared with it: "activate-flow", "flow", "port uni0"
    std::string name;  // what people call it: "3" for a request by its number, "flow 0"
    std::string title; // of a request its kind; empty for an object, whose name says it
    std::string text;  // contents in a line
    Leaves leaves;     // the references among them are empty until NameReferences has run
    std::vector<Reference> references;
};
using Meanings = std::vector<Meaning>;

// A log's requests and failed openings in order, and its end.
Meanings MeaningOf(const journal::Log &log);

// Everything that the hardware holds: settings, tables, flows, rate limiters. The state is in the byte order of
// this machine.
Meanings MeaningOf(const OrxEmuState &state);

// Writes what references refer to: `name` answers by position.
void NameReferences(Meanings &meanings, const std::function<std::string(std::size_t)> &name);

} // namespace orxemu::tool

#endif
