# cmake --install: the C++ library as the CMake package and the pkg-config module `kestrel`, the
# toolbox where there are plug-ins, the licence and the documentation.

include(CMakePackageConfigHelpers)
set(include_dir "${CMAKE_INSTALL_INCLUDEDIR}")
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/kestrel")

# What lies in include/kestrel is public, everything else is not.
target_include_directories(kestrel PUBLIC $<INSTALL_INTERFACE:${include_dir}>)
install(DIRECTORY include/kestrel DESTINATION "${include_dir}" FILES_MATCHING PATTERN "*.h")

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

# The module finds its prefix from its own place, since --prefix may choose another at installation.
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(pkgconfig_prefix "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH from_module "/prefix/${pkgconfig_dir}" "/prefix")
  string(REGEX REPLACE "/$" "" from_module "${from_module}")
  set(pkgconfig_prefix "\${pcfiledir}/${from_module}")
endif()
configure_file(cmake/kestrel.pc.in "${PROJECT_BINARY_DIR}/kestrel.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/kestrel.pc" DESTINATION "${pkgconfig_dir}")

# Below lib/, because the plug-ins are for one kind of machine. Without them the .m files are no use.
get_property(octave_plugins GLOBAL PROPERTY KESTREL_OCTAVE_PLUGINS)
get_property(matlab_plugins GLOBAL PROPERTY KESTREL_MATLAB_PLUGINS)
if(octave_plugins OR matlab_plugins)
  install(DIRECTORY "${KESTREL_TOOLBOX_DIR}/" DESTINATION "${CMAKE_INSTALL_LIBDIR}/kestrel/toolbox")
endif()

# Links between these pages stay good: they lie to each other as in the source tree.
install(FILES LICENSE README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs examples DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg" PATTERN "*.m" PATTERN "*.cpp"
  PATTERN skeleton EXCLUDE)  # for who works on the library itself
