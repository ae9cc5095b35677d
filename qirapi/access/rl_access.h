// Accessors of the rate limiters' configurations. The caller checks direction and index.
#ifndef QIRAPI_ACCESS_RL_ACCESS_H
#define QIRAPI_ACCESS_RL_ACCESS_H

#include "qirapi/private/context.h"

namespace qir {

void setRL(u32 rlDir, u32 rlIndex, const RlEnt *rlEnt_p);
void getRL(u32 rlDir, u32 rlIndex, RlEnt *rlEnt_p);

} // namespace qir

#endif
