// The commands of the tool: a file each, which adds its subcommand with its help and its callback.
#ifndef EMU_TOOL_COMMANDS_H
#define EMU_TOOL_COMMANDS_H

#include "emu/tool/terminal.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orxemu::tool {

// Trouble of the tool itself. `run` has another status for it, because all low ones may be the program's.
constexpr int kStatusTrouble = 2;
constexpr int kStatusRunTrouble = 125;

// The callback of a subcommand sets the exit status of the tool. `program` are the words behind the "--" of
// `run`: the program and its arguments, which are not the tool's to read.
void AddRun(CLI::App &app, int &status, std::vector<std::string> program);
void AddShow(CLI::App &app, int &status);
void AddDiff(CLI::App &app, int &status);
void AddReplay(CLI::App &app, int &status);

// Adds --no-colour and its other spelling.
void AddColourFlags(CLI::App &command, ColourChoice &choice);

} // namespace orxemu::tool

#endif
