// orxemu diff: what differs between two logs or states by meaning.
#include "emu/tool/commands.h"
#include "emu/tool/differences.h"
#include "emu/tool/journal_file.h"
#include "emu/tool/terminal.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace orxemu::tool {

namespace {

constexpr int kStatusDifferent = 1;

struct Options {
    std::string pathA;
    std::string pathB;
    bool brief = false;
    ColourChoice colour;
};

std::string Joined(const std::string &a, const std::string &b) {
    return a.empty() || b.empty() ? a + b : a + "  " + b;
}

std::string WholeLine(const Meaning &meaning) {
    const bool both = !meaning.title.empty() && !meaning.text.empty();
    return Joined(meaning.name, meaning.title + (both ? " " : "") + meaning.text);
}

std::string ChangedLine(const Meaning &before, const Meaning &after) {
    const std::string names = before.name == after.name ? before.name : before.name + " → " + after.name;
    return Joined(names, before.title);
}

std::string OrNothing(const std::string &text) {
    return text.empty() ? "(nothing)" : text;
}

std::string DifferencesText(const Differences &differences, bool colours) {
    std::string text;
    const auto addLine = [&](const std::string &line, Colour colour) {
        text += Paint(line, colour, colours) + '\n';
    };
    for (const Difference &difference : differences) {
        if (difference.after == nullptr) {
            addLine("- " + WholeLine(*difference.before), Colour::Red);
        } else if (difference.before == nullptr) {
            addLine("+ " + WholeLine(*difference.after), Colour::Green);
        } else {
            addLine("~ " + ChangedLine(*difference.before, *difference.after), Colour::Yellow);
            for (const Change &change : difference.changes) {
                text += "    " + change.path + ": " + Paint(OrNothing(change.before), Colour::Red, colours) +
                        " → " + Paint(OrNothing(change.after), Colour::Green, colours) + '\n';
            }
        }
    }
    return text;
}

Differences Compare(Meanings &a, Meanings &b, journal::FileKind kind) {
    return kind == journal::FileKind::Log ? CompareLogs(a, b) : CompareStates(a, b);
}

Meanings MeaningOfFile(const JournalFile &file) {
    return file.kind == journal::FileKind::Log ? MeaningOf(file.log) : MeaningOf(*file.state);
}

const char *NameOf(journal::FileKind kind) {
    return kind == journal::FileKind::Log ? "a log" : "a state";
}

int Diff(const Options &options) {
    JournalFile fileA;
    JournalFile fileB;
    const bool goodA = LoadJournal(options.pathA, fileA);
    const bool goodB = LoadJournal(options.pathB, fileB);
    if (!goodA || !goodB) {
        return kStatusTrouble;
    }
    if (fileA.kind != fileB.kind) {
        Complain(options.pathA + " is " + NameOf(fileA.kind) + " and " + options.pathB + " is " +
                 NameOf(fileB.kind) + ": they cannot be compared");
        return kStatusTrouble;
    }
    Meanings a = MeaningOfFile(fileA);
    Meanings b = MeaningOfFile(fileB);
    const Differences differences = Compare(a, b, fileA.kind);
    if (differences.empty()) {
        return 0;
    }
    const std::string text = options.brief ? options.pathA + " and " + options.pathB + " differ\n"
                                           : DifferencesText(differences, UseColours(options.colour));
    return WriteOutput(text) ? kStatusDifferent : kStatusTrouble;
}

} // namespace

void AddDiff(CLI::App &app, int &status) {
    const auto options = std::make_shared<Options>();
    CLI::App *diff = app.add_subcommand("diff", "Say what differs between two logs or two states");
    diff->footer(
        "They are compared by meaning: indexes that the driver assigned, addresses, handles, unset bytes and "
        "the\n"
        "byte order do not count.\n\n"
        "\"- N\" is a request (or an object) of A only, \"+ N\" one of B only, \"~ N → M\" one that has\n"
        "changed, with the fields that differ.\n\n"
        "Exit status: 0 no difference, 1 differences, 2 trouble.\n\n"
        "Example: orxemu diff yesterday.json today.json");
    diff->add_option("A", options->pathA, "Log or state")->required()->type_name("");
    diff->add_option("B", options->pathB, "Another one of the same sort")->required()->type_name("");
    diff->add_flag("-q,--brief", options->brief, "Say only whether they differ");
    AddColourFlags(*diff, options->colour);
    diff->callback([options, &status] { status = Diff(*options); });
}

} // namespace orxemu::tool
