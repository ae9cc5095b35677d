// Where a command is told to keep a state.
#ifndef EMU_TOOL_STATE_PLACE_H
#define EMU_TOOL_STATE_PLACE_H

#include "emu/journal/state_file.h"

#include <string>

namespace orxemu::tool {

// False, with `problem` set, where no state can be kept: that is said before anything runs, and not when it
// has. `isThere`: there is a file, which has to be a state.
bool LookAtStatePlace(const std::string &path, bool &isThere, journal::Problem &problem);

// What the hardware holds at first. A file that is not there is the power-on state, and `state` stays as it is.
// False, with `problem` set, for anything but a good state.
bool LoadState(const std::string &path, OrxEmuState &state, journal::Problem &problem);

} // namespace orxemu::tool

#endif
