// Accessors of FCB fields and iteration over stored requests.
// Null pointers and numbers out of range are asserted and then used.
#ifndef QIRAPI_ACCESS_FLOW_ACCESS_H
#define QIRAPI_ACCESS_FLOW_ACCESS_H

#include "qirapi/private/context.h"

namespace qir {

void setFlowSection(Fcb *fcb_p, u32 section);
void getFlowSection(const Fcb *fcb_p, u32 *section_p);

void setFwdInfo(Fcb *fcb_p, const FwdInfo *fwdInfo_p);
void getFwdInfo(const Fcb *fcb_p, FwdInfo *fwdInfo_p);
// Copies the destination part only; priority, source and forwarding action stay.
void updateFwdInfo(Fcb *fcb_p, const FwdInfo *fwdInfo_p);

void setAsOverride(Fcb *fcb_p, u32 asOverride);
void getAsOverride(const Fcb *fcb_p, u32 *asOverride_p);

// With status 1 the table counts the flow and the association bit is set; any other status does the reverse.
// The caller stores the handle.
void setEpInfo(Fcb *fcb_p, u32 epTblSts, EpTblInfo *epTblInfo_p);
void getEpInfo(const Fcb *fcb_p, u32 *epTblSts_p, EpTblHdl *epTblHdl_p);
void setPacInfo(Fcb *fcb_p, u32 pacTblSts, u32 pbitsSource, PacTblInfo *pacTblInfo_p);
void getPacInfo(const Fcb *fcb_p, u32 *pacTblSts_p, u32 *pbitsSource_p, PacTblHdl *pacTblHdl_p);

// VLAN tags 0 and 1 allocated in a block: 0, 1 or 2.
void getFilterNumVlanTags(const Fcb *fcb_p, u8 *numVlanTags_p);
void getActionNumVlanTags(const Fcb *fcb_p, u8 *numVlanTags_p);

// Moves `*req_pp` to the next request of a list: from null to the first one, from the last one to null. A
// pointer that is not on the list becomes null.
void getNextReq(Fcb *fcb_p, ReqNode *reqList_p, void **req_pp);

// Iterate over one header's filters or actions, for code outside the public API: `*infoHdl_pp` starts as null
// and is null again after the last request. Each call copies a request to the caller's record. A header that
// is not allocated has no requests.
void getNextEthFilter(Fcb *fcb_p, void **infoHdl_pp, EthFilter *filter_p);
void getNextVlanFilter(Fcb *fcb_p, u32 toTagNum, void **infoHdl_pp, VlanFilter *filter_p);
void getNextPppoeFilter(Fcb *fcb_p, void **infoHdl_pp, PppoeFilter *filter_p);
void getNextIpv4Filter(Fcb *fcb_p, void **infoHdl_pp, Ipv4Filter *filter_p);
void getNextTcpFilter(Fcb *fcb_p, void **infoHdl_pp, TcpFilter *filter_p);
void getNextUdpFilter(Fcb *fcb_p, void **infoHdl_pp, UdpFilter *filter_p);
void getNextEthAction(Fcb *fcb_p, void **infoHdl_pp, EthAction *action_p);
void getNextVlanAction(Fcb *fcb_p, u32 toTagNum, void **infoHdl_pp, VlanAction *action_p);
void getNextPppoeAction(Fcb *fcb_p, void **infoHdl_pp, PppoeAction *action_p);
void getNextIpv4Action(Fcb *fcb_p, void **infoHdl_pp, Ipv4Action *action_p);
void getNextTcpAction(Fcb *fcb_p, void **infoHdl_pp, TcpAction *action_p);
void getNextUdpAction(Fcb *fcb_p, void **infoHdl_pp, UdpAction *action_p);

} // namespace qir

#endif
