# The installed orxemu finds the installed stand-in and runs the installed orxtest on it.
set(runner ${CMAKE_COMMAND} -E env) # as a user's shell does
set(options "")
if(EMULATOR)
  string(REPLACE "|" " " emulator "${EMULATOR}")
  set(options --emulator "${emulator}")
  string(REPLACE "|" ";" runner "${EMULATOR}")
endif()
execute_process(COMMAND ${runner} "${PREFIX}/${BINDIR}/orxemu" run ${options} -- "${PREFIX}/${BINDIR}/orxtest" -t 3
                OUTPUT_VARIABLE output RESULT_VARIABLE status)
file(READ "${GOLDEN}" golden)
if(NOT status EQUAL 0 OR NOT output STREQUAL golden)
  message(FATAL_ERROR "the program ended with ${status} and printed:\n${output}")
endif()
