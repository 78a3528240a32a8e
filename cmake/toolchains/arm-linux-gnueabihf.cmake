# ARMv7 with hardware floating point, Debian's armhf.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(TLDEVICE_TRIPLET arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
