// Copies from and to the caller's memory, as a kernel does them: an address that cannot be reached is an
// error and no crash.
#ifndef EMU_CALLER_MEMORY_H
#define EMU_CALLER_MEMORY_H

#include <cstddef>

namespace orxemu {

// Both return 0 or an errno, EFAULT for a bad address; `size` is from 1 to a page. After a failure nothing
// has been stored at `to` by CopyFromCaller, and the reachable beginning may have been by CopyToCaller.
int CopyFromCaller(void *to, const void *callerFrom, std::size_t size);
int CopyToCaller(void *callerTo, const void *from, std::size_t size);

} // namespace orxemu

#endif
