// How requests get from this process to the device and back. A file for each way: in_process.cpp when the
// process has the device to itself, session.cpp when it is one of a session's.
//
// The process has one socket, by which its carrier reaches the device, and each descriptor of the device is a
// copy of it: the kernel closes, duplicates, inherits and passes it on, and tells it from other files by its
// name. Only the socket's number is remembered, a high one. A program that closes it gets another when it next
// uses the device. (A socket for each opening would do without, and takes the kernel ten times as long.)
#ifndef EMU_PRELOAD_CARRIER_H
#define EMU_PRELOAD_CARRIER_H

#include "emu/orxemu.h"
#include "qirapi/driver/request_table.h"

#include <pthread.h>

namespace orxemu {

// A request as the program makes it.
struct Call {
    int number;
    const qir::RequestInfo *info; // null for an unknown number
    uint8_t *record;              // in the program's memory, at any address
    const uint8_t *bytes;         // of the record; null when they cannot be read
    bool canAnswer;               // whether the record can be written
    uint32_t fcb;                 // address of the FCB that the record names; 0 when it names none
};

struct Carrier {
    // A socket that is the process's way to the device, or -1 with errno.
    int (*connect)();
    // Whether a descriptor is a copy of such a socket, of this process or of one that it was inherited from.
    bool (*isDevice)(int fd);
    // The errno of an opening and of a request, 0 when it is accepted.
    int (*open)();
    int (*serve)(const Call &call);
};

extern const Carrier kInProcess;
extern const Carrier kSession;
// The session's when the environment names one. The first call, when the stand-in is loaded, tells the server
// that the process is there.
const Carrier &TheCarrier();

// The process's socket, or -1 with errno.
int OwnSocket();
// A new descriptor of the device, or -1 with errno.
int OpenDevice(bool closeOnExec);
// In the child of a fork: it takes a way of its own to the device, so that it does not get the answers to its
// parent's requests.
void ForgetSocket();

// Threads take turns at openings and requests.
class Turn {
  public:
    Turn() { pthread_mutex_lock(&mutex); }
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;
    ~Turn() { pthread_mutex_unlock(&mutex); }

    static pthread_mutex_t mutex;
};

} // namespace orxemu

#endif
