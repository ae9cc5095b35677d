// Logs and states as lines for people.
#ifndef EMU_TOOL_LOG_VIEW_H
#define EMU_TOOL_LOG_VIEW_H

#include "emu/journal/log_file.h"
#include "emu/journal/state_file.h"
#include "emu/tool/terminal.h"

namespace orxemu::tool {

// A line per request and per opening that failed: number, name, contents, answer; with `verbose` every field
// below it. A complete log ends with a line that sums it up.
Columns LogView(const journal::Log &log, bool verbose);

// A line per setting that is not 0 and per object that is active, and one that counts them.
Columns StateView(const OrxEmuState &state, bool verbose);

} // namespace orxemu::tool

#endif
