# ARMv5TE without floating-point hardware, Debian's armel.
set(CMAKE_SYSTEM_PROCESSOR armv5tel)
set(TLDEVICE_TRIPLET arm-linux-gnueabi)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
