// A log or a state that a command line names.
#ifndef EMU_TOOL_JOURNAL_FILE_H
#define EMU_TOOL_JOURNAL_FILE_H

#include "emu/journal/log_file.h"
#include "emu/journal/state_file.h"

#include <memory>
#include <string>

namespace orxemu::tool {

struct JournalFile {
    journal::FileKind kind = journal::FileKind::Log;
    journal::Log log;                               // of a log: up to the first bad line
    std::unique_ptr<OrxEmuState> state;             // of a good state; in the byte order of this machine
    journal::ByteOrder order = journal::kHostOrder; // that it was written in
};

// False, with the message for the user, when the file is no good log or state. What the message quotes of the
// file has no control characters.
bool LoadJournal(const std::string &path, JournalFile &file, std::string &message);
// The same, with the message on standard error.
bool LoadJournal(const std::string &path, JournalFile &file);

} // namespace orxemu::tool

#endif
