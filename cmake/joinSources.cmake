# tldevice_join_sources(TARGET)
#
# With TLDEVICE_JOIN_SOURCES, compiles all sources of the target as one, which takes a third of the time:
# the templates that they share are expanded once.  Names in unnamed namespaces must then differ, and a
# missing include may go unnoticed.  The preset dev, where one source is changed and tried again, and the
# check tidy compile each source on its own.
function(tldevice_join_sources target)
  if(TLDEVICE_JOIN_SOURCES)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:tldevice_joined>)  # after tldevice_warnings
  endif()
endfunction()

# Without the warnings about one source next to another.  GCC takes a joined source for a header, where
# an unnamed namespace would be a mistake.
add_library(tldevice_joined INTERFACE)
target_compile_options(tldevice_joined INTERFACE -Wno-shadow $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
