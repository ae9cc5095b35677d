#include "log/qel_log.h"
#include "log/log_lines.h"
#include "log/never.h"

namespace {

// An id out of range prints an assertion line and is then used: it means the spare row after the last
// module.
constexpr uint32_t kSpareRow = QEL_LOG_ID_MAX;

// Only "qellog" and "orxapi" are logged for by this program; the other names belong to the drivers that
// share the platform's numbering.
QelModInfo modInfo[kSpareRow + 1] = {
    {0, "qellog", 1, 0},  {1, "gpio", 1, 0},      {2, "i2c", 1, 0},     {3, "spi", 1, 0},
    {4, "flash", 1, 0},   {5, "timer", 1, 0},     {6, "ethmac", 1, 0},  {7, "ethphy", 1, 0},
    {8, "gponmac", 1, 0}, {9, "ploam", 1, 0},     {10, "omci", 1, 0},   {11, "pktorx", 1, 0},
    {12, "orxapi", 1, 0}, {13, "qmgr", 1, 0},     {14, "bufmgr", 1, 0}, {15, "sched", 1, 0},
    {16, "dma", 1, 0},    {17, "tod", 1, 0},      {18, "voip", 1, 0},   {19, "igmp", 1, 0},
    {20, "optics", 1, 0}, {21, "watchdog", 1, 0}, {22, "reset", 1, 0},  {23, "power", 1, 0},
    {24, "spare", 1, 0},
};

uint32_t globalLogLevel = 3;
constinit const uint32_t globalDataDumpLevel = 0; // no operation raises it

QelModInfo &RowOf(uint32_t logId) {
    return modInfo[logId < QEL_LOG_ID_MAX ? logId : kSpareRow];
}

constexpr const char *kLogIdText = "(logId) >= 0 && (logId) < QEL_LOG_ID_MAX";
constexpr const char *kLogLevelText = "(logLevel) >= 0 && (logLevel) < QEL_LOG_LEVEL_MAX";
constexpr const char *kDdLevelText = "(ddLevel) >= 0 && (ddLevel) < QEL_LOG_DD_MAX";

} // namespace

const QelModInfo *qelLog_logIsEnabled(uint32_t logId, uint32_t logLevel) {
    QEL_ASSERT(logId < QEL_LOG_ID_MAX, kLogIdText);
    QEL_ASSERT(logLevel < QEL_LOG_LEVEL_MAX, kLogLevelText);
    if (globalLogLevel < logLevel) {
        return nullptr;
    }
    const QelModInfo *const row = &RowOf(logId);
    return row->logLevel < logLevel ? nullptr : row;
}

const QelModInfo *qelLog_ddIsEnabled(uint32_t logId, uint32_t ddLevel) {
    QEL_ASSERT(logId < QEL_LOG_ID_MAX, kLogIdText);
    QEL_ASSERT(ddLevel < QEL_LOG_DD_MAX, kDdLevelText);
    if (globalDataDumpLevel < ddLevel) {
        return nullptr;
    }
    const QelModInfo *const row = &RowOf(logId);
    // cppcheck-suppress knownConditionTrueFalse ; ddLevel is 0 here as long as no operation raises the level
    return QEL_NEVER(row->ddLevel < ddLevel, "only level 0 comes so far") ? nullptr : row;
}

void qelLog_setGlobalLogLevel(uint32_t logLevel) {
    QEL_ASSERT(logLevel < QEL_LOG_LEVEL_MAX, kLogLevelText);
    globalLogLevel = logLevel;
    QEL_LOG_INFO(QEL_LOG_ID_QELLOG, "Global log level was set to %d\n", static_cast<int>(logLevel));
}

int32_t qelLog_getGlobalLogLevel(void) {
    return static_cast<int32_t>(globalLogLevel);
}

void qelLog_setLogLevel(uint32_t logId, uint32_t logLevel) {
    QEL_ASSERT(logId < QEL_LOG_ID_MAX, kLogIdText);
    QEL_ASSERT(logLevel < QEL_LOG_LEVEL_MAX, kLogLevelText);
    RowOf(logId).logLevel = logLevel;
    QEL_LOG_INFO(QEL_LOG_ID_QELLOG, "Log level of %s was set to %d\n", RowOf(logId).name,
                 static_cast<int>(logLevel));
}

int32_t qelLog_getLogLevel(uint32_t logId) {
    QEL_ASSERT(logId < QEL_LOG_ID_MAX, kLogIdText);
    return static_cast<int32_t>(RowOf(logId).logLevel);
}

const char *qelLog_getModName(uint32_t logId) {
    QEL_ASSERT(logId < QEL_LOG_ID_MAX, kLogIdText);
    return RowOf(logId).name;
}
