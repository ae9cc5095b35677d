#include "emu/journal/file_names.h"

namespace orxemu::journal {

namespace fs = std::filesystem;

fs::path FileBehind(const fs::path &path) {
    constexpr int kMostLinks = 40; // the system follows as many
    std::error_code err;
    fs::path file = fs::absolute(path, err);
    for (int links = 0; links < kMostLinks && fs::is_symlink(file, err); ++links) {
        file = file.parent_path() / fs::read_symlink(file, err);
    }
    const fs::path name = fs::weakly_canonical(file, err);
    return err ? path : name;
}

bool NameOneFile(const std::string &a, const std::string &b) {
    std::error_code err;
    // Hard links are of files that are there.
    return a == b || fs::equivalent(a, b, err) || FileBehind(a) == FileBehind(b);
}

} // namespace orxemu::journal
