// A context with something of everything in it, built by public calls alone.
#ifndef TESTS_FUZZ_CHECKS_SCENE_H
#define TESTS_FUZZ_CHECKS_SCENE_H

#include "fuzz/past.h"
#include "tests/support/library.h"

namespace fuzz_checks {

// Flow 0, configured: headers of both blocks with filters and actions, and PAC table 0 in use. Flow 1,
// active. AS table 0 with an entry, DSCP table 0 and PAC table 0, all active; rate limiter (1, 3), active.
class Scene : public test::LibraryTest {
  protected:
    void SetUp() override;

    qir::QirCtxt &ctxt = *qirCtxt_gp;
    qir::Fcb &flow = qirCtxt_gp->fcbPool[0];
    fuzz::Past past;
};

} // namespace fuzz_checks

#endif
