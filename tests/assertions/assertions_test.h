// Calls that the public operations never make: with a pointer or an index that a function asserts and then uses
// all the same. The line has to be there before the program comes to harm.
#ifndef TESTS_ASSERTIONS_ASSERTIONS_TEST_H
#define TESTS_ASSERTIONS_ASSERTIONS_TEST_H

#include "tests/support/library.h"

#include <string>
#include <vector>

namespace assertions {

using qir::u16;
using qir::u32;
using qir::u8;

struct BadCall {
    const char *fn;   // in whose name the line is printed
    const char *text; // of the condition
    void (*call)();
};

// The objects that the good arguments of a call are. Every call gets them anew.
struct Objects {
    qir::Fcb &fcb = qirCtxt_gp->fcbPool[0];
    qir::AsTblInfo &asTbl = qirCtxt_gp->asTblPool[0];
    qir::DscpTblInfo &dscpTbl = qirCtxt_gp->dscpTblPool[0];
    qir::EpTblInfo &epTbl = qirCtxt_gp->epTblPool[0];
    qir::PacTblInfo &pacTbl = qirCtxt_gp->pacTblPool[0];
};

class BadCalls : public test::LibraryTest {
  protected:
    // Every call prints its assertion, with the name of the source module, before anything else. It may end in
    // a fault.
    void ExpectAsserted(const std::string &module, const std::vector<BadCall> &calls);
};

} // namespace assertions

#endif
