// Which file a path names, behind symbolic links, also while that file is not there yet.
#ifndef EMU_JOURNAL_FILE_NAMES_H
#define EMU_JOURNAL_FILE_NAMES_H

#include <filesystem>
#include <string>
#include <system_error>

namespace orxemu::journal {

// What is at the end of the links that begin with `path`, or would be; `path` itself when it is no link.
// Empty, with `err` set, when the links have no end or cannot be read.
std::filesystem::path EndOfLinks(const std::filesystem::path &path, std::error_code &err);

// The one name that all paths to a file share, hard links aside: EndOfLinks() in a folder without links.
// Empty, with `err` set, when there is no such folder, too.
std::filesystem::path FileBehind(const std::filesystem::path &path, std::error_code &err);

// Whether what is written to one is read from the other. Of paths that lead nowhere only equal ones are the
// same: opening them says what is wrong.
bool NameOneFile(const std::string &a, const std::string &b);

// What a state is written into, beside the file that it then takes the place of.
std::filesystem::path NewContentsOf(const std::filesystem::path &file);

// Whether a log would be gone when the state is written: it is the same file, or has the name of its new contents.
bool LogIsInTheWay(const std::string &log, const std::string &state);

} // namespace orxemu::journal

#endif
