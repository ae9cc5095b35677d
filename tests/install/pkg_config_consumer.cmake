# Builds a program of one language with what pkg-config says, with the static or the shared libraries, and
# runs it on the stand-in for the driver.
include("${CMAKE_CURRENT_LIST_DIR}/helpers.cmake")

if(NOT PKG_CONFIG)
  message(FATAL_ERROR "pkg-config is missing (Debian: pkgconf)")
endif()
set(ENV{PKG_CONFIG_LIBDIR} "${PREFIX}/${LIBDIR}/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

function(ask variable)
  execute_process(COMMAND "${PKG_CONFIG}" ${ARGN} qirapi OUTPUT_VARIABLE answer
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(answer UNIX_COMMAND "${answer}")
  set(${variable} "${answer}" PARENT_SCOPE)
endfunction()

ask(version --modversion)
if(NOT version STREQUAL VERSION)
  message(FATAL_ERROR "pkg-config says version ${version}, not ${VERSION}")
endif()
ask(cflags --cflags)
if(KIND STREQUAL "static")
  ask(libs --static --libs)
  set(libs -Wl,-Bstatic ${libs} -Wl,-Bdynamic)
else()
  ask(libs --libs)
endif()

set(source_C consumer.c -std=c11)
set(source_CXX consumer.cpp -std=c++20)
separate_arguments(flags UNIX_COMMAND "${${LANGUAGE}_FLAGS}")
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
execute_process(
  COMMAND "${${LANGUAGE}_COMPILER}" ${flags} ${source_${LANGUAGE}} -Wall -Wextra -Werror ${cflags}
    -o "${WORK}/consumer" ${libs}
  WORKING_DIRECTORY "${SOURCE}" COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
set(ENV{LD_LIBRARY_PATH} "${PREFIX}/${LIBDIR}")
run_consumer("${WORK}/consumer")
