// The program orxemu: the command line, down to the command.
#include "emu/tool/commands.h"
#include "emu/tool/terminal.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <span>
#include <string_view>

namespace orxemu::tool {

void AddColourFlags(CLI::App &command, ColourChoice &choice) {
    command.add_flag("--no-colour,--no-color", choice.off,
                     "No colours (they are used on a terminal only, and not when NO_COLOR is set)");
}

} // namespace orxemu::tool

namespace {

constexpr const char *kDescription = "Runs programs on the stand-in for the ORX kernel driver, and reads, "
                                     "compares and replays what it recorded.";
constexpr const char *kFooter = "Examples:\n"
                                "  orxemu run --log a.json --summary -- orxtest -t 3\n"
                                "  orxemu show a.json\n"
                                "  orxemu diff a.json b.json\n"
                                "  orxemu replay a.json --device /dev/pktorx\n"
                                "\n"
                                "orxemu COMMAND --help says what a command can do.";

// The words in front of the "--" of `run`; those behind it belong to the program.
std::span<char *> OwnWords(std::span<char *> words) {
    if (words.size() < 2 || std::string_view(words[1]) != "run") {
        return words;
    }
    const auto mark = std::find_if(words.begin(), words.end(),
                                   [](const char *word) { return std::string_view(word) == "--"; });
    return words.first(static_cast<std::size_t>(mark - words.begin()));
}

// The words as the parser takes them: the last one first, and "--log=" with an empty value, for which it would
// take the next word.
std::vector<std::string> ParserWords(std::span<char *> words) {
    std::vector<std::string> parsed;
    for (const std::string_view word : words.subspan(words.empty() ? 0 : 1)) {
        if (word.starts_with("--") && word.find('=') == word.size() - 1) {
            parsed.emplace_back(word.substr(0, word.size() - 1));
            parsed.emplace_back();
        } else {
            parsed.emplace_back(word);
        }
    }
    std::reverse(parsed.begin(), parsed.end());
    return parsed;
}

// An empty value comes from a shell variable that is not set, and would pass for an option that is not given.
void RefuseEmptyValues(CLI::App &app) {
    const CLI::Validator notEmpty(
        // cppcheck-suppress constParameter ; a validator may change the value
        [](std::string &value) { return std::string(value.empty() ? "its value is empty" : ""); }, "");
    for (CLI::App *command : app.get_subcommands({})) {
        for (CLI::Option *option : command->get_options()) {
            const bool isFlag = option->get_items_expected_max() == 0;
            if (!isFlag) {
                option->check(notEmpty);
            }
        }
    }
}

// When the caller has closed a standard stream, the next file that the tool opens would get its number, and
// messages would go into a log. /dev/null takes the number, opened so that using it fails as before. The
// program that is run finds the stream closed.
void TakeMissingStreams() {
    constexpr int kUseless[] = {O_WRONLY, O_RDONLY, O_RDONLY};
    for (int fd = 0; fd < static_cast<int>(std::size(kUseless)); ++fd) {
        if (fcntl(fd, F_GETFD) < 0) {
            // It gets the lowest number that is free, this one.
            open("/dev/null", kUseless[fd] | O_CLOEXEC);
        }
    }
}

// A write beyond the user's limit of file sizes fails, instead of ending the tool by a signal. A handler, not
// SIG_IGN, which the program that is run would inherit.
void TakeTheFileSizeLimitForAnError() {
    if (std::signal(SIGXFSZ, [](int) {}) == SIG_IGN) {
        std::signal(SIGXFSZ, SIG_IGN);
    }
}

// Help and the version are no errors: they go to standard output as they are.
int Explain(const CLI::App &app, const CLI::ParseError &error) {
    if (error.get_exit_code() == 0) {
        return app.exit(error);
    }
    const std::vector<CLI::App *> commands = app.get_subcommands();
    const std::string command = commands.empty() ? "" : commands.front()->get_name();
    const std::vector<std::string> unknown = app.remaining();
    orxemu::tool::Complain(command.empty() && !unknown.empty()
                               ? "there is no command \"" + unknown.front() + "\""
                               : error.what());
    orxemu::tool::Complain("\"orxemu " + command + (command.empty() ? "" : " ") +
                           "--help\" explains the command line");
    return command == "run" ? orxemu::tool::kStatusRunTrouble : orxemu::tool::kStatusTrouble;
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): what is not explained below has no explanation
int main(int argc, char **argv) {
    TakeMissingStreams();
    TakeTheFileSizeLimitForAnError();
    const std::span<char *> words(argv, static_cast<std::size_t>(argc));
    const std::span<char *> own = OwnWords(words);
    std::vector<std::string> program;
    if (own.size() < words.size()) {
        program.assign(words.begin() + static_cast<std::ptrdiff_t>(own.size()) + 1, words.end());
    }

    CLI::App app(kDescription, "orxemu");
    int status = 0;
    app.set_version_flag("--version", "orxemu " ORXEMU_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.footer(kFooter);
    app.require_subcommand(1);
    orxemu::tool::AddRun(app, status, std::move(program));
    orxemu::tool::AddShow(app, status);
    orxemu::tool::AddDiff(app, status);
    orxemu::tool::AddReplay(app, status);
    RefuseEmptyValues(app);
    try {
        app.parse(ParserWords(own));
    } catch (const CLI::ParseError &error) {
        return Explain(app, error);
    }
    return status;
}
