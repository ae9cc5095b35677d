// What all public operations share.
#ifndef QIRAPI_API_OPERATION_H
#define QIRAPI_API_OPERATION_H

#include "qirapi/private/context.h"
#include "qirapi/private/report.h"

namespace qir {

// A pointer as "%p" wants it.
inline const void *Ptr(const void *ptr) {
    return ptr;
}

} // namespace qir

#endif
