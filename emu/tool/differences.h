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

// Requests are compared in their order, objects by what they are. What belongs together decides what the
// references of both sides refer to: in the texts a request or an object of `b` goes by its name in `a`, or
// has a "+" in front when it is in `b` only. The differences point into `a` and `b`.
Differences CompareLogs(Meanings &a, Meanings &b);
Differences CompareStates(Meanings &a, Meanings &b);

} // namespace orxemu::tool

#endif
