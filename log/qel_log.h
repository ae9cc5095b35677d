/**
 * @file
 * The logging library: who may print, and how a line looks.
 *
 * A fixed table holds one row per log module; a row has the module's name, its log level and its data-dump
 * level. Beside the table there are one global log level and one global data-dump level. A message of level L
 * for module M may be printed when both the global level and M's level are L or more; level 0 therefore
 * always passes and error lines can never be silenced.
 *
 * The library answers the question, and the caller prints: when the answer is yes, the caller gets the
 * module's row, whose name begins the line. log/log_lines.h has the line formats.
 *
 * The library allocates nothing and has no locks: the table is constant-initialised data of the process. An
 * id or a level out of range prints an assertion line. The level is then used as it is; the id means a spare
 * row after the last module.
 *
 * The library also has named queues, through which a module prints blocks of raw bytes, and a registry, in
 * which a module publishes a function for others to find.
 *
 * The header compiles as C11 and as C++20.
 */
#ifndef QEL_LOG_H
#define QEL_LOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Number of log modules; log ids run from 0 to QEL_LOG_ID_MAX - 1. */
#define QEL_LOG_ID_MAX    24u
/** Number of log levels; levels run from 0 to QEL_LOG_LEVEL_MAX - 1. */
#define QEL_LOG_LEVEL_MAX 4u
/** Number of data-dump levels; levels run from 0 to QEL_LOG_DD_MAX - 1. */
#define QEL_LOG_DD_MAX    3u

/** Log id of the logging library itself, module "qellog". */
#define QEL_LOG_ID_QELLOG 0u
/** Log id of the configuration library, module "orxapi". */
#define QEL_LOG_ID_ORXAPI 12u

/** Level of error lines. Always printed. */
#define QEL_LOG_LEVEL_ERROR 0u
/** The quiet default of every module: errors only. No line has this level. */
#define QEL_LOG_LEVEL_QUIET 1u
/** Level of information lines. */
#define QEL_LOG_LEVEL_INFO  2u
/** Level of debug lines. */
#define QEL_LOG_LEVEL_DEBUG 3u

/** One row of the module table. */
typedef struct {
    uint32_t id;       /**< the row's own index */
    const char *name;  /**< module name, NUL-terminated; printed at the head of its lines */
    uint32_t logLevel; /**< log level of the module, initially 1 */
    uint32_t ddLevel;  /**< data-dump level of the module, initially 0 */
} QelModInfo;

/**
 * Asks whether a log line may be printed. Costs two comparisons when the answer is no.
 *
 * @param logId    module, 0 to 23
 * @param logLevel level of the line, 0 to 3
 * @return the module's row, or null when the global level or the module's level is below `logLevel`.
 */
const QelModInfo *qelLog_logIsEnabled(uint32_t logId, uint32_t logLevel);

/**
 * Asks whether data of a module may be dumped. No operation raises the data-dump levels, so that only level
 * 0 passes.
 *
 * @param logId   module, 0 to 23
 * @param ddLevel level of the dump, 0 to 2
 * @return the module's row, or null when the global or the module's data-dump level is below `ddLevel`.
 */
const QelModInfo *qelLog_ddIsEnabled(uint32_t logId, uint32_t ddLevel);

/**
 * Sets the global log level and, if module 0 may print information lines afterwards, says so.
 *
 * @param logLevel new level, 0 to 3
 */
void qelLog_setGlobalLogLevel(uint32_t logLevel);

/** @return the global log level, initially 3. */
int32_t qelLog_getGlobalLogLevel(void);

/**
 * Sets one module's log level and, if module 0 may print information lines afterwards, says so.
 *
 * @param logId    module, 0 to 23
 * @param logLevel new level, 0 to 3
 */
void qelLog_setLogLevel(uint32_t logId, uint32_t logLevel);

/**
 * @param logId module, 0 to 23
 * @return the module's log level.
 */
int32_t qelLog_getLogLevel(uint32_t logId);

/**
 * @param logId module, 0 to 23
 * @return the module's name.
 */
const char *qelLog_getModName(uint32_t logId);

/* ---- Data dump queues --------------------------------------------------------------------------- */

/** Number of data dump queues; queue ids run from 0 to MAX_NUM_QIDS - 1. */
#define MAX_NUM_QIDS         10u
/** Number of data-dump ids of a queue, from 0 to MAX_NUM_DATADUMP_IDS - 1. */
#define MAX_NUM_DATADUMP_IDS 20u

/**
 * Prints one kind of data: writes a NUL-terminated text into the buffer.
 *
 * @param dataDumpId kind of data
 * @param data       the data
 * @param numBytes   bytes of the data
 * @param buffer     receives the text
 * @param bufferSize bytes of the buffer, 65536
 */
typedef void (*QelDataDumpPrinter)(uint32_t dataDumpId, const void *data, uint32_t numBytes, char *buffer,
                                   uint32_t bufferSize);

/**
 * Takes the lowest free queue.
 *
 * @param name kept by address for as long as the queue is in use
 * @return queue id, 0 to 9, or -1 with an error line when all are in use.
 */
int32_t qel_dataDumpCreateQ(const char *name);

/**
 * Frees a queue; its printers stay registered. A queue that is not in use gets an error line.
 *
 * @param qid 0 to 9
 */
void qel_dataDumpDeleteQ(uint32_t qid);

/**
 * Registers the printer for one kind of data of a queue, which need not be in use.
 *
 * @param qId        0 to 9
 * @param dataDumpId 0 to 19
 * @param printer    null removes it
 */
void qel_dataDumpRegPrinter(uint32_t qId, uint32_t dataDumpId, QelDataDumpPrinter printer);

/**
 * Prints a block of data between two marker lines: through the printer registered for it, otherwise in
 * hexadecimal, as 32-bit words in the processor's order. A last line of fewer than four words gets no line
 * end. When the length is no multiple of 4, the block's first bytes are printed in place of its last 1 to 3.
 * For a queue that is not in use, it prints an error line between the markers. Does not ask the gate: see
 * qelLog_ddIsEnabled().
 *
 * @param qID          0 to 9
 * @param dataDumpID   0 to 19
 * @param dataDumpName printed at the head of the block
 * @param numBytes     bytes of the data
 * @param data         the data
 */
void qel_dataDump(uint32_t qID, uint32_t dataDumpID, const char *dataDumpName, uint32_t numBytes,
                  const void *data);

/* ---- Function registry -------------------------------------------------------------------------- */

/** Number of functions that can be registered; ids run from 0 to QEL_FUN_ID_MAX - 1. */
#define QEL_FUN_ID_MAX 2u

/** A registered function; its user casts it to the type that the two sides agreed on. */
typedef void (*QelFun)(void);

/**
 * Publishes a function.
 *
 * @param funId 0 or 1
 * @param f     not null; null is reported and stored
 */
void qelFun_reg(uint32_t funId, QelFun f);

/**
 * Takes a function back.
 *
 * @param funId 0 or 1
 */
void qelFun_dereg(uint32_t funId);

/**
 * @param funId 0 or 1
 * @return the function, or null when there is none.
 */
QelFun qelFun_get(uint32_t funId);

#ifdef __cplusplus
}
#endif

#endif
