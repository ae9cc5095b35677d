// Functions that do nothing. They have a file of their own so that the compiler cannot inline them.

#include "bench/operations.h"

namespace bench {

void Use(unsigned) {}

void Empty() {}

} // namespace bench
