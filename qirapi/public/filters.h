/**
 * @file
 * Filters: what a flow matches. Include qirapi/qirapi.h.
 * docs/rules.md has a table of all types: values, operators, how often, and what excludes what.
 *
 * A filter request belongs to a header that has been allocated in the flow's filter block; TCP and UDP
 * filters belong to the IPv4 header. Requests are only added, never changed or removed, and stay until the
 * flow is freed. An ACTIVE flow accepts filters, too; the hardware learns of them at the next activation.
 *
 * The library checks operator and exclusions first and then records the type in the header. When it refuses
 * the request after that (too many, bad value, no request node), the record stays: the type counts as given,
 * and excludes others.
 *
 * Codes of every `QIR_Config_*Filter`, in the order of the checks:
 *  - e_RET_ERR_NULL_PTR: a pointer is null
 *  - e_RET_ERR_INVALID_HDL: bad flow handle
 *  - e_RET_ERR_INVALID_TAGNUM: `toTagNum` is 2 or more (VLAN only)
 *  - e_RET_ERR_HDRNOTCFG: the header is not allocated
 *  - e_RET_ERR_INVALID_CONFIGOPER: `op` is not e_CONFIG_OPER_ADD
 *  - e_RET_ERR_INVALID_CMPOPER: `cmpOp` is 3 or more
 *  - e_RET_ERR_INVALID_FILT: unknown type
 *  - e_RET_ERR_INVALID_CMPOPSEQ: the type does not take the operator (UDP: e_RET_ERR_INVALID_PARAM)
 *  - e_RET_ERR_INVALID_FILTSEQ: a filter that is there excludes the type
 *  - e_RET_ERR_INVALID_CMPOPSEQ: too many filters of this type and operator
 *  - e_RET_ERR_INVALID_PARAM: value out of range
 *  - e_RET_ERR_RESRC_UNAVAIL: the flow's request nodes are used up
 *
 * Codes of every `QIR_Get_*Filter`, in the order of the checks:
 *  - e_RET_ERR_NULL_PTR: `flowHdl_p` or `filter_p` is null
 *  - e_RET_ERR_INVALID_HDL: bad flow handle
 *  - e_RET_ERR_INVALID_TAGNUM: `toTagNum` is 2 or more (VLAN only)
 *  - e_RET_ERR_INVALID_FILT: unknown type
 *  - e_RET_ERR_NULL_PTR: `elemCount_p` is null
 *  - e_RET_ERR_INVALID_PARAM: `size` is 0
 *  - e_RET_ERR_HDRNOTCFG: the header is not allocated
 *  - e_RET_ERR_OVERFLOW: more matches than `size`; the first `size` are delivered
 */
#ifndef QIRAPI_PUBLIC_FILTERS_H
#define QIRAPI_PUBLIC_FILTERS_H

#include "qirapi/public/codes.h"
#include "qirapi/public/flows.h"
#include "qirapi/public/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Comparison operators. */
enum QirCmpOp {
    e_CMP_EQ = 0,       /**< field equals the value */
    e_CMP_NEQ = 1,      /**< field differs from the value */
    e_CMP_IN_RANGE = 2, /**< field lies between value and second value, both included */
    e_CMP_MAX = 3       /**< bound */
};

/** The only configuration operation of filter and action requests. */
enum { e_CONFIG_OPER_ADD = 0 };

/** VLAN tags that requests can name: 0 outer, 1 inner. */
enum { e_VLAN_TAG_MAX = 2 };

/** Ethernet filter types; accepted values in brackets. */
enum QirEthFilt {
    e_ETH_FILT_MCAST = 0,   /**< flag [0, 1] */
    e_ETH_FILT_BCAST = 1,   /**< flag [0, 1] */
    e_ETH_FILT_DA = 2,      /**< mac [any] */
    e_ETH_FILT_SA = 3,      /**< mac [any] */
    e_ETH_FILT_ETHTYPE = 4, /**< ethType [0x0600 and above] */
    e_ETH_FILT_MAX = 5
};

/** VLAN filter types; accepted values in brackets. */
enum QirVlanFilt {
    e_VLAN_FILT_TAG = 0,   /**< tag [any] */
    e_VLAN_FILT_TPID = 1,  /**< tpid [any] */
    e_VLAN_FILT_TCI = 2,   /**< tci [any] */
    e_VLAN_FILT_PBITS = 3, /**< pbits [0 to 7] */
    e_VLAN_FILT_DEI = 4,   /**< dei [0, 1] */
    e_VLAN_FILT_VID = 5,   /**< vid [0 to 4095] */
    e_VLAN_FILT_MAX = 6
};

