// What differs between two logs or two states by meaning.
#ifndef EMU_TOOL_DIFFERENCES_H
#define EMU_TOOL_DIFFERENCES_H

#include "emu/tool/meaning.h"

namespace orxemu::tool {

// A leaf that is different; a text is empty where there is no such leaf.
struct Change {
    std::string path;
    std::string before;
    std::string after;
};

// `changes` is filled when both sides are there.
struct Difference {
    const Meaning *before = nullptr; // null: added
    const Meaning *after = nullptr;  // null: removed
    std::vector<Change> changes;
};
using Differences = std::vector<Difference>;

// Requests are compared in their order, objects by what they are. In the texts a reference names a request or
// an object of `b` as its partner in `a` is called, or with a "+" in front when it has no partner. The
// differences point into `a` and `b`.
Differences CompareLogs(Meanings &a, Meanings &b);
Differences CompareStates(Meanings &a, Meanings &b);

} // namespace orxemu::tool

#endif
