# How a program of this build is run on the stand-in for the driver: with a setting in its environment, and,
# when it is built for another processor, through the emulator CMAKE_CROSSCOMPILING_EMULATOR.

# qir_stand_in_runtime(<variable>): what has to be preloaded in front of the stand-in for the driver, or
# nothing.
#
# A preloaded library that is built with AddressSanitizer needs the runtime in front of it, unless the
# compiler links the runtime into the program itself.
function(qir_stand_in_runtime variable)
  set(runtime "")
  if(QIR_SANITIZERS MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libasan.so
                    OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endif()
  set(${variable} "${runtime}" PARENT_SCOPE)
endfunction()

# qir_stand_in_preload(<variable>): what LD_PRELOAD has to be for a program of this build.
function(qir_stand_in_preload variable)
  qir_stand_in_runtime(runtime)
  set(preload "$<TARGET_FILE:orxemu>")
  if(runtime)
    string(PREPEND preload "${runtime}:")
  endif()
  set(${variable} "${preload}" PARENT_SCOPE)
endfunction()

# qir_stand_in_environment(<variable>): the setting that preloads the stand-in.
#
# An emulator of another processor is a program of this machine, whose loader has no use for the library: the
# emulator hands the setting on.
function(qir_stand_in_environment variable)
  qir_stand_in_preload(preload)
  set(setting "LD_PRELOAD=${preload}")
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    string(PREPEND setting "QEMU_SET_ENV=")
  endif()
  set(${variable} "${setting}" PARENT_SCOPE)
endfunction()
