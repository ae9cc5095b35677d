# The header-only packages that the command-line tool of the stand-in is written with.

# qir_tool_packages(<variable>): whether they are there; then the targets qir_cli11 and qir_json.
#
# A build with a cross compiler uses this machine's headers: they are plain C++. But /usr/include itself would
# hide the target's own headers, so that the packages' folders are linked into the build tree and found there.
function(qir_tool_packages variable)
  set(${variable} OFF PARENT_SCOPE)
  find_path(QIR_CLI11_INCLUDE CLI/CLI.hpp NO_CMAKE_FIND_ROOT_PATH)
  find_path(QIR_JSON_INCLUDE nlohmann/json.hpp NO_CMAKE_FIND_ROOT_PATH)
  mark_as_advanced(QIR_CLI11_INCLUDE QIR_JSON_INCLUDE)
  if(NOT QIR_CLI11_INCLUDE OR NOT QIR_JSON_INCLUDE)
    return()
  endif()
  set(include_dir "${PROJECT_BINARY_DIR}/packages")
  file(MAKE_DIRECTORY "${include_dir}")
  file(CREATE_LINK "${QIR_CLI11_INCLUDE}/CLI" "${include_dir}/CLI" SYMBOLIC)
  file(CREATE_LINK "${QIR_JSON_INCLUDE}/nlohmann" "${include_dir}/nlohmann" SYMBOLIC)
  foreach(package IN ITEMS qir_cli11 qir_json)
    add_library(${package} INTERFACE)
    target_include_directories(${package} SYSTEM INTERFACE "${include_dir}")
  endforeach()
  set(${variable} ON PARENT_SCOPE)
endfunction()
