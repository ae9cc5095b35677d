// Copies from and to the caller's memory, as a kernel does them: an address that cannot be reached is an
// error and no crash.
#ifndef EMU_PRELOAD_CALLER_MEMORY_H
#define EMU_PRELOAD_CALLER_MEMORY_H

#include <cstddef>

namespace orxemu {

// Copies `size` bytes, from 1 to a page. 0 or an errno, EFAULT for a bad address; then nothing has been stored.
int CopyFromCaller(void *to, const void *callerFrom, std::size_t size);

// The same for bytes that have to be writable, too: `canWrite` says of those at `offset` whether they are. They
// stay as they are.
int CopyFromCaller(void *to, void *callerFrom, std::size_t size, std::size_t offset, std::size_t writeSize,
                   bool &canWrite);

// The bytes where they are when they can be read at once, else a copy at `copy`. Null for a bad address.
const void *Reach(const void *callerFrom, void *copy, std::size_t size);

// This process is a new one, with a number of its own: call it in the child of a fork.
void ForgetPid();

} // namespace orxemu

#endif
