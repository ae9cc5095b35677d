# Settings that all targets of this build share.

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Type of build" FORCE)
endif()

option(QIR_WARNINGS_AS_ERRORS "Warnings are errors" ${PROJECT_IS_TOP_LEVEL})
set(QIR_SANITIZERS "" CACHE STRING "Sanitizers to build with, e.g. address,undefined")

option(QIR_COVERAGE "Count which lines and branches of the product are run" OFF)

# What every target is compiled with.
add_library(qir_build_flags INTERFACE)
target_compile_features(qir_build_flags INTERFACE cxx_std_20 c_std_11)
target_compile_options(qir_build_flags INTERFACE -Wall -Wextra -Wshadow -Wconversion)
if(QIR_WARNINGS_AS_ERRORS)
  target_compile_options(qir_build_flags INTERFACE -Werror)
endif()
if(QIR_SANITIZERS)
  # What is looked at for undefined behaviour is the product. Its tests (targets with the property
  # QIR_IS_TEST) are only looked at for bad addresses, because the records that they pass on are theirs.
  string(REPLACE ",undefined" "" test_sanitizers "${QIR_SANITIZERS}")
  string(REPLACE "," "$<COMMA>" product_sanitizers "${QIR_SANITIZERS}")
  string(REPLACE "," "$<COMMA>" test_sanitizers "${test_sanitizers}")
  target_compile_options(qir_build_flags INTERFACE
    -fsanitize=$<IF:$<BOOL:$<TARGET_PROPERTY:QIR_IS_TEST>>,${test_sanitizers},${product_sanitizers}>
    -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qir_build_flags INTERFACE -fsanitize=${QIR_SANITIZERS})
  target_compile_definitions(qir_build_flags INTERFACE
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:QIR_IS_TEST>>>:QEL_NEVER_IS_CHECKED>)
endif()

if(QIR_COVERAGE)
  # Branches are those of the source: without optimisation, and without an edge behind every call for what it
  # might throw. Clang counts the independent effects of conditions too.
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    set(qir_counting -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc)
  else()
    set(qir_counting --coverage)
  endif()
  target_link_options(qir_build_flags INTERFACE ${qir_counting})
endif()

# qir_count(<target>...): the targets whose lines and branches are counted where that is asked for. That is the
# product; its tests and the stand-in are only run.
function(qir_count)
  if(QIR_COVERAGE)
    foreach(target IN LISTS ARGN)
      target_compile_options(${target} PRIVATE -O0 -fno-exceptions ${qir_counting})
      target_compile_definitions(${target} PRIVATE QEL_NEVER_IS_LEFT_OUT)
    endforeach()
  endif()
endfunction()

# What the libraries are compiled with besides: they need nothing of the C++ runtime, so that a C program can
# link them. Position-independent, because programs of either kind link the archives.
add_library(qir_library_flags INTERFACE)
target_link_libraries(qir_library_flags INTERFACE qir_build_flags)
target_compile_options(qir_library_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)

# What the programs are linked with. The driver gets the address of an FCB as a 32-bit word: on a 64-bit
# machine a program at a fixed place keeps the context below 4 GiB, so that the word is the real address.
add_library(qir_program_flags INTERFACE)
target_link_libraries(qir_program_flags INTERFACE qir_build_flags)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  target_link_options(qir_program_flags INTERFACE -no-pie)
endif()

# What code that puts texts together is compiled with besides, that is all but the libraries and orxtest: GCC
# 12 takes the copies inside `"text" + std::string` for ones of overlapping or endless ranges.
add_library(qir_string_flags INTERFACE)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(qir_string_flags INTERFACE -Wno-restrict -Wno-stringop-overflow -Wno-array-bounds)
endif()

# qir_source_module(<target> <label>): the name that assertion lines of these sources carry.
function(qir_source_module target label)
  target_compile_definitions(${target} PRIVATE QEL_SOURCE_MODULE="${label}")
endfunction()

# qir_libraries(<name> <object library>...): the static library <name> and, where it is asked for, the shared
# library <name>_shared, made of the same objects. The static one keeps every function linkable; the shared
# one shows the symbols that cmake/<name>.map names, and nothing else.
function(qir_libraries name)
  list(TRANSFORM ARGN REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)
  add_library(${name} STATIC ${objects})
  set(libraries ${name})
  if(QIR_BUILD_SHARED)
    set(map "${PROJECT_SOURCE_DIR}/cmake/${name}.map")
    add_library(${name}_shared SHARED ${objects})
    # Below version 1.0.0 each minor version may change the binary interface. The C++ runtime, which the
    # compiler driver offers, is not needed.
    set_target_properties(${name}_shared PROPERTIES
      OUTPUT_NAME ${name}
      VERSION ${PROJECT_VERSION}
      SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
      LINK_DEPENDS "${map}")
    target_link_options(${name}_shared PRIVATE "-Wl,--version-script=${map}" -Wl,--as-needed)
    if(NOT QIR_SANITIZERS) # whose runtime is the program's
      target_link_options(${name}_shared PRIVATE -Wl,-z,defs)
    endif()
    list(APPEND libraries ${name}_shared)
  endif()
  foreach(library IN LISTS libraries)
    set_target_properties(${library} PROPERTIES LINKER_LANGUAGE CXX)
    target_include_directories(${library} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
    target_link_libraries(${library} PRIVATE $<BUILD_INTERFACE:qir_build_flags>)
    add_library(qirapi::${library} ALIAS ${library})
  endforeach()
endfunction()
