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

# qir_stand_in_preload(<variable>): what LD_PRELOAD has to be for a program of this build to run on the
# stand-in for the driver.
function(qir_stand_in_preload variable)
  qir_stand_in_runtime(runtime)
  set(preload "$<TARGET_FILE:orxemu>")
  if(runtime)
    string(PREPEND preload "${runtime}:")
  endif()
  set(${variable} "${preload}" PARENT_SCOPE)
endfunction()
