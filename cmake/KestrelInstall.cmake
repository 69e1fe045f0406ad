# cmake --install: the C++ library as the CMake package `kestrel`, and the toolbox.

include(CMakePackageConfigHelpers)
set(include_dir "${CMAKE_INSTALL_INCLUDEDIR}")
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/kestrel")

# Folders stay as they are in the source tree, and headers include each other from its root; the
# second folder is that root in the installed tree.
target_include_directories(kestrel PUBLIC
  $<INSTALL_INTERFACE:${include_dir}>
  $<INSTALL_INTERFACE:${include_dir}/kestrel>)
install(DIRECTORY src/
  DESTINATION "${include_dir}/kestrel"
  FILES_MATCHING PATTERN "*.h")
install(FILES include/kestrel/kestrel.h DESTINATION "${include_dir}/kestrel")

install(TARGETS kestrel EXPORT kestrel-targets ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(EXPORT kestrel-targets NAMESPACE kestrel:: DESTINATION "${package_dir}")
configure_package_config_file(cmake/kestrel-config.cmake.in
  "${PROJECT_BINARY_DIR}/kestrel-config.cmake" INSTALL_DESTINATION "${package_dir}")
# Before 1.0 a minor version may change an interface.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/kestrel-config-version.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/kestrel-config.cmake" "${PROJECT_BINARY_DIR}/kestrel-config-version.cmake"
  DESTINATION "${package_dir}")

install(DIRECTORY "${KESTREL_TOOLBOX_DIR}/" DESTINATION "${CMAKE_INSTALL_DATADIR}/kestrel/toolbox")
