// Decoded objects as leaves of text by path.
#ifndef EMU_TOOL_LEAVES_H
#define EMU_TOOL_LEAVES_H

#include "emu/journal/records.h"

#include <string>
#include <vector>

namespace orxemu::tool {

struct Leaf {
    std::string path; // "fcb.forwarding.dst.gemPortIdxMask"
    std::string text; // "0x8"
    bool unset = false;
    friend bool operator==(const Leaf &, const Leaf &) = default;
};
using Leaves = std::vector<Leaf>;

// Every field of a decoded object, unset ones and all indexes included; a list of numbers is one leaf.
Leaves AllFields(const std::string &path, const journal::Json &decoded);

// Adds the fields that mean something beyond one run of a program: nothing that is unset, no index that the
// driver assigned, no address, no handle. Elements of lists are leaves of their own. Filters are sorted,
// because all of them have to match; actions keep their order.
void AddMeaning(const std::string &path, const journal::Json &decoded, Leaves &leaves);

} // namespace orxemu::tool

#endif
