// What the hardware holds, in a few lines.
#ifndef EMU_TOOL_SUMMARY_H
#define EMU_TOOL_SUMMARY_H

#include "emu/orxemu.h"

#include <string>

namespace orxemu::tool {

// A table: a row per kind of object with how many are active, how many there can be and which indexes they
// have, and the settings that are not as they are after power-on.
std::string SummaryText(const OrxEmuState &state);

} // namespace orxemu::tool

#endif
