// The server of a session, asked by sockets that say what no stand-in would say.
#include "emu/server/server.h"
#include "emu/server/wire.h"
#include "tests/orxemu_run/run_kit.h"

#include <thread>

namespace run_test {

namespace {

using namespace orxemu;
using wire::Kind;

class ServerTest : public ::testing::Test {
  protected:
    ServerTest() {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        end_ = Descriptor(ends[0]);
        stop_ = Descriptor(ends[1]);
        thread_ = std::thread([this] { server_.ServeUntil(end_.get()); });
    }
    ~ServerTest() override { Stop(); }
    // What the server has counted and the device holds may be looked at then.
    void Stop() {
        if (thread_.joinable()) {
            stop_.Close();
            thread_.join();
            server_.Finish();
        }
    }

    Descriptor Connected() const {
        const std::string variable = server_.Variable();
        const sockaddr_un address = wire::AddressOf(variable.c_str() + variable.find('=') + 1);
        Descriptor fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        EXPECT_EQ(connect(fd.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        return fd;
    }

    const std::unique_ptr<Device> device_ = std::make_unique<Device>();
    unsigned numServed_ = 0;
    unsigned numFailedOpens_ = 0;
    Server server_{*device_,
                   {[this](const Request &, const Answer &) { ++numServed_; },
                    [this](const Answer &) { ++numFailedOpens_; }, [] {}}};

  private:
    Descriptor end_;
    Descriptor stop_;
    std::thread thread_;
};

std::string Message(Kind kind, int number = 0, const std::string &rest = "") {
    const wire::Head head = {wire::kVersion, kind, number, 1};
    return std::string(reinterpret_cast<const char *>(&head), sizeof head) + rest;
}

// What comes back; empty when the server has closed the connection.
std::string Ask(const Descriptor &fd, const std::string &message) {
    EXPECT_EQ(send(fd.get(), message.data(), message.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(message.size()));
    char answer[64];
    const ssize_t size = recv(fd.get(), answer, sizeof answer, 0);
    return {answer, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

std::string Word(std::int32_t value) {
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

TEST_F(ServerTest, RequestsAreAnswered) {
    const Descriptor first = Connected();
    EXPECT_EQ(Ask(first, Message(Kind::Connect)), Word(0));
    const Descriptor second = Connected();
    const struct {
        const char *given;
        int number;
        std::string rest;
        std::string answer;
    } rows[] = {
        {"status", 39, Word(1), Word(0)},
        {"status that is refused", 39, Word(2), Word(EINVAL)},
        {"unknown", 18, Word(2), Word(ENOTTY)},
        {"table", 21, std::string(472, 'x'), Word(0) + Word(0)},
        {"next table", 21, std::string(472, 'x'), Word(0) + Word(1)},
        {"record that could not be read", 39, "", Word(EFAULT)},
        {"record that is cut", 21, std::string(471, 'x'), Word(EFAULT)},
        {"flow without an FCB", 29, Word(0) + Word(1884) + Word(16) + Word(-1) + Word(-1), Word(EFAULT)},
        {"FCB that is cut", 29,
         Word(0) + Word(1884) + Word(16) + Word(-1) + Word(-1) + std::string(1883, 'x'), Word(EFAULT)},
        {"flow", 29, Word(0) + Word(1884) + Word(16) + Word(-1) + Word(-1) + std::string(1884, 'x'),
         Word(0) + Word(0)},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(Ask(first, Message(Kind::Request, row.number, row.rest)), row.answer) << row.given;
    }
    EXPECT_EQ(Ask(second, Message(Kind::Request, 39, Word(0))), Word(0)) << "without a greeting, too";
    Stop();
    EXPECT_EQ(numServed_, std::size(rows) + 1);
    EXPECT_EQ(device_->state.rlStatus, 0u);
    EXPECT_EQ(device_->state.flow[0].active, 1);
    EXPECT_EQ(server_.NumStrangers(), 0u);
    char none;
    EXPECT_EQ(recv(first.get(), &none, sizeof none, 0), 0) << "the session has ended";
}

TEST_F(ServerTest, SessionGoesOnBehindWhatMakesNoSense) {
    const Descriptor good = Connected();
    wire::Head other = {wire::kVersion + 1, Kind::Request, 39, 1};
    const std::string version(reinterpret_cast<const char *>(&other), sizeof other);
    other.version = __builtin_bswap32(wire::kVersion);
    const std::string order(reinterpret_cast<const char *>(&other), sizeof other);
    const std::string cut = Message(Kind::Request, 39).substr(0, sizeof other - 4);
    const std::string strangers[] = {"x",     cut,  "hello, is anybody there?", std::string(60000, '\xFF'),
                                     version, order};
    for (const std::string &message : strangers) {
        EXPECT_EQ(Ask(Connected(), message + ""), "") << message.substr(0, 10);
        EXPECT_EQ(Ask(good, Message(Kind::Request, 39, Word(1))), Word(0));
    }
    EXPECT_EQ(Ask(Connected(), Message(static_cast<Kind>(99))), "");
    EXPECT_EQ(Ask(Connected(), Message(Kind::Request, 39, std::string(60000, 'x'))).size(), 4u);
    for (int i = 0; i < 300; ++i) {
        Connected(); // and goes away without a word, or before its answer
        const Descriptor fd = Connected();
        const std::string message = Message(Kind::Request, 39, Word(1));
        send(fd.get(), message.data(), message.size(), MSG_NOSIGNAL);
    }
    EXPECT_EQ(Ask(good, Message(Kind::Request, 39, Word(1))), Word(0));
    Stop();
    EXPECT_EQ(server_.NumStrangers(), std::size(strangers));
    EXPECT_EQ(numServed_, std::size(strangers) + 1 + 300 + 1);
}

TEST_F(ServerTest, ProcessesAndOpeningsAreCounted) {
    ArmFault(device_->faults, FaultKind::FailOpen, 0, 2, EACCES);
    EXPECT_EQ(Ask(Connected(), Message(Kind::Joined)), "");
    EXPECT_EQ(Ask(Connected(), Message(Kind::LeftOpen, 3)), "");
    EXPECT_EQ(Ask(Connected(), Message(Kind::LeftOpen, 4)), "");
    const Descriptor fd = Connected();
    EXPECT_EQ(Ask(fd, Message(Kind::Connect)), Word(1)) << "openings are to be asked for";
    EXPECT_EQ(Ask(fd, Message(Kind::Open)), Word(0));
    EXPECT_EQ(Ask(fd, Message(Kind::Open)), Word(EACCES));
    EXPECT_EQ(Ask(fd, Message(Kind::Open)), Word(0));
    Stop();
    EXPECT_EQ(server_.NumJoined(), 1u);
    EXPECT_EQ(server_.NumLeftOpen(), 7u);
    EXPECT_EQ(numFailedOpens_, 1u);
    EXPECT_EQ(device_->numOpens, 2u);
}

} // namespace

} // namespace run_test
