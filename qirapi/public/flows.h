/**
 * @file
 * Flows: allocation, headers, forwarding, table associations, activation, hit counters.
 * Include qirapi/qirapi.h.
 *
 * A flow is one rule of the classifier, kept in a flow control block (FCB). A handle names it: its `f1.id` is
 * the FCB's index. Codes that every flow operation shares: e_RET_ERR_NULL_PTR (a pointer is null),
 * e_RET_ERR_INVALID_HDL (`f1.id` is 512 or more, or the FCB is free), e_RET_DRIVER_FAILURE (the driver
 * failed). On an ACTIVE flow an operation that sets something fails with e_RET_ERR_STATE_NOTCFG; its
 * destinations can be changed, and filters and actions added.
 */
#ifndef QIRAPI_PUBLIC_FLOWS_H
#define QIRAPI_PUBLIC_FLOWS_H

#include "qirapi/public/codes.h"
#include "qirapi/public/layout.h"
#include "qirapi/public/tables.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Handle of a flow, index 0 to 511. */
typedef union {
    uint32_t word; /**< the whole word */
    struct {
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        uint32_t rsvd : 16; /**< the caller's: ignored, but stored with the handle */
        uint32_t id : 16;   /**< index of the FCB: the low 16 bits of the word */
#else
        uint32_t id : 16;   /**< index of the FCB: the low 16 bits of the word */
        uint32_t rsvd : 16; /**< the caller's: ignored, but stored with the handle */
#endif
    } f1; /**< its bit fields */
} FlowHdl;
QIR_PIN_SIZE(FlowHdl, 4);

/** Blocks of a flow. */
enum QirBlkType {
    e_BLKTYPE_FILTER = 0, /**< what the flow matches */
    e_BLKTYPE_ACTION = 1, /**< how it rewrites */
    e_BLKTYPE_FWD = 2,    /**< where it forwards to; has no headers */
    e_BLKTYPE_MAX = 3     /**< bound */
};

/** Headers of a block. TCP and UDP are allocated together with IPv4. */
enum QirFlowHdr {
    e_FLOWHDR_ETH = 0,
    e_FLOWHDR_VLAN0 = 1, /**< outer tag */
    e_FLOWHDR_VLAN1 = 2, /**< inner tag */
    e_FLOWHDR_VLAN2 = 3, /**< no entry of its own: resets the bytes after the inner tag's entry */
    e_FLOWHDR_VLAN3 = 4, /**< likewise */
    e_FLOWHDR_PPPOE = 5,
    e_FLOWHDR_MPLS = 6, /**< accepted, without an entry */
    e_FLOWHDR_IPV4 = 7,
    e_FLOWHDR_MAX = 8 /**< bound */
};

/** Rows of the rule tables for the headers that follow IPv4. */
enum QirL4FlowHdr { e_L4FLOWHDR_TCP = 0, e_L4FLOWHDR_UDP = 1, e_L4FLOWHDR_MAX = 2 };

/** Names a header of a flow, 8 bytes. */
typedef struct {
    uint32_t blk;     /**< block, e_BLKTYPE_* */
    uint32_t flowHdr; /**< header, e_FLOWHDR_* */
} FlowHdr;
QIR_PIN_SIZE(FlowHdr, 8);
QIR_PIN_FIELD(FlowHdr, blk, 0);
QIR_PIN_FIELD(FlowHdr, flowHdr, 4);

/** Address-screening override of a flow. */
enum QirAsOverride { e_AS_OVERRIDE_DISABLE = 0, e_AS_OVERRIDE_ENABLE = 1, e_AS_OVERRIDE_MAX = 2 };

/** Forwarding flags, a bit set. */
enum QirFwdAction {
    e_FWD_ACTION_DROP = 1,       /**< drop the frame */
    e_FWD_ACTION_ARL_OVRD = 2,   /**< override the address table's decision */
    e_FWD_ACTION_LRN_ENABLE = 4, /**< learning enabled */
    e_FWD_ACTION_MAX = 8         /**< bound */
};

/** Sources of the pbits for the PAC lookup, 0 to 2: their meaning is the hardware's. This is the bound. */
enum { QIR_PBITS_SOURCE_MAX = 3 };

/** Where a flow's frames come from, 8 bytes. */
typedef struct {
    uint32_t gemPortIdxMask; /**< GEM port indexes, bit g = index g; not 0 when port 7 is a source */
    uint32_t portMask;       /**< source ports, bit p = port p; not 0 */
} FwdSrc;
QIR_PIN_SIZE(FwdSrc, 8);
QIR_PIN_FIELD(FwdSrc, portMask, 4);

