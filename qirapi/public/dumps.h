/**
 * @file
 * Dumps print the shadow on standard output. They do not ask the driver. Include qirapi/qirapi.h.
 */
#ifndef QIRAPI_PUBLIC_DUMPS_H
#define QIRAPI_PUBLIC_DUMPS_H

#include "qirapi/public/flows.h"
#include "qirapi/public/tables.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Prints an AS table in any state but FREE.
 * @param asTblHdl_p the table
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_HDL.
 */
uint32_t QIR_Dump_AsTable(AsTblHdl *asTblHdl_p);

/** Prints a DSCP-to-pbits table; see QIR_Dump_AsTable(). */
uint32_t QIR_Dump_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p);

/** Prints a PAC table; see QIR_Dump_AsTable(). */
uint32_t QIR_Dump_PacTable(PacTblHdl *pacTblHdl_p);

/** Prints a flow: status, filter block, action block, forwarding block; see QIR_Dump_AsTable(). */
uint32_t QIR_Dump_FCB(FlowHdl *flowHdl_p);

#ifdef __cplusplus
}
#endif

#endif
