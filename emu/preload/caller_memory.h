// The program's memory, looked at as a kernel does: an address that cannot be reached is an error and no crash.
// `size` is from 1 to a page.
#ifndef EMU_PRELOAD_CALLER_MEMORY_H
#define EMU_PRELOAD_CALLER_MEMORY_H

#include <cstddef>

namespace orxemu {

// The bytes where they are when they can be read there, or a copy of them at `copy`. Null for a bad address.
const void *Reach(const void *address, void *copy, std::size_t size);

// Whether the bytes can be read and written.
bool CanWrite(void *address, std::size_t size);

} // namespace orxemu

#endif
