// Why `orxemu run` cannot do what it was asked for, and the exit status that says so.
#ifndef EMU_TOOL_RUN_TROUBLE_H
#define EMU_TOOL_RUN_TROUBLE_H

#include "emu/tool/commands.h"

#include <cstring>
#include <stdexcept>

namespace orxemu::tool {

constexpr int kStatusCannotRun = 126;
constexpr int kStatusNotFound = 127;

struct RunTrouble : std::runtime_error {
    explicit RunTrouble(const std::string &what, int statusOfRun = kStatusRunTrouble)
        : std::runtime_error(what), status(statusOfRun) {}
    int status;
};

// "WHAT: reason", with the reason of an errno.
inline RunTrouble SystemTrouble(const std::string &what, int err, int status = kStatusRunTrouble) {
    return RunTrouble(what + ": " + std::strerror(err), status);
}

} // namespace orxemu::tool

#endif
