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

journal::FaultMark MarkOf(FaultKind fault) {
    return fault == FaultKind::None         ? journal::FaultMark::None
           : fault == FaultKind::LoseAnswer ? journal::FaultMark::AnswerLost
                                            : journal::FaultMark::Fail;
}

journal::LogEntry EntryOf(const Request &request, const Answer &answer) {
    OrxEmuRequest kept;
    Record(request, answer, kept);
    journal::LogEntry entry;
    entry.request = request.number;
    entry.err = answer.err;
    entry.fault = MarkOf(answer.fault);
    entry.recordRead = request.record != nullptr;
    if (entry.recordRead) {
        entry.in.assign(kept.in, kept.in + kept.recordSize);
        entry.out.assign(kept.out, kept.out + kept.recordSize);
    }
    entry.fcb.assign(kept.fcb, kept.fcb + kept.fcbSize);
    return entry;
}

journal::LogEntry FailedOpen(const Answer &answer) {
    journal::LogEntry entry;
    entry.isOpen = true;
    entry.err = answer.err;
    entry.fault = MarkOf(answer.fault);
    return entry;
}

// One run: the hardware, the log that is written while the program runs, and the state that it leaves.
class Run {
  public:
    explicit Run(const RunOptions &options) : options_(options) {}

    // The exit status. Throws RunTrouble when the program does not run.
    int Do();

  private:
    void LoadState();
    void OpenLog();
    Server::Observer Watcher();
    template <class MakeEntry> void Log(MakeEntry makeEntry);
    void WriteLog();
    // What is to be told at the end; each returns whether it could do what was asked for.
    bool CloseLog(const Server &server);
    bool SaveState();
    bool CheckJoined(const Server &server);
    void TellOfFaultsLeft();

    const RunOptions &options_;
    const std::unique_ptr<Device> device_ = std::make_unique<Device>();
    journal::LogWriter log_;
    std::vector<journal::LogEntry> unwritten_;
    journal::LogEnd end_;
};

int Run::Do() {
    device_->faults = ParseFaults(options_.faults);
    Program program(options_.program);
    LoadState();
    OpenLog();
    Server server(*device_, Watcher());
    Process process(program, server.Variable());
    while (!process.hasEnded()) {
        server.ServeUntil(process.descriptor());
        process.HandleSignals();
    }
    server.Finish();
    if (options_.summary) {
        std::fputs(SummaryText(device_->state).c_str(), stderr);
    }
    const bool logClosed = CloseLog(server);
    const bool stateSaved = SaveState();
    const bool joined = CheckJoined(server);
    TellOfFaultsLeft();
    const int status = process.ExitStatus();
    return status == 0 && !(logClosed && stateSaved && joined) ? kStatusRunTrouble : status;
}

void Run::LoadState() {
    if (options_.state.empty()) {
        return;
    }
    journal::Problem problem;
    bool isThere = false;
    if (!LookAtStatePlace(options_.state, isThere, problem)) {
        throw RunTrouble(problem.Text());
    }
    if (!isThere) {
        return;
    }
    std::string text;
    journal::ByteOrder writtenOrder = journal::kHostOrder;
    if (!journal::ReadFile(options_.state, text, problem) ||
        !journal::ReadState(text, options_.state, device_->state, writtenOrder, problem)) {
        throw RunTrouble(problem.Text());
    }
}

void Run::OpenLog() {
    if (options_.log.empty()) {
        return;
    }
    if (journal::NameOneFile(options_.log, options_.state)) {
        throw RunTrouble("--log and --state are the same file");
    }
    if (journal::LogIsInTheWay(options_.log, options_.state)) {
        throw RunTrouble(options_.log + ": is what --state is written into first");
    }
    if (!log_.Open(options_.log, journal::kHostOrder)) {
        throw RunTrouble(log_.problem().Text());
    }
}

Server::Observer Run::Watcher() {
    return {[this](const Request &request, const Answer &answer) {
                ++end_.requests;
                Log([&] { return EntryOf(request, answer); });
            },
            [this](const Answer &answer) {
                ++end_.failedOpens;
                Log([&] { return FailedOpen(answer); });
            },
            [this] { WriteLog(); }};
}

// The program does not wait for the log: lines are written when it asks for nothing.
template <class MakeEntry> void Run::Log(MakeEntry makeEntry) {
    constexpr std::size_t kMost = 1024;
    if (!log_.IsOpen()) {
        return;
    }
    unwritten_.push_back(makeEntry());
    if (unwritten_.size() == kMost) {
        WriteLog();
    }
}

void Run::WriteLog() {
    for (const journal::LogEntry &entry : unwritten_) {
        log_.Write(entry);
    }
    unwritten_.clear();
}

bool Run::CloseLog(const Server &server) {
    if (!log_.IsOpen()) {
        return true;
    }
    WriteLog();
    end_.openDescriptors = static_cast<int>(server.NumLeftOpen());
    const bool closed = log_.Close(end_);
    if (!closed) {
        Complain(log_.problem().Text());
    }
    return closed;
}

bool Run::SaveState() {
    journal::Problem problem;
    if (options_.state.empty() ||
        journal::WriteFileAtomically(options_.state, journal::StateText(device_->state), problem)) {
        return true;
    }
    Complain(problem.Text());
    return false;
}

bool Run::CheckJoined(const Server &server) {
    if (server.NumStrangers() != 0) {
        Complain("a process found no device, because its stand-in is of another version than orxemu");
    } else if (server.NumJoined() == 0) {
        Complain(options_.program.words.front() +
                 " did not load the stand-in: it is linked statically or has more rights than its user");
    }
    return server.NumStrangers() == 0 && server.NumJoined() != 0;
}

// The program did not fail on what it has not met.
void Run::TellOfFaultsLeft() {
    const std::uint32_t left = device_->faults.num;
    if (left != 0) {
        Complain(std::to_string(left) + (left == 1 ? " fault was" : " faults were") +
                 " not met: there were not so many requests or openings");
    }
}

int RunAndExplain(const RunOptions &options) {
    try {
        if (options.program.words.empty()) {
            throw RunTrouble("the program is missing: orxemu run [OPTIONS] -- PROGRAM [ARGUMENTS]...");
        }
        return Run(options).Do();
    } catch (const RunTrouble &trouble) {
        Complain(trouble.what());
        return trouble.status();
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
