# Warnings are for our own sources.  Users of the targets do not inherit them.
add_library(tldevice_warnings INTERFACE)
target_compile_options(tldevice_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2 -Wundef
  $<$<BOOL:${TLDEVICE_WERROR}>:-Werror>
)
# GCC 7.1 changed how ARM passes some class types.  What it notes here are the containers' own functions, which no caller of
# ours sees.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  target_compile_options(tldevice_warnings INTERFACE -Wno-psabi)
endif()
