// The log of requests.
#ifndef EMU_REQUEST_LOG_H
#define EMU_REQUEST_LOG_H

#include "emu/orxemu.h"

namespace orxemu {

// The zeroed entry of a new request. When the log is full, an entry that the next request uses again.
OrxEmuRequest &NewLogEntry();

} // namespace orxemu

#endif
