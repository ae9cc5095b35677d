# 32-bit big-endian MIPS Linux.
set(QIR_TARGET_TRIPLE mips-linux-gnu)
set(QIR_TARGET_PROCESSOR mips)
set(QIR_TARGET_QEMU qemu-mips)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
