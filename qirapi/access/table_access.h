// Accessors of table records (reference counts, copies in and out) and the printers that tables share.
// Null pointers and indexes out of range are asserted and then used.
#ifndef QIRAPI_ACCESS_TABLE_ACCESS_H
#define QIRAPI_ACCESS_TABLE_ACCESS_H

#include "qirapi/private/context.h"

namespace qir {

// Number of flows that use a table. Only PAC and EP tables are counted.
void incrAsTblRefCnt(AsTblInfo *tbl_p);
void decrAsTblRefCnt(AsTblInfo *tbl_p);
void incrDscpTblRefCnt(DscpTblInfo *tbl_p);
void decrDscpTblRefCnt(DscpTblInfo *tbl_p);
void incrEpTblRefCnt(EpTblInfo *tbl_p);
void decrEpTblRefCnt(EpTblInfo *tbl_p);
void incrPacTblRefCnt(PacTblInfo *tbl_p);
void decrPacTblRefCnt(PacTblInfo *tbl_p);

void setAsTblCfg(AsTblInfo *tbl_p, const AsTblCfg *cfg_p);
void getAsTblCfg(const AsTblInfo *tbl_p, AsTblCfg *cfg_p);
// Copies one entry; the slot's status stays.
void setAsTblEntry(AsTblInfo *tbl_p, u8 entIdx, const AsEnt *ent_p);
void getAsTblEntry(const AsTblInfo *tbl_p, u8 entIdx, AsEnt *ent_p);

// Copies the configuration and writes its pbits into all rows.
void setDscpToPbitsTable_DefPbits(DscpTblInfo *tbl_p, const DscpDefPbits *def_p);
void getDscpToPbitsTable_DefPbits(const DscpTblInfo *tbl_p, DscpDefPbits *def_p);
// Writes pbits into the rows startDscp to endDscp, both included.
void setDscpToPbitsTable(DscpTblInfo *tbl_p, const DscpMapping *dscpMapping_p);
void getDscpToPbitsTable(const DscpTblInfo *tbl_p, u8 dscp, u8 *pbits_p);

void setEpTblCfg(EpTblInfo *tbl_p, const EpTblCfg *cfg_p);
void getEpTblCfg(const EpTblInfo *tbl_p, EpTblCfg *cfg_p);
void setEpTblEntry(EpTblInfo *tbl_p, u8 entIdx, const EpEnt *ent_p);
void getEpTblEntry(const EpTblInfo *tbl_p, u8 entIdx, EpEnt *ent_p);

// Copies the configuration, also into all entries.
void setPacTblCfg(PacTblInfo *tbl_p, const PacTblCfg *cfg_p);
void getPacTblCfg(const PacTblInfo *tbl_p, PacTblCfg *cfg_p);
void setPacTblEntry(PacTblInfo *tbl_p, u8 pbits, const PacTblCfg *ent_p);
void getPacTblEntry(const PacTblInfo *tbl_p, u8 pbits, PacTblCfg *ent_p);

// Printers of single values: each prints a blank after the value, and none ends its line.
void Dump_Status(u32 status);            // <e_STATUS_FREE>
void Dump_IP(u32 ip);                    // <10.0.0.1>
void Dump_CidrIP(u32 ip, u32 prefixLen); // <10.0.0.0> </8>
void Dump_MAC(const u8 *mac_p);          // <0x00:11:22:33:44:55>
void Dump_AsTableEntry(const AsEnt *ent_p);
// Printers of whole lines.
void Dump_AsTableCfg(const AsTblCfg *cfg_p);
void Dump_AsTable(const AsTblInfo *tbl_p);

} // namespace qir

#endif