/** PPPoE filter types; accepted values in brackets. */
enum QirPppoeFilt {
    e_PPPOE_FILT_VER = 0,   /**< ver [1] */
    e_PPPOE_FILT_TYPE = 1,  /**< type [1] */
    e_PPPOE_FILT_CODE = 2,  /**< code [0 to 254] */
    e_PPPOE_FILT_SESID = 3, /**< sesId [0 to 65534] */
    e_PPPOE_FILT_PROTO = 4, /**< proto [any] */
    e_PPPOE_FILT_MAX = 5
};

/** IPv4 filter types; accepted values in brackets. */
enum QirIpv4Filt {
    e_IPV4_FILT_VER = 0,     /**< ver [4] */
    e_IPV4_FILT_IHL = 1,     /**< ihl [0 to 254] */
    e_IPV4_FILT_SA = 2,      /**< ip [prefix length 0 to 32] */
    e_IPV4_FILT_DA = 3,      /**< ip [prefix length 0 to 32] */
    e_IPV4_FILT_MCAST = 4,   /**< flag [0, 1] */
    e_IPV4_FILT_TOS = 5,     /**< tos [0 to 254] */
    e_IPV4_FILT_DSCP = 6,    /**< dscp [0 to 63]; in a range the upper bound [dscp to 63] */
    e_IPV4_FILT_DSCP_1P = 7, /**< dscp1p [0 to 7] */
    e_IPV4_FILT_TTL_GT1 = 8, /**< flag [0, 1] */
    e_IPV4_FILT_PROTO = 9,   /**< proto, 16 bits [0 to 65534] */
    e_IPV4_FILT_FRAG = 10,   /**< frag, 16 bits [0, 1] */
    e_IPV4_FILT_MAX = 11
};

/** TCP filter types; accepted values in brackets. */
enum QirTcpFilt {
    e_TCP_FILT_SPORT = 0, /**< port [any] */
    e_TCP_FILT_DPORT = 1, /**< port [any] */
    e_TCP_FILT_SYN = 2,   /**< flag [0, 1] */
    e_TCP_FILT_ACK = 3,   /**< flag [0, 1] */
    e_TCP_FILT_FIN = 4,   /**< flag [0, 1] */
    e_TCP_FILT_RST = 5,   /**< flag [0, 1] */
    e_TCP_FILT_CTRL = 6,  /**< ctrl [0 to 63] */
    e_TCP_FILT_MAX = 7
};

/** UDP filter types; any value is accepted. */
enum QirUdpFilt { e_UDP_FILT_SPORT = 0, e_UDP_FILT_DPORT = 1, e_UDP_FILT_MAX = 2 };

/** MAC address and the mask that goes with it, 12 bytes. */
typedef struct {
    uint8_t addr[6]; /**< first byte first */
    uint8_t mask[6]; /**< stored and returned; dumps print it after the address */
} QirMacMask;
QIR_PIN_SIZE(QirMacMask, 12);
QIR_PIN_FIELD(QirMacMask, mask, 6);

/** IPv4 address and prefix length, 8 bytes. */
typedef struct {
    uint32_t addr;      /**< host order */
    uint32_t prefixLen; /**< filters: 0 to 32; actions: not checked */
} QirIpPrefix;
QIR_PIN_SIZE(QirIpPrefix, 8);
QIR_PIN_FIELD(QirIpPrefix, prefixLen, 4);

/** Ethernet filter request, 36 bytes: op 0, type 4, cmpOp 8, value 12. */
typedef struct {
    uint32_t op;    /**< e_CONFIG_OPER_ADD */
    uint32_t type;  /**< e_ETH_FILT_* */
    uint32_t cmpOp; /**< e_CMP_* */
    union {
        uint8_t flag;
        uint16_t ethType;
        QirMacMask mac;
        uint8_t bytes[24];
    } val; /**< the value: the member that the type names */
} EthFilter;
QIR_PIN_SIZE(EthFilter, 36);
QIR_PIN_FIELD(EthFilter, op, 0);
QIR_PIN_FIELD(EthFilter, type, 4);
QIR_PIN_FIELD(EthFilter, cmpOp, 8);
QIR_PIN_FIELD(EthFilter, val, 12);
QIR_PIN_BYTES(EthFilter, val.bytes, 24);

