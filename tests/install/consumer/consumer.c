/* A program that knows the installed headers and libraries only. It ends with 0 when a flow has been in the
 * hardware, which the driver's own counter tells. */
#include "log/qel_log.h"
#include "qirapi/qirapi.h"

#include <stdio.h>
#include <string.h>

#define TRY(call)                                                                                            \
    do {                                                                                                     \
        const uint32_t code_ = (call);                                                                       \
        if (code_ != e_RET_OK) {                                                                             \
            printf("%s: %u\n", #call, (unsigned)code_);                                                      \
            return 1;                                                                                        \
        }                                                                                                    \
    } while (0)

int main(void) {
    FlowHdl flow = {0};
    FwdInfo fwd = {0};
    FcbHits hits = {0};

    if (strcmp(qelLog_getModName(QEL_LOG_ID_ORXAPI), "orxapi") != 0) {
        return 1;
    }
    TRY(QIR_Init_Sys());
    TRY(QIR_Alloc_FCB(1, &flow));
    fwd.src.portMask = 0x01;
    fwd.dst.portMask = 0x20;
    TRY(QIR_Set_FwdInfo(&flow, &fwd));
    TRY(QIR_Activate_FCB(&flow));
    TRY(QIR_Get_FCBHits(&flow, &hits));
    TRY(QIR_Deactivate_FCB(&flow));
    TRY(QIR_Free_FCB(&flow));
    printf("the driver counted %u flow\n", (unsigned)hits.numFlows);
    return hits.numFlows == 1 ? 0 : 1;
}
