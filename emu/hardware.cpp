#include "emu/hardware.h"

namespace orxemu {

namespace {

constinit Hardware own = {};
constinit Hardware *current = &own;

} // namespace

Hardware &TheHardware() {
    return *current;
}

void UseHardware(Hardware &hardware) {
    current = &hardware;
}

} // namespace orxemu
