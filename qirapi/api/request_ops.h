// The operations on filters and actions, written once.
//
// Every operation begins alike: parameter line, null check, the record's "Params2" line, handle. The record's
// header must have been allocated in its block; for TCP and UDP that is the IPv4 header. The engine then
// validates the request, and stores or reads it. Only the read-back of filters validates the query before it
// looks for the header.
#ifndef QIRAPI_API_REQUEST_OPS_H
#define QIRAPI_API_REQUEST_OPS_H

#include "qirapi/access/request_kinds.h"
#include "qirapi/api/operation.h"
#include "qirapi/private/fcb.h"

namespace qir {

// VLAN: is there such a tag? All: has the header been allocated?
template <class Kind> u32 ChkHdr(const char *fn, const Fcb *fcb_p, const typename Kind::Record *record_p) {
    const u32 tag = Kind::Tag(*record_p);
    if (tag >= e_VLAN_TAG_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_TAGNUM);
    }
    if (!Kind::IsAllocated(BlkOf<Kind>(*fcb_p), tag)) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_HDRNOTCFG);
    }
    return e_RET_OK;
}

// Null check, "Params2" line (`log` prints it), handle. The caller passes the code to QIR_END.
template <class Record, class Log>
u32 OpenRequest(const char *fn, const FlowHdl *flowHdl_p, const Record *record_p, Log log) {
    if (flowHdl_p == nullptr || record_p == nullptr) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_NULL_PTR);
    }
    log(fn, *flowHdl_p, *record_p);
    return Validate_FlowHdl(*flowHdl_p);
}

// ---- Filters ------------------------------------------------------------------------------------------

template <class Kind, class Log>
u32 ConfigFilter(const char *fn, const FlowHdl *flowHdl_p, const typename Kind::Record *filter_p, Log log,
                 u32 (*validate)(Fcb *, const typename Kind::Record *),
                 u32 (*config)(Fcb *, const typename Kind::Record *)) {
    QIR_INF_AS(fn, "Params: flowHdl_p<0x%p> filter_p<0x%p>\n", Ptr(flowHdl_p), Ptr(filter_p));
    if (const u32 rc = OpenRequest(fn, flowHdl_p, filter_p, log); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (const u32 rc = ChkHdr<Kind>(fn, fcb_p, filter_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    if (const u32 rc = validate(fcb_p, filter_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    return QIR_END_AS(fn, config(fcb_p, filter_p));
}

template <class Kind, class Log>
u32 GetFilter(const char *fn, const FlowHdl *flowHdl_p, typename Kind::Record *filter_p, u8 size,
              u8 *elemCount_p, Log log, u32 (*validate)(const typename Kind::Record *, u8, const u8 *),
              u32 (*get)(const Fcb *, typename Kind::Record *, u8, u8 *)) {
    QIR_INF_AS(fn, "Params: flowHdl_p<0x%p> filter_p<0x%p> size<%u>elemCount_p<0x%p>\n", Ptr(flowHdl_p),
               Ptr(filter_p), size, Ptr(elemCount_p));
    if (const u32 rc = OpenRequest(fn, flowHdl_p, filter_p, log); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    if (const u32 rc = validate(filter_p, size, elemCount_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    const Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (const u32 rc = ChkHdr<Kind>(fn, fcb_p, filter_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    return QIR_END_AS(fn, get(fcb_p, filter_p, size, elemCount_p));
}

// ---- Actions ------------------------------------------------------------------------------------------

template <class Kind, class Log>
u32 ConfigAction(const char *fn, const FlowHdl *flowHdl_p, const typename Kind::Record *action_p, Log log,
                 u32 (*validate)(const typename Kind::Record *),
                 u32 (*config)(Fcb *, const typename Kind::Record *)) {
    QIR_INF_AS(fn, "Params: flowHdl_p<0x%p> action_p<0x%p>\n", Ptr(flowHdl_p), Ptr(action_p));
    if (const u32 rc = OpenRequest(fn, flowHdl_p, action_p, log); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (const u32 rc = ChkHdr<Kind>(fn, fcb_p, action_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    if (const u32 rc = validate(action_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    return QIR_END_AS(fn, config(fcb_p, action_p));
}

template <class Kind, class Log>
u32 GetAction(const char *fn, const FlowHdl *flowHdl_p, typename Kind::Record *action_p, Log log,
              u32 (*validate)(const typename Kind::Record *),
              u32 (*get)(const Fcb *, typename Kind::Record *)) {
    QIR_INF_AS(fn, "Params: flowHdl_p<0x%p> action_p<0x%p>\n", Ptr(flowHdl_p), Ptr(action_p));
    if (const u32 rc = OpenRequest(fn, flowHdl_p, action_p, log); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    const Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (const u32 rc = ChkHdr<Kind>(fn, fcb_p, action_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    if (const u32 rc = validate(action_p); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    return QIR_END_AS(fn, get(fcb_p, action_p));
}

} // namespace qir

#endif
