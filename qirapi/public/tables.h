/**
 * @file
 * The tables that flows refer to: AS (address screening), DSCP-to-pbits, PAC (pbits-to-action) and EP.
 * Include qirapi/qirapi.h.
 *
 * A handle names a table: its `f1.id` is the table's index in the pool; allocation takes the lowest free
 * index. Usual order: allocate, configure, add entries, activate. To change an ACTIVE table, deactivate it,
 * change it and activate it again. Free it after deactivation.
 *
 * Codes that every table operation shares: e_RET_ERR_NULL_PTR (a pointer is null), e_RET_ERR_INVALID_HDL
 * (`f1.id` is not below the pool's size, or the table is free), e_RET_DRIVER_FAILURE (the driver failed).
 */
#ifndef QIRAPI_PUBLIC_TABLES_H
#define QIRAPI_PUBLIC_TABLES_H

#include "qirapi/public/codes.h"
#include "qirapi/public/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The bit field that all table handles share; its order follows the byte order of the processor. */
typedef struct {
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    uint32_t rsvd : 24; /**< the caller's: ignored, but stored and returned with the handle */
    uint32_t id : 8;    /**< index of the table in its pool: the low 8 bits of the word */
#else
    uint32_t id : 8;    /**< index of the table in its pool: the low 8 bits of the word */
    uint32_t rsvd : 24; /**< the caller's: ignored, but stored and returned with the handle */
#endif
} QirTblHdlBits;

/** Handle of an AS table, index 0 to 15. */
typedef union {
    uint32_t word;    /**< the whole word */
    QirTblHdlBits f1; /**< its bit fields */
} AsTblHdl;
QIR_PIN_SIZE(AsTblHdl, 4);

/** Handle of a DSCP-to-pbits table, index 0 to 5. */
typedef union {
    uint32_t word;    /**< the whole word */
    QirTblHdlBits f1; /**< its bit fields */
} DscpTblHdl;
QIR_PIN_SIZE(DscpTblHdl, 4);

/** Handle of an EP table, index 0 to 5. */
typedef union {
    uint32_t word;    /**< the whole word */
    QirTblHdlBits f1; /**< its bit fields */
} EpTblHdl;
QIR_PIN_SIZE(EpTblHdl, 4);

/** Handle of a PAC table, index 0 to 15. */
typedef union {
    uint32_t word;    /**< the whole word */
    QirTblHdlBits f1; /**< its bit fields */
} PacTblHdl;
QIR_PIN_SIZE(PacTblHdl, 4);

/** Whether a flow uses a table (flow operations). */
enum QirTblStatus { e_TBLSTATUS_DISABLE = 0, e_TBLSTATUS_ENABLE = 1, e_TBLSTATUS_MAX = 2 };

/* ---- AS tables ---------------------------------------------------------------------------------- */

/** Configuration of an AS table, 4 bytes. */
typedef struct {
    uint32_t srcPortMask; /**< source ports that the table applies to, bit n = port n; not 0 */
} AsTblCfg;
QIR_PIN_SIZE(AsTblCfg, 4);
QIR_PIN_FIELD(AsTblCfg, srcPortMask, 0);

/** Bits of AsEnt::aclMask: which fields take part in the match. */
enum QirAsEntMask {
    AS_ENT_MASK_MAC_SA = 0x001,
    AS_ENT_MASK_IP = 0x002,
    AS_ENT_MASK_ETHTYPE = 0x004,
    AS_ENT_MASK_VLANTAG0 = 0x008,
    AS_ENT_MASK_VLANTAG1 = 0x010,
    AS_ENT_MASK_DESTPORT = 0x020,
    AS_ENT_MASK_IPPROTO = 0x040,
    AS_ENT_MASK_NONIP_A = 0x080, /**< non-IP entry: prefix length, protocol and port are not checked */
    AS_ENT_MASK_NONIP_B = 0x100, /**< likewise; how it differs from NONIP_A is the hardware's */
    AS_ENT_MASK_MAC_DA = 0x200
};