/** VLAN filter request, 24 bytes: op 0, toTagNum 4, type 8, cmpOp 12, value 16, second value 20. */
typedef struct {
    uint32_t op;       /**< e_CONFIG_OPER_ADD */
    uint32_t toTagNum; /**< tag, 0 outer or 1 inner */
    uint32_t type;     /**< e_VLAN_FILT_* */
    uint32_t cmpOp;    /**< e_CMP_* */
    union {
        uint32_t tag;
        uint16_t tpid;
        uint16_t tci;
        uint8_t pbits;
        uint8_t dei;
        uint16_t vid;
    } val;         /**< the value: the member that the type names */
    uint32_t val2; /**< stored and returned */
} VlanFilter;
QIR_PIN_SIZE(VlanFilter, 24);
QIR_PIN_FIELD(VlanFilter, op, 0);
QIR_PIN_FIELD(VlanFilter, toTagNum, 4);
QIR_PIN_FIELD(VlanFilter, type, 8);
QIR_PIN_FIELD(VlanFilter, cmpOp, 12);
QIR_PIN_FIELD(VlanFilter, val, 16);
QIR_PIN_FIELD(VlanFilter, val2, 20);

/** PPPoE filter request, 16 bytes: op 0, type 4, cmpOp 8, value 12. */
typedef struct {
    uint32_t op;    /**< e_CONFIG_OPER_ADD */
    uint32_t type;  /**< e_PPPOE_FILT_* */
    uint32_t cmpOp; /**< e_CMP_* */
    union {
        uint8_t ver;
        uint8_t type;
        uint8_t code;
        uint16_t sesId;
        uint16_t proto;
        uint32_t word;
    } val; /**< the value: the member that the type names */
} PppoeFilter;
QIR_PIN_SIZE(PppoeFilter, 16);
QIR_PIN_FIELD(PppoeFilter, op, 0);
QIR_PIN_FIELD(PppoeFilter, type, 4);
QIR_PIN_FIELD(PppoeFilter, cmpOp, 8);
QIR_PIN_FIELD(PppoeFilter, val, 12);

/** IPv4 filter request, 28 bytes: op 0, type 4, cmpOp 8, value 12, second value 20. */
typedef struct {
    uint32_t op;    /**< e_CONFIG_OPER_ADD */
    uint32_t type;  /**< e_IPV4_FILT_* */
    uint32_t cmpOp; /**< e_CMP_* */
    union {
        uint8_t ver;
        uint8_t ihl;
        QirIpPrefix ip;
        uint8_t flag;
        uint8_t tos;
        uint8_t dscp;
        uint8_t dscp1p;
        uint16_t proto;
        uint16_t frag;
        uint32_t word;
    } val; /**< the value: the member that the type names */
    union {
        uint8_t dscp; /**< upper bound of a DSCP range */
        uint8_t bytes[8];
    } val2; /**< second value */
} Ipv4Filter;
QIR_PIN_SIZE(Ipv4Filter, 28);
QIR_PIN_FIELD(Ipv4Filter, op, 0);
QIR_PIN_FIELD(Ipv4Filter, type, 4);
QIR_PIN_FIELD(Ipv4Filter, cmpOp, 8);
QIR_PIN_FIELD(Ipv4Filter, val, 12);
QIR_PIN_FIELD(Ipv4Filter, val2, 20);
QIR_PIN_BYTES(Ipv4Filter, val2.bytes, 8);

/** TCP filter request, 16 bytes: op 0, type 4, cmpOp 8, value 12. */
typedef struct {
    uint32_t op;    /**< e_CONFIG_OPER_ADD */
    uint32_t type;  /**< e_TCP_FILT_* */
    uint32_t cmpOp; /**< e_CMP_* */
    union {
        uint16_t port;
        uint8_t flag;
        uint8_t ctrl;
        uint32_t word;
    } val; /**< the value: the member that the type names */
} TcpFilter;
QIR_PIN_SIZE(TcpFilter, 16);
QIR_PIN_FIELD(TcpFilter, op, 0);
QIR_PIN_FIELD(TcpFilter, type, 4);
QIR_PIN_FIELD(TcpFilter, cmpOp, 8);
QIR_PIN_FIELD(TcpFilter, val, 12);

