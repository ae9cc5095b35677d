/**
 * @file
 * Rate limiters: a switch-wide enable, a TCI configuration for each direction, and 16 limiters in each of
 * the two directions. Include qirapi/qirapi.h.
 *
 * A limiter is allocated, configured and activated; the hardware learns its configuration at activation.
 * Codes that the operations share: e_RET_ERR_INVALID_RLINDEX (index 16 or more), e_RET_ERR_INVALID_RLDIR
 * (direction 2 or more), e_RET_DRIVER_FAILURE (the driver failed). Allocating, freeing, activating and
 * deactivating check the index first; configuring and reading back check the direction first.
 *
 * The library checks ranges only: the meaning of the rate units and of the TCI values is the hardware's.
 */
#ifndef QIRAPI_PUBLIC_RATE_LIMITERS_H
#define QIRAPI_PUBLIC_RATE_LIMITERS_H

#include "qirapi/public/codes.h"
#include "qirapi/public/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    QIR_RLDIR_MAX = 2,           /**< directions */
    QIR_RLINDEX_MAX = 16,        /**< limiters of one direction */
    QIR_RLSTATUS_MAX = 2,        /**< status 0 disabled, 1 enabled */
    QIR_RLUNIT_MAX = 2,          /**< rate units 0 and 1; their meaning is the hardware's */
    QIR_RLRATE_UNIT0_MAX = 8065, /**< rates 0 to 8064 in unit 0 */
    QIR_RLRATE_UNIT1_MAX = 1001  /**< rates 0 to 1000 in unit 1 */
};

/** TCI configuration of a direction, 4 bytes. */
typedef struct {
    uint16_t tci[2]; /**< the two halves, any; their meaning is the hardware's */
} RlTciCfg;
QIR_PIN_SIZE(RlTciCfg, 4);
QIR_PIN_FIELD(RlTciCfg, tci, 0);

/** Configuration of a rate limiter, 16 bytes. */
typedef struct {
    uint32_t tci;     /**< TCI value of the limiter, any; its meaning is the hardware's */
    uint32_t cirRate; /**< committed rate: 0 to 8064 in unit 0, 0 to 1000 in unit 1 */
    uint32_t cirUnit; /**< unit of the rate, 0 or 1; its meaning is the hardware's */
    uint32_t cbs;     /**< committed burst size, any */
} RlEnt;
QIR_PIN_SIZE(RlEnt, 16);
QIR_PIN_FIELD(RlEnt, tci, 0);
QIR_PIN_FIELD(RlEnt, cirRate, 4);
QIR_PIN_FIELD(RlEnt, cirUnit, 8);
QIR_PIN_FIELD(RlEnt, cbs, 12);

/**
 * Enables or disables rate limiting.
 *
 * @param rlStatus 0 or 1
 * @return e_RET_OK; e_RET_ERR_INVALID_RLSTATUS; e_RET_ERR_RESRC_ALREADY_ACTIVE (enabled already);
 *         e_RET_ERR_RESRC_NOT_ACTIVE (disabled already); e_RET_DRIVER_FAILURE.
 */
uint32_t QIR_Set_RLStatus(uint32_t rlStatus);

/**
 * Reads whether rate limiting is enabled.
 *
 * @param rlStatus_p out: 0 or 1
 * @return e_RET_OK; e_RET_ERR_NULL_PTR.
 */
uint32_t QIR_Get_RLStatus(uint32_t *rlStatus_p);

/**
 * Sets the TCI configuration of a direction.
 *
 * @param rlDir    0 or 1
 * @param rlTciCfg by value
 * @return e_RET_OK; e_RET_ERR_INVALID_RLDIR; e_RET_DRIVER_FAILURE.
 */
uint32_t QIR_Set_RLTciCfg(uint32_t rlDir, RlTciCfg rlTciCfg);

/**
 * Reads the TCI configuration of a direction.
 *
 * @param rlDir      0 or 1
 * @param rlTciCfg_p out
 * @return e_RET_OK; e_RET_ERR_INVALID_RLDIR; e_RET_ERR_NULL_PTR.
 */
uint32_t QIR_Get_RLTciCfg(uint32_t rlDir, RlTciCfg *rlTciCfg_p);

/**
 * Allocates a limiter and clears its configuration.
 *
 * @param rlDir   0 or 1
 * @param rlIndex 0 to 15
 * @return e_RET_OK; e_RET_ERR_INVALID_RLINDEX; e_RET_ERR_INVALID_RLDIR; e_RET_ERR_RESRC_UNAVAIL (in use).
 */
uint32_t QIR_Alloc_RL(uint32_t rlDir, uint32_t rlIndex);

/**
 * Frees a limiter, whether or not it was allocated.
 *
 * @param rlDir   0 or 1
 * @param rlIndex 0 to 15
 * @return e_RET_OK; e_RET_ERR_INVALID_RLINDEX; e_RET_ERR_INVALID_RLDIR; e_RET_ERR_RESRC_BUSY (it is ACTIVE).
 */
uint32_t QIR_Free_RL(uint32_t rlDir, uint32_t rlIndex);

/**
 * Configures a limiter that is not ACTIVE. Configuring a free limiter takes it into use: it need not be
 * allocated first.
 *
 * @param rlDir   0 or 1
 * @param rlIndex 0 to 15
 * @param rlEnt   by value
 * @return e_RET_OK; e_RET_ERR_INVALID_RLDIR; e_RET_ERR_INVALID_RLINDEX; e_RET_ERR_INVALID_RLUNIT;
 *         e_RET_ERR_INVALID_RLRATE; e_RET_ERR_STATE_ALREADY_ACTIVE.
 */
uint32_t QIR_Set_RL(uint32_t rlDir, uint32_t rlIndex, RlEnt rlEnt);

/**
 * Reads the configuration of a limiter that is CFG or ACTIVE.
 *
 * @param rlDir   0 or 1
 * @param rlIndex 0 to 15
 * @param rlEnt_p out
 * @return e_RET_OK; e_RET_ERR_INVALID_RLDIR; e_RET_ERR_INVALID_RLINDEX; e_RET_ERR_NULL_PTR;
 *         e_RET_ERR_STATE_NOTCFG (not configured).
 */
uint32_t QIR_Get_RL(uint32_t rlDir, uint32_t rlIndex, RlEnt *rlEnt_p);

/**
 * Hands a configured limiter to the driver.
 *
 * @param rlDir   0 or 1
 * @param rlIndex 0 to 15
 * @return e_RET_OK; e_RET_ERR_INVALID_RLINDEX; e_RET_ERR_INVALID_RLDIR; e_RET_ERR_STATE_ALREADY_ACTIVE;
 *         e_RET_ERR_STATE_NOTCFG (not configured); e_RET_DRIVER_FAILURE (the limiter stays CFG).
 */
uint32_t QIR_Activate_RL(uint32_t rlDir, uint32_t rlIndex);

/**
 * Takes a limiter out of the hardware.
 *
 * @param rlDir   0 or 1
 * @param rlIndex 0 to 15
 * @return e_RET_OK; e_RET_ERR_INVALID_RLINDEX; e_RET_ERR_INVALID_RLDIR; e_RET_ERR_RESRC_NOT_ACTIVE;
 *         e_RET_DRIVER_FAILURE (the limiter stays ACTIVE).
 */
uint32_t QIR_Deactivate_RL(uint32_t rlDir, uint32_t rlIndex);

#ifdef __cplusplus
}
#endif

#endif
