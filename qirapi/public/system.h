/**
 * @file
 * Start-up and the budgets of the flow sections. Include qirapi/qirapi.h.
 */
#ifndef QIRAPI_PUBLIC_SYSTEM_H
#define QIRAPI_PUBLIC_SYSTEM_H

#include "qirapi/public/codes.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Brings the library to its initial state: log module 12 at level 1, section 1 with all 512 flows, all
 * tables, flows and rate limiters free, rate limiting disabled. Call it once before anything else. A second
 * call forgets every table, flow and budget without telling the driver. Port and system settings and the TCI
 * configurations of the rate limiters keep their values.
 *
 * @return e_RET_OK
 */
uint32_t QIR_Init_Sys(void);

/**
 * Sets the budget of a flow section. To move budget, shrink the section that gives it first: the budgets of
 * the three sections never sum to more than 512.
 *
 * @param section  0 to 2
 * @param numFlows 0 to 511
 * @return e_RET_OK; e_RET_ERR_INVALID_SECTION; e_RET_ERR_INVALID_NUMFLOWS (512 or more); e_RET_ERR_RESRC_BUSY
 *         (the section has more flows allocated); e_RET_ERR_RESRC_UNAVAIL (the budgets would sum to 513 or
 *         more).
 */
uint32_t QIR_Set_SectionMaxFlows(uint32_t section, uint16_t numFlows);

/**
 * Reads the budget of a flow section.
 *
 * @param section    0 to 2
 * @param numFlows_p out: 0 to 512
 * @return e_RET_OK; e_RET_ERR_NULL_PTR; e_RET_ERR_INVALID_SECTION. No closing line is logged.
 */
uint32_t QIR_Get_SectionMaxFlows(uint32_t section, uint16_t *numFlows_p);

#ifdef __cplusplus
}
#endif

#endif
