/**
 * @file
 * Switch-wide and per-port settings. Include qirapi/qirapi.h.
 *
 * A setter checks, tells the driver and then keeps the value, from which the getter answers. Settings start
 * as 0 and keep their last accepted value, across QIR_Init_Sys() too. Codes that the setters share: 1 when
 * the driver failed, and the old value stays.
 */
#ifndef QIRAPI_PUBLIC_PORTS_H
#define QIRAPI_PUBLIC_PORTS_H

#include "qirapi/public/codes.h"
#include "qirapi/public/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    QIR_FLOWMISSACTION_MAX = 3, /**< flow-miss actions 0, 1 and 2 */
    QIR_PADPORT_MAX = 8,        /**< ports with a pad length: one fewer than QIR_PORT_MAX */
    QIR_PADLEN_MAX = 256,       /**< pad lengths 0 to 255 */
    QIR_PADLEN_MIN = 64,        /**< shorter pad lengths count as 0 */
    QIR_ACLTYPE_MAX = 2         /**< ACL types 0 and 1 */
};

/** TPIDs of a port, 12 bytes, sent to the driver as they are. */
typedef struct {
    uint32_t portId;  /**< source port, 0 to 8 */
    uint16_t tpid[4]; /**< the TPIDs recognised on the port, ix 0 to 3; any */
} TpidCfg;
QIR_PIN_SIZE(TpidCfg, 12);
QIR_PIN_FIELD(TpidCfg, portId, 0);
QIR_PIN_FIELD(TpidCfg, tpid, 4);

/**
 * Sets what happens to frames that match no flow.
 *
 * @param action 0 to 2
 * @return 0; e_RET_ERR_INVALID_ACTION (48); 1.
 */
uint32_t QIR_Set_FlowMissAction(uint32_t action);

/**
 * Reads the flow-miss action.
 *
 * @param action_p out
 * @return 0; e_RET_ERR_NULL_PTR (2).
 */
uint32_t QIR_Get_FlowMissAction(uint32_t *action_p);

/**
 * Sets the length that frames of a port are padded to.
 *
 * @param srcPort 0 to 7
 * @param padLen  bytes, 0 to 255; below 64 counts as 0
 * @return in this order: e_RET_ERR_INVALID_SRCPORT (36); e_RET_ERR_INVALID_PADLEN (67); 1.
 */
uint32_t QIR_Set_PortPadLen(uint32_t srcPort, uint32_t padLen);

/**
 * Reads the pad length of a port.
 *
 * @param srcPort  0 to 7
 * @param padLen_p out: bytes, 0 or 64 to 255
 * @return in this order: e_RET_ERR_INVALID_SRCPORT (36); e_RET_ERR_NULL_PTR (2).
 */
uint32_t QIR_Get_PortPadLen(uint32_t srcPort, uint32_t *padLen_p);

/**
 * Sets the default ACL type of a port.
 *
 * @param srcPort 0 to 8
 * @param aclType 0 or 1
 * @return in this order: e_RET_ERR_INVALID_SRCPORT (36); e_RET_ERR_INVALID_ACLTYPE (51); 1.
 */
uint32_t QIR_Set_PortDefAcl(uint32_t srcPort, uint32_t aclType);

/**
 * Reads the default ACL type of a port.
 *
 * @param srcPort   0 to 8
 * @param aclType_p out
 * @return in this order: e_RET_ERR_INVALID_SRCPORT (36); e_RET_ERR_NULL_PTR (2).
 */
uint32_t QIR_Get_PortDefAcl(uint32_t srcPort, uint32_t *aclType_p);

/**
 * Sets the TPIDs of a port.
 *
 * @param tpidCfg_p port and TPIDs
 * @return in this order: e_RET_ERR_NULL_PTR (2); e_RET_ERR_INVALID_SRCPORT (36) port 9 or more; 1.
 */
uint32_t QIR_Set_Tpid(const TpidCfg *tpidCfg_p);

/**
 * Reads the TPIDs of a port.
 *
 * @param tpidCfg_p in: `portId`, 0 to 8; out: the whole stored record, its `portId` included
 * @return in this order: e_RET_ERR_NULL_PTR (2); e_RET_ERR_INVALID_SRCPORT (36).
 */
uint32_t QIR_Get_Tpid(TpidCfg *tpidCfg_p);

#ifdef __cplusplus
}
#endif

#endif
