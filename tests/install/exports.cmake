# The shared libraries show the symbols of the committed list, and no others.
include("${CMAKE_CURRENT_LIST_DIR}/helpers.cmake")

string(REPLACE "|" ";" LIBRARIES "${LIBRARIES}")
set(found "")
foreach(library IN LISTS LIBRARIES)
  cmake_path(GET library STEM name)
  execute_process(COMMAND "${NM}" --dynamic --defined-only --format=posix "${library}" OUTPUT_VARIABLE symbols
                  COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
  list(TRANSFORM symbols REPLACE "^([^ ]+) .*" "${name} \\1")
  list(APPEND found ${symbols})
endforeach()
file(STRINGS "${EXPECTED}" expected REGEX "^[^#]")
expect_list(exported "${found}" "${expected}")
