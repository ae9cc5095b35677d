// The C library's own functions, behind the hooks of this library.
#ifndef EMU_NEXT_H
#define EMU_NEXT_H

#include <sys/types.h>

namespace orxemu {

// Looks them all up, as long as nothing else runs. At a call it would be too late: dlsym waits for whoever
// loads a library, who may wait for the thread that calls, and it is not for signal handlers.
void FindNext();

// Each fails with ENOSYS when there is none. One that is called before FindNext(), by another library that is
// being loaded, is looked up then.
int NextOpen(const char *path, int flags, mode_t mode);
int NextOpen64(const char *path, int flags, mode_t mode);
int NextOpenAt(int folder, const char *path, int flags, mode_t mode);
int NextOpenAt64(int folder, const char *path, int flags, mode_t mode);
// What fortified programs call when the flags are no constant and no mode is given.
int NextFortifiedOpen(const char *path, int flags);
int NextFortifiedOpen64(const char *path, int flags);
int NextFortifiedOpenAt(int folder, const char *path, int flags);
int NextFortifiedOpenAt64(int folder, const char *path, int flags);
int NextIoctl(int fd, unsigned long request, void *arg);
int NextIoctlTime64(int fd, unsigned long request, void *arg);
int NextClose(int fd);
int NextCloseRange(unsigned first, unsigned last, int flags);
void NextCloseFrom(int first);
int NextDup2(int from, int to);
int NextDup3(int from, int to, int flags);

} // namespace orxemu

#endif
