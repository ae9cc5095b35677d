// Threads that are cancelled (pthread_cancel): where they must not end.
#ifndef EMU_CANCELLATION_H
#define EMU_CANCELLATION_H

#include <pthread.h>

namespace orxemu {

// While it lives this thread goes on. What comes in the meantime takes effect at the thread's next call that
// can be cancelled, as it does when the C library has just made its own.
class CancellationOff {
  public:
    CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    CancellationOff(const CancellationOff &) = delete;
    CancellationOff &operator=(const CancellationOff &) = delete;
    ~CancellationOff() { pthread_setcancelstate(before_, nullptr); }

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

} // namespace orxemu

#endif
