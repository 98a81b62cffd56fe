# SPDX-License-Identifier: GPL-3.0-or-later
# What the toolchain files share: Debian's cross compiler for `triplet`, and qemu's `emulator` to run what it built.
# CORVEXAL_SYSROOT is a folder with Debian's libraries for the processor; scripts/check-cross fills one.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_SYSROOT ${CORVEXAL_SYSROOT})
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L ${CORVEXAL_SYSROOT})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CORVEXAL_SYSROOT)
