// What most flow operations begin with, after their own parameter line.
#ifndef QIRAPI_API_FLOW_OPS_H
#define QIRAPI_API_FLOW_OPS_H

#include "qirapi/api/operation.h"
#include "qirapi/private/fcb.h"

namespace qir {

// Null check (of the handle and of everything else the operation needs), "Params2" line, handle validation.
// The caller passes the code to QIR_END.
inline u32 OpenFlow(const char *fn, const FlowHdl *flowHdl_p, bool othersGiven = true) {
    if (flowHdl_p == nullptr || !othersGiven) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_NULL_PTR);
    }
    QIR_INF_AS(fn, "Params2: flowHdl<%u>\n", flowHdl_p->f1.id);
    return Validate_FlowHdl(*flowHdl_p);
}

} // namespace qir

#endif
