// A program on the stand-in driver, which gets nowhere near the driver's device node.
#include "emu/orxemu.h"

int main() {
    return static_cast<int>(orxemu_numOpens());
}