/** One address-screening entry, 52 bytes, sent to the driver as it is. */
typedef struct {
    uint8_t macDA[6];     /**< destination MAC address */
    uint8_t macDAMask[6]; /**< bit mask applied to `macDA` */
    uint8_t macSA[6];     /**< source MAC address */
    uint8_t macSAMask[6]; /**< bit mask applied to `macSA` */
    uint32_t ipAddr;      /**< IPv4 address, host order */
    uint32_t ipPrefixLen; /**< prefix length applied to `ipAddr`, 0 to 32 */
    uint16_t ethType;     /**< EtherType, 0x0600 and above */
    uint16_t vlanTag0;    /**< VLAN id of the outer tag, 0 to 4095 */
    uint16_t vlanTag1;    /**< VLAN id of the inner tag, 0 to 4095 */
    uint16_t destPort;    /**< L4 destination port */
    uint8_t ipProto;      /**< IP protocol number */
    uint8_t rsvd[3];      /**< stored and returned; goes to the driver, too */
    uint32_t aclMask;     /**< AS_ENT_MASK_* bits; not 0; bits above 0x200 are not checked */
    uint32_t aclType;     /**< ACL type of the entry, 0 or 1; its meaning is the hardware's */
} AsEnt;
QIR_PIN_SIZE(AsEnt, 52);
QIR_PIN_FIELD(AsEnt, macDA, 0);
QIR_PIN_FIELD(AsEnt, macDAMask, 6);
QIR_PIN_FIELD(AsEnt, macSA, 12);
QIR_PIN_FIELD(AsEnt, macSAMask, 18);
QIR_PIN_BYTES(AsEnt, macSAMask, 6);
QIR_PIN_FIELD(AsEnt, ipAddr, 24);
QIR_PIN_FIELD(AsEnt, ipPrefixLen, 28);
QIR_PIN_FIELD(AsEnt, ethType, 32);
QIR_PIN_FIELD(AsEnt, vlanTag0, 34);
QIR_PIN_FIELD(AsEnt, vlanTag1, 36);
QIR_PIN_FIELD(AsEnt, destPort, 38);
QIR_PIN_FIELD(AsEnt, ipProto, 40);
QIR_PIN_BYTES(AsEnt, rsvd, 3);
QIR_PIN_FIELD(AsEnt, aclMask, 44);
QIR_PIN_FIELD(AsEnt, aclType, 48);

/**
 * Allocates the AS table with the lowest free index. The new table has `srcPortMask` 0x5 and no entries.
 *
 * @param asTblHdl_p out: `f1.id`, 0 to 15; left at 15 when no table is free
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_RESRC_UNAVAIL (no table is free).
 */
uint32_t QIR_Alloc_AsTable(AsTblHdl *asTblHdl_p);

/**
 * Frees an AS table. Whether flows rely on it is not checked.
 *
 * @param asTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_ALREADY_ACTIVE.
 */
uint32_t QIR_Free_AsTable(AsTblHdl *asTblHdl_p);

/**
 * Hands a configured AS table to the driver.
 *
 * @param asTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_ALREADY_ACTIVE;
 *         e_RET_ERR_STATE_NOTCFG (never configured); e_RET_DRIVER_FAILURE (the table stays CFG).
 */
uint32_t QIR_Activate_AsTable(AsTblHdl *asTblHdl_p);

/**
 * Takes an AS table out of the hardware; its entries stay.
 *
 * @param asTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOT_ACTIVE;
 *         e_RET_DRIVER_FAILURE (the table stays ACTIVE, but the driver's index of it is gone).
 */
uint32_t QIR_Deactivate_AsTable(AsTblHdl *asTblHdl_p);

