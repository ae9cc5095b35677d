#include "emu/journal/file_names.h"
#include "emu/journal/state_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace orxemu::journal {

namespace {

namespace fs = std::filesystem;

// Closing it leaves errno as it is, which says what has gone wrong before.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() {
        const int savedErrno = errno;
        if (fd_ >= 0) {
            close(fd_);
        }
        errno = savedErrno;
    }
    int fd() const { return fd_; }

  private:
    int fd_;
};

Problem About(const std::string &path, const char *what, int err) {
    return {path, 0, std::string(what) + ": " + std::strerror(err)};
}

bool WriteAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

// Fills a new file; it gets the permissions of the one it replaces, if there is one.
bool WriteContents(int fd, std::string_view text, const fs::file_status &replaced) {
    if (fs::exists(replaced) && fchmod(fd, static_cast<mode_t>(replaced.permissions())) != 0) {
        return false;
    }
    return WriteAll(fd, text) && fsync(fd) == 0;
}

} // namespace

bool ReadFile(const std::string &path, std::string &text, Problem &problem) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.fd() < 0) {
        problem = About(path, "cannot be opened", errno);
        return false;
    }
    std::string contents;
    char piece[64 * 1024];
    for (;;) {
        const ssize_t got = read(file.fd(), piece, sizeof piece);
        if (got == 0) {
            break;
        }
        if (got > 0) {
            contents.append(piece, static_cast<std::size_t>(got));
        } else if (errno != EINTR) {
            problem = About(path, "cannot be read", errno);
            return false;
        }
    }
    text = std::move(contents);
    return true;
}

bool WriteFileAtomically(const std::string &path, std::string_view text, Problem &problem) {
    constexpr const char *kCannotWrite = "cannot be written";
    const fs::path target = FileBehind(path); // so that links stay
    std::error_code err;
    const fs::file_status replaced = fs::status(target, err);
    if (replaced.type() == fs::file_type::none) {
        problem = About(path, kCannotWrite, err.value());
        return false;
    }
    // A device or a pipe would be replaced by a file.
    if (fs::exists(replaced) && !fs::is_regular_file(replaced)) {
        problem = {path, 0, "cannot be written: it is no regular file"};
        return false;
    }
    // No other process has this name; an earlier one of that number may have left the file.
    const std::string name = target.string() + ".orxemu-new-" + std::to_string(getpid());
    unlink(name.c_str());
    const Descriptor file(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (file.fd() < 0) {
        problem = About(path, kCannotWrite, errno);
        return false;
    }
    if (WriteContents(file.fd(), text, replaced) && rename(name.c_str(), target.c_str()) == 0) {
        return true;
    }
    problem = About(path, kCannotWrite, errno);
    unlink(name.c_str());
    return false;
}

} // namespace orxemu::journal
