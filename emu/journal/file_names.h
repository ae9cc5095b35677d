// Which file a path names, behind symbolic links, also while that file is not there yet.
#ifndef EMU_JOURNAL_FILE_NAMES_H
#define EMU_JOURNAL_FILE_NAMES_H

#include <filesystem>
#include <string>

namespace orxemu::journal {

// The one name that all paths to a file share, hard links aside. Links that have no end are left as they are:
// opening them says what is wrong.
std::filesystem::path FileBehind(const std::filesystem::path &path);

// Whether what is written to one is read from the other.
bool NameOneFile(const std::string &a, const std::string &b);

} // namespace orxemu::journal

#endif
