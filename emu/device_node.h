// The device node: its path, its descriptors, and the way of a request from ioctl to the device and back.
#ifndef EMU_DEVICE_NODE_H
#define EMU_DEVICE_NODE_H

namespace orxemu {

// The caller's path may be any address.
bool IsDevicePath(const char *path);
// A number that has become another file's is forgotten.
bool IsDeviceDescriptor(int fd);

// New descriptor, or -1 with errno. The flags do not matter, but for close-on-exec.
int OpenDevice(int flags);
// 0, or -1 with errno. On success errno stays as it was.
int IoctlDevice(int request, void *record);
// 0, or -1 with errno, of a descriptor that is the device's.
int CloseDevice(int fd);
// The descriptors are no longer the device's; nothing happens to those that are not. A child that runs in its
// parent's memory (vfork) closes copies of what the parent has open, which is why only its own are forgotten.
void ForgetDescriptor(int fd);
void ForgetDescriptors(unsigned first, unsigned last);
// This process has the memory to itself: from the start, and after a fork.
void OwnMemory();

} // namespace orxemu

#endif
