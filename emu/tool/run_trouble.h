// Why `orxemu run` cannot do what it was asked for, and the exit status that says so.
#ifndef EMU_TOOL_RUN_TROUBLE_H
#define EMU_TOOL_RUN_TROUBLE_H

#include "emu/tool/commands.h"

#include <stdexcept>
#include <string>

namespace orxemu::tool {

constexpr int kStatusCannotRun = 126;
constexpr int kStatusNotFound = 127;

class RunTrouble : public std::runtime_error {
  public:
    explicit RunTrouble(const std::string &what, int status = kStatusRunTrouble)
        : std::runtime_error(what), status_(status) {}
    int status() const { return status_; }

  private:
    int status_;
};

// "WHAT: reason", with the reason of an errno.
RunTrouble SystemTrouble(const std::string &what, int err, int status = kStatusRunTrouble);

} // namespace orxemu::tool

#endif
