// What passes between a process and the server of its session.
//
// The environment variable names the server's socket: an abstract one of packets, so that a message arrives
// whole and nothing is left in the file system. A process has one connection; its descriptors of the device
// are copies of it. Every message begins with a Head. Those of one kind have no answer:
//
//   Joined    the process has loaded the stand-in; its connection ends with that
//   LeftOpen  the process is about to end and has left `number` descriptors of the device open
//
// To the others the server answers an errno, 0 for yes, and whoever has sent one waits for it:
//
//   Connect   the first on the connection of a process that uses the device. The answer is 1 when openings
//             are to be asked for, because some of them are to fail
//   Open      an opening of the device
//   Request   a request by its number. The record follows, unless it cannot be read, and the FCB if the
//             record names one that can be read. Behind the errno come the bytes that the driver writes into
//             the record, if any
#ifndef EMU_SERVER_WIRE_H
#define EMU_SERVER_WIRE_H

#include "emu/orxemu.h"

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace orxemu::wire {

constexpr const char *kSessionVariable = "ORXEMU_SESSION";

// In the byte order of the sender, so that a process of the other order is known by it. Counts up with every
// change of the messages.
constexpr uint32_t kVersion = 0x4F525801;

enum class Kind : uint32_t { Joined, LeftOpen, Connect, Open, Request };

struct Head {
    uint32_t version;
    Kind kind;
    int32_t number;
    uint32_t canAnswer; // of a request: the record can be written where the driver answers
};

constexpr size_t kMaxMessage = sizeof(Head) + ORXEMU_MAX_RECORD + ORXEMU_FCB_BYTES;

// A name's whole address: the kernel compares all of its bytes, and emulators pass it on unchanged.
inline sockaddr_un AddressOf(const char *name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path + 1, name, sizeof address.sun_path - 2);
    return address;
}

} // namespace orxemu::wire

#endif
