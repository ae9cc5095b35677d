# Shared by the toolchain files beside it: a target of the distribution's cross compilers.
#
# A toolchain file sets QIR_TARGET_TRIPLE, QIR_TARGET_PROCESSOR and QIR_TARGET_QEMU (the name of the user-mode
# emulator) and includes this file.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${QIR_TARGET_PROCESSOR})

set(CMAKE_C_COMPILER ${QIR_TARGET_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${QIR_TARGET_TRIPLE}-g++)

# Libraries and headers of the target only, programs of this machine only. Packages may stand anywhere: one
# that fits this machine only says so itself.
set(CMAKE_FIND_ROOT_PATH /usr/${QIR_TARGET_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Tests run the target's programs through this; -L is where its dynamic loader and C library are.
set(CMAKE_CROSSCOMPILING_EMULATOR ${QIR_TARGET_QEMU} -L /usr/${QIR_TARGET_TRIPLE})
