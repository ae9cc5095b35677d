#include "tests/app/short_supplies.h"

#include "qirapi/qirapi.h"

#include <cstddef>
#include <optional>

namespace {

bool noMemory = false;
std::optional<uint16_t> section1Budget;

} // namespace

extern "C" {
void *__real_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size);
uint32_t __real_QIR_Init_Sys(void);
uint32_t __wrap_QIR_Init_Sys(void);
}

void *__wrap_calloc(std::size_t count, std::size_t size) {
    return noMemory ? nullptr : __real_calloc(count, size);
}

uint32_t __wrap_QIR_Init_Sys(void) {
    const uint32_t result = __real_QIR_Init_Sys();
    if (section1Budget) {
        QIR_Set_SectionMaxFlows(1, *section1Budget);
    }
    return result;
}

namespace app_test {

NoMemory::NoMemory() {
    noMemory = true;
}

NoMemory::~NoMemory() {
    noMemory = false;
}

Section1Budget::Section1Budget(uint16_t numFlows) {
    section1Budget = numFlows;
}

Section1Budget::~Section1Budget() {
    section1Budget.reset();
}

} // namespace app_test
