// The server of a session: one device for all processes that connect to it.
//
// One thread accepts connections and serves one request after the other, so that requests need no lock and
// their order is the order of the log. What passes over a connection stands in emu/server/wire.h.
#ifndef EMU_SERVER_SERVER_H
#define EMU_SERVER_SERVER_H

#include "emu/device/device.h"
#include "emu/server/descriptor.h"

#include <functional>
#include <poll.h>
#include <string>
#include <vector>

namespace orxemu {

class Server {
  public:
    // Is told of each request as it is served.
    struct Observer {
        std::function<void(const Request &, const Answer &)> served;
        std::function<void(const Answer &)> openFailed;
        std::function<void()> idle; // nobody is asking for anything: time for what can wait
    };

    // Throws std::system_error when the system gives it no socket.
    Server(Device &device, Observer observer);

    // What the session's environment variable has to be: NAME=VALUE.
    std::string Variable() const;

    // Serves until `other` can be read.
    void ServeUntil(int other);
    // Serves what has been asked so far, then closes everything: processes that are still connected find the
    // device gone.
    void Finish();

    // Processes that have loaded the stand-in, and connections whose messages mean nothing here.
    unsigned NumJoined() const { return numJoined_; }
    unsigned NumStrangers() const { return numStrangers_; }
    // Descriptors of the device that processes had not closed when they ended.
    unsigned NumLeftOpen() const { return numLeftOpen_; }

  private:
    // Serves what is ready, each connection once; `timeout` as for poll. Returns whether `other` can be read.
    bool ServeReady(int other, int timeout);
    void Accept();
    // False when the connection has ended or makes no sense.
    bool ServeConnection(int fd);
    void ServeRequest(int fd, int number, bool canAnswer, const uint8_t *record, size_t size);
    int32_t Open();

    Device &device_;
    Observer observer_;
    std::string name_;
    Descriptor listener_;
    std::vector<Descriptor> connections_;
    std::vector<pollfd> ready_; // `other`, the listener, the connections
    bool isBusy_ = false;       // something was ready the last time
    bool isFull_ = false;       // no further connection can be accepted
    unsigned numJoined_ = 0;
    unsigned numStrangers_ = 0;
    unsigned numLeftOpen_ = 0;
};

} // namespace orxemu

#endif
