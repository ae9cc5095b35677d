/**
 * @file
 * Actions: how a flow rewrites the frames it matches. Include qirapi/qirapi.h.
 * docs/rules.md has a table of all types: values, how often, and what excludes what.
 *
 * An action request belongs to a header that has been allocated in the flow's action block; TCP and UDP
 * actions belong to the IPv4 header. Requests are only added and stay until the flow is freed. An ACTIVE flow
 * accepts actions, too; the hardware learns of them at the next activation.
 *
 * The library checks the exclusions and then records the type in the header. When it refuses the request
 * after that (order, number of tags, no request node), the record stays: the type counts as given, and
 * excludes others.
 *
 * Codes of every `QIR_Config_*Action`, in the order of the checks:
 *  - e_RET_ERR_NULL_PTR: a pointer is null
 *  - e_RET_ERR_INVALID_HDL: bad flow handle
 *  - e_RET_ERR_INVALID_TAGNUM: `toTagNum` is 2 or more (VLAN only)
 *  - e_RET_ERR_HDRNOTCFG: the header is not allocated
 *  - e_RET_ERR_INVALID_CONFIGOPER: `op` is not e_CONFIG_OPER_ADD
 *  - e_RET_ERR_INVALID_ACTION: unknown type
 *  - e_RET_ERR_INVALID_PARAM: value out of range
 *  - e_RET_ERR_INVALID_ACTIONSEQ: an action that is there excludes the type
 *  - e_RET_ERR_REQOUTOFORDER: a push after an action of another type (Ethernet only)
 *  - e_RET_ERR_INVALID_PARAM: the pushed tag's VLAN header is not allocated, or more pushes or pops than tags
 *    allow (Ethernet only)
 *  - e_RET_ERR_REQOUTOFORDER: another action after a pop (Ethernet only)
 *  - e_RET_ERR_RESRC_UNAVAIL: the flow's request nodes are used up
 *
 * Codes of every `QIR_Get_*Action`, in the order of the checks:
 *  - e_RET_ERR_NULL_PTR: a pointer is null
 *  - e_RET_ERR_INVALID_HDL: bad flow handle
 *  - e_RET_ERR_INVALID_TAGNUM: `toTagNum` is 2 or more (VLAN only)
 *  - e_RET_ERR_HDRNOTCFG: the header is not allocated
 *  - e_RET_ERR_INVALID_ACTION: unknown type (Ethernet: e_RET_ERR_INVALID_PARAM)
 *  - e_RET_ERR_NO_SUCH_ENTRY: the header holds no action of the type
 */
#ifndef QIRAPI_PUBLIC_ACTIONS_H
#define QIRAPI_PUBLIC_ACTIONS_H

#include "qirapi/public/codes.h"
#include "qirapi/public/filters.h"
#include "qirapi/public/flows.h"
#include "qirapi/public/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Ethernet action types; accepted values in brackets. */
enum QirEthAction {
    e_ETH_ACTION_DA = 0,       /**< mac [any] */
    e_ETH_ACTION_SA = 1,       /**< mac [any] */
    e_ETH_ACTION_ETHTYPE = 2,  /**< ethType [0x0600 and above] */
    e_ETH_ACTION_PUSH_TAG = 3, /**< no value; before any other Ethernet action */
    e_ETH_ACTION_POP_TAG = 4,  /**< no value; only further pops may follow */
    e_ETH_ACTION_MAX = 5
};

/** VLAN action types; accepted values in brackets. */
enum QirVlanAction {
    e_VLAN_ACTION_SET_TAG = 0,                   /**< tag [any] */
    e_VLAN_ACTION_SET_TPID = 1,                  /**< tpid [any] */
    e_VLAN_ACTION_SET_TCI = 2,                   /**< tci [any] */
    e_VLAN_ACTION_SET_PBITS = 3,                 /**< pbits [0 to 7] */
    e_VLAN_ACTION_SET_DEI = 4,                   /**< dei [0, 1] */
    e_VLAN_ACTION_SET_VID = 5,                   /**< vid [0 to 4095] */
    e_VLAN_ACTION_COPY_TAG_FROM_TAG = 6,         /**< fromTagNum [0, 1, not toTagNum] */
    e_VLAN_ACTION_COPY_TPID_FROM_TAG = 7,        /**< as above */
    e_VLAN_ACTION_COPY_TCI_FROM_TAG = 8,         /**< as above */
    e_VLAN_ACTION_COPY_PBITS_FROM_TAG = 9,       /**< as above */
    e_VLAN_ACTION_COPY_VID_FROM_TAG = 10,        /**< as above */
    e_VLAN_ACTION_COPY_DEI_FROM_TAG = 11,        /**< as above */
    e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP = 12,    /**< [any] */
    e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE = 13, /**< [any] */
    e_VLAN_ACTION_MAX = 14
};

