#include "emu/journal/file_size_limit.h"
#include "emu/journal/state_file.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orxemu::journal {

namespace {

class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    int fd() const { return fd_; }

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

// Whether the file still has the name, which its writer gives up when it is done. (Its number may not fit
// into what the older call tells.)
bool HasName(int fd, const std::string &name) {
    struct statx file = {};
    struct statx named = {};
    return statx(fd, "", AT_EMPTY_PATH, STATX_INO, &file) == 0 &&
           statx(AT_FDCWD, name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_INO, &named) == 0 &&
           file.stx_ino == named.stx_ino && file.stx_dev_major == named.stx_dev_major &&
           file.stx_dev_minor == named.stx_dev_minor;
}

bool LockFile(int fd) {
    int result;
    do {
        result = flock(fd, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// Waits for the writer whose file has the name, and removes the file of one that was killed. False, with
// errno, when that is not possible.
bool RemoveLeft(const std::string &name) {
    const Descriptor left(open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (left.fd() < 0) {
        return errno == ENOENT;
    }
    return LockFile(left.fd()) && (!HasName(left.fd(), name) || unlink(name.c_str()) == 0);
}

// A new file, locked. The name is the same every time, so that what a writer leaves that is killed is found;
// another one waits for its turn.
int CreateBeside(const std::string &name) {
    for (;;) {
        const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            const bool locked = LockFile(fd);
            if (locked && HasName(fd, name)) {
                return fd;
            }
            close(fd);
            if (!locked) {
                unlink(name.c_str());
                return -1;
            }
            // Another writer came in between and took it for left.
        } else if (errno != EEXIST || !RemoveLeft(name)) {
            return -1;
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
    const std::string name = target + ".orxemu-new";
    Descriptor file(CreateBeside(name));
    if (file.fd() < 0) {
        problem = About(path, kCannotWrite, errno);
        return false;
    }
    // It is closed, and with that unlocked, when it has given up the name.
    if (WriteContents(file.fd(), text, exists ? &replaced : nullptr) &&
        rename(name.c_str(), target.c_str()) == 0) {
        return true;
    }
    problem = About(path, kCannotWrite, errno);
    unlink(name.c_str());
    return false;
}

} // namespace orxemu::journal
