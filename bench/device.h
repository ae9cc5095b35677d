// The device node of the measured programs: the library's calls of open, ioctl and close are linked to
// functions here.
//
// In-process, nothing leaves the program, and what is measured is the library alone. On the null device every
// call is a system call, and the answer is made afterwards, because that device has none.
#ifndef BENCH_DEVICE_H
#define BENCH_DEVICE_H

namespace bench {

enum class Device { kInProcess, kNull };

void UseDevice(Device device);

// What one request costs without the library: the null device is opened, asked and closed.
void CallNullDevice();

} // namespace bench

#endif
