/**
 * @file
 * Pins the layout of a record: its size and the place of each of its fields. Include qirapi/qirapi.h.
 *
 * The records are shared with the kernel driver, which copies them byte by byte. The pins stand beside the
 * records, hold for every target, 32-bit big-endian and 64-bit little-endian, and break the build of a
 * program whose compiler packs them otherwise.
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
/** The field has this many bytes: of an array in front of padding, or in a union, where nothing else tells. */
#define QIR_PIN_BYTES(record, field, bytes)                                                                  \
    QIR_STATIC_ASSERT(sizeof(((record *)0)->field) == (bytes), "size of " #record "." #field)

#endif
