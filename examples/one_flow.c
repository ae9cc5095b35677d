/*
 * One flow from beginning to end: it translates the VLAN id of frames on their way from a user port to the
 * network. Change the ids below, build and run, here on the stand-in for the driver:
 *
 *     cmake --preset native
 *     cmake --build --preset native --target one_flow orxemu_tool
 *     build/native/emu/orxemu run -- build/native/examples/one_flow
 *
 * Every operation returns a code; when it is not 0 the library has said why on standard output, in a line
 * that starts with "[ERROR orxapi]".
 */
#include "qirapi/qirapi.h"

#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>

#define CUSTOMER_VID 200  /* VLAN id of the frames that come in, 0 to 4095 */
#define NETWORK_VID  1200 /* VLAN id that they leave with, 0 to 4095 */

#define USER_PORT    0 /* the user port that they come from, 0 to 6 */
#define GEM_PORT     3 /* the GEM port that they go to, 0 to 31 */
#define EGRESS_QUEUE 7 /* and its queue, 0 to 7 */

#define FLOW_PRIORITY 0 /* 0 to 31 */
#define FLOW_SECTION  1 /* section 1 has the whole budget after start-up */
#define OUTER_TAG     0 /* tags are counted from the outside */

/* Names the step that failed, with its code. True when it succeeded. */
static bool Ok(const char *operation, const char *purpose, uint32_t code) {
    if (code == e_RET_OK) {
        return true;
    }
    fprintf(stderr, "one_flow: cannot %s: %s returned %u%s\n", purpose, operation, (unsigned)code,
            code == e_RET_DRIVER_FAILURE ? ", the driver is missing or refused" : "");
    return false;
}

/* Where the frames come from and where they go to. */
static bool Forward(FlowHdl *flow_p) {
    FwdInfo fwd = {0};
    fwd.flowPrio = FLOW_PRIORITY;
    fwd.src.portMask = 1u << USER_PORT;
    fwd.dst.portMask = 1u << QIR_GPON_PORT;
    fwd.dst.gemPortIdxMask = 1u << GEM_PORT;
    fwd.dst.gemQid[GEM_PORT] = EGRESS_QUEUE;
    fwd.fwdAction = e_FWD_ACTION_ARL_OVRD;
    return Ok("QIR_Set_FwdInfo", "set the forwarding", QIR_Set_FwdInfo(flow_p, &fwd));
}

/* A block has the Ethernet header first, then its tags from the outside to the inside. */
static bool AllocHeaders(FlowHdl *flow_p, uint32_t block) {
    const FlowHdr eth = {block, e_FLOWHDR_ETH};
    const FlowHdr outerTag = {block, e_FLOWHDR_VLAN0};
    return Ok("QIR_Alloc_Hdr", "take the Ethernet header", QIR_Alloc_Hdr(flow_p, &eth)) &&
           Ok("QIR_Alloc_Hdr", "take the outer tag's header", QIR_Alloc_Hdr(flow_p, &outerTag));
}

/* Which frames the flow takes. */
static bool MatchCustomerVid(FlowHdl *flow_p) {
    VlanFilter filter = {0};
    filter.op = e_CONFIG_OPER_ADD;
    filter.toTagNum = OUTER_TAG;
    filter.type = e_VLAN_FILT_VID;
    filter.cmpOp = e_CMP_EQ;
    filter.val.vid = CUSTOMER_VID;
    return AllocHeaders(flow_p, e_BLKTYPE_FILTER) &&
           Ok("QIR_Config_VlanFilter", "match the customer's VLAN id",
              QIR_Config_VlanFilter(flow_p, &filter));
}

/* How it rewrites them. */
static bool SetNetworkVid(FlowHdl *flow_p) {
    VlanAction action = {0};
    action.op = e_CONFIG_OPER_ADD;
    action.toTagNum = OUTER_TAG;
    action.type = e_VLAN_ACTION_SET_VID;
    action.val.vid = NETWORK_VID;
    return AllocHeaders(flow_p, e_BLKTYPE_ACTION) &&
           Ok("QIR_Config_VlanAction", "set the network's VLAN id", QIR_Config_VlanAction(flow_p, &action));
}

static bool PrintHits(FlowHdl *flow_p) {
    FcbHits hits = {0};
    if (!Ok("QIR_Get_FCBHits", "read the hit counters", QIR_Get_FCBHits(flow_p, &hits))) {
        return false;
    }
    printf("hits:");
    for (unsigned i = 0; i < sizeof hits.hits / sizeof hits.hits[0]; ++i) {
        printf(" %u", (unsigned)hits.hits[i]);
    }
    printf("\n");
    return true;
}

/* The flow works as long as it is active. It is taken out of the hardware even when its counters could not be
 * read. */
static bool Run(FlowHdl *flow_p) {
    if (!Ok("QIR_Activate_FCB", "activate the flow", QIR_Activate_FCB(flow_p))) {
        return false;
    }
    printf("flow %u is active: VLAN id %u becomes %u\n", (unsigned)flow_p->f1.id, (unsigned)CUSTOMER_VID,
           (unsigned)NETWORK_VID);
    const bool counted = PrintHits(flow_p);
    return Ok("QIR_Deactivate_FCB", "deactivate the flow", QIR_Deactivate_FCB(flow_p)) && counted;
}

int main(void) {
    FlowHdl flow = {0};
    if (!Ok("QIR_Init_Sys", "start the library", QIR_Init_Sys()) ||
        !Ok("QIR_Alloc_FCB", "take a flow", QIR_Alloc_FCB(FLOW_SECTION, &flow))) {
        return EXIT_FAILURE;
    }
    const bool ran = Forward(&flow) && MatchCustomerVid(&flow) && SetNetworkVid(&flow) && Run(&flow);
    const bool freed = Ok("QIR_Free_FCB", "free the flow", QIR_Free_FCB(&flow));
    return ran && freed ? EXIT_SUCCESS : EXIT_FAILURE;
}
