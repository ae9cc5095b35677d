# Builds a program of one language through find_package(qirapi), with the static or the shared libraries, and
# runs it on the stand-in for the driver.
include("${CMAKE_CURRENT_LIST_DIR}/helpers.cmake")

file(REMOVE_RECURSE "${WORK}")
execute_process(
  COMMAND ${CMAKE_COMMAND} -S "${SOURCE}" -B "${WORK}" -G "${GENERATOR}"
    "-DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}"
    ${compilers} "-DCMAKE_${LANGUAGE}_FLAGS=${${LANGUAGE}_FLAGS}"
    "-DCMAKE_PREFIX_PATH=${PREFIX}"
    "-DQIRAPI_LANGUAGE=${LANGUAGE}" "-DQIRAPI_KIND=${KIND}" "-DQIRAPI_VERSION=${VERSION}"
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build "${WORK}" COMMAND_ERROR_IS_FATAL ANY)
run_consumer("${WORK}/consumer")
