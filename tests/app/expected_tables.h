// The tables of the scenarios as bytes, as the driver gets them: the request's index word, which the library
// leaves unset, and behind it the table record.
#ifndef TESTS_APP_EXPECTED_TABLES_H
#define TESTS_APP_EXPECTED_TABLES_H

#include "tests/app/image.h"

namespace app_test {

// The five source addresses are 00:00 and the low bytes from `firstAddr`, 10.0.0.x from `firstAddr`.
Image AsTableRequest(unsigned tbl, uint32_t srcPortMask, unsigned firstAddr);
// DSCP 0 to 31 have pbits DSCP / 4, the others `defPbits`.
Image DscpTableRequest(unsigned tbl, uint32_t srcPort, unsigned defPbits);
// Even pbits go to `firstGem`, odd ones to the GEM port behind it.
Image PacTableRequest(unsigned tbl, unsigned firstGem);

} // namespace app_test

#endif
