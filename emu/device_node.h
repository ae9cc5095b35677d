// The device node: its path, its descriptors, and the way of a request from ioctl to the device and back.
#ifndef EMU_DEVICE_NODE_H
#define EMU_DEVICE_NODE_H

namespace orxemu {

bool IsDevicePath(const char *path);
bool IsDeviceDescriptor(int fd);

// New descriptor, or -1 with errno. The flags do not matter, but for close-on-exec.
int OpenDevice(int flags);
// 0, or -1 with errno. On success errno stays as it was.
int IoctlDevice(int request, void *record);
// The descriptor is no longer the device's; does nothing when it is not.
void ForgetDescriptor(int fd);

} // namespace orxemu

#endif
