# ARMv5TE without floating-point hardware, Debian's armel.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv5tel)
set(ARM_TRIPLET arm-linux-gnueabi)
include(${CMAKE_CURRENT_LIST_DIR}/arm-debian.cmake)
