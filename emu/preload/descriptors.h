// The descriptors of the device.
//
// The process has one socket, by which the carrier reaches the device, and each descriptor is a copy of it: the
// kernel closes, duplicates, inherits and passes it on, and tells it from other files by its name. Only the
// socket's number is remembered, a high one; a program that closes it gets another at its next opening. (A
// socket for each opening would do without, and takes the kernel ten times as long.)
#ifndef EMU_PRELOAD_DESCRIPTORS_H
#define EMU_PRELOAD_DESCRIPTORS_H

namespace orxemu {

// New descriptor, or -1 with errno. Called in a turn.
int OpenDevice(bool closeOnExec);

// How many descriptors this process has opened and not closed.
int CountOpen();

// In the child of a fork: it takes a way of its own to the device, so that it does not get the answers to its
// parent's requests.
void ForgetSocket();

} // namespace orxemu

#endif
