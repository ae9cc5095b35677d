#include "qirapi/driver/driver.h"
#include "qirapi/driver/driver_records.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qir {

i32 pktOrxDevOpen() {
    const i32 fd = open(kPktOrxDevice, O_RDWR);
    if (fd < 0) {
        fprintf(stderr, "qel_dev_open <%s> error no %d\n", kPktOrxDevice, errno);
        return -1;
    }
    return fd;
}

i32 pktOrxDevIoctl(i32 request, void *record_p) {
    const i32 fd = pktOrxDevOpen();
    if (fd < 0) {
        return 1;
    }
    i32 result = 0;
    if (ioctl(fd, static_cast<unsigned long>(request), record_p) == -1) {
        fprintf(stderr, "pktOrxDevIoctl <%d> error\n", request);
        result = 1;
    }
    close(fd);
    return result;
}

} // namespace qir
