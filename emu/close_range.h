// Closing many descriptors in one call: the session's stay, as they do when a program closes one after the
// other, and the device's are forgotten.
#ifndef EMU_CLOSE_RANGE_H
#define EMU_CLOSE_RANGE_H

namespace orxemu {

// As the C library's close_range() and closefrom().
int CloseRange(unsigned first, unsigned last, int flags);
void CloseFrom(int first);

} // namespace orxemu

#endif
