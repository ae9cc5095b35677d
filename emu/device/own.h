// The device of this process, and its log: what the functions of emu/orxemu.h are about.
#ifndef EMU_DEVICE_OWN_H
#define EMU_DEVICE_OWN_H

#include "emu/device/device.h"

namespace orxemu {

Device &OwnDevice();
void KeepInLog(const Request &request, const Answer &answer);

} // namespace orxemu

#endif
