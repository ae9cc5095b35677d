// A context with something of everything in it, built by public calls alone.
#ifndef TESTS_FUZZ_CHECKS_SCENE_H
#define TESTS_FUZZ_CHECKS_SCENE_H

#include "fuzz/call.h"
#include "fuzz/past.h"
#include "tests/support/library.h"

#include <ostream>
#include <string>

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

// A call on flow 0 behind which something is broken in the flow or in what is told of the call, and the
// complaint about it; none when nothing is broken.
struct BrokenCall {
    std::string what;
    std::string complaint;
    fuzz::u32 rc;
    fuzz::Call (*call)();
    void (*breakIt)(qir::Fcb &, fuzz::Call &) = nullptr;
    void (*prepare)(qir::Fcb &) = nullptr; // before the call
};

inline std::ostream &operator<<(std::ostream &out, const BrokenCall &row) {
    return out << row.what;
}

} // namespace fuzz_checks

#endif
