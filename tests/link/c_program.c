/* A C program that knows the library by its two headers and its two archives, and nothing else. */
#include "log/qel_log.h"
#include "qirapi/qirapi.h"

#include <stdio.h>

typedef void (*Operation)(void);

/* Every operation that the headers declare. External, so that no address can be left out. */
extern const Operation operations[];
const Operation operations[] = {
#define OPERATION(name) (Operation)(name),
#include "operations.inc"
};
#define NUM_OPERATIONS (sizeof operations / sizeof *operations)

static int failures = 0;

static void Expect(int holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}
#define EXPECT(condition) Expect((condition), #condition)

static uint16_t SectionMaxFlows(uint32_t section) {
    uint16_t numFlows = 0xA5A5;
    EXPECT(QIR_Get_SectionMaxFlows(section, &numFlows) == e_RET_OK);
    return numFlows;
}

int main(void) {
    for (size_t i = 0; i < NUM_OPERATIONS; ++i) {
        const volatile Operation *operation = &operations[i];
        EXPECT(*operation != (Operation)0);
        for (size_t other = 0; other < i; ++other) {
            EXPECT(*operation != operations[other]);
        }
    }

    EXPECT(QIR_Init_Sys() == e_RET_OK);
    EXPECT(SectionMaxFlows(0) == 0);
    EXPECT(SectionMaxFlows(1) == 512);
    EXPECT(SectionMaxFlows(2) == 0);
    uint16_t numFlows = 0xA5A5;
    EXPECT(QIR_Get_SectionMaxFlows(3, &numFlows) == e_RET_ERR_INVALID_SECTION);
    EXPECT(numFlows == 0xA5A5);
    EXPECT(qelLog_getLogLevel(QEL_LOG_ID_ORXAPI) == (int32_t)QEL_LOG_LEVEL_QUIET);

    printf("%zu operations\n", NUM_OPERATIONS);
    return failures == 0 ? 0 : 1;
}
