# What is installed, and the Debian package made of it. scripts/package builds the packages.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(BRISK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/brisk)
install(TARGETS brisk brisk_sim EXPORT brisk-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS brisk_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/brisk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT brisk-targets NAMESPACE brisk:: DESTINATION ${BRISK_CMAKE_DIR})

configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/brisk-config.cmake.in
  ${CMAKE_BINARY_DIR}/brisk-config.cmake INSTALL_DESTINATION ${BRISK_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/brisk-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/brisk-config.cmake
  ${CMAKE_BINARY_DIR}/brisk-config-version.cmake DESTINATION ${BRISK_CMAKE_DIR})
# Relative to the file itself, so that the package may be unpacked anywhere.
string(REGEX REPLACE "[^/]+" ".." BRISK_PC_PREFIX "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(BRISK_PC_PREFIX "\${pcfiledir}/${BRISK_PC_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/packaging/brisk.pc.in ${CMAKE_BINARY_DIR}/brisk.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/brisk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME brisk)
set(CPACK_PACKAGE_CONTACT "BRISK maintainers <maintainers@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "One C interface to the buses of a display timing controller's board")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
