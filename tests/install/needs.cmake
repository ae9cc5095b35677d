# The shared libraries need the C library and each other, and nothing of the C++ runtime.
include("${CMAKE_CURRENT_LIST_DIR}/helpers.cmake")

string(REPLACE "|" ";" LIBRARIES "${LIBRARIES}")
foreach(library IN LISTS LIBRARIES)
  needed_libraries(needed "${library}")
  list(FILTER needed EXCLUDE REGEX "^(libc|libqel_log)\\.so\\.")
  if(needed)
    message(FATAL_ERROR "${library} needs ${needed}")
  endif()
endforeach()
