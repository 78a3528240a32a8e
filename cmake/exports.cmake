# tldevice_export_only_what_is_marked(TARGET)
#
# Everything is hidden except what the headers mark.  But the standard library marks its templates
# as visible, too, so the version script hides what the compiler emits of them.  Then the exports
# depend on our headers only, not on compiler, optimisation and architecture, and the libraries can
# be unloaded: GCC emits some of those templates as unique symbols, which would pin them.  Static
# libraries export nothing.
function(tldevice_export_only_what_is_marked target)
  set(script ${PROJECT_SOURCE_DIR}/cmake/exports.map)
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
  )
  if(TLDEVICE_LIBRARY_TYPE STREQUAL "STATIC")
    return()
  endif()
  target_link_options(${target} PRIVATE LINKER:--version-script=${script})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()
