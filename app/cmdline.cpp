#include "app/cmdline.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace app {

namespace {

constexpr int kMaxCmdArgs = 4;

// Moves the cursor to the next argument. -1 when there is none left.
int NextArg(int *count_p, char ***cursor_p) {
    --*count_p;
    if (*count_p == 0) {
        std::printf("Missing argument");
        return -1;
    }
    ++*cursor_p;
    return 0;
}

// strtol as on the target, where long has 32 bits: what does not fit there is out of range on every machine.
int ToNumber(const char *text) {
    const long long number = std::strtol(text, nullptr, 0);
    if (number > INT_MAX || number < INT_MIN) {
        errno = ERANGE;
        return number > 0 ? INT_MAX : INT_MIN;
    }
    return static_cast<int>(number);
}

} // namespace

int getNumericArg(int *count_p, char ***cursor_p, int *value_p) {
    if (NextArg(count_p, cursor_p) != 0) {
        return -1;
    }
    errno = 0;
    *value_p = ToNumber(**cursor_p);
    if (errno != 0) {
        std::printf("%s: %d", std::strerror(errno), *value_p);
        return -1;
    }
    return 0;
}

int getStringArg(int *count_p, char ***cursor_p, char **value_p) {
    if (NextArg(count_p, cursor_p) != 0) {
        return -1;
    }
    *value_p = **cursor_p;
    return 0;
}

int getCmdArgs(int *count_p, char ***cursor_p, CmdValue *values_p, const char *cmdMask) {
    for (int i = 0; i < kMaxCmdArgs; ++i) {
        int result = 0;
        switch (cmdMask[i]) {
        case 'd':
            result = getNumericArg(count_p, cursor_p, &values_p[i].number);
            break;
        case 's':
            result = getStringArg(count_p, cursor_p, &values_p[i].text);
            break;
        case '\0':
            return 0;
        default:
            std::printf("Internal Error: cmdMask[%d] = %c", i, cmdMask[i]);
            return -1;
        }
        if (result != 0) {
            return result;
        }
    }
    return 0;
}

// Tests 6 and 7 are listed although the runner takes 0 to 5 only.
void printHelp() {
    std::puts("Usage:");
    std::puts("   orxtest -t 0: Run All Tests below");
    std::puts("   orxtest -t 1: US/DS, Untagged, Non-IP");
    std::puts("   orxtest -t 2: US/DS, Untagged, PPPoE");
    std::puts("   orxtest -t 3: US/DS, Tagged, per-VID AS, Xlate VID, GEM-to-PBITS");
    std::puts("   orxtest -t 4: US, Untagged, IP, Push Tag, DSCP-to-PBITS, GEM-to-PBITS");
    std::puts("   orxtest -t 5: DS, Tagged, IPTV Multicast, Pop Tag");
    std::puts("   orxtest -t 6: DS, Tagged, IPTV Multicast, Pop Tag");
    std::puts("   orxtest -t 7: DS, Tagged, IPTV Multicast, Pop Tag");
    std::puts("");
}

} // namespace app
