// What the library asks of the device node, call by call. This program has hooks of its own in front of those
// of the stand-in driver: they see the flags, the descriptors and the addresses, and can answer instead.
#ifndef TESTS_DRIVER_NODE_CALLS_H
#define TESTS_DRIVER_NODE_CALLS_H

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace driver_test {

struct NodeCall {
    enum Kind { Open, Ioctl, Close };
    Kind kind;
    int fd;                // the descriptor that open gave, or that was passed
    int flags;             // open
    unsigned long request; // ioctl
    void *record;          // ioctl
};

// Takes down every opening of "/dev/pktorx", and what is done with the descriptors, for as long as it lives.
class NodeCalls {
  public:
    using Answer = std::function<int(unsigned long request, void *record)>;

    NodeCalls();
    // As above, and every ioctl is answered by `answer`; the stand-in gets to see none.
    explicit NodeCalls(Answer answer);
    NodeCalls(const NodeCalls &) = delete;
    NodeCalls &operator=(const NodeCalls &) = delete;
    ~NodeCalls();

    const std::vector<NodeCall> &Seen() const { return seen_; }

    // For the hooks.
    static NodeCalls *Current();
    void NoteOpen(const std::string &path, int fd, int flags);
    void NoteIoctl(int fd, unsigned long request, void *record);
    void NoteClose(int fd);
    const Answer &OwnAnswer() const { return answer_; }

  private:
    bool IsOpen(int fd) const { return std::find(open_.begin(), open_.end(), fd) != open_.end(); }

    std::vector<NodeCall> seen_;
    std::vector<int> open_;
    Answer answer_;
};

} // namespace driver_test

#endif
