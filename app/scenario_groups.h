// The five groups of flows that a test runs. Each takes the running flow priority by pointer, gives every
// flow the next one and writes it back; the PPPoE flows share a priority of their own. A group returns 0, or
// -1 when no flow record was left.
#ifndef APP_SCENARIO_GROUPS_H
#define APP_SCENARIO_GROUPS_H

#include "qirapi/qirapi.h"

#include <cstdint>

namespace app {

// Priority that the PPPoE flows share, taken from the running priority while it is 0.
extern uint32_t PppoePrio;

int App_ConfigUntaggedNonIpFlows(uint32_t *prio_p);
int App_ConfigUntaggedPppoeFlows(uint32_t uni, uint32_t *prio_p, uint32_t gem, AsTblHdl *asTbl_p,
                                 uint16_t vid);
int App_ConfigUntaggedIpFlows(uint32_t uni, uint32_t *prio_p, DscpTblHdl *dscpTbl_p, AsTblHdl *asTbl_p,
                              PacTblHdl *pac_p, uint16_t vid);
// Two upstream and two downstream flows; when all have a record, writes the next GEM port back, too.
int App_ConfigFlowMapperWithTranslation(uint32_t uni, uint32_t *gem_p, uint32_t *prio_p, AsTblHdl *asTbl_p,
                                        PacTblHdl *pac_p, uint16_t cVid, uint16_t nwVid);
int App_ConfigFlowMulticast(uint32_t *prio_p);

} // namespace app

#endif
