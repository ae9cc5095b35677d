// Supplies that never run short on their own: memory, and the flow budget that the library starts with. The
// linker puts both in front of the real ones (--wrap).
#ifndef TESTS_APP_SHORT_SUPPLIES_H
#define TESTS_APP_SHORT_SUPPLIES_H

#include <cstdint>

namespace app_test {

// As long as one lives, calloc has no memory.
class NoMemory {
  public:
    NoMemory();
    NoMemory(const NoMemory &) = delete;
    NoMemory &operator=(const NoMemory &) = delete;
    ~NoMemory();
};

// As long as one lives, section 1 has this budget after QIR_Init_Sys.
class Section1Budget {
  public:
    explicit Section1Budget(uint16_t numFlows);
    Section1Budget(const Section1Budget &) = delete;
    Section1Budget &operator=(const Section1Budget &) = delete;
    ~Section1Budget();
};

} // namespace app_test

#endif
