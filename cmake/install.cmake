# What `cmake --install` installs.  No installed file contains the prefix: the tree can be moved.
#
# Components: runtime (the libraries), dev (headers, static libraries, CMake package, pkg-config),
# tool (the companion command).
include(CMakePackageConfigHelpers)

set(TLDEVICE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tldevice)

set(libraries tldevice)
set(header_directories ${PROJECT_SOURCE_DIR}/include/tl)
if(TLDEVICE_SUPPORT_PREFIX)
  # We do not install the maker's support library.  Users find it as this build did.
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/makerSupport.cmake DESTINATION ${TLDEVICE_PACKAGE_DIR} COMPONENT dev)
  set(pc_support_cflags "-I${TLDEVICE_SUPPORT_PREFIX}/include")
  set(pc_support_libs "-L${TLDEVICE_SUPPORT_PREFIX}/lib -ltlshared -lplatformx")
else()
  list(APPEND libraries tlshared)
  list(APPEND header_directories ${PROJECT_SOURCE_DIR}/support/include/tlshared)
  set(pc_support_cflags "")
  set(pc_support_libs "-ltlshared")
endif()

install(TARGETS ${libraries}
  EXPORT tldeviceTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
)
install(DIRECTORY ${header_directories} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)

install(EXPORT tldeviceTargets
  NAMESPACE tldevice::
  DESTINATION ${TLDEVICE_PACKAGE_DIR}
  COMPONENT dev
)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/packaging/tldeviceConfig.cmake.in
  ${PROJECT_BINARY_DIR}/packaging/tldeviceConfig.cmake
  INSTALL_DESTINATION ${TLDEVICE_PACKAGE_DIR}
  NO_SET_AND_CHECK_MACRO
)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/packaging/tldeviceConfigVersion.cmake
  COMPATIBILITY SameMajorVersion
)
install(
  FILES
    ${PROJECT_BINARY_DIR}/packaging/tldeviceConfig.cmake
    ${PROJECT_BINARY_DIR}/packaging/tldeviceConfigVersion.cmake
  DESTINATION ${TLDEVICE_PACKAGE_DIR}
  COMPONENT dev
)

# What else a static program must link, for `pkg-config --static`.
list(TRANSFORM CMAKE_DL_LIBS PREPEND -l OUTPUT_VARIABLE pc_private_libs)
list(JOIN pc_private_libs " " pc_private_libs)

# pkg-config derives the prefix from the location of the file.
file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(
  ${PROJECT_SOURCE_DIR}/packaging/tldevice.pc.in
  ${PROJECT_BINARY_DIR}/packaging/tldevice.pc
  @ONLY
)
install(
  FILES ${PROJECT_BINARY_DIR}/packaging/tldevice.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT dev
)
