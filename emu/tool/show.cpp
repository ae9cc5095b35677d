// orxemu show: a log or a state for people.
#include "emu/tool/commands.h"
#include "emu/tool/journal_file.h"
#include "emu/tool/log_view.h"
#include "emu/tool/terminal.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace orxemu::tool {

namespace {

struct Options {
    std::string path;
    bool verbose = false;
    ColourChoice colour;
};

int Show(const Options &options) {
    JournalFile file;
    Columns view;
    std::string complaint;
    const bool good = LoadJournal(options.path, file, complaint);
    if (good && file.kind == journal::FileKind::State) {
        view = StateView(*file.state, options.verbose);
    } else {
        view = LogView(file.log, options.verbose); // as far as it is good
    }
    const bool written = WriteOutput(view.Text(UseColours(options.colour)));
    if (!good) {
        Complain(complaint);
    }
    return good && written ? 0 : kStatusTrouble;
}

} // namespace

void AddShow(CLI::App &app, int &status) {
    const auto options = std::make_shared<Options>();
    CLI::App *show = app.add_subcommand("show", "Show a log or a state for people");
    show->footer(
        "A line per request with its number, its name, what it says and the answer, or a line per object "
        "that\n"
        "the hardware holds. Flows read like rules: what they match, → what they rewrite, → where they\n"
        "forward to.\n\n"
        "A damaged log is shown up to the damage. Exit status: 0, or 2 for trouble.\n\n"
        "Example: orxemu show -v a.json");
    show->add_option("FILE", options->path, "Log or state")->required()->type_name("");
    show->add_flag("-v,--verbose", options->verbose, "All fields below each line, with those that are unset");
    AddColourFlags(*show, options->colour);
    show->callback([options, &status] { status = Show(*options); });
}

} // namespace orxemu::tool
