// Functions that are called and do nothing. They stand apart so that no caller sees into them.

#include "bench/operations.h"

namespace bench {

void Use(unsigned) {}

void Empty() {}

} // namespace bench
