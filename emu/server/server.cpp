#include "emu/server/server.h"

#include "emu/server/wire.h"

#include <array>
#include <cerrno>
#include <random>
#include <sys/uio.h>
#include <system_error>

namespace orxemu {

namespace {

constexpr std::size_t kOther = 0;
constexpr std::size_t kListener = 1;
constexpr std::size_t kFirstConnection = 2;

// A name that no other session on the machine has.
std::string NewName() {
    std::random_device random;
    return "orxemu-" + std::to_string(getpid()) + "-" + std::to_string(random());
}

void Reply(int fd, int32_t err, const uint8_t *bytes = nullptr, std::size_t size = 0) {
    iovec parts[] = {{&err, sizeof err}, {const_cast<uint8_t *>(bytes), size}};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = std::size(parts);
    // A process that has ended needs no answer.
    sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
}

} // namespace

Server::Server(Device &device, Observer observer)
    : device_(device), observer_(std::move(observer)), name_(NewName()),
      listener_(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    const sockaddr_un address = wire::AddressOf(name_.c_str());
    if (listener_.get() < 0 ||
        bind(listener_.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener_.get(), SOMAXCONN) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot set up the stand-in's socket");
    }
}

std::string Server::Variable() const {
    return std::string(wire::kSessionVariable) + "=" + name_;
}

// The next request comes within microseconds of the last one's answer. To sleep meanwhile, and to be woken up,
// takes longer.
void Server::ServeUntil(int other) {
    constexpr int kLooks = 200;
    int looksLeft = 0;
    while (!ServeReady(other, looksLeft > 0 ? 0 : -1)) {
        looksLeft = isBusy_ ? kLooks : looksLeft - 1;
        if (looksLeft <= 0) {
            observer_.idle();
        }
    }
}

void Server::Finish() {
    constexpr int kNone = -1;
    ServeReady(kNone, 0);
    listener_.Close();
    connections_.clear();
}

bool Server::ServeReady(int other, int timeout) {
    ready_.clear();
    ready_.push_back({other, POLLIN, 0});
    ready_.push_back({isFull_ ? -1 : listener_.get(), POLLIN, 0});
    for (const Descriptor &connection : connections_) {
        ready_.push_back({connection.get(), POLLIN, 0});
    }
    isBusy_ = poll(ready_.data(), ready_.size(), timeout) > 0;
    for (std::size_t i = ready_.size(); i-- > kFirstConnection;) {
        if (ready_[i].revents != 0 && !ServeConnection(ready_[i].fd)) {
            connections_.erase(connections_.begin() + static_cast<std::ptrdiff_t>(i - kFirstConnection));
            isFull_ = false;
        }
    }
    if (ready_[kListener].revents != 0) {
        Accept();
    }
    return ready_[kOther].revents != 0;
}

// Accepts at most as many as the queue holds, because new ones may come without end. When the tool has no
// descriptor left, the others wait until a connection ends.
void Server::Accept() {
    for (int i = 0; i < SOMAXCONN; ++i) {
        Descriptor connection(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (connection.get() < 0) {
            isFull_ = errno == EMFILE || errno == ENFILE;
            return;
        }
        // A process sends its first message as soon as it has connected.
        if (ServeConnection(connection.get())) {
            connections_.push_back(std::move(connection));
        }
    }
}

bool Server::ServeConnection(int fd) {
    std::array<uint8_t, wire::kMaxMessage> message;
    const ssize_t size = recv(fd, message.data(), message.size(), 0);
    if (size <= 0) {
        return size < 0 && (errno == EAGAIN || errno == EINTR);
    }
    wire::Head head = {};
    const bool isWhole = static_cast<std::size_t>(size) >= sizeof head;
    std::memcpy(&head, message.data(), isWhole ? sizeof head : 0);
    if (head.version != wire::kVersion) {
        ++numStrangers_;
        return false;
    }
    switch (head.kind) {
    case wire::Kind::Joined:
        ++numJoined_;
        return false;
    case wire::Kind::LeftOpen:
        numLeftOpen_ += static_cast<unsigned>(head.number);
        return false;
    case wire::Kind::Connect:
        Reply(fd, HasOpenFaults(device_.faults) ? 1 : 0);
        return true;
    case wire::Kind::Open:
        Reply(fd, Open());
        return true;
    case wire::Kind::Request:
        ServeRequest(fd, head.number, head.canAnswer != 0, message.data() + sizeof head,
                     static_cast<std::size_t>(size) - sizeof head);
        return true;
    }
    return false;
}

int32_t Server::Open() {
    const Answer answer = device_.Open();
    if (answer.err != 0) {
        observer_.openFailed(answer);
    }
    return answer.err;
}

void Server::ServeRequest(int fd, int number, bool canAnswer, const uint8_t *record, std::size_t size) {
    const qir::RequestInfo *info = qir::FindRequest(number);
    const std::size_t recordSize = info != nullptr ? info->recordSize : 0;
    Request request;
    request.number = number;
    request.canAnswer = canAnswer;
    request.record = info != nullptr && size >= recordSize ? record : nullptr;
    request.fcb = size == recordSize + ORXEMU_FCB_BYTES ? record + recordSize : nullptr;
    const Answer answer = device_.Serve(request);
    observer_.served(request, answer);
    Reply(fd, answer.err, answer.bytes, answer.size);
}

} // namespace orxemu
