// orxemu replay: sends the requests of a log again, to the stand-in or to a device.
#include "emu/journal/file_names.h"
#include "emu/journal/state_file.h"
#include "emu/tool/commands.h"
#include "emu/tool/journal_file.h"
#include "emu/tool/replay_requests.h"
#include "emu/tool/state_place.h"
#include "emu/tool/summary.h"
#include "emu/tool/terminal.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace orxemu::tool {

namespace {

constexpr int kStatusRefused = 1;

struct Options {
    std::string path;
    std::string device;
    std::string logPath;
    std::string statePath;
    bool summary = false;
    ReplayRules rules;
};

bool Trouble(const journal::Problem &problem) {
    Complain(problem.Text());
    return false;
}

// False, with the reason on standard error, when there is nothing that may be sent.
bool LoadLog(const std::string &path, journal::Log &log) {
    JournalFile file;
    if (!LoadJournal(path, file)) {
        return false;
    }
    if (file.kind != journal::FileKind::Log) {
        return Trouble({path, 0, "is a state, and replay takes a log"});
    }
    log = std::move(file.log);
    return true;
}

bool SaveState(const std::string &path, const OrxEmuState &state) {
    journal::Problem problem;
    return journal::WriteFileAtomically(path, journal::StateText(state), problem) || Trouble(problem);
}

std::string Number(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " request" : " requests");
}

void TellSkipped(const std::string &path, const ReplayCounts &counts) {
    if (counts.skippedRefused > 0) {
        const char *they = counts.skippedRefused == 1 ? " that was refused when it was recorded"
                                                      : " that were refused when they were recorded";
        Complain(path + ": skipped " + Number(counts.skippedRefused) + they);
    }
}

std::string CountsText(const ReplayCounts &counts, const std::string &where) {
    std::string text = "replayed " + Number(counts.accepted) + " on " + where + ", " +
                       std::to_string(counts.skipped) + " skipped, " + std::to_string(counts.refused) +
                       " refused";
    if (counts.refusedAsRecorded > 0) {
        text += ", " + std::to_string(counts.refusedAsRecorded) + " refused as recorded";
    }
    if (counts.notSent > 0) {
        text += ", " + std::to_string(counts.notSent) + " not sent";
    }
    return text + "\n";
}

int StatusOf(ReplayEnd end, const ReplayCounts &counts) {
    if (end == ReplayEnd::Trouble) {
        return kStatusTrouble;
    }
    return counts.refused > 0 ? kStatusRefused : 0;
}

std::unique_ptr<ReplayTarget> TargetOf(const Options &options, Device &device) {
    if (!options.device.empty()) {
        return std::make_unique<DeviceTarget>(options.device);
    }
    return std::make_unique<StandInTarget>(device);
}

// False, with the reason on standard error, when the written log would take the place of what is read.
bool LogHasItsOwnFile(const Options &options) {
    if (options.logPath.empty() || (!journal::NameOneFile(options.logPath, options.path) &&
                                    !journal::NameOneFile(options.logPath, options.statePath))) {
        return true;
    }
    return Trouble({options.logPath, 0, "is another file of this command, and --log would overwrite it"});
}

int RunReplay(const Options &options) {
    if (!LogHasItsOwnFile(options)) {
        return kStatusTrouble;
    }
    journal::Log log;
    const auto device = std::make_unique<Device>(); // the stand-in, when it is the target
    if (!LoadLog(options.path, log)) {
        return kStatusTrouble;
    }
    journal::Problem problem;
    if (!options.statePath.empty() && !LoadState(options.statePath, device->state, problem)) {
        Trouble(problem);
        return kStatusTrouble;
    }
    journal::LogWriter writer;
    if (!options.logPath.empty() && !writer.Open(options.logPath, journal::kHostOrder)) {
        Trouble(writer.problem());
        return kStatusTrouble;
    }
    const std::unique_ptr<ReplayTarget> target = TargetOf(options, *device);
    Replay replay(log, options.path, *target, writer, options.rules);
    const ReplayEnd end = replay.Run();
    int status = StatusOf(end, replay.Counts());
    TellSkipped(options.path, replay.Counts());
    if (writer.IsOpen() && !writer.Close(replay.WrittenEnd())) {
        Trouble(writer.problem());
        status = kStatusTrouble;
    }
    if (!options.statePath.empty() && !SaveState(options.statePath, device->state)) {
        status = kStatusTrouble;
    }
    const std::string summary = options.summary ? SummaryText(device->state) : "";
    if (!WriteOutput(CountsText(replay.Counts(), target->Name()) + summary)) {
        status = kStatusTrouble;
    }
    return status;
}

} // namespace

void AddReplay(CLI::App &app, int &status) {
    const auto options = std::make_shared<Options>();
    CLI::App *replay = app.add_subcommand("replay", "Send the requests of a log again");
    replay->footer("They go to a stand-in in this process, or to a device. Sent are the requests that the "
                   "hardware took\n"
                   "when they were recorded; indexes are those that the driver assigns now. Nothing is sent "
                   "from a file\n"
                   "that does not check out to its last line.\n\n"
                   "Exit status: 0 replayed, 1 a request was refused, 2 trouble.\n\n"
                   "Example: orxemu replay --state hw.json a.json");
    replay->add_option("FILE", options->path, "Log")->required()->type_name("");
    CLI::Option *device =
        replay->add_option("--device", options->device, "Send to this device node instead of a stand-in")
            ->type_name("PATH");
    replay->add_flag("--keep-going", options->rules.keepGoing, "Go on behind a request that is refused");
    replay->add_flag("--with-refused", options->rules.withRefused,
                     "Send requests too that were refused when they were recorded");
    replay->add_option("--log", options->logPath, "Write what is sent to this log")->type_name("FILE");
    replay
        ->add_option("--state", options->statePath,
                     "What the stand-in holds: read before, if there is the file, and written after")
        ->type_name("FILE")
        ->excludes(device);
    replay->add_flag("--summary", options->summary, "Show what the stand-in holds at the end")
        ->excludes(device);
    replay->callback([options, &status] { status = RunReplay(*options); });
}

} // namespace orxemu::tool
