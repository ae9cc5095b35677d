// `orxemu run`: a program on the stand-in, from its start to what it leaves behind.
#include "emu/journal/file_names.h"
#include "emu/journal/log_file.h"
#include "emu/journal/state_file.h"
#include "emu/server/server.h"
#include "emu/tool/commands.h"
#include "emu/tool/run_faults.h"
#include "emu/tool/run_process.h"
#include "emu/tool/run_trouble.h"
#include "emu/tool/state_place.h"
#include "emu/tool/summary.h"
#include "emu/tool/terminal.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

namespace orxemu::tool {

namespace {

constexpr const char *kFooter =
    "The program finds /dev/pktorx and runs to its end; its output and its exit status are its own.\n"
    "\n"
    "N counts requests (openings of the device) of all its processes, from 1. NAME is the name of a request "
    "as\n"
    "a log has it, or its number. ERRNO is an error's name or number, EIO when it is left out. These "
    "options\n"
    "may be given several times; --fail-request given twice for one NAME is about its first two requests.\n"
    "\n"
    "Exit status: the program's own, 128 and the signal's number when a signal killed it; 125 trouble of "
    "orxemu\n"
    "itself, also when a log or a state cannot be written though the program ended with 0; 126 the program\n"
    "cannot be run; 127 it is not there.\n"
    "\n"
    "Examples:\n"
    "  orxemu run -- orxtest -t 3\n"
    "  orxemu run --log a.json --fail 5 --fail-request activate-flow:ENOSPC -- orxtest -t 3\n"
    "  orxemu run --state hw.json --summary -- sh -c 'orxtest -t 1; orxtest -t 2'\n"
    "  qemu-ppc -L /usr/powerpc-linux-gnu build/powerpc/emu/orxemu run \\\n"
    "      --emulator \"qemu-ppc -L /usr/powerpc-linux-gnu\" -- build/powerpc/app/orxtest -t 3";

struct RunOptions {
    std::string log;
    std::string state;
    bool summary = false;
    FaultOptions faults;
    ProgramOptions program;
};

class UsageFormatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App *, std::string) const override {
        return "Usage: orxemu run [OPTIONS] -- PROGRAM [ARGUMENTS]...\n";
    }
};

journal::LogEntry EntryOf(const Request &request, const Answer &answer) {
    OrxEmuRequest kept;
    Record(request, answer, kept);
    journal::LogEntry entry;
    entry.request = request.number;
    entry.recordRead = request.record != nullptr;
    if (entry.recordRead) {
        entry.in.assign(kept.in, kept.in + kept.recordSize);
        entry.out.assign(kept.out, kept.out + kept.recordSize);
    }
    entry.fcb.assign(kept.fcb, kept.fcb + kept.fcbSize);
    return entry;
}

journal::LogEntry FailedOpen() {
    journal::LogEntry entry;
    entry.isOpen = true;
    return entry;
}

// The log of a run, if it has one. The program does not wait for it: lines are written when it asks for
// nothing.
class RunLog {
  public:
    void Open(const RunOptions &options) {
        if (journal::NameOneFile(options.log, options.state)) {
            throw RunTrouble("--log and --state are the same file");
        }
        if (!writer_.Open(options.log, journal::kHostOrder)) {
            throw RunTrouble(writer_.problem().Text());
        }
    }

    void Add(journal::LogEntry entry, const Answer &answer) {
        constexpr std::size_t kMost = 1024;
        ++(entry.isOpen ? end_.failedOpens : end_.requests);
        if (!writer_.IsOpen()) {
            return;
        }
        entry.err = answer.err;
        entry.fault = answer.fault == FaultKind::None         ? journal::FaultMark::None
                      : answer.fault == FaultKind::LoseAnswer ? journal::FaultMark::AnswerLost
                                                              : journal::FaultMark::Fail;
        unwritten_.push_back(std::move(entry));
        if (unwritten_.size() == kMost) {
            Write();
        }
    }

    void Write() {
        for (const journal::LogEntry &entry : unwritten_) {
            writer_.Write(entry);
        }
        unwritten_.clear();
    }

    // False, with the reason on standard error, when it could not be written.
    bool Close(unsigned openDescriptors) {
        Write();
        end_.openDescriptors = static_cast<int>(openDescriptors);
        if (!writer_.IsOpen() || writer_.Close(end_)) {
            return true;
        }
        Complain(writer_.problem().Text());
        return false;
    }

  private:
    journal::LogWriter writer_;
    std::vector<journal::LogEntry> unwritten_;
    journal::LogEnd end_;
};