/**
 * Sets the source ports of an AS table and makes it CFG.
 *
 * @param asTblHdl_p the table
 * @param asTblCfg_p the configuration
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_SRCPORTMASK (the mask is 0); e_RET_ERR_INVALID_HDL;
 *         e_RET_ERR_STATE_NOTCFG (the table is ACTIVE).
 */
uint32_t QIR_Set_AsTableCfg(AsTblHdl *asTblHdl_p, const AsTblCfg *asTblCfg_p);

/**
 * Reads the configuration of an AS table that is CFG or ACTIVE.
 *
 * @param asTblHdl_p the table
 * @param asTblCfg_p out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (not configured yet).
 */
uint32_t QIR_Get_AsTableCfg(AsTblHdl *asTblHdl_p, AsTblCfg *asTblCfg_p);

/**
 * Stores an entry in a free slot of an AS table that is CFG. An entry is never overwritten: delete it first.
 *
 * @param asTblHdl_p the table
 * @param asEntIdx   slot, 0 to 7
 * @param asEnt_p    the entry
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_INVALID_ENTIDX (slot out of range);
 *         e_RET_ERR_INVALID_ASENT (`aclMask` 0); e_RET_ERR_INVALID_ACLTYPE (`aclType` 2 or more);
 *         e_RET_ERR_INVALID_ETHTYPE; e_RET_ERR_INVALID_VLANTAG; e_RET_ERR_INVALID_IPPREFIXLENVAL (prefix
 *         length above 32 in an IP entry); e_RET_ERR_STATE_NOTCFG (the table is not CFG);
 *         e_RET_ERR_RESRC_UNAVAIL (the slot is in use). A field is checked only if its `aclMask` bit is set.
 */
uint32_t QIR_Set_AsTableEntry(AsTblHdl *asTblHdl_p, uint8_t asEntIdx, const AsEnt *asEnt_p);

/**
 * Reads an entry of an AS table that is CFG or ACTIVE.
 *
 * @param asTblHdl_p the table
 * @param asEntIdx   slot, 0 to 7
 * @param asEnt_p    out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_ENTIDX; e_RET_ERR_INVALID_HDL;
 *         e_RET_ERR_STATE_NOTCFG (not configured yet); e_RET_ERR_NO_SUCH_ENTRY (the slot is free).
 */
uint32_t QIR_Get_AsTableEntry(AsTblHdl *asTblHdl_p, uint8_t asEntIdx, AsEnt *asEnt_p);

/**
 * Frees a slot of an AS table that is CFG.
 *
 * @param asTblHdl_p the table
 * @param asEntIdx   slot, 0 to 7
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_ENTIDX; e_RET_ERR_INVALID_HDL;
 *         e_RET_ERR_STATE_NOTCFG (the table is not CFG); e_RET_ERR_NO_SUCH_ENTRY (the slot is free).
 */
uint32_t QIR_Delete_AsTableEntry(AsTblHdl *asTblHdl_p, uint8_t asEntIdx);

/* ---- DSCP-to-pbits tables ----------------------------------------------------------------------- */

/** Configuration of a DSCP-to-pbits table, 8 bytes. */
typedef struct {
    uint32_t srcPort; /**< source port, 0 to 8 */
    uint8_t pbits;    /**< default pbits, 0 to 7 */
    uint8_t rsvd[3];  /**< stored and returned; goes to the driver, too */
} DscpDefPbits;
QIR_PIN_SIZE(DscpDefPbits, 8);
QIR_PIN_FIELD(DscpDefPbits, srcPort, 0);
QIR_PIN_FIELD(DscpDefPbits, pbits, 4);
QIR_PIN_BYTES(DscpDefPbits, rsvd, 3);

/** A range of DSCP values and their pbits, 4 bytes. */
typedef struct {
    uint8_t rsvd;      /**< ignored, and not stored */
    uint8_t startDscp; /**< first DSCP, 0 to 63 */
    uint8_t endDscp;   /**< last DSCP, `startDscp` to 63 */
    uint8_t pbits;     /**< 0 to 7 */
} DscpMapping;
QIR_PIN_SIZE(DscpMapping, 4);
QIR_PIN_FIELD(DscpMapping, startDscp, 1);
QIR_PIN_FIELD(DscpMapping, endDscp, 2);
QIR_PIN_FIELD(DscpMapping, pbits, 3);

