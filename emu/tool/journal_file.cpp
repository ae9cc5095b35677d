#include "emu/tool/journal_file.h"

#include "emu/tool/terminal.h"

namespace orxemu::tool {

namespace {

using journal::FileKind;
using journal::Problem;

bool Read(const std::string &path, JournalFile &file, Problem &problem) {
    std::string text;
    if (!journal::ReadFile(path, text, problem) || !journal::KindOf(text, path, file.kind, problem)) {
        return false;
    }
    if (file.kind == FileKind::Log) {
        const bool good = journal::ReadLog(text, path, file.log, problem);
        file.order = file.log.order;
        return good;
    }
    auto state = std::make_unique<OrxEmuState>();
    if (!journal::ReadState(text, path, *state, file.order, problem)) {
        return false;
    }
    file.state = std::move(state);
    return true;
}

} // namespace

bool LoadJournal(const std::string &path, JournalFile &file, std::string &message) {
    Problem problem;
    if (Read(path, file, problem)) {
        return true;
    }
    message = problem.Text();
    return false;
}

bool LoadJournal(const std::string &path, JournalFile &file) {
    std::string message;
    const bool good = LoadJournal(path, file, message);
    if (!good) {
        Complain(message);
    }
    return good;
}

} // namespace orxemu::tool
