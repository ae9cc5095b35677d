// The stand-in for the ORX kernel driver, as tests see it.
//
// The shared library liborxemu stands in front of the C library's open, openat and ioctl. It takes the device
// node "/dev/pktorx" and the descriptors it handed out for it; everything else passes through, and so does what
// the kernel does to a descriptor of any kind (FIOCLEX, FIONCLEX, FIONBIO, FIOASYNC). It keeps what the hardware
// would hold, refuses what a sound driver would refuse (with an errno that says why), and keeps a log of every
// request. A test that links it asks it what it holds and makes chosen requests fail, while no request is under
// way.
//
// It knows the driver's records and nothing else of the library: it is the other side of the wire.
//
// Why a request is refused; a refused request changes nothing and leaves the record as it was:
//
//   ENOTTY  unknown request number
//   EFAULT  the record or the FCB cannot be read, or the record cannot be written
//   EINVAL  unknown or combined configuration type; FCB size other than ORXEMU_FCB_BYTES; value out of range:
//             flow-miss action 0..2, port of ACL and TPID 0..8, port of pad length 0..7, ACL type 0..1,
//             pad length 0..255, rate-limiter status 0..1, direction 0..1, rate-limiter index 0..15,
//             rate of an activated limiter (unit 0: 0..8064, unit 1: 0..1000),
//             flow priority 0..31 and forwarding flags 0..7 of a forwarding update (and of the FCB of an
//             activated flow whose fwdInfoSet is 1)
//   ENOENT  table, flow or rate limiter that is not active; PAC table of a flow that is not active; any EP
//           table other than -1, because EP tables have no requests
//   ENOSPC  all indexes of the kind are in use
//   EBUSY   activation of a rate limiter that is active
//   ENODEV  `orxemu run`, which has the hardware of this process, has ended; a first opening then fails, too
//
// Everything else in table records, FCBs and forwarding records is the library's own bookkeeping or has
// meaning only to the hardware: it is kept as it came. A PAC table may be deactivated while a flow uses it,
// as the library permits. The FCB is copied on deactivation of a flow too, but only activation keeps it.
#ifndef EMU_ORXEMU_H
#define EMU_ORXEMU_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// The functions below and the hooks are all that liborxemu exports.
#pragma GCC visibility push(default)

enum {
    ORXEMU_FCB_BYTES = 1884,
    ORXEMU_MAX_RECORD = 512, // the largest record has 472 bytes
    ORXEMU_AS_TABLES = 16,
    ORXEMU_DSCP_TABLES = 6,
    ORXEMU_PAC_TABLES = 16,
    ORXEMU_FLOWS = 512,
    ORXEMU_PORTS = 9,
    ORXEMU_RL_DIRS = 2,
    ORXEMU_RL_INDEXES = 16,
    ORXEMU_MAX_LOG = 8192, // requests that the log keeps; later ones are only counted
    ORXEMU_MAX_FAULTS = 64 // faults that can be armed at a time; one more aborts the program
};

// One request as it came in and as it was answered.
typedef struct {
    int request;                    // request number
    int err;                        // errno of the answer, 0 when it was accepted
    uint32_t recordSize;            // bytes of the record; 0 for an unknown request
    uint8_t in[ORXEMU_MAX_RECORD];  // the record as the library sent it; zeros when it could not be read
    uint8_t out[ORXEMU_MAX_RECORD]; // the record as the driver left it
    uint32_t fcbSize;               // ORXEMU_FCB_BYTES when an FCB was copied, else 0
    uint8_t fcb[ORXEMU_FCB_BYTES];  // the FCB copied from the caller's memory
} OrxEmuRequest;

// What the hardware holds. A table slot or flow is in use when `active` is 1, and zero otherwise; `record` is
// the table record (without the index word) as it was activated, with zeros behind a shorter one.
typedef struct {
    int active;
    uint8_t record[468];
} OrxEmuTable;

typedef struct {
    int active;
    uint8_t fcb[ORXEMU_FCB_BYTES]; // as copied at activation; forwarding updates change its fwdInfo
    int32_t pacTblIdx;
    int32_t epTblIdx;
    uint32_t numFlows; // 1 for an active flow
    uint32_t hits[8];  // 0 at activation
} OrxEmuFlow;

typedef struct {
    int active;
    uint8_t record[16]; // the 16 configuration bytes of the activation
} OrxEmuRl;

typedef struct {
    uint32_t flowMissAction;
    uint32_t portDefAcl[ORXEMU_PORTS];
    uint32_t portPadLen[ORXEMU_PORTS];
    uint16_t portTpid[ORXEMU_PORTS][4];
    OrxEmuTable asTbl[ORXEMU_AS_TABLES];
    OrxEmuTable dscpTbl[ORXEMU_DSCP_TABLES];
    OrxEmuTable pacTbl[ORXEMU_PAC_TABLES];
    OrxEmuFlow flow[ORXEMU_FLOWS];
    uint32_t rlStatus;
    uint16_t rlTci[ORXEMU_RL_DIRS][2];
    OrxEmuRl rl[ORXEMU_RL_DIRS][ORXEMU_RL_INDEXES];
} OrxEmuState;

// Power-on state: nothing active, all settings 0, log empty, no faults armed, device present. Descriptors
// that are open stay open.
void orxemu_reset(void);

// What the hardware holds now.
const OrxEmuState *orxemu_state(void);

// Adds `count` to hit counter `counter` (0 to 7) of an active flow. 0, or -1 when there is no such flow or
// counter.
int orxemu_addHits(uint32_t flowIdx, uint32_t counter, uint32_t count);

// The log: number of requests since the last reset or clear, and request i (0 first; null past the end). It is
// kept for programs that link the stand-in; where it is preloaded the requests are counted and their entries
// stay zero.
// Requests behind the first ORXEMU_MAX_LOG are counted but not kept, their pointer is null. A pointer stays
// good until the log is cleared.
size_t orxemu_numRequests(void);
const OrxEmuRequest *orxemu_request(size_t i);
void orxemu_clearLog(void);

// Descriptors of the device that this process has opened and that are open now, copies of them included;
// successful openings of the device since the last reset.
int orxemu_openDescriptors(void);
size_t orxemu_numOpens(void);

// Device present (1, the default) or missing (0: open fails with ENOENT; open descriptors go on working).
void orxemu_setPresent(int present);

// Faults. `nth` counts from 1, the next one; 0 arms nothing. Each fires once, and several can be armed. When
// two fall due together the one armed first decides and both are spent. A fault decides before the device's
// own checks.
//  - failOpen: the nth opening of the device fails with `err`.
//  - failRequest: the nth ioctl with this request number (0: any number) fails with `err`; the hardware does
//    nothing and the record stays as it was.
//  - loseAnswer: as failRequest, but the hardware has taken the request and written the record before the
//    ioctl fails with `err`.
void orxemu_failOpen(unsigned nth, int err);
void orxemu_failRequest(int request, unsigned nth, int err);
void orxemu_loseAnswer(int request, unsigned nth, int err);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
