#include "emu/journal/file_size_limit.h"
#include "emu/journal/state_file.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace orxemu::journal {

namespace {

class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() { Close(); }
    int fd() const { return fd_; }
    bool Close() {
        const int fd = fd_;
        fd_ = -1;
        return fd < 0 || close(fd) == 0;
    }

  private:
    int fd_;
};

Problem About(const std::string &path, const char *what, int err) {
    return {path, 0, std::string(what) + ": " + std::strerror(err)};
}

bool WriteAll(int fd, std::string_view text) {
    const FileSizeLimitIsAnError guard;
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

// What a symbolic link leads to, so that the link stays; `path` itself when there is nothing yet.
std::string RealPath(const std::string &path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    return real != nullptr ? real.get() : path;
}

// A new file beside `path`, and its name.
int CreateBeside(const std::string &path, std::string &name) {
    for (unsigned attempt = 0;; ++attempt) {
        name = path + ".new." + std::to_string(getpid()) + "." + std::to_string(attempt);
        const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) {
            return fd;
        }
    }
}

// Fills a new file; it gets the permissions of the one it replaces, if there is one.
bool WriteContents(int fd, std::string_view text, const struct stat *replaced) {
    if (replaced != nullptr && fchmod(fd, replaced->st_mode & 07777) != 0) {
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
    const std::string target = RealPath(path);
    struct stat replaced = {};
    const bool exists = stat(target.c_str(), &replaced) == 0;
    // A device or a pipe would be replaced by a file.
    if (exists && !S_ISREG(replaced.st_mode)) {
        problem = {path, 0, "cannot be written: it is no regular file"};
        return false;
    }
    std::string name;
    Descriptor file(CreateBeside(target, name));
    if (file.fd() < 0) {
        problem = About(path, kCannotWrite, errno);
        return false;
    }
    if (WriteContents(file.fd(), text, exists ? &replaced : nullptr) && file.Close() &&
        rename(name.c_str(), target.c_str()) == 0) {
        return true;
    }
    problem = About(path, kCannotWrite, errno);
    unlink(name.c_str());
    return false;
}

} // namespace orxemu::journal
