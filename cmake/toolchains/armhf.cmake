# SPDX-License-Identifier: GPL-3.0-or-later
# 32-bit ARM, hard float.
set(triplet arm-linux-gnueabihf)
set(CMAKE_SYSTEM_PROCESSOR armv7)
set(emulator qemu-arm-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
