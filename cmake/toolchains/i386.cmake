# SPDX-License-Identifier: GPL-3.0-or-later
# 32-bit x86.
set(triplet i686-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(emulator qemu-i386-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
