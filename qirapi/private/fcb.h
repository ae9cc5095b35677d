// Flow control blocks: the flow handle, initialisation, dumps.
//
// Start-up initialises every FCB, and each allocation initialises its own again. Freeing a flow releases its
// tables and sets its status; the rest of the FCB keeps its contents until the next allocation.
#ifndef QIRAPI_PRIVATE_FCB_H
#define QIRAPI_PRIVATE_FCB_H

#include "qirapi/private/context.h"

namespace qir {

u16 GetIdxFromFlowHdl(FlowHdl flowHdl);
// A handle whose f1.id is `flowIdx`; the upper half is 0.
FlowHdl GetFlowHdlFromIdx(u16 flowIdx);
Fcb *GetFCB(FlowHdl flowHdl);
// 0, or e_RET_ERR_INVALID_HDL with two error lines: index out of range, or FCB free.
u32 Validate_FlowHdl(FlowHdl flowHdl);

// Fills the FCB with the fill byte and sets the fields that have an initial value; the caller sets `status`.
void Init_FCB(Fcb *fcb_p);
// Initialises all FCBs, FREE. Returns 0.
u32 Init_FcbPool();

// The lowest flow whose FCB is FREE, or QIR_MAX_FLOWS.
u16 FindFreeFlow();

void Dump_FCB(const Fcb *fcb_p);
void Dump_AsOverride(u32 asOvrd);   // Override<e_AS_OVERRIDE_DISABLE>
void Dump_TblStatus(u32 tblStatus); // TblStatus<e_TBLSTATUS_DISABLE>
void Dump_FwdAction(u32 action);    // FwdAction<LRN_ENABLE> <ARL_OVRD> <DROP>

} // namespace qir

#endif
