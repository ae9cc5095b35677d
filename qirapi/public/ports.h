/**
 * @file
 * Switch-wide and per-port settings. Include qirapi/qirapi.h.
 *
 * A setter checks the value, tells the driver, and keeps the value for the getter. Settings start as 0 and
 * keep their last accepted value, also across QIR_Init_Sys(). When the driver fails, a setter returns
 * e_RET_DRIVER_FAILURE and the old value stays.
 */
#ifndef QIRAPI_PUBLIC_PORTS_H
#define QIRAPI_PUBLIC_PORTS_H

#include "qirapi/public/codes.h"
#include "qirapi/public/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    QIR_FLOWMISSACTION_MAX = 3, /**< flow-miss actions 0, 1 and 2; their meaning is the hardware's */
    QIR_PADPORT_MAX = 8,        /**< ports with a pad length: one fewer than QIR_PORT_MAX */
    QIR_PADLEN_MAX = 256,       /**< pad lengths 0 to 255 */
    QIR_PADLEN_MIN = 64,        /**< shorter pad lengths count as 0 */
    QIR_ACLTYPE_MAX = 2         /**< ACL types 0 and 1; their meaning is the hardware's */
};

/** TPIDs of a port, 12 bytes, sent to the driver as they are. */
typedef struct {
    uint32_t portId;  /**< source port, 0 to 8 */
    uint16_t tpid[4]; /**< the TPIDs that the port recognises; any */
} TpidCfg;
QIR_PIN_SIZE(TpidCfg, 12);
QIR_PIN_FIELD(TpidCfg, portId, 0);
QIR_PIN_FIELD(TpidCfg, tpid, 4);

/**
 * Sets what happens to frames that match no flow.
 *
 * @param action 0 to 2; its meaning is the hardware's
 * @return e_RET_OK; e_RET_ERR_INVALID_ACTION; e_RET_DRIVER_FAILURE.
 */
uint32_t QIR_Set_FlowMissAction(uint32_t action);

/**
 * Reads the flow-miss action.
 *
 * @param action_p out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR.
 */
uint32_t QIR_Get_FlowMissAction(uint32_t *action_p);

/**
 * Sets the length that frames of a port are padded to.
 *
 * @param srcPort 0 to 7
 * @param padLen  bytes, 0 to 255; below 64 counts as 0
 * @return e_RET_OK; e_RET_ERR_INVALID_SRCPORT; e_RET_ERR_INVALID_PADLEN; e_RET_DRIVER_FAILURE.
 */
uint32_t QIR_Set_PortPadLen(uint32_t srcPort, uint32_t padLen);

/**
 * Reads the pad length of a port.
 *
 * @param srcPort  0 to 7
 * @param padLen_p out: bytes, 0 or 64 to 255
 * @return e_RET_OK; e_RET_ERR_INVALID_SRCPORT; e_RET_ERR_NULL_PTR.
 */
uint32_t QIR_Get_PortPadLen(uint32_t srcPort, uint32_t *padLen_p);

/**
 * Sets the default ACL type of a port.
 *
 * @param srcPort 0 to 8
 * @param aclType 0 or 1; its meaning is the hardware's
 * @return e_RET_OK; e_RET_ERR_INVALID_SRCPORT; e_RET_ERR_INVALID_ACLTYPE; e_RET_DRIVER_FAILURE.
 */
uint32_t QIR_Set_PortDefAcl(uint32_t srcPort, uint32_t aclType);

/**
 * Reads the default ACL type of a port.
 *
 * @param srcPort   0 to 8
 * @param aclType_p out
 * @return e_RET_OK; e_RET_ERR_INVALID_SRCPORT; e_RET_ERR_NULL_PTR.
 */
uint32_t QIR_Get_PortDefAcl(uint32_t srcPort, uint32_t *aclType_p);

/**
 * Sets the TPIDs of a port.
 *
 * @param tpidCfg_p port and TPIDs
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_SRCPORT (port 9 or more); e_RET_DRIVER_FAILURE.
 */
uint32_t QIR_Set_Tpid(const TpidCfg *tpidCfg_p);

/**
 * Reads the TPIDs of a port.
 *
 * @param tpidCfg_p in: `portId`, 0 to 8; out: the whole stored record, its `portId` included
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_SRCPORT.
 */
uint32_t QIR_Get_Tpid(TpidCfg *tpidCfg_p);

#ifdef __cplusplus
}
#endif

#endif
