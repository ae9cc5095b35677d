#include "log/log_lines.h"
#include "log/qel_log.h"

namespace {

// One spare slot keeps the id that is one too large in memory of this table.
QelFun functions[QEL_FUN_ID_MAX + 1];

} // namespace

void qelFun_reg(uint32_t funId, QelFun f) {
    QEL_ASSERT(f != nullptr, "f");
    QEL_ASSERT(funId < QEL_FUN_ID_MAX, "funId < QEL_FUN_ID_MAX");
    functions[funId] = f;
}

void qelFun_dereg(uint32_t funId) {
    QEL_ASSERT(funId < QEL_FUN_ID_MAX, "funId < QEL_FUN_ID_MAX");
    functions[funId] = nullptr;
}

QelFun qelFun_get(uint32_t funId) {
    QEL_ASSERT(funId < QEL_FUN_ID_MAX, "funId < QEL_FUN_ID_MAX");
    return functions[funId];
}
