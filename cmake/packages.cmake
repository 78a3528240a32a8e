# The Debian packages libtldevice1, libtldevice-dev and tldevice, one for each install component, by CPack.
# scripts/package sets what this needs and runs it: TLDEVICE_DEB_ARCHITECTURE, prefix /usr, multiarch library directory.
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
find_program(GZIP gzip REQUIRED)

# tldevice_deb(COMPONENT PACKAGE SECTION DEPENDS depend... SUMMARY text DESCRIPTION line...)
function(tldevice_deb component package section)
  cmake_parse_arguments(arg "" "SUMMARY" "DEPENDS;DESCRIPTION" ${ARGN})
  string(TOUPPER ${component} C)
  list(JOIN arg_DEPENDS ", " depends)
  list(JOIN arg_DESCRIPTION "\n" description)
  set(CPACK_DEBIAN_${C}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${C}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${C}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${C}_DESCRIPTION "${arg_SUMMARY}\n${description}" PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)

  # What each package carries in its documentation folder.  -n: no name and no time in the file, and so the same bytes
  # for every architecture and on every day.
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

# The C and C++ libraries, by hand: dpkg-shlibdeps names the build machine's cross packages in a cross build.
# scripts/checks/packages holds these against what it finds.
set(c_library   "libc6 (>= 2.34)")
set(cxx_library "libgcc-s1 (>= 3.5)" "libstdc++6 (>= 11)")
set(version ${PROJECT_VERSION}-1)

set(CPACK_COMPONENTS_ALL "")
tldevice_deb(runtime libtldevice1 libs
  SUMMARY "device identity and program supervision (shared library)"
  DESCRIPTION
    "For the on-device software of a family of embedded home-automation products:"
    "which device is this, what are its properties, where are the update"
    "manager's files, and watch one child program with a time-out."
    "."
    "This package contains the library and the platform support library that it"
    "stands on."
  DEPENDS ${c_library} ${cxx_library}
)
tldevice_deb(dev libtldevice-dev libdevel
  SUMMARY "device identity and program supervision (development files)"
  DESCRIPTION
    "For building programs that ask which device they run on, look up its"
    "properties and its update manager's files, or watch a child program."
    "."
    "This package contains the headers, and the files by which CMake and"
    "pkg-config find the library."
  DEPENDS "libtldevice1 (= ${version})" "libboost-dev (>= 1.70)"
)
if(TARGET tldevice_tool)
  tldevice_deb(tool tldevice utils
    SUMMARY "ask which device this is, and run programs with a time-out"
    DESCRIPTION
      "tldevice asks the device library its questions from a shell: which device"
      "this is and why, what its properties are, where the update manager's files"
      "lie.  It also runs a command under supervision."
    DEPENDS "libtldevice1 (= ${version})" ${c_library} ${cxx_library}
  )
endif()

# The list that scripts/checks/abi holds the libraries against is also what dpkg-shlibdeps reads.
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
set(CPACK_DEBIAN_RUNTIME_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_DEV_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${debian}/shlibs ${debian}/triggers ${PROJECT_BINARY_DIR}/packaging/symbols)
include(CPack)
