/**
 * @file
 * Return codes, object status and the limits that all objects share. Include qirapi/qirapi.h.
 */
#ifndef QIRAPI_PUBLIC_CODES_H
#define QIRAPI_PUBLIC_CODES_H

#include <stdint.h>

/**
 * Return codes of the operations. e_RET_OK is success; e_RET_DRIVER_FAILURE says that the device could not be
 * opened or that the driver refused the request. The values are a contract: callers compare against them and
 * logs print them. The numbers in between stay unused. docs/return-codes.md says what each code means.
 */
enum QirRetCode {
    e_RET_OK = 0,
    e_RET_DRIVER_FAILURE = 1,
    e_RET_ERR_NULL_PTR = 2,
    e_RET_ERR_INVALID_HDL = 3,
    e_RET_ERR_NO_SUCH_ENTRY = 6,
    e_RET_ERR_OVERFLOW = 7,
    e_RET_ERR_REQOUTOFORDER = 9,
    e_RET_ERR_HDROUTOFORDER = 10,
    e_RET_ERR_HDRNOTCFG = 11,
    e_RET_ERR_RESRC_UNAVAIL = 12,
    e_RET_ERR_RESRC_BUSY = 13,
    e_RET_ERR_RESRC_NOT_ACTIVE = 14,
    e_RET_ERR_RESRC_ALREADY_ACTIVE = 15,
    e_RET_ERR_STATE_NOTCFG = 17,
    e_RET_ERR_STATE_NOT_ACTIVE = 18,
    e_RET_ERR_STATE_ALREADY_ACTIVE = 19,
    e_RET_ERR_INVALID_CMPOPSEQ = 21,
    e_RET_ERR_INVALID_FILTSEQ = 22,
    e_RET_ERR_INVALID_ACTIONSEQ = 23,
    e_RET_ERR_INVALID_PARAM = 25,
    e_RET_ERR_INVALID_SECTION = 27,
    e_RET_ERR_INVALID_NUMFLOWS = 28,
    e_RET_ERR_INVALID_FWDACTION = 30,
    e_RET_ERR_INVALID_SRCPORT = 36,
    e_RET_ERR_INVALID_SRCPORTMASK = 37,
    e_RET_ERR_INVALID_DSTPORTMASK = 39,
    e_RET_ERR_INVALID_DSTQID = 40,
    e_RET_ERR_INVALID_GEMPORTIDXMASK = 41,
    e_RET_ERR_INVALID_HDRTYPE = 42,
    e_RET_ERR_INVALID_BLOCKTYPE = 43,
    e_RET_ERR_INVALID_TAGNUM = 44,
    e_RET_ERR_INVALID_CONFIGOPER = 45,
    e_RET_ERR_INVALID_CMPOPER = 46,
    e_RET_ERR_INVALID_FILT = 47,
    e_RET_ERR_INVALID_ACTION = 48,
    e_RET_ERR_INVALID_ASENT = 49,
    e_RET_ERR_INVALID_ASOVRD = 50,
    e_RET_ERR_INVALID_ACLTYPE = 51,
    e_RET_ERR_INVALID_OVRD = 52,
    e_RET_ERR_INVALID_ENTIDX = 53,
    e_RET_ERR_INVALID_IPPREFIXLENVAL = 54,
    e_RET_ERR_INVALID_PBITS = 55,
    e_RET_ERR_INVALID_DSCPVAL = 56,
    e_RET_ERR_INVALID_GEMPORTIDX = 57,
    e_RET_ERR_INVALID_FLOWPRIO = 59,
    e_RET_ERR_INVALID_TBLSTATUS = 60,
    e_RET_ERR_INVALID_ETHTYPE = 61,
    e_RET_ERR_INVALID_VLANTAG = 62,
    e_RET_ERR_INVALID_PBITS_SOURCE = 63,
    e_RET_ERR_INVALID_RAWACTION_TYPE = 64,
    e_RET_ERR_INVALID_RAWACTION_OFFSET = 65,
    e_RET_ERR_INVALID_RAWACTION_SIZE = 66,
    e_RET_ERR_INVALID_PADLEN = 67,
    e_RET_ERR_INVALID_RLSTATUS = 68,
    e_RET_ERR_INVALID_RLINDEX = 69,
    e_RET_ERR_INVALID_RLDIR = 70,
    e_RET_ERR_INVALID_RLUNIT = 71,
    e_RET_ERR_INVALID_RLRATE = 72
};

/** Status of a table, an AS entry (FREE and ALLOC only), a flow or a rate limiter. */
enum QirStatus {
    e_STATUS_FREE = 0,   /**< not in use */
    e_STATUS_ALLOC = 1,  /**< allocated, not configured yet */
    e_STATUS_CFG = 2,    /**< configured, not in hardware */
    e_STATUS_ACTIVE = 3, /**< in hardware */
    e_STATUS_MAX = 4     /**< bound */
};

enum {
    QIR_MAX_FLOWS = 512,    /**< flows in total; the section budgets never sum to more */
    e_FLOW_SECTION_MAX = 3, /**< flow sections, numbered 0, 1 and 2 */

    QIR_ASTBL_MAXNUM = 16,  /**< AS tables */
    QIR_DSCPTBL_MAXNUM = 6, /**< DSCP-to-pbits tables */
    QIR_EPTBL_MAXNUM = 6,   /**< EP tables */
    QIR_PACTBL_MAXNUM = 16, /**< PAC tables */
    QIR_ASENT_MAXNUM = 8,   /**< entries of one AS table */
    QIR_EPENT_MAXNUM = 8,   /**< entries of one EP table */
    QIR_DSCP_MAX = 64,      /**< DSCP values, 0 to 63 */
    QIR_PBITS_MAX = 8,      /**< pbits values, 0 to 7 */

    QIR_MAX_FCBREQ = 32,   /**< request nodes of one flow */
    QIR_HDR_FILT_MAX = 16, /**< ceiling on the filter or action types of one header */

    QIR_PORT_MAX = 9,        /**< ports 0 to 8 */
    QIR_GPON_PORT = 7,       /**< the GPON port, addressed by GEM port indexes */
    QIR_GEMPORTIDX_MAX = 32, /**< GEM port indexes, 0 to 31 */
    QIR_QID_MAX = 8,         /**< egress queues, 0 to 7 */
    QIR_FLOWPRIO_MAX = 32,   /**< flow priorities, 0 to 31 */
    QIR_VLANID_MAX = 4096,   /**< VLAN ids, 0 to 4095 */
    QIR_ETHTYPE_MIN = 0x0600 /**< lowest EtherType; smaller values are frame lengths */
};

#endif
