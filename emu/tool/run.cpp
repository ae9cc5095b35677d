// `orxemu run`: a program on the stand-in, from its start to what it leaves behind.
#include "emu/journal/file_names.h"
#include "emu/journal/log_file.h"
#include "emu/journal/state_file.h"
#include "emu/tool/commands.h"
#include "emu/tool/run_faults.h"
#include "emu/tool/run_process.h"
#include "emu/tool/run_trouble.h"
#include "emu/tool/state_place.h"
#include "emu/tool/summary.h"
#include "emu/tool/terminal.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <poll.h>

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

journal::LogEntry EntryOf(const SessionMessage &message) {
    const OrxEmuRequest &request = message.request;
    journal::LogEntry entry;
    entry.isOpen = message.head.kind == MessageKind::FailedOpen;
    entry.request = request.request;
    entry.err = request.err;
    entry.fault = message.head.fault == FaultKind::None         ? journal::FaultMark::None
                  : message.head.fault == FaultKind::LoseAnswer ? journal::FaultMark::AnswerLost
                                                                : journal::FaultMark::Fail;
    entry.recordRead = message.head.recordRead != 0;
    if (entry.recordRead) {
        entry.in.assign(request.in, request.in + request.recordSize);
        entry.out.assign(request.out, request.out + request.recordSize);
    }
    entry.fcb.assign(request.fcb, request.fcb + request.fcbSize);
    return entry;
}

// One run: the session, the log that is written while the program runs, and the state that it leaves.
class Run {
  public:
    explicit Run(const RunOptions &options) : options_(options) {}

    // The exit status. Throws RunTrouble when the program does not run.
    int Do();

  private:
    void LoadState();
    void OpenLog();
    void Watch(Process &process);
    // At most so many messages; false when none is left.
    bool ReadMessages(int most);
    // False when a process still was in the middle of a request.
    bool ReadRest();
    // Messages that are due and have not been read, at the end.
    std::uint32_t Missing() const;
    void WaitForMessages(int milliseconds);
    // What is to be told at the end; each returns whether it could do what was asked for.
    bool CheckRest(bool settled);
    bool CloseLog();
    bool SaveState();
    bool CheckServed();
    bool CheckJoined();
    void TellOfFaultsLeft();

    const RunOptions &options_;
    Session session_;
    journal::LogWriter log_;
    journal::LogEnd end_;
    std::uint32_t due_ = 0; // messages, when the log ends
};

