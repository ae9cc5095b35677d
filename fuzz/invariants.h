// What holds in a context between any two public calls.
//
// The checks read the records of qirapi/private/ and nothing of the code that changes them. What is not looked
// at: the nodes of a FREE flow, which mean nothing until it is allocated again, and the lists of a flow with
// VLAN tag 2 or 3, whose entries lie over those of other headers.
#ifndef FUZZ_INVARIANTS_H
#define FUZZ_INVARIANTS_H

#include "fuzz/changes.h"

namespace fuzz {

void CheckFlow(const QirCtxt &ctxt, u32 idx);
// Flows from `numFlows` on are known to be FREE.
void CheckSections(const QirCtxt &ctxt, u32 numFlows = QIR_MAX_FLOWS);
void CheckTables(const QirCtxt &ctxt);
void CheckSettings(const QirCtxt &ctxt);
// A call that associates a flow, or ends that, changes the count of one table by one. Its Changes say which table
// that is. The counts themselves say nothing: QIR_Set_PacInfo replaces the handle of an associated flow, and the
// next call then takes the flow off another table than the one that counts it.
void CheckCounts(const QirCtxt &before, const QirCtxt &now, const Call &call);

// "flow 3: broken" for what does not hold of an object.
struct About {
    const char *kind;
    u32 idx;

    [[noreturn]] void Complain(const std::string &broken) const {
        throw Complaint(std::string(kind) + " " + std::to_string(idx) + ": " + broken);
    }
    void Require(bool holds, const char *broken) const {
        if (!holds) {
            Complain(broken);
        }
    }
};

// The request lists of a flow (fuzz/request_lists.cpp).
void CheckLists(const Fcb &fcb, const About &flow);

} // namespace fuzz

#endif
