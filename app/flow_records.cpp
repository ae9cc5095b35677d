#include "app/flow_records.h"

#include <cstdio>
#include <cstdlib>

namespace app {

FlowRecord *g_flowInfo[kMaxFlowRecords];
int g_flowInfoIndex = 0;

FlowRecord *allocFlow() {
    if (g_flowInfoIndex >= kMaxFlowRecords) {
        return nullptr;
    }
    auto *const record_p = static_cast<FlowRecord *>(std::calloc(1, sizeof(FlowRecord)));
    if (record_p == nullptr) {
        return nullptr;
    }
    g_flowInfo[g_flowInfoIndex++] = record_p;
    return record_p;
}

void freeFlows() {
    for (int i = 0; i < g_flowInfoIndex; ++i) {
        FlowRecord *const record_p = g_flowInfo[i];
        if (record_p == nullptr) {
            continue; // released by an earlier call
        }
        std::printf("Free Flow %d: ", i);
        if (record_p->asTbl_p != nullptr) {
            std::printf("ASP ");
        }
        if (record_p->dscpTbl_p != nullptr) {
            std::printf("DSCP2PBITS ");
        }
        if (record_p->pacTbl_p != nullptr) {
            std::printf("PBITS2ACTION ");
            QIR_Set_PacInfo(&record_p->flowHdl, e_TBLSTATUS_DISABLE, 0, record_p->pacTbl_p);
        }
        QIR_Free_FCB(&record_p->flowHdl);
        std::free(record_p);
        g_flowInfo[i] = nullptr;
        std::puts("DONE");
    }
}

} // namespace app
