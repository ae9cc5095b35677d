# qir_stand_in_preload(<variable>): what LD_PRELOAD has to be for a program of this build to run on the
# stand-in for the driver.
#
# A preloaded library that is built with AddressSanitizer needs the runtime in front of it, unless the
# compiler links the runtime into the program itself.
function(qir_stand_in_preload variable)
  set(preload "$<TARGET_FILE:orxemu>")
  if(QIR_SANITIZERS MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libasan.so
                    OUTPUT_VARIABLE asan_runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    string(PREPEND preload "${asan_runtime}:")
  endif()
  set(${variable} "${preload}" PARENT_SCOPE)
endfunction()