int Run::Do() {
    session_.memory().hardware.faults = ParseFaults(options_.faults);
    Program program(options_.program);
    LoadState();
    OpenLog();
    Process process(program, session_);
    Watch(process);
    const bool settled = CheckRest(ReadRest());
    if (options_.summary) {
        std::fputs(SummaryText(session_.memory().hardware.state).c_str(), stderr);
    }
    const bool logClosed = CloseLog();
    const bool stateSaved = SaveState();
    const bool served = CheckServed();
    const bool joined = CheckJoined();
    TellOfFaultsLeft();
    const int status = process.ExitStatus();
    return status == 0 && !(settled && logClosed && stateSaved && served && joined) ? kStatusRunTrouble
                                                                                    : status;
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
        !journal::ReadState(text, options_.state, session_.memory().hardware.state, writtenOrder, problem)) {
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

void Run::Watch(Process &process) {
    constexpr int kAtATime = 256;
    while (!process.hasEnded()) {
        // A channel without senders would always be ready.
        pollfd ready[] = {{process.descriptor(), POLLIN, 0},
                          {session_.hasSenders() ? session_.channel() : -1, POLLIN, 0}};
        poll(ready, sizeof ready / sizeof *ready, -1);
        process.HandleSignals();
        ReadMessages(kAtATime);
    }
}

bool Run::ReadMessages(int most) {
    SessionMessage message;
    for (int i = 0; i < most; ++i) {
        if (!session_.Receive(message)) {
            return false;
        }
        const bool isOpen = message.head.kind == MessageKind::FailedOpen;
        ++(isOpen ? end_.failedOpens : end_.requests);
        if (log_.IsOpen()) {
            log_.Write(EntryOf(message));
        }
    }
    return true;
}

// Processes that outlive the program may still send requests: the log ends, and the state is taken, between
// two of them. One that was stopped in the middle of a request is not waited for without end.
bool Run::ReadRest() {
    constexpr std::chrono::seconds kPatience(10);
    constexpr int kAtATime = 256;
    constexpr int kMilliseconds = 10;
    const auto end = std::chrono::steady_clock::now() + kPatience;
    bool locked = session_.TryLock();
    while (!locked && std::chrono::steady_clock::now() < end) {
        if (!ReadMessages(kAtATime)) {
            WaitForMessages(kMilliseconds);
        }
        locked = session_.TryLock();
    }
    // Others may go on sending all the time when it is not ours.
    due_ = session_.memory().reports;
    while (Missing() != 0 && ReadMessages(1)) {
    }
    // No message is due from a process that could not join; it may have told so behind the last one.
    ReadMessages(kAtATime);
    return locked;
}

std::uint32_t Run::Missing() const {
    const auto received = static_cast<std::uint32_t>(end_.requests + end_.failedOpens);
    const std::uint32_t missing = due_ - received;
    // More than were due have come from a program that has made some up.
    return missing <= INT32_MAX ? missing : 0;
}

void Run::WaitForMessages(int milliseconds) {
    pollfd ready = {session_.hasSenders() ? session_.channel() : -1, POLLIN, 0};
    poll(&ready, 1, milliseconds);
}

bool Run::CheckRest(bool settled) {
    if (!settled) {
        Complain("a process that outlives " + options_.program.words.front() +
                 " stays in the middle of a request: what the hardware holds may not be whole");
    }
    return settled;
}

bool Run::CloseLog() {
    if (!log_.IsOpen()) {
        return true;
    }
    // Those of processes that died or stopped in the middle of a request are among them, and those that came
    // to nothing without the lock.
    end_.lost = Missing() + session_.memory().unserved;
    end_.openDescriptors = static_cast<int>(session_.memory().openDescriptors);
    const bool closed = log_.Close(end_);
    if (!closed) {
        Complain(log_.problem().Text());
    }
    if (end_.lost != 0) {
        Complain(options_.log + ": " + std::to_string(end_.lost) +
                 (end_.lost == 1 ? " request is missing" : " requests are missing") +
                 ": a process had closed the descriptors of the stand-in or ended in the "
                 "middle of a request, or orxemu could not read them in time");
    }
    return closed && end_.lost == 0;
}

bool Run::SaveState() {
    journal::Problem problem;
    if (options_.state.empty() ||
        journal::WriteFileAtomically(options_.state, journal::StateText(session_.memory().hardware.state),
                                     problem)) {
        return true;
    }
    Complain(problem.Text());
    return false;
}

bool Run::CheckServed() {
    const bool served = session_.memory().unserved == 0;
    if (!served) {
        Complain("a process had closed the descriptors of the stand-in: the device was refused to it with " +
                 journal::ErrnoName(kUnserved));
    }
    const int err = session_.joinErr();
    if (err != 0) {
        Complain(SystemTrouble(
                     "a process found no device, because it could not reach what the session shares", err)
                     .what());
    }
    return served && err == 0;
}

bool Run::CheckJoined() {
    const bool joined = session_.memory().joined != 0;
    if (!joined) {
        Complain(
            options_.program.words.front() +
            " did not load the stand-in: it is linked statically or has more rights than its user, or the "
            "library is of another version");
    }
    return joined;
}

// The program did not fail on what it has not met.
void Run::TellOfFaultsLeft() {
    const std::uint32_t left = session_.memory().hardware.faults.num;
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
