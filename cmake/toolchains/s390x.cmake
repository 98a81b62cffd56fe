# Cross-builds for s390x, the big-endian machine that Debian still carries, and runs what was built under qemu.
# CORVEXAL_SYSROOT is a folder with Debian's libraries for it; scripts/check-big-endian fills one.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_C_COMPILER s390x-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++)
set(CMAKE_SYSROOT ${CORVEXAL_SYSROOT})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x-static -L ${CORVEXAL_SYSROOT})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CORVEXAL_SYSROOT)
