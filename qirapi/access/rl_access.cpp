#include "qirapi/access/rl_access.h"

namespace qir {

void setRL(u32 rlDir, u32 rlIndex, const RlEnt *rlEnt_p) {
    qirCtxt_gp->rlTbl[rlDir][rlIndex].ent = *rlEnt_p;
}

void getRL(u32 rlDir, u32 rlIndex, RlEnt *rlEnt_p) {
    *rlEnt_p = qirCtxt_gp->rlTbl[rlDir][rlIndex].ent;
}

} // namespace qir
