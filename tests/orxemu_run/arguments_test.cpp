// The command line: what is refused before anything runs, and what help says.
#include "tests/orxemu_run/run_kit.h"

namespace run_test {

namespace {

using ArgumentsTest = RunTest;

TEST_F(ArgumentsTest, WrongOnes) {
    const std::string noNumber = "is not a number from 1; the value is N or N:ERRNO";
    const std::string noErrno = "is not an error's name, such as EIO or ENODEV, or its number";
    const std::pair<Words, std::string> rows[] = {
        {{"--fail", "0"}, "--fail 0: \"0\" " + noNumber},
        {{"--fail", "x"}, "--fail x: \"x\" " + noNumber},
        {{"--fail", "-1"}, ""},
        {{"--fail", "+1"}, "--fail +1: \"+1\" " + noNumber},
        {{"--fail", "1x"}, "--fail 1x: \"1x\" " + noNumber},
        {{"--fail", "4294967296"}, "--fail 4294967296: \"4294967296\" " + noNumber},
        {{"--fail", ":EIO"}, "--fail :EIO: \"\" " + noNumber},
        {{"--fail", "1:"}, "--fail 1:: \"\" " + noErrno},
        {{"--fail", "1:EWHAT"}, "--fail 1:EWHAT: \"EWHAT\" " + noErrno},
        {{"--fail", "1:0"}, "--fail 1:0: \"0\" " + noErrno},
        {{"--fail", "1:EIO:EIO"}, "--fail 1:EIO:EIO: \"EIO:EIO\" " + noErrno},
        {{"--fail", "1:4096"}, "--fail 1:4096: \"4096\" " + noErrno + ", 1 to 4095\n"},
        {{"--fail-after", "0:EIO"}, "--fail-after 0:EIO: \"0\" " + noNumber},
        {{"--fail-open", "1:-5"}, "--fail-open 1:-5: \"-5\" " + noErrno},
        {{"--fail-request", "39:4096"}, "--fail-request 39:4096: \"4096\" " + noErrno},
        {{"--fail-request", "flow"},
         "--fail-request: there is no request \"flow\"; the requests are set-global (17), set-port (19), "
         "activate-as-table (21), deactivate-as-table (22), activate-dscp-table (23), deactivate-dscp-table "
         "(24), activate-pac-table (27), deactivate-pac-table (28), activate-flow (29), deactivate-flow "
         "(30), get-flow-hits (38), set-rl-status (39), set-rl-tci (40), activate-rl (41), deactivate-rl "
         "(42), update-forwarding (43)\n"},
        {{"--fail-request", "0"}, "--fail-request: there is no request \"0\"; "},
        {{"--fail-request", "18"}, "--fail-request: there is no request \"18\"; "},
        {{"--fail-request", "activate-flow:E"}, "--fail-request activate-flow:E: \"E\" " + noErrno},
        {{"--fail"}, ""},
        {{"--unknown"}, ""},
        {{"word"}, ""},
        {{"--log", "a", "--log", "b"}, ""},
        {{"--log="}, "--log: its value is empty\n"},
        {{"--state=", "--log", Path("a.json")}, "--state: its value is empty\n"},
        {{"--summary="}, ""},
        {{"--state", ""}, "--state: its value is empty\n"},
        {{"--emulator", ""}, "--emulator: its value is empty\n"},
        {{"--library", ""}, "--library: its value is empty\n"},
        {{"--fail", ""}, "--fail: its value is empty\n"},
        {{"--library", "/nowhere/lib.so"}, "/nowhere/lib.so is not there\n"},
        {{"--library", "/dev/null"}, "/dev/null is no library that can be preloaded\n"},
        {{"--log", Path("no/a.json")}, Path("no/a.json: cannot be written: No such file or directory\n")},
    };
    for (const auto &[options, message] : rows) {
        ExpectRefused(RunWords(options, Steps({"error=ran"})), 125, message);
    }
    EXPECT_EQ(Files(), Words());
}

TEST_F(ArgumentsTest, MissingOnesAndOtherCommands) {
    const std::string noProgram = "the program is missing: orxemu run [OPTIONS] -- PROGRAM [ARGUMENTS]...\n";
    const std::string more = "orxemu: \"orxemu --help\" explains the command line\n";
    ExpectRefused(Tool({"run"}), 125, noProgram);
    ExpectRefused(Tool({"run", "--summary", "--"}), 125, noProgram);
    ExpectRefused(Tool({}), 2, "A subcommand is required\n" + more);
    ExpectRefused(Tool({"--unknown"}), 2, "");
    ExpectRefused(Tool({"shwo", "a"}), 2, "there is no command \"shwo\"\n" + more);
    ExpectRefused(Tool({"-V"}), 2, "there is no command \"-V\"\n" + more);
    ExpectRefused(Tool({"show", ""}), 2, "FILE: its value is empty\n");
    for (const std::string option : {"--device", "--log", "--state"}) {
        ExpectRefused(Tool({"replay", option, "", "a"}), 2, option + ": its value is empty\n");
    }
}

TEST_F(ArgumentsTest, ProgramsThatCannotBeRun) {
    WriteFile(Path("plain"), "echo no\n");
    WriteProgram("script", "#!/nowhere/interpreter\n");
    WriteProgram("nothing executable", "echo no\n");
    const std::string notThere = " is not there, or not in PATH\n";
    ExpectRefused(RunWords({}, {Path("nothing")}), 127, Path("nothing") + notThere);
    ExpectRefused(RunWords({}, {"no-such-command"}), 127, "no-such-command" + notThere);
    ExpectRefused(RunWords({}, {""}), 127, "the program's name is empty\n");
    ExpectRefused(RunWords({}, {"tab\tand \x1b[31m"}), 127, "tab\\x09and \\x1b[31m" + notThere);
    ExpectRefused(RunWords({}, {Path("")}), 126, Path("") + " cannot be run: Is a directory\n");
    ExpectRefused(RunWords({}, {Path("plain")}), 126, Path("plain cannot be run: Permission denied\n"));
    if (!Emulated()) {
        ExpectRefused(RunWords({}, {Path("script")}), 126,
                      Path("script cannot be run: No such file or directory\n"));
        ExpectRefused(
            RunWords({}, {Path("nothing executable")}), 126,
            Path("nothing executable cannot be run (a script needs a first line with #!, a program of "
                 "another processor --emulator): Exec format error\n"));
    }
    const auto emulated = [](const std::string &emulator, const std::string &program) {
        return Tool({"run", "--emulator", emulator, "--", program});
    };
    ExpectRefused(emulated("env", Path("script")), 126,
                  Path("script is no program that --emulator can run\n"));
    ExpectRefused(emulated("no-such-emulator -L /", DEVICE_USER), 125, "no-such-emulator" + notThere);
    for (const std::string line : {"\"open", "'", "  "}) {
        ExpectRefused(emulated(line, DEVICE_USER), 125, "--emulator: \"" + line + "\" is no command line\n");
    }
}

TEST_F(ArgumentsTest, VersionAndHelp) {
    EXPECT_EQ(Finished(Tool({"--version"})).out, "orxemu " VERSION "\n");
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
}

} // namespace

} // namespace run_test
