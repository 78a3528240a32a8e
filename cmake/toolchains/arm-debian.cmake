# Debian's cross compilers: libraries come from /usr/<triplet>.  Headers that are the same on every machine (Boost) are in
# /usr/include, which these compilers search by themselves, last: never name it to them.
set(CMAKE_C_COMPILER   ${ARM_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${ARM_TRIPLET}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${ARM_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# CTest and test discovery run the programs through this, so `ctest` in a cross build needs nothing else.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run-arm ${ARM_TRIPLET})
