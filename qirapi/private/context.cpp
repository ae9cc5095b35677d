#include "qirapi/private/context.h"

constinit qir::QirCtxt qirCtxt_g{};
constinit qir::QirCtxt *const qirCtxt_gp = &qirCtxt_g;
