// The command line: what is refused before anything runs, and what help says.
#include "tests/orxemu_run/run_kit.h"

namespace run_test {

namespace {

using ArgumentsTest = RunTest;

struct ArgumentRow {
    Words options;
    std::string message; // what standard error begins with
};

TEST_F(ArgumentsTest, WrongOnesAreRefusedBeforeAnythingRuns) {
    const std::string counted = "is not a number from 1; the value is N or N:ERRNO";
    const std::string errnos = "is not an error's name, such as EIO or ENODEV, or its number";
    const ArgumentRow rows[] = {
        {{"--fail", "0"}, "--fail 0: \"0\" " + counted},
        {{"--fail", "x"}, "--fail x: \"x\" " + counted},
        {{"--fail", "-1"}, ""},
        {{"--fail", "+1"}, "--fail +1: \"+1\" " + counted},
        {{"--fail", "1x"}, "--fail 1x: \"1x\" " + counted},
        {{"--fail", "4294967296"}, "--fail 4294967296: \"4294967296\" " + counted},
        {{"--fail", ":EIO"}, "--fail :EIO: \"\" " + counted},
        {{"--fail", "1:"}, "--fail 1:: \"\" " + errnos},
        {{"--fail", "1:EWHAT"}, "--fail 1:EWHAT: \"EWHAT\" " + errnos},
        {{"--fail", "1:0"}, "--fail 1:0: \"0\" " + errnos},
        {{"--fail", "1:EIO:EIO"}, "--fail 1:EIO:EIO: \"EIO:EIO\" " + errnos},
        {{"--fail", "1:99999"}, "--fail 1:99999: \"99999\" " + errnos + ", 1 to 4095\n"},
        {{"--fail", "1:4096"}, "--fail 1:4096: \"4096\" " + errnos},
        {{"--fail-request", "39:4096"}, "--fail-request 39:4096: \"4096\" " + errnos},
        {{"--fail-after", "0:EIO"}, "--fail-after 0:EIO: \"0\" " + counted},
        {{"--fail-open", "1:-5"}, "--fail-open 1:-5: \"-5\" " + errnos},
        {{"--fail-request", "flow"},
         "--fail-request: there is no request \"flow\"; the requests are set-global (17), set-port (19), "
         "activate-as-table (21), deactivate-as-table (22), activate-dscp-table (23), deactivate-dscp-table "
         "(24), "
         "activate-pac-table (27), deactivate-pac-table (28), activate-flow (29), deactivate-flow (30), "
         "get-flow-hits (38), set-rl-status (39), set-rl-tci (40), activate-rl (41), deactivate-rl (42), "
         "update-forwarding (43)\n"},
        {{"--fail-request", "0"}, "--fail-request: there is no request \"0\"; "},
        {{"--fail-request", "18"}, "--fail-request: there is no request \"18\"; "},
        {{"--fail-request", "activate-flow:E"}, "--fail-request activate-flow:E: \"E\" " + errnos},
        {{"--fail"}, ""},
        {{"--unknown"}, ""},
        {{"--log", "a", "--log", "b"}, ""},
        {{"--log", ""}, "--log: its value is empty\n"},
        {{"--log="}, "--log: its value is empty\n"},
        {{"--state=", "--log", Path("a.json")}, "--state: its value is empty\n"},
        {{"--summary="}, ""},
        {{"--state", ""}, "--state: its value is empty\n"},
        {{"--emulator", ""}, "--emulator: its value is empty\n"},
        {{"--library", ""}, "--library: its value is empty\n"},
        {{"--fail", ""}, "--fail: its value is empty\n"},
        {{"word"}, ""},
        {{"--library", "/nowhere/lib.so"}, "/nowhere/lib.so is not there\n"},
        {{"--library", "/dev/null"}, "/dev/null is no library that can be preloaded\n"},
    };
    for (const ArgumentRow &row : rows) {
        std::string name;
        for (const std::string &option : row.options) {
            name += option + " ";
        }
        const Outcome outcome = RunSteps(row.options, {"error=ran"});
        EXPECT_EQ(outcome.status, 125) << name;
        EXPECT_EQ(outcome.out, "") << name;
        EXPECT_EQ(outcome.err.rfind("orxemu: " + row.message, 0), 0u) << name << "gave " << outcome.err;
        EXPECT_EQ(outcome.err.find("ran\n"), std::string::npos) << name;
    }
}

TEST_F(ArgumentsTest, OtherCommandsRefuseEmptyValuesToo) {
    for (const char *option : {"--device", "--log", "--state"}) {
        const Outcome outcome = Finished(Tool({"replay", option, "", Path("a.json")}));
        EXPECT_EQ(outcome.status, 2) << option;
        EXPECT_EQ(outcome.err.rfind(std::string("orxemu: ") + option + ": its value is empty\n", 0), 0u)
            << outcome.err;
    }
    EXPECT_EQ(Finished(Tool({"show", ""})).err.rfind("orxemu: FILE: its value is empty\n", 0), 0u);
}

TEST_F(ArgumentsTest, ProgramIsMissing) {
    for (const Words &words : {Words{"run"}, Words{"run", "--"}, Words{"run", "--summary", "--"}}) {
        const Outcome outcome = Finished(Tool(words));
        EXPECT_EQ(outcome.status, 125);
        EXPECT_EQ(outcome.err,
                  "orxemu: the program is missing: orxemu run [OPTIONS] -- PROGRAM [ARGUMENTS]...\n");
    }
}

TEST_F(ArgumentsTest, CommandIsMissingOrThereIsNone) {
    const std::string more = "orxemu: \"orxemu --help\" explains the command line\n";
    EXPECT_EQ(Finished(Tool({})).err, "orxemu: A subcommand is required\n" + more);
    const Outcome outcome = Finished(Tool({"shwo", Path("a.json")}));
    EXPECT_EQ(outcome.err, "orxemu: there is no command \"shwo\"\n" + more);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(Finished(Tool({"-V"})).err, "orxemu: there is no command \"-V\"\n" + more);
}

struct ProgramRow {
    std::string program;
    int status;
    std::string message;
};

TEST_F(ArgumentsTest, ProgramCannotBeRun) {
    WriteFile(Path("plain"), "echo no\n");
    WriteProgram("script", "#!/nowhere/interpreter\n");
    WriteProgram("nothing executable", "echo no\n");
    std::vector<ProgramRow> rows = {
        {Path("nothing"), 127, Path("nothing") + " is not there, or not in PATH\n"},
        {"no-such-command-anywhere", 127, "no-such-command-anywhere is not there, or not in PATH\n"},
        {"", 127, "the program's name is empty\n"},
        {"tab\tand \x1b[31m", 127, "tab\\x09and \\x1b[31m is not there, or not in PATH\n"},
        {Path(""), 126, Path("") + " cannot be run: Is a directory\n"},
        {Path("plain"), 126, Path("plain") + " cannot be run: Permission denied\n"},
    };
    if (!Emulated()) {
        rows.push_back({Path("script"), 126, Path("script") + " cannot be run: No such file or directory\n"});
        rows.push_back(
            {Path("nothing executable"), 126,
             Path("nothing executable") +
                 " cannot be run (a script needs a first line with #!, a program of another processor "
                 "--emulator): Exec format error\n"});
    }
    for (const ProgramRow &row : rows) {
        const Outcome outcome = Finished(RunWords({}, {row.program}));
        EXPECT_EQ(outcome.status, row.status) << row.program;
        EXPECT_EQ(outcome.err, "orxemu: " + row.message);
    }
}

TEST_F(ArgumentsTest, VersionAndHelp) {
    const Outcome version = Finished(Tool({"--version"}));
    EXPECT_EQ(version.out, "orxemu " VERSION "\n");
    EXPECT_EQ(version.status, 0);
    const Outcome help = Finished(Tool({"--help"}));
    EXPECT_EQ(help.status, 0);
    for (const char *word : {"run", "show", "diff", "replay", "--version", "Examples:"}) {
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    }
    const Outcome run = Finished(Tool({"run", "--help"}));
    EXPECT_EQ(run.status, 0);
    for (const char *word :
         {"Usage: orxemu run [OPTIONS] -- PROGRAM [ARGUMENTS]...", "--log FILE", "--state FILE", "--summary",
          "--fail N[:ERRNO]", "--fail-after", "--fail-request NAME", "--fail-open", "--emulator COMMAND",
          "--library FILE", "Exit status:", "Examples:"}) {
        EXPECT_NE(run.out.find(word), std::string::npos) << word;
    }
    for (const Words &words : {Words{}, Words{"unknown"}, Words{"--unknown"}}) {
        EXPECT_EQ(Finished(Tool(words)).status, 2);
    }
}

} // namespace

} // namespace run_test
