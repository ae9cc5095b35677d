// A write beyond the limit of file sizes sends a signal, which ends the program. A journal reports the error
// instead.
#ifndef EMU_JOURNAL_FILE_SIZE_LIMIT_H
#define EMU_JOURNAL_FILE_SIZE_LIMIT_H

#include <cerrno>
#include <csignal>
#include <ctime>

namespace orxemu::journal {

// While it lives, such a write of this thread fails with EFBIG. How the program handles the signal is not
// touched: a program that it starts meanwhile would inherit that.
class FileSizeLimitIsAnError {
  public:
    FileSizeLimitIsAnError() {
        sigemptyset(&signal_);
        sigaddset(&signal_, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &signal_, &before_);
    }
    FileSizeLimitIsAnError(const FileSizeLimitIsAnError &) = delete;
    FileSizeLimitIsAnError &operator=(const FileSizeLimitIsAnError &) = delete;
    ~FileSizeLimitIsAnError() {
        // One that was blocked before belongs to who blocked it.
        if (sigismember(&before_, SIGXFSZ) == 0) {
            constexpr timespec kNow = {0, 0};
            const int savedErrno = errno;
            while (sigtimedwait(&signal_, nullptr, &kNow) == SIGXFSZ) {
            }
            errno = savedErrno;
        }
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

  private:
    sigset_t signal_{};
    sigset_t before_{};
};

} // namespace orxemu::journal

#endif
