// What a call may change in the context, and the search for what else it changed.
//
// Two tables say it (fuzz/changes.cpp): for each kind of operation what an accepted call may change, and for
// each refusal that leaves something behind what that is, and why. A call that is in neither row changes
// nothing. What becomes of the bytes that may change is said elsewhere: fuzz/stored_requests.h and
// fuzz/allocated_headers.h have it for what those do to a flow.
#ifndef FUZZ_CHANGES_H
#define FUZZ_CHANGES_H

#include "fuzz/call.h"

#include <memory>
#include <vector>

namespace fuzz {

// The context as it was before a call.
//
// A flow that no call has named yet in this sequence has to look as it did at start-up; that is looked at
// once, at the end, so that a call costs no more than the flows that the sequence is about.
class Before {
  public:
    Before();

    // The context as it is, right behind the first QIR_Init_Sys() of a process.
    void Start(const qir::QirCtxt &ctxt);
    // Puts `ctxt` back to that, where it may differ from it.
    void Restore(qir::QirCtxt &ctxt);

    const qir::QirCtxt &Ctxt() const { return *before_; }
    const qir::QirCtxt &StartCtxt() const { return *start_; }
    const qir::Fcb *FcbOf(const Call &call) const;

    // Compares, and takes over what the call was allowed to change.
    Complaint Compare(const qir::QirCtxt &ctxt, const Call &call);
    // The end of the sequence: flows that no call has named.
    Complaint CompareRest(const qir::QirCtxt &ctxt) const;

  private:
    void Touch(u32 flow);

    std::unique_ptr<qir::QirCtxt> start_;
    std::unique_ptr<qir::QirCtxt> before_;
    std::vector<u32> touched_;
    std::vector<bool> isTouched_;
};

// May the call ask the driver for something?
bool AsksDriver(Doing doing);

} // namespace fuzz

#endif
