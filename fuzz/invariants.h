// What holds in a context between any two public calls.
//
// The checks read the records of qirapi/private/ and nothing of the code that changes them. Where an intended
// oddity bends an invariant, it is bent by exactly that much (fuzz/past.h). What is not looked at: the nodes
// of a FREE flow, which mean nothing until it is allocated again, and the types that an IPv4 filter entry has
// accepted once VLAN tag 3 has been laid over it.
#ifndef FUZZ_INVARIANTS_H
#define FUZZ_INVARIANTS_H

#include "fuzz/past.h"

namespace fuzz {

// `numFlows`: flows that can be in use; who knows that those behind are FREE saves the walk through them.

// One flow: its fields, its headers, its request lists.
Complaint CheckFlow(const qir::QirCtxt &ctxt, u32 idx, const Past &past);
// The counters of the flow sections.
Complaint CheckSections(const qir::QirCtxt &ctxt, u32 numFlows = QIR_MAX_FLOWS);
// The tables of all kinds, and who uses them.
Complaint CheckTables(const qir::QirCtxt &ctxt, const Past &past, u32 numFlows = QIR_MAX_FLOWS);
// Rate limiters, global and port settings.
Complaint CheckSettings(const qir::QirCtxt &ctxt);

// All of them, with all flows.
Complaint CheckContext(const qir::QirCtxt &ctxt, const Past &past);

} // namespace fuzz

#endif
