# The Debian packages libtldevice1, libtldevice-dev and tldevice, one per install component, by
# CPack.  scripts/packaging/build runs this with what it needs: TLDEVICE_DEB_ARCHITECTURE, the
# prefix /usr, and the multiarch library directory.
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
find_program(GZIP gzip REQUIRED)

# tldevice_deb(COMPONENT PACKAGE SECTION
#   MULTIARCH kind DEPENDS depend... SUMMARY text DESCRIPTION line...)
#
# CPack knows Multi-Arch only from CMake 3.31 on.  It writes each field unchanged, so this one is
# appended to the section.
function(tldevice_deb component package section)
  cmake_parse_arguments(arg "" "MULTIARCH;SUMMARY" "DEPENDS;DESCRIPTION" ${ARGN})
  string(TOUPPER ${component} C)
  list(JOIN arg_DEPENDS ", " depends)
  list(JOIN arg_DESCRIPTION "\n" description)
  set(CPACK_DEBIAN_${C}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${C}_PACKAGE_SECTION "${section}\nMulti-Arch: ${arg_MULTIARCH}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${C}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${C}_DESCRIPTION "${arg_SUMMARY}\n${description}" PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)

  # The package's documentation folder.  -n leaves out name and time, so that the bytes are always
  # the same.
  set(papers ${PROJECT_BINARY_DIR}/packaging/${package})
  file(MAKE_DIRECTORY ${papers})
  execute_process(COMMAND ${GZIP} -9nc ${debian}/changelog OUTPUT_FILE ${papers}/changelog.Debian.gz
    COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${debian}/copyright ${papers}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  if(EXISTS ${debian}/${package}.lintian-overrides)
    install(FILES ${debian}/${package}.lintian-overrides
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${package} COMPONENT ${component})
  endif()
endfunction()

# The C and C++ libraries, by hand: in a cross build, dpkg-shlibdeps would name the build machine's
# cross packages.  scripts/checks/packages compares them with what the files need.
set(c_library   "libc6 (>= 2.34)")
set(cxx_library "libgcc-s1 (>= 4.3)" "libstdc++6 (>= 11)")
set(version ${PROJECT_VERSION}-1)

set(CPACK_COMPONENTS_ALL "")
tldevice_deb(runtime libtldevice1 libs
  MULTIARCH same
  SUMMARY "device identity and program supervision (shared library)"
  DESCRIPTION
    "For the on-device software of a family of embedded home-automation products:"
    "identifies the device, knows its properties and the paths of the update"
    "manager's files, and supervises a child program with a time-out."
    "."
    "This package contains the library and the platform support library that it"
    "needs."
  DEPENDS ${c_library} ${cxx_library}
)
tldevice_deb(dev libtldevice-dev libdevel
  MULTIARCH same
  SUMMARY "device identity and program supervision (development files)"
  DESCRIPTION
    "For building programs that identify the device they run on, look up its"
    "properties and its update manager's files, or supervise a child program."
    "."
    "This package contains the headers, and the files with which CMake and"
    "pkg-config find the library."
  DEPENDS "libtldevice1 (= ${version})" "libboost-dev (>= 1.70)"
)
if(TARGET tldevice_tool)
  tldevice_deb(tool tldevice utils
    MULTIARCH foreign
    SUMMARY "identify the device, and run programs with a time-out"
    DESCRIPTION
      "tldevice queries the device library from a shell: which device this is and"
      "why, what its properties are, and where the update manager's files are.  It"
      "also runs a command under supervision."
    DEPENDS "libtldevice1 (= ${version})" ${c_library} ${cxx_library}
  )
endif()

# dpkg-shlibdeps reads the same list of symbols that the check abi uses.
configure_file(${PROJECT_SOURCE_DIR}/packaging/abi/${TLDEVICE_DEB_ARCHITECTURE}.symbols
  ${PROJECT_BINARY_DIR}/packaging/symbols COPYONLY)

set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debianFiles.cmake)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE tldevice)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${TLDEVICE_DEB_ARCHITECTURE})
set(CPACK_DEBIAN_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The tldevice maintainers <maintainers@tldevice.example>")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${debian}/shlibs ${debian}/triggers ${PROJECT_BINARY_DIR}/packaging/symbols)
include(CPack)
