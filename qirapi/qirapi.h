/**
 * @file
 * The QIR API: configuration of the ORX packet classifier.
 *
 * The classifier matches frames on a stack of headers (Ethernet, up to two VLAN tags, PPPoE, IPv4, TCP and
 * UDP), rewrites them and forwards them between user ports, the GPON port with its GEM ports, and the host.
 * The library keeps a complete shadow of that configuration in one static context, checks every call in a
 * fixed order and hands fixed records to the kernel driver on "/dev/pktorx".
 *
 * How the operations work (the EP and MPLS placeholders and Is_Orx_free() say where they differ):
 *  - It returns a code: 0 is success, 1 a failure of the driver layer, any other number one of the
 *    `e_RET_ERR_*` values of public/codes.h. The first check that fails decides.
 *  - It logs for module 12 ("orxapi", log/qel_log.h): parameters at level 2, details at level 3, the name of
 *    the failing code and a closing "retVal" line at level 0.
 *  - Callers own the records they pass; the library copies what it keeps.
 *  - Where the hardware must learn of a change, the driver is called first, and the shadow changes only when
 *    the driver accepted. The driver's index of a table or flow is the exception: what the driver left in it is
 *    kept whatever it answered, and a deactivated table's index is gone.
 *  - Handles are written and read through pointers. A handle is an index; its other bits stay as the caller
 *    had them.
 *
 * Life of an object: FREE, allocated (ALLOC), configured (CFG), in hardware (ACTIVE), back to CFG. An ACTIVE
 * object is not freed, and its configuration is refused; deactivate it first. Two things are accepted on an
 * ACTIVE flow: changes of its destinations, which the hardware learns at once, and filters and actions, which
 * it learns at the next activation.
 *
 * The library allocates no memory, has no locks and no teardown: one thread calls it, the context lives as
 * long as the process. Call QIR_Init_Sys() once before anything else.
 *
 * This header compiles as C11 and as C++20; all operations have C linkage.
 */
#ifndef QIRAPI_H
#define QIRAPI_H

#include "qirapi/public/actions.h"
#include "qirapi/public/codes.h"
#include "qirapi/public/dumps.h"
#include "qirapi/public/filters.h"
#include "qirapi/public/flows.h"
#include "qirapi/public/ports.h"
#include "qirapi/public/rate_limiters.h"
#include "qirapi/public/system.h"
#include "qirapi/public/tables.h"

#endif