/** Where a flow's frames go to, 52 bytes. All selected ports and GEM ports share one queue id. */
typedef struct {
    uint8_t gemQid[QIR_GEMPORTIDX_MAX]; /**< egress queue of each GEM port index, 0 to 7 */
    uint32_t gemPortIdxMask;            /**< GEM port indexes; not 0 when port 7 is a destination */
    uint8_t portQid[QIR_PORT_MAX];      /**< egress queue of each port, 0 to 7; port 7's is unused */
    uint8_t rsvd[3];                    /**< stored and returned; goes to the driver, too */
    uint32_t portMask;                  /**< destination ports, bit p = port p */
} DstMask;
QIR_PIN_SIZE(DstMask, 52);
QIR_PIN_FIELD(DstMask, gemQid, 0);
QIR_PIN_BYTES(DstMask, gemQid, 32);
QIR_PIN_FIELD(DstMask, gemPortIdxMask, 32);
QIR_PIN_FIELD(DstMask, portQid, 36);
QIR_PIN_BYTES(DstMask, portQid, 9);
QIR_PIN_FIELD(DstMask, rsvd, 45);
QIR_PIN_BYTES(DstMask, rsvd, 3);
QIR_PIN_FIELD(DstMask, portMask, 48);

/**
 * Forwarding record, 68 bytes, sent to the driver as it is.
 *
 *      0  flowPrio
 *      4  src: gemPortIdxMask, portMask
 *     12  dst: gemQid[32], gemPortIdxMask, portQid[9], rsvd[3], portMask
 *     64  fwdAction
 */
typedef struct {
    uint32_t flowPrio;  /**< priority, 0 to 31 */
    FwdSrc src;         /**< source */
    DstMask dst;        /**< destination */
    uint32_t fwdAction; /**< e_FWD_ACTION_* bits, below 8 */
} FwdInfo;
QIR_PIN_SIZE(FwdInfo, 68);
QIR_PIN_FIELD(FwdInfo, flowPrio, 0);
QIR_PIN_FIELD(FwdInfo, src.gemPortIdxMask, 4);
QIR_PIN_FIELD(FwdInfo, src.portMask, 8);
QIR_PIN_FIELD(FwdInfo, dst, 12);
QIR_PIN_FIELD(FwdInfo, fwdAction, 64);

/** Hit counters of a flow, 36 bytes. */
typedef struct {
    uint32_t numFlows; /**< number of flows, as the driver counts them */
    uint32_t hits[8];  /**< hit counters */
} FcbHits;
QIR_PIN_SIZE(FcbHits, 36);
QIR_PIN_FIELD(FcbHits, numFlows, 0);
QIR_PIN_FIELD(FcbHits, hits, 4);

/**
 * Allocates the FCB with the lowest free index and counts it in its section. The section's budget is not
 * checked.
 *
 * @param section   flow section, 0 to 2
 * @param flowHdl_p out: `f1.id`, 0 to 511; untouched on failure
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_SECTION; e_RET_ERR_RESRC_UNAVAIL (no FCB is free).
 */
uint32_t QIR_Alloc_FCB(uint32_t section, FlowHdl *flowHdl_p);

/**
 * Allocates the FCB that the caller names. `f1.id` is not range-checked: keep it below 512.
 *
 * @param section   flow section, 0 to 2
 * @param flowHdl_p in: `f1.id`, 0 to 511
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_SECTION; e_RET_ERR_RESRC_UNAVAIL (that FCB is in
 *         use).
 */
uint32_t QIR_Alloc_FCB_Specify_Index(uint32_t section, FlowHdl *flowHdl_p);

/**
 * Says whether an FCB is free. Neither checks the index nor logs.
 *
 * @param index FCB index, 0 to 511
 * @return 1 if the FCB is free, else 0: the answer to a question, not a code.
 */
uint32_t Is_Orx_free(uint32_t index);

/**
 * Hands a flow to the driver. The driver gets the address of the FCB as a 32-bit word: on a 64-bit machine,
 * link the program with -no-pie.
 *
 * @param flowHdl_p the flow
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_ALREADY_ACTIVE;
 *         e_RET_ERR_STATE_NOTCFG (nothing configured yet); e_RET_ERR_STATE_NOT_ACTIVE (an associated EP or
 *         PAC table is not ACTIVE); e_RET_DRIVER_FAILURE (the flow stays CFG).
 */
uint32_t QIR_Activate_FCB(FlowHdl *flowHdl_p);

