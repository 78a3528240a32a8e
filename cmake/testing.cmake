# GoogleTest is built from its source package with our own flags: the same version natively and in a
# cross build, and instrumented if we are.
set(INSTALL_GTEST OFF)
set(GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH "GoogleTest's sources (Debian: googletest)")
add_subdirectory(${GTEST_SOURCE_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
include(GoogleTest)

# GoogleTest's headers take longer to compile than most tests, so they are precompiled.  To see
# whether each test includes what it needs: -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON, as in the check
# tidy.
add_library(googletest_headers OBJECT ${PROJECT_SOURCE_DIR}/tests/support/googletestHeaders.cpp)
target_link_libraries(googletest_headers PRIVATE tldevice::tldevice tldevice_warnings gmock)
target_precompile_headers(googletest_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
set_target_properties(googletest_headers PROPERTIES CXX_EXTENSIONS OFF)

# A family of tests/support/hooks.h, or their common part, as an object library: compiled once for
# all programs.
function(tldevice_hooks source)
  if(NOT TARGET ${source})
    add_library(${source} OBJECT ${PROJECT_SOURCE_DIR}/tests/support/${source}.cpp)
    target_include_directories(${source} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
    target_link_libraries(${source} PRIVATE tldevice::tldevice tldevice_warnings)
    set_target_properties(${source} PROPERTIES CXX_EXTENSIONS OFF)
    if(TARGET replaceable_tlshared)
      target_compile_definitions(${source} PRIVATE LIBRARIES_ARE_ARCHIVES)
    endif()
  endif()
endfunction()

# With static libraries there is no dynamic linker to put a hook in front of libtlshared's functions.
# Programs that replace some of them link libtlshared as one object instead.  Its symbols are weak and
# give way to the program's; what a hook calls in the end has a second name, "real" followed by the
# first (hooks::nextSymbol).
if(TLDEVICE_LIBRARY_TYPE STREQUAL "STATIC")
  set(replaceable ${CMAKE_CURRENT_BINARY_DIR}/replaceable.o)
  set(second_names)
  foreach(source support/hooks_timers support/hooks_tlshared platform/hooks_test)
    file(STRINGS ${PROJECT_SOURCE_DIR}/tests/${source}.cpp lines REGEX "\"_Z")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE ".*\"(_Z[^\"]*)\".*" "\\1" name "${line}")
      list(APPEND second_names -Wl,--defsym=real${name}=${name})
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES second_names)
  add_custom_command(OUTPUT ${replaceable}
    COMMAND ${CMAKE_CXX_COMPILER} -r -nostdlib -o ${replaceable} ${second_names}
            -Wl,--whole-archive $<TARGET_FILE:tlshared> -Wl,--no-whole-archive
    COMMAND ${CMAKE_OBJCOPY} --weaken ${replaceable}
    DEPENDS tlshared
    VERBATIM)
  add_custom_target(replaceable_tlshared DEPENDS ${replaceable})
endif()

# tldevice_test(NAME SOURCES file...
#   [HOOKS family...] [PRIVATE directory] [LIBRARIES target...] [LABELS label...] [LONG])
#
# Adds a test program.  HOOKS names the families of calls that it replaces (tests/support/hooks.h),
# for the whole program.  PRIVATE gives each test a private /tmp, /etc or /dev
# (tests/support/withPrivate); where that is impossible, the test is skipped.  LONG tests begin first, so
# that none of them runs alone in the end.
function(tldevice_test name)
  cmake_parse_arguments(arg "LONG" "PRIVATE" "SOURCES;HOOKS;LIBRARIES;LABELS" ${ARGN})
  add_executable(${name}_test ${arg_SOURCES})
  if(arg_HOOKS)
    list(TRANSFORM arg_HOOKS PREPEND hooks_)
    foreach(source IN LISTS arg_HOOKS ITEMS hooks)
      tldevice_hooks(${source})
      target_sources(${name}_test PRIVATE $<TARGET_OBJECTS:${source}>)
    endforeach()
  endif()
  if(TARGET replaceable_tlshared AND arg_HOOKS MATCHES "timers|tlshared")
    add_dependencies(${name}_test replaceable_tlshared)
    target_link_libraries(${name}_test PRIVATE ${replaceable})
  endif()
  target_include_directories(${name}_test PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
  target_link_libraries(${name}_test PRIVATE
    tldevice::tldevice tldevice_warnings gmock gtest_main ${CMAKE_DL_LIBS} ${arg_LIBRARIES})
  target_precompile_headers(${name}_test REUSE_FROM googletest_headers)
  set_target_properties(${name}_test PROPERTIES CXX_EXTENSIONS OFF ENABLE_EXPORTS ON)
  tldevice_join_sources(${name}_test)
  if(arg_PRIVATE)
    set_property(TARGET ${name}_test PROPERTY CROSSCOMPILING_EMULATOR
      ${PROJECT_SOURCE_DIR}/tests/support/withPrivate ${arg_PRIVATE} ${PROJECT_BINARY_DIR} ${CMAKE_CROSSCOMPILING_EMULATOR})
  endif()
  set(seconds 120)
  if(CMAKE_CROSSCOMPILING)
    set(seconds 600)  # emulated
  endif()
  set(cost 0)
  if(arg_LONG)
    set(cost 100)
  endif()
  gtest_discover_tests(${name}_test
    TEST_PREFIX ${name}/
    NO_PRETTY_VALUES
    DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${seconds} COST ${cost} SKIP_RETURN_CODE 77 LABELS "${arg_LABELS}")
endfunction()

# tldevice_goldens(LIBRARY NAME[=file]...)
#
# A test program that links LIBRARY gets this folder's headers and "goldens.h", which has the text
# of each NAME.golden, or of the file, as the string literal golden::NAME.  So the program needs no
# files, wherever it runs.
function(tldevice_goldens library)
  set(header "#pragma once\n\nnamespace golden {\n\n")
  foreach(golden IN LISTS ARGN)
    string(REGEX MATCH "^([^=]+)=?(.*)$" golden ${golden})
    set(name ${CMAKE_MATCH_1})
    set(file ${CMAKE_MATCH_2})
    if(NOT file)
      set(file ${name}.golden)
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    file(READ ${file} text)
    string(APPEND header "constexpr char ${name}[] = R\"golden(${text})golden\";\n")
  endforeach()
  string(APPEND header "\n}  // namespace golden\n")
  file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/goldens.h CONTENT "${header}")
  add_library(${library} INTERFACE)
  target_include_directories(${library} INTERFACE
    ${CMAKE_CURRENT_BINARY_DIR} ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests/support)
endfunction()
