// The return codes by number and name, as callers and logs know them.
#ifndef TESTS_RETURN_CODES_CODES_H
#define TESTS_RETURN_CODES_CODES_H

#include <cstdint>
#include <string>
#include <vector>

namespace return_codes {

struct Code {
    uint32_t number;
    const char *name;
    const char *meaning;
};

// All codes, by number.
const std::vector<Code> &Codes();

// The code's name; a test fails when there is no such code.
std::string NameOf(uint32_t number);

} // namespace return_codes

#endif
