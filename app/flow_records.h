// The records of allocated flows: which flow, and which tables its scenario uses with it. All scenarios share
// one array of them; freeFlows releases them together.
#ifndef APP_FLOW_RECORDS_H
#define APP_FLOW_RECORDS_H

#include "qirapi/qirapi.h"

namespace app {

// The AS and DSCP handles only mark that such a table is in use; the PAC handle is released with the flow.
struct FlowRecord {
    FlowHdl flowHdl; // 0xFFFFFFFF before the flow is allocated
    AsTblHdl *asTbl_p;
    DscpTblHdl *dscpTbl_p;
    PacTblHdl *pacTbl_p;
};
static_assert(sizeof(void *) != 4 || sizeof(FlowRecord) == 16);

constexpr int kMaxFlowRecords = 100;

extern FlowRecord *g_flowInfo[kMaxFlowRecords];
extern int g_flowInfoIndex; // number in use

// A new record, or null when all are in use or the heap is exhausted.
FlowRecord *allocFlow();

// Releases tables, flow and record of every record, and prints what it releases. The number in use stays.
void freeFlows();

} // namespace app

#endif
