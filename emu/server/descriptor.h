// A descriptor that is closed with its owner.
#ifndef EMU_SERVER_DESCRIPTOR_H
#define EMU_SERVER_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace orxemu {

class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() { Close(); }

    int get() const { return fd_; }
    void Close() {
        if (fd_ >= 0) {
            close(fd_);
        }
        fd_ = -1;
    }

  private:
    int fd_;
};

} // namespace orxemu

#endif
