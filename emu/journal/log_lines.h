// The lines of a log as JSON, before they are text.
#ifndef EMU_JOURNAL_LOG_LINES_H
#define EMU_JOURNAL_LOG_LINES_H

#include "emu/journal/log_file.h"

namespace orxemu::journal {

constexpr const char *kLogFormat = "orxemu-log";
constexpr const char *kStateFormat = "orxemu-state";

constexpr const char *kFaultFail = "fail";
constexpr const char *kFaultAnswerLost = "answer-lost";

Json LogEntryJson(const LogEntry &entry, std::size_t n, ByteOrder order);
Json LogEndJson(const LogEnd &end);

} // namespace orxemu::journal

#endif
