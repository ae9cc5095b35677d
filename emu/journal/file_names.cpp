#include "emu/journal/file_names.h"

namespace orxemu::journal {

namespace fs = std::filesystem;

fs::path EndOfLinks(const fs::path &path, std::error_code &err) {
    constexpr int kMostLinks = 40; // the system follows as many
    fs::path end = path;
    for (int links = 0; links <= kMostLinks; ++links) {
        const fs::file_type type = fs::symlink_status(end, err).type();
        if (type == fs::file_type::not_found) {
            err.clear();
        }
        if (type != fs::file_type::symlink) {
            return err ? fs::path() : end;
        }
        const fs::path target = fs::read_symlink(end, err);
        if (err) {
            return {};
        }
        end = end.parent_path() / target;
    }
    err = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    return {};
}

fs::path FileBehind(const fs::path &path, std::error_code &err) {
    const fs::path end = EndOfLinks(path, err);
    if (err) {
        return {};
    }
    const fs::path folder = fs::canonical(end.has_parent_path() ? end.parent_path() : ".", err);
    return err ? fs::path() : folder / end.filename();
}

bool NameOneFile(const std::string &a, const std::string &b) {
    std::error_code err;
    // Hard links are of files that are there.
    if (a == b || fs::equivalent(a, b, err)) {
        return true;
    }
    const fs::path fileA = FileBehind(a, err);
    if (err) {
        return false;
    }
    const fs::path fileB = FileBehind(b, err);
    return !err && fileA == fileB;
}

fs::path NewContentsOf(const fs::path &file) {
    fs::path name = file;
    name += ".orxemu-new";
    return name;
}

bool LogIsInTheWay(const std::string &log, const std::string &state) {
    std::error_code err;
    const fs::path file = FileBehind(state, err);
    return NameOneFile(log, state) || (!err && NameOneFile(log, NewContentsOf(file).string()));
}

} // namespace orxemu::journal