/** UDP filter request, 16 bytes: op 0, type 4, cmpOp 8, value 12. */
typedef struct {
    uint32_t op;    /**< e_CONFIG_OPER_ADD */
    uint32_t type;  /**< e_UDP_FILT_* */
    uint32_t cmpOp; /**< e_CMP_* */
    union {
        uint16_t port;
        uint32_t word;
    } val; /**< the value: the member that the type names */
} UdpFilter;
QIR_PIN_SIZE(UdpFilter, 16);
QIR_PIN_FIELD(UdpFilter, op, 0);
QIR_PIN_FIELD(UdpFilter, type, 4);
QIR_PIN_FIELD(UdpFilter, cmpOp, 8);
QIR_PIN_FIELD(UdpFilter, val, 12);

/**
 * Adds an Ethernet filter to a flow.
 * @param flowHdl_p the flow
 * @param filter_p  the request
 * @return e_RET_OK, or a code of the list at the head of this file.
 */
uint32_t QIR_Config_EthFilter(FlowHdl *flowHdl_p, const EthFilter *filter_p);

/**
 * Reads back the Ethernet filters of one type.
 * @param flowHdl_p   the flow
 * @param filter_p    in: `filter_p[0].type`; out: `size` records at most, in the order they were added
 * @param size        capacity of `filter_p` in records, 1 to 255
 * @param elemCount_p out: number of records delivered
 * @return e_RET_OK, also when nothing matches, or a code of the list at the head of this file.
 */
uint32_t QIR_Get_EthFilter(FlowHdl *flowHdl_p, EthFilter *filter_p, uint8_t size, uint8_t *elemCount_p);

/** Adds a VLAN filter to the header of `toTagNum`; see QIR_Config_EthFilter(). */
uint32_t QIR_Config_VlanFilter(FlowHdl *flowHdl_p, const VlanFilter *filter_p);
/** Reads back VLAN filters of `filter_p[0].toTagNum`; see QIR_Get_EthFilter(). */
uint32_t QIR_Get_VlanFilter(FlowHdl *flowHdl_p, VlanFilter *filter_p, uint8_t size, uint8_t *elemCount_p);

/** Adds a PPPoE filter; see QIR_Config_EthFilter(). */
uint32_t QIR_Config_PppoeFilter(FlowHdl *flowHdl_p, const PppoeFilter *filter_p);
/** Reads back PPPoE filters; see QIR_Get_EthFilter(). */
uint32_t QIR_Get_PppoeFilter(FlowHdl *flowHdl_p, PppoeFilter *filter_p, uint8_t size, uint8_t *elemCount_p);

/** Placeholder: accepts anything, and touches and logs nothing. @return e_RET_OK */
uint32_t QIR_Config_MplsFilter(FlowHdl *flowHdl_p, const void *filter_p);
/** Placeholder: accepts anything, and touches and logs nothing. @return e_RET_OK */
uint32_t QIR_Get_MplsFilter(FlowHdl *flowHdl_p, void *filter_p, uint8_t size, uint8_t *elemCount_p);

/** Adds an IPv4 filter; see QIR_Config_EthFilter(). */
uint32_t QIR_Config_Ipv4Filter(FlowHdl *flowHdl_p, const Ipv4Filter *filter_p);
/** Reads back IPv4 filters; see QIR_Get_EthFilter(). */
uint32_t QIR_Get_Ipv4Filter(FlowHdl *flowHdl_p, Ipv4Filter *filter_p, uint8_t size, uint8_t *elemCount_p);

/** Adds a TCP filter; see QIR_Config_EthFilter(). Needs the IPv4 header. */
uint32_t QIR_Config_TcpFilter(FlowHdl *flowHdl_p, const TcpFilter *filter_p);
/** Reads back TCP filters; see QIR_Get_EthFilter(). */
uint32_t QIR_Get_TcpFilter(FlowHdl *flowHdl_p, TcpFilter *filter_p, uint8_t size, uint8_t *elemCount_p);

/**
 * Adds a UDP filter; see QIR_Config_EthFilter(). Needs the IPv4 header. The value is not checked. An operator
 * that the type does not take yields e_RET_ERR_INVALID_PARAM in place of e_RET_ERR_INVALID_CMPOPSEQ.
 */
uint32_t QIR_Config_UdpFilter(FlowHdl *flowHdl_p, const UdpFilter *filter_p);
/** Reads back UDP filters; see QIR_Get_EthFilter(). */
uint32_t QIR_Get_UdpFilter(FlowHdl *flowHdl_p, UdpFilter *filter_p, uint8_t size, uint8_t *elemCount_p);

#ifdef __cplusplus
}
#endif

#endif
