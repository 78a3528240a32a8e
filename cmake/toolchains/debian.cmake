# Debian's cross compilers: libraries come from /usr/<triplet>.  Headers for all machines (Boost)
# are in /usr/include, which these compilers search last on their own: never pass it to them.
#
# For any of them, without a toolchain file of its own:
#
#   -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/debian.cmake -DTLDEVICE_TRIPLET=powerpc-linux-gnu
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TLDEVICE_TRIPLET)
if(NOT CMAKE_SYSTEM_PROCESSOR)
  string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${TLDEVICE_TRIPLET})
endif()
set(CMAKE_C_COMPILER   ${TLDEVICE_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${TLDEVICE_TRIPLET}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${TLDEVICE_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# CTest and test discovery run the programs through this, so plain `ctest` works in a cross build.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run-emulated /usr/${TLDEVICE_TRIPLET})

# x86-64 runs these directly if it knows where the loader is.  (qemu-i386 7.2 hangs in a fork and
# exec.)
if(TLDEVICE_TRIPLET STREQUAL "i686-linux-gnu")
  unset(CMAKE_CROSSCOMPILING_EMULATOR)
  set(CMAKE_EXE_LINKER_FLAGS_INIT  # old tags: the path also holds for what libstdc++ needs
    "-Wl,--dynamic-linker=/usr/${TLDEVICE_TRIPLET}/lib/ld-linux.so.2 -Wl,--disable-new-dtags")
  set(CMAKE_BUILD_RPATH /usr/${TLDEVICE_TRIPLET}/lib)
endif()
