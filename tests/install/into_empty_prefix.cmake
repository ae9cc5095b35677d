# Installs the build into an empty prefix, which then holds the files of the committed list, and no others.
include("${CMAKE_CURRENT_LIST_DIR}/helpers.cmake")

file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD}" --prefix "${PREFIX}" --config "${CONFIG}"
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE found RELATIVE "${PREFIX}" LIST_DIRECTORIES false "${PREFIX}/*")
# The package has a file for each type of build.
list(TRANSFORM found REPLACE "/qirapi-targets-[a-z]+\\.cmake$" "/qirapi-targets-TYPE.cmake")

file(STRINGS "${EXPECTED}" lines REGEX "^[^#]")
set(expected "")
foreach(line IN LISTS lines)
  string(CONFIGURE "${line}" line @ONLY)
  list(APPEND expected "${line}")
endforeach()
expect_list(installed "${found}" "${expected}")

# A program that does not ask for the logging library itself gets it all the same.
execute_process(COMMAND "${READELF}" --dynamic --wide "${PREFIX}/${LIBDIR}/libqirapi.so" OUTPUT_VARIABLE dynamic
                COMMAND_ERROR_IS_FATAL ANY)
if(NOT dynamic MATCHES "\\(RUNPATH\\)[^\n]*\\[\\$ORIGIN\\]")
  message(FATAL_ERROR "libqirapi.so does not look for libqel_log.so beside itself:\n${dynamic}")
endif()
