// Faults as the command line of `orxemu run` names them.
#ifndef EMU_TOOL_RUN_FAULTS_H
#define EMU_TOOL_RUN_FAULTS_H

#include "emu/device/faults.h"

#include <string>
#include <vector>

namespace orxemu::tool {

// The values of one option each, in the order they were given.
struct FaultOptions {
    std::vector<std::string> fail;        // N[:ERRNO]
    std::vector<std::string> failAfter;   // N[:ERRNO]
    std::vector<std::string> failOpen;    // N[:ERRNO]
    std::vector<std::string> failRequest; // NAME[:ERRNO] or NUMBER[:ERRNO]
};

// Throws RunTrouble about a value that means nothing, saying which do, and about too many of them.
//
// The first --fail-request of a name is about the first request of that name, the second one about the
// second.
FaultList ParseFaults(const FaultOptions &options);

} // namespace orxemu::tool

#endif
