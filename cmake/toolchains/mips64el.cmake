# SPDX-License-Identifier: GPL-3.0-or-later
# 64-bit MIPS, little-endian.
set(triplet mips64el-linux-gnuabi64)
set(CMAKE_SYSTEM_PROCESSOR mips64)
set(emulator qemu-mips64el-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
