# Warnings are for our own sources.  Users of the targets do not inherit them.
add_library(tldevice_warnings INTERFACE)
target_compile_options(tldevice_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2 -Wundef
  $<$<BOOL:${TLDEVICE_WERROR}>:-Werror>
)
# GCC 7.1 changed how ARM passes some class types.  The notes it prints here are about internal
# functions of the containers, which are not part of our ABI.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  target_compile_options(tldevice_warnings INTERFACE -Wno-psabi)
endif()