/**
 * Allocates the DSCP-to-pbits table with the lowest free index.
 *
 * @param dscpTblHdl_p out: `f1.id`, 0 to 5; left at 5 when no table is free
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_RESRC_UNAVAIL (no table is free).
 */
uint32_t QIR_Alloc_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p);

/**
 * Frees a DSCP-to-pbits table.
 *
 * @param dscpTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_ALREADY_ACTIVE.
 */
uint32_t QIR_Free_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p);

/**
 * Hands a configured DSCP-to-pbits table to the driver.
 *
 * @param dscpTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_ALREADY_ACTIVE;
 *         e_RET_ERR_STATE_NOTCFG (never configured); e_RET_DRIVER_FAILURE (the table stays CFG).
 */
uint32_t QIR_Activate_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p);

/**
 * Takes a DSCP-to-pbits table out of the hardware.
 *
 * @param dscpTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_NOT_ACTIVE;
 *         e_RET_DRIVER_FAILURE (the table stays ACTIVE, but the driver's index of it is gone).
 */
uint32_t QIR_Deactivate_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p);

/**
 * Sets source port and default pbits, writes the default into all 64 rows and makes the table CFG.
 *
 * @param dscpTblHdl_p the table
 * @param defPbits_p   the configuration
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_SRCPORT (port 9 or more); e_RET_ERR_INVALID_PBITS
 *         (pbits 8 or more); e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (the table is ACTIVE).
 */
uint32_t QIR_Set_DscpToPbitsTable_DefPbits(DscpTblHdl *dscpTblHdl_p, const DscpDefPbits *defPbits_p);

/**
 * Reads source port and default pbits of a table that is CFG or ACTIVE.
 *
 * @param dscpTblHdl_p the table
 * @param defPbits_p   out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (not configured yet).
 */
uint32_t QIR_Get_DscpToPbitsTable_DefPbits(DscpTblHdl *dscpTblHdl_p, DscpDefPbits *defPbits_p);

/**
 * Sets the pbits of a range of DSCP values, both ends included, of a table that is CFG.
 *
 * @param dscpTblHdl_p  the table
 * @param dscpMapping_p the range
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_DSCPVAL (an end is 64 or more, or the ends are
 *         swapped); e_RET_ERR_INVALID_PBITS; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (the table is not
 *         CFG).
 */
uint32_t QIR_Set_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p, const DscpMapping *dscpMapping_p);

/**
 * Reads the pbits of one DSCP value of a table that is CFG or ACTIVE.
 *
 * @param dscpTblHdl_p the table
 * @param dscp         0 to 63
 * @param pbits        out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_DSCPVAL; e_RET_ERR_INVALID_HDL;
 *         e_RET_ERR_STATE_NOTCFG (not configured yet).
 */
uint32_t QIR_Get_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p, uint8_t dscp, uint8_t *pbits);

/* ---- PAC tables --------------------------------------------------------------------------------- */

/** A raw header rewrite, 12 bytes. */
typedef struct {
    uint32_t type;   /**< 0 no action; 1 or 2, a raw kind: its meaning is the hardware's */
    uint8_t ofst;    /**< byte offset into the frame, 0 to 95 */
    uint8_t size;    /**< bytes rewritten, 1 or 2 */
    uint8_t val[2];  /**< the value, first byte first */
    uint8_t mask[2]; /**< which bits of `val` apply */
    uint8_t rsvd[2]; /**< stored and returned; goes to the driver, too */
} PacRawAction;
QIR_PIN_SIZE(PacRawAction, 12);
QIR_PIN_FIELD(PacRawAction, type, 0);
QIR_PIN_FIELD(PacRawAction, ofst, 4);
QIR_PIN_FIELD(PacRawAction, size, 5);
QIR_PIN_FIELD(PacRawAction, val, 6);
QIR_PIN_FIELD(PacRawAction, mask, 8);
QIR_PIN_BYTES(PacRawAction, rsvd, 2);

