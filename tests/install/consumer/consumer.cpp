// A program that knows the installed headers and libraries only. It ends with 0 when a flow has been in the
// hardware, which the driver's own counter tells.
#include "log/qel_log.h"
#include "qirapi/qirapi.h"

#include <initializer_list>
#include <iostream>
#include <string_view>

int main() {
    if (std::string_view(qelLog_getModName(QEL_LOG_ID_ORXAPI)) != "orxapi") {
        return 1;
    }
    FlowHdl flow{};
    FcbHits hits{};
    const FwdInfo fwd{.flowPrio = 0,
                      .src = {.gemPortIdxMask = 0, .portMask = 0x01},
                      .dst = {.gemQid = {}, .gemPortIdxMask = 0, .portQid = {}, .rsvd = {}, .portMask = 0x20},
                      .fwdAction = e_FWD_ACTION_ARL_OVRD};
    for (const uint32_t code :
         {QIR_Init_Sys(), QIR_Alloc_FCB(1, &flow), QIR_Set_FwdInfo(&flow, &fwd), QIR_Activate_FCB(&flow),
          QIR_Get_FCBHits(&flow, &hits), QIR_Deactivate_FCB(&flow), QIR_Free_FCB(&flow)}) {
        if (code != e_RET_OK) {
            std::cout << "return code " << code << '\n';
            return 1;
        }
    }
    std::cout << "the driver counted " << hits.numFlows << " flow\n";
    return hits.numFlows == 1 ? 0 : 1;
}
