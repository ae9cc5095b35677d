# GoogleTest for the target of this build: the distribution's library for this machine, its source package,
# built with the tests, for any other target.
set(QIR_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH
    "GoogleTest's sources, for a build with a cross compiler")

# qir_has_googletest(<variable>): whether the tests can be built.
function(qir_has_googletest variable)
  if(CMAKE_CROSSCOMPILING)
    set(GTest_FOUND OFF)
    if(EXISTS "${QIR_GOOGLETEST_SOURCE}/CMakeLists.txt")
      set(GTest_FOUND ON)
    endif()
  else()
    find_package(GTest QUIET)
  endif()
  set(${variable} ${GTest_FOUND} PARENT_SCOPE)
endfunction()

# qir_use_googletest(): the targets GTest::gtest and GTest::gtest_main.
macro(qir_use_googletest)
  if(CMAKE_CROSSCOMPILING)
    set(BUILD_GMOCK OFF)
    set(INSTALL_GTEST OFF)
    add_subdirectory("${QIR_GOOGLETEST_SOURCE}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
  else()
    find_package(GTest REQUIRED)
  endif()
endmacro()
