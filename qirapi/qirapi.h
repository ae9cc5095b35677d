/**
 * @file
 * The QIR API: configuration of the ORX packet classifier.
 *
 * The classifier matches frames on a stack of headers (Ethernet, up to two VLAN tags, PPPoE, IPv4, TCP and
 * UDP), rewrites them and forwards them between user ports, the GPON port with its GEM ports, and the host.
 * The library keeps a complete shadow of that configuration in one static context, checks every call in a
 * fixed order and hands fixed records to the kernel driver on "/dev/pktorx".
 *
 * How an operation works (the EP and MPLS placeholders and Is_Orx_free() say where they differ):
 *  - It returns a code of public/codes.h: e_RET_OK, e_RET_DRIVER_FAILURE when the device could not be opened
 *    or the driver refused the request, or one of the `e_RET_ERR_*` values. It makes its checks in a fixed
 *    order, and the first one that fails decides. Each docstring lists e_RET_OK and then the codes in the
 *    order of the checks; docs/return-codes.md has every check.
 *  - It logs for module 12 ("orxapi", log/qel_log.h): parameters at level 2, details at level 3, the name of
 *    the failing code and a closing "retVal" line with its number at level 0.
 *  - Callers own the records they pass; the library copies what it keeps. A field named `rsvd` that is part
 *    of a stored record is stored and returned with it, and otherwise ignored.
 *  - When the hardware must learn of a change, the library calls the driver first, and changes the shadow
 *    only if the driver accepted. The driver's index of a table or flow is the exception: the library keeps
 *    what the driver left in it whatever the driver answered, and forgets a table's index at every
 *    deactivation.
 *  - Handles are written and read through pointers. A handle is an index; its other bits stay as the caller
 *    had them.
 *  - Some numbers mean something to the hardware only. The library checks their range, keeps them and passes
 *    them on; the docstring then says that the meaning is the hardware's.
 *
 * Life of an object: FREE, allocated (ALLOC), configured (CFG), in hardware (ACTIVE), back to CFG. The
 * library refuses to free or configure an ACTIVE object; deactivate it first. An ACTIVE flow accepts two
 * changes: of its destinations, which the hardware learns at once, and new filters and actions, which it
 * learns at the next activation.
 *
 * The library allocates no memory and has no locks and no teardown: call it from one thread; the context
 * lives as long as the process. Call QIR_Init_Sys() once before anything else.
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
