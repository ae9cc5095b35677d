# What `cmake --install` puts where: headers, libraries, a CMake package, a pkg-config file, orxtest and its
# manual page, and orxemu. Everything finds its way from the place of its own file, so that the prefix can be
# moved.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/qirapi")
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

set(libraries qel_log qirapi)
if(QIR_BUILD_SHARED)
  list(APPEND libraries qel_log_shared qirapi_shared)
endif()
install(TARGETS ${libraries} EXPORT qirapi-targets
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

# The public header includes its parts by their path from the include folder.
install(FILES "${PROJECT_SOURCE_DIR}/qirapi/qirapi.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/qirapi")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/qirapi/public" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/qirapi"
        FILES_MATCHING PATTERN "*.h")
install(FILES "${PROJECT_SOURCE_DIR}/log/qel_log.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/log")

# As the names of the shared libraries say: below version 1.0.0 only versions of one minor number go together.
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/qirapi-config.cmake.in"
                              "${PROJECT_BINARY_DIR}/qirapi-config.cmake"
                              INSTALL_DESTINATION "${package_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qirapi-config-version.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qirapi-config.cmake" "${PROJECT_BINARY_DIR}/qirapi-config-version.cmake"
        DESTINATION "${package_dir}")
install(EXPORT qirapi-targets NAMESPACE qirapi:: DESTINATION "${package_dir}")

# A folder that was given as an absolute path stays one, the others follow the prefix.
set(pc_libdir "\${prefix}")
set(pc_includedir "\${prefix}")
cmake_path(APPEND pc_libdir "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
file(RELATIVE_PATH pc_to_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
set(pc_static_flags "")
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(pc_static_flags "-no-pie")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/qirapi.pc.in" "${PROJECT_BINARY_DIR}/qirapi.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qirapi.pc" DESTINATION "${pkgconfig_dir}")

if(TARGET orxtest)
  install(TARGETS orxtest RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  install(FILES "${PROJECT_SOURCE_DIR}/man/orxtest.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
endif()

# The tool looks for the stand-in in the library folder beside its own.
if(TARGET orxemu_tool)
  install(TARGETS orxemu_tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  install(TARGETS orxemu LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  install(FILES "${PROJECT_SOURCE_DIR}/man/orxemu.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
  install(FILES "${PROJECT_SOURCE_DIR}/emu/tool/orxemu.bash"
          DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" RENAME orxemu)
endif()
