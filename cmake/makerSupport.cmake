# Defines tldevice::tlshared as the maker's support library: <tlshared/...>, libtlshared.so and
# libplatformx.so below TLDEVICE_SUPPORT_PREFIX.  Used by the build and, installed beside the
# package configuration, by the library's users.
if(TARGET tldevice::tlshared)
  return()
endif()

# Not cached: the prefix may change, and a cached path would win over it.
unset(_tldevice_missing)
foreach(_tldevice_name IN ITEMS tlshared platformx)
  find_library(_tldevice_${_tldevice_name} ${_tldevice_name}
    PATHS ${TLDEVICE_SUPPORT_PREFIX} PATH_SUFFIXES lib NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH NO_CACHE)
  if(NOT _tldevice_${_tldevice_name})
    list(APPEND _tldevice_missing "lib${_tldevice_name}.so")
  endif()
endforeach()
if(NOT EXISTS ${TLDEVICE_SUPPORT_PREFIX}/include/tlshared/TimerManager.h)
  list(APPEND _tldevice_missing "include/tlshared/TimerManager.h")
endif()
if(_tldevice_missing)
  list(JOIN _tldevice_missing ", " _tldevice_missing)
  message(FATAL_ERROR
    "The maker's support library: no ${_tldevice_missing} below TLDEVICE_SUPPORT_PREFIX=${TLDEVICE_SUPPORT_PREFIX}")
endif()

# IMPORTED_NO_SONAME: linked by name, so that the path of a library without a SONAME does not get
# into ours.
add_library(tldevice::platformx SHARED IMPORTED GLOBAL)
set_target_properties(tldevice::platformx PROPERTIES
  IMPORTED_LOCATION ${_tldevice_platformx}
  IMPORTED_NO_SONAME TRUE
)
add_library(tldevice::tlshared SHARED IMPORTED GLOBAL)
set_target_properties(tldevice::tlshared PROPERTIES
  IMPORTED_LOCATION ${_tldevice_tlshared}
  IMPORTED_NO_SONAME TRUE
  INTERFACE_INCLUDE_DIRECTORIES ${TLDEVICE_SUPPORT_PREFIX}/include
  INTERFACE_LINK_LIBRARIES tldevice::platformx
)