/**
 * Takes a flow out of the hardware.
 *
 * @param flowHdl_p the flow
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_NOT_ACTIVE;
 *         e_RET_DRIVER_FAILURE (the flow stays ACTIVE).
 */
uint32_t QIR_Deactivate_FCB(FlowHdl *flowHdl_p);

/**
 * Frees a flow and releases its tables. The FCB keeps its contents until its next allocation.
 *
 * @param flowHdl_p the flow
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_ALREADY_ACTIVE.
 */
uint32_t QIR_Free_FCB(FlowHdl *flowHdl_p);

/**
 * Reads the hit counters of an ACTIVE flow from the driver.
 *
 * @param flowHdl_p the flow
 * @param hits_p    out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_NOT_ACTIVE;
 *         e_RET_DRIVER_FAILURE.
 */
uint32_t QIR_Get_FCBHits(FlowHdl *flowHdl_p, FcbHits *hits_p);

/**
 * Allocates a header in a flow's filter or action block and makes the flow CFG. A VLAN tag needs the Ethernet
 * header and all lower tags; PPPoE and IPv4 need the Ethernet header. VLAN tags 2 and 3 have no entries of
 * their own: they reset what the PPPoE and IPv4 headers keep. This is intended.
 *
 * @param flowHdl_p the flow
 * @param hdr_p     block and header
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_INVALID_BLOCKTYPE (block 3 or more);
 *         e_RET_ERR_INVALID_HDRTYPE (header 8 or more); e_RET_ERR_STATE_NOTCFG (the flow is ACTIVE);
 *         e_RET_ERR_INVALID_PARAM (the forwarding block); e_RET_ERR_HDROUTOFORDER (a lower header is
 *         missing); e_RET_ERR_RESRC_UNAVAIL (the header is there already, or the flow's request nodes are
 *         used up). An IPv4 header takes three nodes: when they run out it can be left half allocated.
 */
uint32_t QIR_Alloc_Hdr(FlowHdl *flowHdl_p, const FlowHdr *hdr_p);

/**
 * Prints the requests of one header on standard output.
 *
 * @param flowHdl_p the flow
 * @param hdr_p     block and header
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_INVALID_BLOCKTYPE;
 *         e_RET_ERR_INVALID_HDRTYPE; e_RET_ERR_RESRC_UNAVAIL (the header is not allocated). For the
 *         forwarding block it prints an error line and returns e_RET_OK.
 */
uint32_t QIR_Dump_HdrReqList(FlowHdl *flowHdl_p, const FlowHdr *hdr_p);

/**
 * Sets the forwarding record of a flow and makes it CFG.
 *
 * @param flowHdl_p the flow
 * @param fwdInfo_p the record
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_INVALID_FWDACTION;
 *         e_RET_ERR_INVALID_DSTPORTMASK (no destination port, and the action is not DROP alone);
 *         e_RET_ERR_INVALID_SRCPORTMASK (no source port); e_RET_ERR_INVALID_FLOWPRIO;
 *         e_RET_ERR_INVALID_GEMPORTIDX (GPON source without GEM ports); e_RET_ERR_INVALID_DSTQID (a port's
 *         queue id is 8 or more, or differs from another port's); e_RET_ERR_INVALID_GEMPORTIDXMASK (GPON
 *         destination without GEM ports); e_RET_ERR_INVALID_DSTQID (the same for a GEM port's queue id);
 *         e_RET_ERR_STATE_NOTCFG (the flow is ACTIVE).
 */
uint32_t QIR_Set_FwdInfo(FlowHdl *flowHdl_p, const FwdInfo *fwdInfo_p);

/**
 * Reads the forwarding record of a flow.
 *
 * @param flowHdl_p the flow
 * @param fwdInfo_p out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_INVALID_PARAM (never set);
 *         e_RET_ERR_STATE_NOTCFG (the flow is not configured).
 */
uint32_t QIR_Get_FwdInfo(FlowHdl *flowHdl_p, FwdInfo *fwdInfo_p);

/**
 * Adds destinations to a flow in any state but FREE; an ACTIVE flow's hardware is updated. The new ports get
 * the queue id that the flow already keeps for the first of them. A zero port mask does nothing.
 *
 * With port 7 in the mask, the flow's port mask does not gain port 7, and its GEM mask gains bit 9, whatever
 * GEM ports the caller names; the queue ids of the named GEM ports are set. This is intended.
 *
 * @param flowHdl_p the flow
 * @param dstMask_p the destinations; only the masks are read
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_DRIVER_FAILURE (the flow keeps its
 *         old record).
 */
