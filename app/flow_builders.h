// Flow shapes: each builder allocates a flow, gives it forwarding, headers, filters and actions, activates
// and dumps it. It ignores the results of the calls: errors show in the library's lines.
//
// A null asTbl_p means that the flow overrides address screening.
#ifndef APP_FLOW_BUILDERS_H
#define APP_FLOW_BUILDERS_H

#include "qirapi/qirapi.h"

#include <cstdint>

namespace app {

void App_ConfigFlow_UntaggedNonIP(const FwdInfo *fwd_p, FlowHdl *flow_p);
// Upstream untagged IP: pushes tag `vid`, pbits from DSCP. `dscpTbl_p` is not used.
void App_ConfigUsUcastFlow_UntaggedDscp2Pbits(const FwdInfo *fwd_p, const AsTblHdl *asTbl_p,
                                              const DscpTblHdl *dscpTbl_p, PacTblHdl *pac_p, FlowHdl *flow_p,
                                              uint16_t vid);
void App_ConfigUsUcastFlow_PPPoE(const FwdInfo *fwd_p, const AsTblHdl *asTbl_p, FlowHdl *flow_p,
                                 uint16_t vid);
void App_ConfigDsUcastFlow_PPPoE(const FwdInfo *fwd_p, FlowHdl *flow_p);
void App_ConfigUsUcastFlow_VlanTrans(const FwdInfo *fwd_p, const AsTblHdl *asTbl_p, PacTblHdl *pac_p,
                                     FlowHdl *flow_p, uint16_t cVid, uint16_t nwVid);
void App_ConfigDsUcastFlow_VlanTrans(const FwdInfo *fwd_p, FlowHdl *flow_p, uint16_t cVid, uint16_t nwVid);
// Downstream, two tags: pops one. Its action block's VLAN headers and the copy of the pbits are refused.
void App_ConfigDsUcastFlow_DoubleVlanTrans(const FwdInfo *fwd_p, FlowHdl *flow_p);
// Downstream multicast: `mcastType` 0 any source, 1 one source; `vid` 65535 for any tag.
void App_ConfigDsMcastFlow_IpTv(const FwdInfo *fwd_p, FlowHdl *flow_p, uint32_t mcastType, uint16_t vid);
void App_ConfigDsMcastFlow_MultiVlanTrans(const FwdInfo *fwd_p, FlowHdl *flow_p);

} // namespace app

#endif