// False, with the reason on standard error, when nobody has used the stand-in or somebody could not.
bool CheckJoined(const Server &server, const std::string &program) {
    if (server.NumStrangers() != 0) {
        Complain("a process found no device, because its stand-in is of another version than orxemu");
        return false;
    }
    if (server.NumJoined() == 0) {
        Complain(program + " did not load the stand-in: it is linked statically or has more rights than its "
                           "user");
        return false;
    }
    return true;
}

// A fault that was never met says nothing about the program, so the user is told.
void TellOfFaultsLeft(const FaultList &faults) {
    if (faults.num != 0) {
        Complain(std::to_string(faults.num) + (faults.num == 1 ? " fault was" : " faults were") +
                 " not met: there were not so many requests or openings");
    }
}

// The exit status. Throws RunTrouble when the program does not run.
int Run(const RunOptions &options) {
    if (options.program.words.empty()) {
        throw RunTrouble("the program is missing: orxemu run [OPTIONS] -- PROGRAM [ARGUMENTS]...");
    }
    const auto device = std::make_unique<Device>();
    device->faults = ParseFaults(options.faults);
    RunLog log;
    Server server(
        *device,
        {[&](const Request &request, const Answer &answer) { log.Add(EntryOf(request, answer), answer); },
         [&](const Answer &answer) { log.Add(FailedOpen(), answer); }, [&] { log.Write(); }});
    const Program program = FindProgram(options.program, server.Variable());
    journal::Problem problem;
    if (!options.state.empty() && !LoadState(options.state, device->state, problem)) {
        throw RunTrouble(problem.Text());
    }
    if (!options.log.empty()) {
        log.Open(options);
    }
    Process process(program);
    while (!process.hasEnded()) {
        server.ServeUntil(process.descriptor());
        process.HandleSignals();
    }
    server.Finish();
    if (options.summary) {
        std::fputs(SummaryText(device->state).c_str(), stderr);
    }
    bool isDone = log.Close(server.NumLeftOpen());
    if (!options.state.empty() &&
        !journal::WriteFileAtomically(options.state, journal::StateText(device->state), problem)) {
        Complain(problem.Text());
        isDone = false;
    }
    isDone = CheckJoined(server, program.name) && isDone;
    TellOfFaultsLeft(device->faults);
    return process.ExitStatus() == 0 && !isDone ? kStatusRunTrouble : process.ExitStatus();
}

int RunAndExplain(const RunOptions &options) {
    try {
        return Run(options);
    } catch (const RunTrouble &trouble) {
        Complain(trouble.what());
        return trouble.status;
    } catch (const std::exception &error) { // the file system's, say, or no memory
        Complain(error.what());
        return kStatusRunTrouble;
    }
}

void AddRepeated(CLI::App &run, const char *name, std::vector<std::string> &values, const char *value,
                 const char *what) {
    run.add_option(name, values, what)->type_name(value)->allow_extra_args(false)->group("Faults");
}

} // namespace

void AddRun(CLI::App &app, int &status, std::vector<std::string> program) {
    const auto options = std::make_shared<RunOptions>();
    options->program.words = std::move(program);
    CLI::App &run = *app.add_subcommand("run", "Run a program on the stand-in");
    run.formatter(std::make_shared<UsageFormatter>());
    run.footer(kFooter);
    run.add_option("--log", options->log, "Write every request into FILE, a line each")->type_name("FILE");
    run.add_option("--state", options->state,
                   "What the hardware holds is read from FILE, if it is there, and written to it at the end")
        ->type_name("FILE");
    run.add_flag("--summary", options->summary,
                 "Print what the hardware holds at the end, on standard error");
    FaultOptions &faults = options->faults;
    AddRepeated(run, "--fail", faults.fail, "N[:ERRNO]", "Request N fails, and the hardware does nothing");
    AddRepeated(run, "--fail-after", faults.failAfter, "N[:ERRNO]",
                "Request N fails after the hardware has taken it: the answer is lost");
    AddRepeated(run, "--fail-request", faults.failRequest, "NAME[:ERRNO]",
                "The first request NAME, or of that number, fails");
    AddRepeated(run, "--fail-open", faults.failOpen, "N[:ERRNO]", "Opening N of the device fails");
    run.add_option("--emulator", options->program.emulator,
                   "Run a program of another processor by COMMAND, a user-mode emulator and its arguments")
        ->type_name("COMMAND");
    run.add_flag("--launcher", options->program.isLauncher,
                 "Run PROGRAM though it is linked statically: it only starts others, which use the device");
    run.add_option("--library", options->program.library, "The stand-in, when it is not found beside orxemu")
        ->type_name("FILE");
    run.callback([options, &status] { status = RunAndExplain(*options); });
}

} // namespace orxemu::tool