uint32_t QIR_Add_DstPortInfo(FlowHdl *flowHdl_p, const DstMask *dstMask_p);

/**
 * Removes destinations from a flow in any state but FREE; an ACTIVE flow's hardware is updated. A zero port
 * mask does nothing.
 *
 * @param flowHdl_p the flow
 * @param dstMask_p the destinations; only the masks are read
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_DRIVER_FAILURE (the flow keeps its
 *         old record).
 */
uint32_t QIR_Rem_DstPortInfo(FlowHdl *flowHdl_p, const DstMask *dstMask_p);

/**
 * Sets whether the flow overrides address screening and makes the flow CFG.
 *
 * @param flowHdl_p  the flow
 * @param asOverride e_AS_OVERRIDE_*
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_INVALID_ASOVRD;
 *         e_RET_ERR_STATE_NOTCFG (the flow is ACTIVE).
 */
uint32_t QIR_Set_AsOverride(FlowHdl *flowHdl_p, uint32_t asOverride);

/**
 * Reads the address-screening override.
 *
 * @param flowHdl_p    the flow
 * @param asOverride_p out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (the flow is not
 *         configured).
 */
uint32_t QIR_Get_AsOverride(FlowHdl *flowHdl_p, uint32_t *asOverride_p);

/**
 * Associates an EP table with a flow or releases it, and makes the flow CFG. The handle is stored even when
 * the call ends with e_RET_ERR_RESRC_ALREADY_ACTIVE, e_RET_ERR_RESRC_NOT_ACTIVE or e_RET_ERR_STATE_NOTCFG;
 * with the last of them the table's reference count has changed, too.
 *
 * @param flowHdl_p  the flow
 * @param epTblSts   e_TBLSTATUS_*
 * @param epTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL (the flow's); e_RET_ERR_INVALID_TBLSTATUS;
 *         e_RET_ERR_INVALID_HDL (the table's); e_RET_ERR_RESRC_ALREADY_ACTIVE (enabled already);
 *         e_RET_ERR_RESRC_NOT_ACTIVE (not enabled); e_RET_ERR_STATE_NOTCFG (the flow is ACTIVE).
 */
uint32_t QIR_Set_EpInfo(FlowHdl *flowHdl_p, uint32_t epTblSts, EpTblHdl *epTblHdl_p);

/**
 * Reads a flow's EP association.
 *
 * @param flowHdl_p  the flow
 * @param epTblSts_p out: e_TBLSTATUS_*
 * @param epTblHdl_p out: the handle stored last
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (the flow is not
 *         configured).
 */
uint32_t QIR_Get_EpInfo(FlowHdl *flowHdl_p, uint32_t *epTblSts_p, EpTblHdl *epTblHdl_p);

/**
 * Associates a PAC table with a flow or releases it, and makes the flow CFG. The handle is stored even when
 * the call ends with e_RET_ERR_RESRC_ALREADY_ACTIVE, e_RET_ERR_RESRC_NOT_ACTIVE or e_RET_ERR_STATE_NOTCFG.
 *
 * @param flowHdl_p   the flow
 * @param pacTblSts   e_TBLSTATUS_*
 * @param pbitsSource where the pbits for the lookup come from, 0 to 2; its meaning is the hardware's
 * @param pacTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL (the flow's); e_RET_ERR_INVALID_TBLSTATUS;
 *         e_RET_ERR_INVALID_PBITS_SOURCE; e_RET_ERR_INVALID_HDL (the table's);
 *         e_RET_ERR_RESRC_ALREADY_ACTIVE (enabled already); e_RET_ERR_RESRC_NOT_ACTIVE (not enabled);
 *         e_RET_ERR_STATE_NOTCFG (the flow is ACTIVE).
 */
uint32_t QIR_Set_PacInfo(FlowHdl *flowHdl_p, uint32_t pacTblSts, uint32_t pbitsSource,
                         PacTblHdl *pacTblHdl_p);

/**
 * Reads a flow's PAC association.
 *
 * @param flowHdl_p     the flow
 * @param pacTblSts_p   out: e_TBLSTATUS_*
 * @param pbitsSource_p out
 * @param pacTblHdl_p   out: the handle stored last
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (the flow is not
 *         configured).
 */
uint32_t QIR_Get_PacInfo(FlowHdl *flowHdl_p, uint32_t *pacTblSts_p, uint32_t *pbitsSource_p,
                         PacTblHdl *pacTblHdl_p);

#ifdef __cplusplus
}
#endif

#endif
