#include "log/log_lines.h"
#include "log/qel_log.h"

namespace {

// An id out of range prints an assertion line and is then used: it means the spare slot after the last
// function.
QelFun functions[QEL_FUN_ID_MAX + 1];

QelFun &SlotOf(uint32_t funId) {
    return functions[funId < QEL_FUN_ID_MAX ? funId : QEL_FUN_ID_MAX];
}

} // namespace

void qelFun_reg(uint32_t funId, QelFun f) {
    QEL_ASSERT(f != nullptr, "f");
    QEL_ASSERT(funId < QEL_FUN_ID_MAX, "funId < QEL_FUN_ID_MAX");
    SlotOf(funId) = f;
}

void qelFun_dereg(uint32_t funId) {
    QEL_ASSERT(funId < QEL_FUN_ID_MAX, "funId < QEL_FUN_ID_MAX");
    SlotOf(funId) = nullptr;
}

QelFun qelFun_get(uint32_t funId) {
    QEL_ASSERT(funId < QEL_FUN_ID_MAX, "funId < QEL_FUN_ID_MAX");
    return SlotOf(funId);
}
