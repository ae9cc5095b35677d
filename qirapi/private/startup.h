// Start-up of the context.
#ifndef QIRAPI_PRIVATE_STARTUP_H
#define QIRAPI_PRIVATE_STARTUP_H

#include "qirapi/private/context.h"

namespace qir {

// Initialises section budgets, rule tables, table pools, rate limiters and the FCB pool, in this order.
// Returns 0.
u32 Init_QirCfg();

// Clears one rate limiter and its state.
void Init_RL(u32 rlDir, u32 rlIndex);
// Disables rate limiting and clears every limiter.
void Init_RLTbl();

} // namespace qir

#endif
