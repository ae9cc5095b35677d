#include "emu/tool/state_place.h"

#include "emu/journal/file_names.h"

namespace orxemu::tool {

namespace fs = std::filesystem;

bool LookAtStatePlace(const std::string &path, bool &isThere, journal::Problem &problem) {
    std::error_code err;
    const fs::file_type type = fs::status(path, err).type();
    isThere = type != fs::file_type::not_found;
    // What cannot be looked at cannot be opened either, and that is said then.
    if (type == fs::file_type::regular || type == fs::file_type::none) {
        return true;
    }
    // A pipe would be waited for, and none of the others can be replaced by a file.
    if (isThere) {
        problem = {path, 0, "is no regular file"};
        return false;
    }
    const fs::path file = journal::FileBehind(path);
    if (fs::is_directory(file.parent_path(), err)) {
        return true;
    }
    const std::string where = fs::is_symlink(path, err) ? "leads to " + file.string() + ": " : "";
    problem = {path, 0, where + "its folder is not there"};
    return false;
}

bool LoadState(const std::string &path, OrxEmuState &state, journal::Problem &problem) {
    bool isThere = false;
    if (!LookAtStatePlace(path, isThere, problem)) {
        return false;
    }
    if (!isThere) {
        return true;
    }
    std::string text;
    journal::FileKind kind = journal::FileKind::State;
    journal::ByteOrder writtenOrder = journal::kHostOrder;
    if (!journal::ReadFile(path, text, problem) || !journal::KindOf(text, path, kind, problem)) {
        return false;
    }
    if (kind != journal::FileKind::State) {
        problem = {path, 0, "is a log, and --state takes a state"};
        return false;
    }
    return journal::ReadState(text, path, state, writtenOrder, problem);
}

} // namespace orxemu::tool
