// The device node of the measured programs: the library's calls of open, ioctl and close are linked to
// functions here.
//
// In-process, nothing leaves the program: the library alone is measured. On the null device every call is a
// system call; that device has no answer, so the program makes one up afterwards.
#ifndef BENCH_DEVICE_H
#define BENCH_DEVICE_H

namespace bench {

enum class Device { kInProcess, kNull };

void UseDevice(Device device);

// What one request costs without the library: opens, asks and closes the null device.
void CallNullDevice();

} // namespace bench

#endif
