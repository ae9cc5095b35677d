# 32-bit big-endian PowerPC Linux.
set(QIR_TARGET_TRIPLE powerpc-linux-gnu)
set(QIR_TARGET_PROCESSOR ppc)
set(QIR_TARGET_QEMU qemu-ppc)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
