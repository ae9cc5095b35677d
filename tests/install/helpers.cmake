# What the scripts of this folder share.

# expect_list(<what is found> <found list> <expected list>): fails when the two lists differ, and says in
# what.
function(expect_list what found expected)
  set(added ${found})
  set(missing ${expected})
  list(REMOVE_ITEM added ${expected})
  list(REMOVE_ITEM missing ${found})
  if(added OR missing)
    list(JOIN added "\n  " added)
    list(JOIN missing "\n  " missing)
    message(FATAL_ERROR "${what}, but not in the list:\n  ${added}\nnot ${what}:\n  ${missing}")
  endif()
endfunction()

# needed_libraries(<variable> <file>): the shared libraries that a program or library asks the loader for.
function(needed_libraries variable file)
  execute_process(COMMAND "${READELF}" --dynamic --wide "${file}" OUTPUT_VARIABLE dynamic
                  COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" lines "${dynamic}")
  list(TRANSFORM lines REPLACE ".*\\[(.*)\\].*" "\\1")
  set(${variable} "${lines}" PARENT_SCOPE)
endfunction()

# The compilers of this build, for the configuration of another project.
if(TOOLCHAIN_FILE)
  set(compilers "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}")
else()
  set(compilers "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
endif()

# expect_one_flow(<program>): run on the stand-in, it does what the consumers do.
function(expect_one_flow program)
  string(REPLACE "|" ";" emulator "${EMULATOR}")
  execute_process(COMMAND ${CMAKE_COMMAND} -E env "${STAND_IN}" ${emulator} "${program}"
                  OUTPUT_VARIABLE output RESULT_VARIABLE status)
  if(NOT status EQUAL 0 OR NOT output STREQUAL "the driver counted 1 flow\n")
    message(FATAL_ERROR "the program ended with ${status} and printed:\n${output}")
  endif()
endfunction()

# run_consumer(<program>): the program is of the KIND that was asked for, and works on the stand-in.
function(run_consumer program)
  needed_libraries(needed "${program}")
  set(own ${needed})
  list(FILTER own INCLUDE REGEX "^lib(qirapi|qel_log)\\.so")
  if(KIND STREQUAL "static" AND own)
    message(FATAL_ERROR "linked with the shared libraries: ${own}")
  elseif(KIND STREQUAL "shared" AND NOT "${own}" MATCHES "libqirapi\\.so\\.")
    message(FATAL_ERROR "not linked with the shared library: ${needed}")
  elseif(LANGUAGE STREQUAL "C" AND "${needed}" MATCHES "stdc\\+\\+")
    message(FATAL_ERROR "a C program got the C++ runtime: ${needed}")
  endif()
  expect_one_flow("${program}")
endfunction()
