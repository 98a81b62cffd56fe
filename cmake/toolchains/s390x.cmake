# SPDX-License-Identifier: GPL-3.0-or-later
# The big-endian machine that Debian still carries: devices of either byte order exist.
set(triplet s390x-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(emulator qemu-s390x-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
