#include "log/log_lines.h"
#include "log/qel_log.h"

#include <string.h>

namespace {

// An id out of range prints an assertion line and is then used: it means the spare slot after the last one
// of its table.
constexpr uint32_t kSpareQid = MAX_NUM_QIDS;
constexpr uint32_t kSpareDataDumpId = MAX_NUM_DATADUMP_IDS;

constexpr uint32_t kBufferSize = 65536;
constexpr uint32_t kWordBytes = 4;
constexpr uint32_t kLineBytes = 16;

const char *queues[kSpareQid + 1];
QelDataDumpPrinter printers[kSpareQid + 1][kSpareDataDumpId + 1];
char buffer[kBufferSize]; // shared by all printers

const char *&QueueOf(uint32_t qid) {
    return queues[qid < MAX_NUM_QIDS ? qid : kSpareQid];
}

QelDataDumpPrinter &PrinterOf(uint32_t qid, uint32_t dataDumpId) {
    return printers[qid < MAX_NUM_QIDS ? qid : kSpareQid]
                   [dataDumpId < MAX_NUM_DATADUMP_IDS ? dataDumpId : kSpareDataDumpId];
}

uint32_t WordAt(const uint8_t *data, uint32_t offset) {
    uint32_t word;
    memcpy(&word, data + offset, sizeof word);
    return word;
}

void DumpHex(const uint8_t *data, uint32_t numBytes) {
    uint32_t offset = 0;
    for (; numBytes - offset >= kLineBytes; offset += kLineBytes) {
        printf("%4.4x: 0x%8.8x 0x%8.8x 0x%8.8x 0x%8.8x\n", offset, WordAt(data, offset),
               WordAt(data, offset + kWordBytes), WordAt(data, offset + 2 * kWordBytes),
               WordAt(data, offset + 3 * kWordBytes));
    }
    if (numBytes - offset >= kWordBytes) {
        // This line gets no line end: the next output continues it.
        printf("%4.4x: ", offset);
        for (; numBytes - offset >= kWordBytes; offset += kWordBytes) {
            printf("0x%8.8x ", WordAt(data, offset));
        }
    }
    if (const uint32_t rest = numBytes - offset; rest != 0) {
        // These are the block's first bytes, not its last ones. This is intended.
        printf("0x");
        for (uint32_t i = 0; i < rest; ++i) {
            printf("%2.2x", data[i]);
        }
        printf("\n");
    }
}

} // namespace

int32_t qel_dataDumpCreateQ(const char *name) {
    for (uint32_t qid = 0; qid < MAX_NUM_QIDS; ++qid) {
        if (queues[qid] == nullptr) {
            queues[qid] = name;
            return static_cast<int32_t>(qid);
        }
    }
    QEL_LOG_ERROR(QEL_LOG_ID_QELLOG, "Can not create dataDump queue. Max. #qids reached.\n\n");
    return -1;
}

void qel_dataDumpDeleteQ(uint32_t qid) {
    QEL_ASSERT(qid < MAX_NUM_QIDS, "qid < MAX_NUM_QIDS");
    if (QueueOf(qid) == nullptr) {
        QEL_LOG_ERROR(QEL_LOG_ID_QELLOG, "Can not delete dataDump queue. qid unknown.\n\n");
        return;
    }
    QueueOf(qid) = nullptr;
}

void qel_dataDumpRegPrinter(uint32_t qId, uint32_t dataDumpId, QelDataDumpPrinter printer) {
    QEL_ASSERT(qId < MAX_NUM_QIDS, "qId < MAX_NUM_QIDS");
    QEL_ASSERT(dataDumpId < MAX_NUM_DATADUMP_IDS, "dataDumpId < MAX_NUM_DATADUMP_IDS");
    PrinterOf(qId, dataDumpId) = printer;
}

void qel_dataDump(uint32_t qID, uint32_t dataDumpID, const char *dataDumpName, uint32_t numBytes,
                  const void *data) {
    QEL_ASSERT(qID < MAX_NUM_QIDS, "qID < MAX_NUM_QIDS");
    QEL_ASSERT(dataDumpID < MAX_NUM_DATADUMP_IDS, "dataDumpID < MAX_NUM_DATADUMP_IDS");
    puts("---DataDump Start---");
    if (QueueOf(qID) == nullptr) {
        QEL_LOG_ERROR(QEL_LOG_ID_QELLOG, "DataDump qID %d not registered.\n\n", static_cast<int>(qID));
    } else {
        printf("qID: %s, DataDump ID: %s, numBytes: %d\n", QueueOf(qID), dataDumpName,
               static_cast<int>(numBytes));
        if (const QelDataDumpPrinter printer = PrinterOf(qID, dataDumpID); printer != nullptr) {
            buffer[0] = '\0';
            printer(dataDumpID, data, numBytes, buffer, kBufferSize);
            printf("%s", buffer);
        } else {
            DumpHex(static_cast<const uint8_t *>(data), numBytes);
        }
    }
    puts("---DataDump End---");
}
