# tldevice_export_only_what_is_marked(TARGET)
#
# Everything is hidden but what the headers mark.  That leaves what the compiler emits of the standard library's
# templates, which is visible by that library's own marks: the script takes it out, so that what we export depends on
# our headers and not on compiler, optimisation and architecture, and the libraries can be unloaded (GCC emits some of
# it as unique symbols, which would pin them).
function(tldevice_export_only_what_is_marked target)
  set(script ${PROJECT_SOURCE_DIR}/cmake/exports.map)
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
  )
  target_link_options(${target} PRIVATE LINKER:--version-script=${script})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()