/** PPPoE has one action type, 0; this is the bound. */
enum { e_PPPOE_ACTION_MAX = 1 };

/** IPv4 action types; any value is accepted. */
enum QirIpv4Action {
    e_IPV4_ACTION_DA = 0,
    e_IPV4_ACTION_SA = 1,
    e_IPV4_ACTION_TOS = 2,
    e_IPV4_ACTION_DSCP = 3,
    e_IPV4_ACTION_MAX = 4
};

/** TCP action types; any value is accepted. */
enum QirTcpAction { e_TCP_ACTION_SPORT = 0, e_TCP_ACTION_DPORT = 1, e_TCP_ACTION_MAX = 2 };

/** UDP action types; any value is accepted. */
enum QirUdpAction { e_UDP_ACTION_SPORT = 0, e_UDP_ACTION_DPORT = 1, e_UDP_ACTION_MAX = 2 };

/** Ethernet action request, 20 bytes: op 0, type 4, value 8. */
typedef struct {
    uint32_t op;   /**< e_CONFIG_OPER_ADD */
    uint32_t type; /**< e_ETH_ACTION_* */
    union {
        uint8_t mac[6];
        uint16_t ethType;
        uint8_t bytes[12];
        uint32_t words[3];
    } val; /**< the value: the member that the type names */
} EthAction;
QIR_PIN_SIZE(EthAction, 20);
QIR_PIN_FIELD(EthAction, op, 0);
QIR_PIN_FIELD(EthAction, type, 4);
QIR_PIN_FIELD(EthAction, val, 8);
QIR_PIN_BYTES(EthAction, val.mac, 6);
QIR_PIN_BYTES(EthAction, val.bytes, 12);

/** VLAN action request, 16 bytes: op 0, type 4, value 8, toTagNum 12. */
typedef struct {
    uint32_t op;   /**< e_CONFIG_OPER_ADD */
    uint32_t type; /**< e_VLAN_ACTION_* */
    union {
        uint32_t tag;
        uint16_t tpid;
        uint16_t tci;
        uint8_t pbits;
        uint8_t dei;
        uint16_t vid;
        uint32_t fromTagNum; /**< source tag of the copy actions */
    } val;                   /**< the value: the member that the type names */
    uint32_t toTagNum;       /**< tag, 0 outer or 1 inner */
} VlanAction;
QIR_PIN_SIZE(VlanAction, 16);
QIR_PIN_FIELD(VlanAction, op, 0);
QIR_PIN_FIELD(VlanAction, type, 4);
QIR_PIN_FIELD(VlanAction, val, 8);
QIR_PIN_FIELD(VlanAction, toTagNum, 12);

/** PPPoE action request, 12 bytes: op 0, type 4, value 8. */
typedef struct {
    uint32_t op;   /**< e_CONFIG_OPER_ADD */
    uint32_t type; /**< 0 */
    uint32_t val;  /**< stored and returned */
} PppoeAction;
QIR_PIN_SIZE(PppoeAction, 12);
QIR_PIN_FIELD(PppoeAction, op, 0);
QIR_PIN_FIELD(PppoeAction, type, 4);
QIR_PIN_FIELD(PppoeAction, val, 8);

/** IPv4 action request, 16 bytes: op 0, type 4, value 8. */
typedef struct {
    uint32_t op;   /**< e_CONFIG_OPER_ADD */
    uint32_t type; /**< e_IPV4_ACTION_* */
    union {
        QirIpPrefix ip;
        uint8_t tos;
        uint8_t dscp;
    } val; /**< the value: the member that the type names */
} Ipv4Action;
QIR_PIN_SIZE(Ipv4Action, 16);
QIR_PIN_FIELD(Ipv4Action, op, 0);
QIR_PIN_FIELD(Ipv4Action, type, 4);
QIR_PIN_FIELD(Ipv4Action, val, 8);

