// Start-up that leaves the library's lines of all levels switched on. The linker puts it in front of the real
// one (--wrap).
#include "log/qel_log.h"
#include "qirapi/qirapi.h"

extern "C" {
uint32_t __real_QIR_Init_Sys(void);
uint32_t __wrap_QIR_Init_Sys(void);
}

uint32_t __wrap_QIR_Init_Sys(void) {
    const uint32_t result = __real_QIR_Init_Sys();
    qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, 3);
    return result;
}
