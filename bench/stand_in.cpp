// What a request costs from open to close: bench_stand_in PATH prints the nanoseconds of the quickest of many
// rounds. PATH is the device's on the stand-in, and /dev/null for the three system calls alone.
#include "qirapi/driver/driver_records.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int kRounds = 200;
constexpr int kRequests = 20; // of a round: flows that are activated and deactivated

// At a fixed place, so that a record can carry its address.
qir::Fcb fcb = {};

void Ask(const char *path, int request, qir::FlowRecord &record) {
    const int fd = open(path, O_RDWR);
    ioctl(fd, static_cast<unsigned long>(request), &record);
    close(fd);
}

double Round(const char *path) {
    qir::FlowRecord record = {};
    record.fcbSize = sizeof fcb;
    record.fcbAddr = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&fcb));
    record.pacTblIdx = qir::kNoTable;
    record.epTblIdx = qir::kNoTable;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kRequests; i += 2) {
        Ask(path, qir::kOrxActivateFlow, record);
        Ask(path, qir::kOrxDeactivateFlow, record);
    }
    const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
    return took.count() / kRequests;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        return 2;
    }
    double shortest = Round(argv[1]);
    for (int i = 1; i < kRounds; ++i) {
        shortest = std::min(shortest, Round(argv[1]));
    }
    std::printf("%.0f\n", shortest);
    return 0;
}