/** TCP action request, 12 bytes: op 0, type 4, value 8. */
typedef struct {
    uint32_t op;   /**< e_CONFIG_OPER_ADD */
    uint32_t type; /**< e_TCP_ACTION_* */
    union {
        uint16_t port;
        uint32_t word;
    } val; /**< the value: the member that the type names */
} TcpAction;
QIR_PIN_SIZE(TcpAction, 12);
QIR_PIN_FIELD(TcpAction, op, 0);
QIR_PIN_FIELD(TcpAction, type, 4);
QIR_PIN_FIELD(TcpAction, val, 8);

/** UDP action request, 12 bytes: op 0, type 4, value 8. */
typedef struct {
    uint32_t op;   /**< e_CONFIG_OPER_ADD */
    uint32_t type; /**< e_UDP_ACTION_* */
    union {
        uint16_t port;
        uint32_t word;
    } val; /**< the value: the member that the type names */
} UdpAction;
QIR_PIN_SIZE(UdpAction, 12);
QIR_PIN_FIELD(UdpAction, op, 0);
QIR_PIN_FIELD(UdpAction, type, 4);
QIR_PIN_FIELD(UdpAction, val, 8);

/**
 * Adds an Ethernet action to a flow. At most two tags in total, matched plus pushed; no more pops than tags.
 * @param flowHdl_p the flow
 * @param action_p  the request
 * @return e_RET_OK, or a code of the list at the head of this file.
 */
uint32_t QIR_Config_EthAction(FlowHdl *flowHdl_p, const EthAction *action_p);

/**
 * Reads back the first Ethernet action of one type.
 * @param flowHdl_p the flow
 * @param action_p  in: `type`; out: the request
 * @return e_RET_OK, or a code of the list at the head of this file.
 */
uint32_t QIR_Get_EthAction(FlowHdl *flowHdl_p, EthAction *action_p);

/** Adds a VLAN action to the header of `toTagNum`; see QIR_Config_EthAction(). */
uint32_t QIR_Config_VlanAction(FlowHdl *flowHdl_p, const VlanAction *action_p);
/** Reads back a VLAN action of `toTagNum`; see QIR_Get_EthAction(). */
uint32_t QIR_Get_VlanAction(FlowHdl *flowHdl_p, VlanAction *action_p);

/** Adds a PPPoE action; see QIR_Config_EthAction(). */
uint32_t QIR_Config_PppoeAction(FlowHdl *flowHdl_p, const PppoeAction *action_p);
/** Reads back a PPPoE action; see QIR_Get_EthAction(). */
uint32_t QIR_Get_PppoeAction(FlowHdl *flowHdl_p, PppoeAction *action_p);

/** Placeholder: accepts anything, and touches and logs nothing. @return e_RET_OK */
uint32_t QIR_Config_MplsAction(FlowHdl *flowHdl_p, const void *action_p);
/** Placeholder: accepts anything, and touches and logs nothing. @return e_RET_OK */
uint32_t QIR_Get_MplsAction(FlowHdl *flowHdl_p, void *action_p);

/** Adds an IPv4 action; see QIR_Config_EthAction(). */
uint32_t QIR_Config_Ipv4Action(FlowHdl *flowHdl_p, const Ipv4Action *action_p);
/** Reads back an IPv4 action; see QIR_Get_EthAction(). */
uint32_t QIR_Get_Ipv4Action(FlowHdl *flowHdl_p, Ipv4Action *action_p);

/** Adds a TCP action; see QIR_Config_EthAction(). Needs the IPv4 header. */
uint32_t QIR_Config_TcpAction(FlowHdl *flowHdl_p, const TcpAction *action_p);
/** Reads back a TCP action; see QIR_Get_EthAction(). */
uint32_t QIR_Get_TcpAction(FlowHdl *flowHdl_p, TcpAction *action_p);

/** Adds a UDP action; see QIR_Config_EthAction(). Needs the IPv4 header. */
uint32_t QIR_Config_UdpAction(FlowHdl *flowHdl_p, const UdpAction *action_p);
/** Reads back a UDP action; see QIR_Get_EthAction(). */
uint32_t QIR_Get_UdpAction(FlowHdl *flowHdl_p, UdpAction *action_p);

#ifdef __cplusplus
}
#endif

#endif
