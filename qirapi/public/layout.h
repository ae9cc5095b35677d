/**
 * @file
 * Pins the layout of a record: its size and the place of each of its fields. Include qirapi/qirapi.h.
 *
 * The kernel driver copies the records byte by byte, so library and driver must agree on their layout. The
 * pins stand beside the records and hold for every target, 32-bit big-endian and 64-bit little-endian. A
 * compiler that packs a record differently fails at its pin.
 */
#ifndef QIRAPI_PUBLIC_LAYOUT_H
#define QIRAPI_PUBLIC_LAYOUT_H

#include <stddef.h>

/** An assertion of the compiler, in C11 and in C++. */
#ifdef __cplusplus
#define QIR_STATIC_ASSERT(cond, text) static_assert(cond, text)
#else
#define QIR_STATIC_ASSERT(cond, text) _Static_assert(cond, text)
#endif

/** The record has this many bytes. */
#define QIR_PIN_SIZE(record, bytes) QIR_STATIC_ASSERT(sizeof(record) == (bytes), #record)
/** The field starts at this offset. */
#define QIR_PIN_FIELD(record, field, offset)                                                                 \
    QIR_STATIC_ASSERT(offsetof(record, field) == (offset), #record "." #field)
/** The field has this many bytes: for an array before padding or a union member, where no offset shows it. */
#define QIR_PIN_BYTES(record, field, bytes)                                                                  \
    QIR_STATIC_ASSERT(sizeof(((record *)0)->field) == (bytes), "size of " #record "." #field)

#endif