/** Bits of PacTblCfg::ovrd. Any bit above 0x010 is refused. */
enum QirPacOvrd {
    PAC_OVRD_HW_A = 0x001,         /**< accepted; its meaning is the hardware's */
    PAC_OVRD_UNCHECKED = 0x002,    /**< the rest of the record is neither checked nor logged; the bit's own
                                        meaning is the hardware's */
    PAC_OVRD_DSTQID_A = 0x004,     /**< `dstQid` is in use */
    PAC_OVRD_DSTGEMPORT = 0x008,   /**< `dstGemPort` is in use */
    PAC_OVRD_DSTQID_B = 0x010,     /**< likewise; how it differs from DSTQID_A is the hardware's */
    PAC_OVRD_INVALID_BITS = 0xFFE0 /**< none of these may be set */
};

/** Configuration and entry of a PAC table, 28 bytes. */
typedef struct {
    uint16_t ovrd;             /**< PAC_OVRD_* bits */
    uint8_t dstGemPort;        /**< GEM port index, 0 to 31 */
    uint8_t dstQid;            /**< egress queue, 0 to 7 */
    PacRawAction rawAction[2]; /**< raw rewrites */
} PacTblCfg;
QIR_PIN_SIZE(PacTblCfg, 28);
QIR_PIN_FIELD(PacTblCfg, ovrd, 0);
QIR_PIN_FIELD(PacTblCfg, dstGemPort, 2);
QIR_PIN_FIELD(PacTblCfg, dstQid, 3);
QIR_PIN_FIELD(PacTblCfg, rawAction, 4);

/**
 * Allocates the PAC table with the lowest free index. Its eight entries are zero.
 *
 * @param pacTblHdl_p out: `f1.id`, 0 to 15; left at 15 when no table is free
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_RESRC_UNAVAIL (no table is free).
 */
uint32_t QIR_Alloc_PacTable(PacTblHdl *pacTblHdl_p);

/**
 * Frees a PAC table that no flow uses.
 *
 * @param pacTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_ALREADY_ACTIVE;
 *         e_RET_ERR_RESRC_BUSY (flows use it).
 */
uint32_t QIR_Free_PacTable(PacTblHdl *pacTblHdl_p);

/**
 * Hands a configured PAC table to the driver.
 *
 * @param pacTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (not CFG, but
 *         ALLOC or ACTIVE); e_RET_DRIVER_FAILURE (the table stays CFG).
 */
uint32_t QIR_Activate_PacTable(PacTblHdl *pacTblHdl_p);

/**
 * Takes a PAC table out of the hardware.
 *
 * @param pacTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_RESRC_NOT_ACTIVE;
 *         e_RET_DRIVER_FAILURE (the table stays ACTIVE, but the driver's index of it is gone).
 */
uint32_t QIR_Deactivate_PacTable(PacTblHdl *pacTblHdl_p);

/**
 * Sets the configuration of a PAC table, copies it into all eight entries and makes the table CFG.
 *
 * @param pacTblHdl_p the table
 * @param pacTblCfg_p the configuration
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_OVRD; unless PAC_OVRD_UNCHECKED is set:
 *         e_RET_ERR_INVALID_GEMPORTIDX; e_RET_ERR_INVALID_DSTQID; for each raw action with a type:
 *         e_RET_ERR_INVALID_RAWACTION_TYPE, e_RET_ERR_INVALID_RAWACTION_OFFSET,
 *         e_RET_ERR_INVALID_RAWACTION_SIZE; in any case: e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (the
 *         table is ACTIVE).
 */
