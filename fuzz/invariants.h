// What holds in a context between any two public calls.
//
// The checks read the records of qirapi/private/ and nothing of the code that changes them. What is not looked
// at: the nodes of a FREE flow, which mean nothing until it is allocated again, and the lists of a flow with
// VLAN tag 2 or 3, whose entries lie over those of other headers.
#ifndef FUZZ_INVARIANTS_H
#define FUZZ_INVARIANTS_H

#include "fuzz/changes.h"

#include <array>

namespace fuzz {

// refCnt minus the flows whose association names the table.
//
// QIR_Set_PacInfo and QIR_Set_EpInfo store the table handle before they look whether the flow is associated
// already. A flow whose handle was replaced while it was associated counts in the table that it was associated
// with, and is taken off the one that its handle names, be that FREE by now. An allocation makes the count 0,
// whoever names the table.
struct Drift {
    std::array<i32, QIR_EPTBL_MAXNUM> ep{};
    std::array<i32, QIR_PACTBL_MAXNUM> pac{};

    // Takes note of a call. `before` is the flow that it named as it was.
    void Note(const qir::QirCtxt &ctxt, const Call &call, const qir::Fcb &before);
};

// `numFlows`: flows that can be in use; who knows that those behind are FREE saves the walk through them.

// One flow: its fields, its headers, its request lists.
Complaint CheckFlow(const qir::QirCtxt &ctxt, u32 idx);
// Its request lists alone (fuzz/request_lists.cpp).
Complaint CheckLists(const qir::Fcb &fcb);
// The counters of the flow sections.
Complaint CheckSections(const qir::QirCtxt &ctxt, u32 numFlows = QIR_MAX_FLOWS);
// The tables of all kinds, and who uses them.
Complaint CheckTables(const qir::QirCtxt &ctxt, const Drift &drift, u32 numFlows = QIR_MAX_FLOWS);
// Rate limiters, global and port settings.
Complaint CheckSettings(const qir::QirCtxt &ctxt);

// All of them, with all flows.
Complaint CheckContext(const qir::QirCtxt &ctxt, const Drift &drift);

} // namespace fuzz

#endif
