# GoogleTest is built from its source package for whatever target this build has: the same version natively and in a
# cross build, and instrumented when we are.
set(INSTALL_GTEST OFF)
set(GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH "GoogleTest's sources (Debian: googletest)")
add_subdirectory(${GTEST_SOURCE_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
include(GoogleTest)

# tldevice_test(NAME SOURCES file... [HOOKS family...] [PRIVATE directory] [LIBRARIES target...] [LABELS label...])
#
# One test program for a folder.  HOOKS names the families of tests/support/hooks.h that it replaces: they hold for the
# whole program.  PRIVATE gives each test a /tmp, /etc or /dev of its own (tests/support/withPrivate); the test is
# skipped where that cannot be had.
function(tldevice_test name)
  cmake_parse_arguments(arg "" "PRIVATE" "SOURCES;HOOKS;LIBRARIES;LABELS" ${ARGN})
  list(TRANSFORM arg_HOOKS PREPEND ${PROJECT_SOURCE_DIR}/tests/support/hooks_ OUTPUT_VARIABLE hooks)
  list(TRANSFORM hooks APPEND .cpp)
  if(hooks)
    list(APPEND hooks ${PROJECT_SOURCE_DIR}/tests/support/hooks.cpp)
  endif()

  add_executable(${name}_test ${arg_SOURCES} ${hooks})
  target_include_directories(${name}_test PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
  target_link_libraries(${name}_test PRIVATE
    tldevice::tldevice tldevice_warnings gmock gtest_main ${CMAKE_DL_LIBS} ${arg_LIBRARIES})
  set_target_properties(${name}_test PROPERTIES CXX_EXTENSIONS OFF ENABLE_EXPORTS ON)
  if(arg_PRIVATE)
    set_property(TARGET ${name}_test PROPERTY CROSSCOMPILING_EMULATOR
      ${PROJECT_SOURCE_DIR}/tests/support/withPrivate ${arg_PRIVATE} ${PROJECT_BINARY_DIR} ${CMAKE_CROSSCOMPILING_EMULATOR})
  endif()
  set(seconds 120)
  if(CMAKE_CROSSCOMPILING)
    set(seconds 600)  # emulated
  endif()
  gtest_discover_tests(${name}_test
    TEST_PREFIX ${name}/
    NO_PRETTY_VALUES
    DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${seconds} SKIP_RETURN_CODE 77 LABELS "${arg_LABELS}")
endfunction()

# tldevice_goldens(NAME... TARGETS target...)
#
# Gives the test programs "goldens.h", with the text of each NAME.golden as the string literal golden::NAME: they need no
# file, wherever they are run.
function(tldevice_goldens)
  cmake_parse_arguments(arg "" "" "TARGETS" ${ARGN})
  set(header "#pragma once\n\nnamespace golden {\n\n")
  foreach(name IN LISTS arg_UNPARSED_ARGUMENTS)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${name}.golden)
    file(READ ${name}.golden text)
    string(APPEND header "constexpr char ${name}[] = R\"golden(${text})golden\";\n")
  endforeach()
  string(APPEND header "\n}  // namespace golden\n")
  file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/goldens.h CONTENT "${header}")
  foreach(target IN LISTS arg_TARGETS)
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
  endforeach()
endfunction()
