# The project as a part of another one: two static libraries, no test, no program of its own, nothing to
# install. Asked to, it installs its libraries and headers.
include("${CMAKE_CURRENT_LIST_DIR}/helpers.cmake")

file(REMOVE_RECURSE "${WORK}")
set(build "${WORK}/build")
set(prefix "${WORK}/prefix")

function(run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  set(output "${output}" PARENT_SCOPE)
endfunction()

# Configures with the given options, builds and installs.
function(build_and_install)
  run(${CMAKE_COMMAND} -S "${SOURCE}/subproject" -B "${build}" -G "${GENERATOR}"
      "-DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}"
      ${compilers}
      "-DCMAKE_C_FLAGS=${C_FLAGS}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
      "-DQIRAPI_PROJECT=${PROJECT}" "-DQIRAPI_CONSUMER=${SOURCE}/consumer/consumer.c" ${ARGN})
  run(${CMAKE_COMMAND} --build "${build}")
  run(${CMAKE_COMMAND} --install "${build}" --prefix "${prefix}")
endfunction()

function(expect_installed)
  file(GLOB_RECURSE files RELATIVE "${prefix}" LIST_DIRECTORIES false "${prefix}/*")
  foreach(name IN LISTS ARGN)
    if(NOT "${files}" MATCHES "${name}")
      message(FATAL_ERROR "${name} is not among the installed files: ${files}")
    endif()
  endforeach()
  if(NOT ARGN AND files)
    message(FATAL_ERROR "installed without having been asked to: ${files}")
  endif()
endfunction()

build_and_install()
expect_installed()

expect_one_flow("${build}/device_agent")

run(${CMAKE_CTEST_COMMAND} --test-dir "${build}" --show-only)
if(NOT output MATCHES "Total Tests: 0\n")
  message(FATAL_ERROR "tests in a project that has none:\n${output}")
endif()

# Neither built nor there to be built.
run(${CMAKE_COMMAND} --build "${build}" --target help)
if(NOT output MATCHES "qirapi")
  message(FATAL_ERROR "no list of targets:\n${output}")
endif()
file(GLOB_RECURSE built RELATIVE "${build}" "${build}/*")
foreach(name IN ITEMS orxtest orxemu test_ one_flow port_setup libqirapi.so libqel_log.so)
  foreach(seen IN ITEMS "${output}" "${built}")
    if(seen MATCHES "${name}")
      message(FATAL_ERROR "${name} in a project that did not ask for it")
    endif()
  endforeach()
endforeach()

build_and_install(-DQIR_INSTALL=ON -DQIR_BUILD_SHARED=ON)
expect_installed("include/qirapi/qirapi\\.h" "include/log/qel_log\\.h" "libqirapi\\.a" "libqel_log\\.a"
                 "libqirapi\\.so" "libqel_log\\.so" "qirapi-config\\.cmake" "qirapi\\.pc")
