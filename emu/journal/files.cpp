#include "emu/journal/file_names.h"
#include "emu/journal/file_size_limit.h"
#include "emu/journal/state_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

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
    // It is the caller's from here on.
    int Release() { return std::exchange(fd_, -1); }

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

// Impossible: the file system has no locks, or, over a network, none for a descriptor that is only read from.
enum class Lock { Taken, Impossible, Failed };

// Failed has an errno.
Lock LockFile(int fd) {
    int result;
    do {
        result = flock(fd, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    if (result == 0) {
        return Lock::Taken;
    }
    const bool impossible = errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS || errno == EBADF;
    return impossible ? Lock::Impossible : Lock::Failed;
}

// To be locked: over a network that takes the right to write, which what is left may not give.
int OpenLeft(const std::string &name) {
    constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const int fd = open(name.c_str(), O_RDWR | kFlags);
    return fd >= 0 || errno == ENOENT ? fd : open(name.c_str(), O_RDONLY | kFlags);
}

// Waits for the writer whose file has the name, and removes the file of one that was killed. Taken when it is
// gone; without a lock nobody knows whose it is, and it stays.
Lock RemoveLeft(const std::string &name) {
    const Descriptor left(OpenLeft(name));
    if (left.fd() < 0) {
        return errno == ENOENT ? Lock::Taken : Lock::Failed;
    }
    const Lock lock = LockFile(left.fd());
    const bool stays = lock == Lock::Taken && HasName(left.fd(), name) && unlink(name.c_str()) != 0;
    return stays ? Lock::Failed : lock;
}

int Create(const std::string &name) {
    return open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
}

// Where there are no locks each writer has a name of its own.
int CreateUnlocked(std::string &name) {
    const std::string own = name + "-" + std::to_string(getpid());
    for (unsigned i = 0;; ++i) {
        name = own + (i == 0 ? "" : "-" + std::to_string(i));
        const int fd = Create(name);
        if (fd >= 0 || errno != EEXIST) {
            return fd;
        }
    }
}

// A new file, locked where that is possible. The name is the same every time, so that what a writer leaves
// that is killed is found; another one waits for its turn. -1, with errno, when there is none.
int CreateBeside(std::string &name) {
    for (;;) {
        Descriptor file(Create(name));
        if (file.fd() < 0 && errno != EEXIST) {
            return -1;
        }
        const bool isNew = file.fd() >= 0;
        const Lock lock = isNew ? LockFile(file.fd()) : RemoveLeft(name);
        if (isNew && lock == Lock::Taken && HasName(file.fd(), name)) {
            return file.Release();
        }
        if (isNew && lock != Lock::Taken) {
            const int savedErrno = errno;
            unlink(name.c_str());
            errno = savedErrno;
        }
        if (lock == Lock::Failed) {
            return -1;
        }
        if (lock == Lock::Impossible) {
            return CreateUnlocked(name);
        }
        // A new one has no name any more when another writer came in between and took it for left.
    }
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
    std::error_code err;
    const fs::path target = FileBehind(path, err); // so that links stay
    const fs::file_status replaced = err ? fs::file_status() : fs::status(path, err);
    if (replaced.type() == fs::file_type::none) {
        problem = About(path, kCannotWrite, err.value());
        return false;
    }
    // A device or a pipe would be replaced by a file.
    if (fs::exists(replaced) && !fs::is_regular_file(replaced)) {
        problem = {path, 0, "cannot be written: it is no regular file"};
        return false;
    }
    std::string name = NewContentsOf(target).string();
    const Descriptor file(CreateBeside(name));
    if (file.fd() < 0) {
        problem = About(path, kCannotWrite, errno);
        return false;
    }
    // It is closed, and with that unlocked, when it has given up the name.
    if (WriteContents(file.fd(), text, replaced) && rename(name.c_str(), target.c_str()) == 0) {
        return true;
    }
    problem = About(path, kCannotWrite, errno);
    unlink(name.c_str());
    return false;
}

} // namespace orxemu::journal
