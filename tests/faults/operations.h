// The public operations that reach the driver, a row per call, on a library and a driver that have something
// of everything: what each row sends, what both sides hold once the driver has accepted it, and what becomes
// of the same call made again after a failure.
#ifndef TESTS_FAULTS_OPERATIONS_H
#define TESTS_FAULTS_OPERATIONS_H

#include "emu/orxemu.h"
#include "qirapi/private/context.h"

#include <vector>

namespace faults {

// What the object's word of the driver's index becomes, whatever the driver answers.
enum class IndexWord {
    Stays,
    Taken,    // the request's index word: the driver's index, or what it was before the driver saw it
    Forgotten // all ones
};

struct Operation {
    const char *name; // as it logs itself
    const char *with; // what tells the rows of an operation apart
    int request;
    qir::u32 (*call)();
    const qir::u8 *index; // the object's word of the driver's index; null when it stays
    IndexWord indexWord;
    // What changes when the driver accepts the call: in the hardware, for a call made on this shadow, and in
    // the shadow, the driver's index excepted. Null for nothing.
    void (*hardware)(OrxEmuState &hardware, const qir::QirCtxt &shadow);
    void (*shadow)(qir::QirCtxt &shadow);
    // The driver's errno for the same call made again when the hardware has not taken the first one, and when
    // it has; 0 when it is accepted.
    int again;
    int againWhenTaken;
};

// Fresh driver, fresh library, all objects in their place, empty log.
void PrepareObjects();

// To be asked for after PrepareObjects().
std::vector<Operation> Operations();

} // namespace faults

#endif
