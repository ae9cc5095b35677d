// All public operations, by family.
#ifndef TESTS_RETURN_CODES_OPERATIONS_H
#define TESTS_RETURN_CODES_OPERATIONS_H

#include "tests/return_codes/describe.h"

namespace return_codes {

Family System();
Family Ports();
Family AsTables();
Family DscpTables();
Family PacTables();
Family EpTables();
Family FlowLife();
Family FlowConfig();
Family Filters();
Family Actions();
Family RateLimiters();
Family Dumps();

// All of them, in the order of the page.
const std::vector<Family> &Families();
const Operation &OperationOf(const std::string &name);

} // namespace return_codes

#endif