uint32_t QIR_Set_PacTableCfg(PacTblHdl *pacTblHdl_p, const PacTblCfg *pacTblCfg_p);

/**
 * Reads the configuration of a PAC table that is CFG or ACTIVE.
 *
 * @param pacTblHdl_p the table
 * @param pacTblCfg_p out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (not configured yet).
 */
uint32_t QIR_Get_PacTableCfg(PacTblHdl *pacTblHdl_p, PacTblCfg *pacTblCfg_p);

/**
 * Sets the entry of one pbits value of a PAC table that is CFG.
 *
 * @param pacTblHdl_p the table
 * @param pbits       0 to 7
 * @param pacEnt_p    the entry
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_PBITS; the record's codes as for
 *         QIR_Set_PacTableCfg(); e_RET_ERR_INVALID_HDL; e_RET_ERR_STATE_NOTCFG (the table is not CFG).
 */
uint32_t QIR_Set_PacTableEntry(PacTblHdl *pacTblHdl_p, uint8_t pbits, const PacTblCfg *pacEnt_p);

/**
 * Reads the entry of one pbits value of a PAC table that is CFG or ACTIVE.
 *
 * @param pacTblHdl_p the table
 * @param pbits       0 to 7
 * @param pacEnt_p    out
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_PBITS; e_RET_ERR_INVALID_HDL;
 *         e_RET_ERR_STATE_NOTCFG (not configured yet).
 */
uint32_t QIR_Get_PacTableEntry(PacTblHdl *pacTblHdl_p, uint8_t pbits, PacTblCfg *pacEnt_p);

/* ---- EP tables ---------------------------------------------------------------------------------- */

/** Configuration of an EP table; its contents have no meaning yet. */
typedef struct {
    uint8_t opaque[4]; /**< stored as they are */
} EpTblCfg;
QIR_PIN_SIZE(EpTblCfg, 4);

/** Entry of an EP table; its contents have no meaning yet. */
typedef struct {
    uint8_t opaque[2]; /**< stored as they are */
} EpEnt;
QIR_PIN_SIZE(EpEnt, 2);

/**
 * The EP operations are placeholders: each returns e_RET_OK at once, and checks, logs and writes nothing. EP
 * tables therefore stay free, and every flow operation refuses every EP handle.
 */
uint32_t QIR_Alloc_EpTable(EpTblHdl *epTblHdl_p);
/** Placeholder, see QIR_Alloc_EpTable(). @return e_RET_OK */
uint32_t QIR_Free_EpTable(EpTblHdl *epTblHdl_p);
/** Placeholder, see QIR_Alloc_EpTable(). @return e_RET_OK */
uint32_t QIR_Activate_EpTable(EpTblHdl *epTblHdl_p);
/** Placeholder, see QIR_Alloc_EpTable(). @return e_RET_OK */
uint32_t QIR_Deactivate_EpTable(EpTblHdl *epTblHdl_p);
/** Placeholder, see QIR_Alloc_EpTable(). @return e_RET_OK */
uint32_t QIR_Set_EpTableCfg(EpTblHdl *epTblHdl_p, const EpTblCfg *epTblCfg_p);
/** Placeholder, see QIR_Alloc_EpTable(). @return e_RET_OK */
uint32_t QIR_Get_EpTableCfg(EpTblHdl *epTblHdl_p, EpTblCfg *epTblCfg_p);
/** Placeholder, see QIR_Alloc_EpTable(). @return e_RET_OK */
uint32_t QIR_Set_EpTableEntry(EpTblHdl *epTblHdl_p, uint8_t epEntIdx, const EpEnt *epEnt_p);
/** Placeholder, see QIR_Alloc_EpTable(). @return e_RET_OK */
uint32_t QIR_Get_EpTableEntry(EpTblHdl *epTblHdl_p, uint8_t epEntIdx, EpEnt *epEnt_p);

#ifdef __cplusplus
}
#endif

#endif
