// How requests get from this process to the device and back. A file for each way: in_process.cpp when the
// process has the device to itself, session.cpp when it is one of a session's.
#ifndef EMU_PRELOAD_CARRIER_H
#define EMU_PRELOAD_CARRIER_H

#include "emu/orxemu.h"
#include "qirapi/driver/request_table.h"

#include <pthread.h>

namespace orxemu {

// A request as the program makes it. What it points to may be at any address.
struct Call {
    int number;
    void *record;
    const qir::RequestInfo *info;    // null for an unknown number
    uint8_t copy[ORXEMU_MAX_RECORD]; // of the record
    bool isRead;                     // whether the record could be copied
    bool canAnswer;                  // whether it can be written where the driver answers
    const void *fcb;                 // the FCB that the record names; null when it names none
};

// Threads take turns: all but isDevice is called in one.
struct Carrier {
    // A socket that is the process's way to the device, or -1 with errno.
    int (*connect)();
    // Whether a descriptor is such a socket, of this process or of one that it has inherited it from.
    bool (*isDevice)(int fd);
    // What an opening meets, and what a request: errno, or 0.
    int (*open)(int socket);
    int (*serve)(int fd, const Call &call);
};

extern const Carrier kInProcess;
extern const Carrier kSession;
// The session's when the environment names one. The first call, when the stand-in is loaded, tells the server
// that the process is there.
const Carrier &TheCarrier();

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
