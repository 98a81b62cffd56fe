# SPDX-License-Identifier: GPL-3.0-or-later
# One interface target carries what every file of ours is compiled with.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(corvexal_settings INTERFACE)
target_include_directories(corvexal_settings INTERFACE ${PROJECT_SOURCE_DIR})
# On 32-bit machines too, files may be larger than 2 GiB and dated after 2038. No library that we use has either kind of
# number in an interface that we call.
target_compile_definitions(corvexal_settings INTERFACE _GNU_SOURCE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_compile_options(corvexal_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast -Wnon-virtual-dtor -Wformat=2
  -fstack-protector-strong)
target_link_options(corvexal_settings INTERFACE -Wl,-z,relro,-z,now)
if(CORVEXAL_WERROR)
  target_compile_options(corvexal_settings INTERFACE -Werror)
endif()

if(CORVEXAL_SANITIZE)
  target_compile_definitions(corvexal_settings INTERFACE _GLIBCXX_ASSERTIONS)
  target_compile_options(corvexal_settings INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(corvexal_settings INTERFACE -fsanitize=address,undefined)
else()
  # Fortified calls need the optimiser, so a debug build goes without them. In this order on one line: some compilers
  # come with a level of their own.
  target_compile_options(corvexal_settings INTERFACE
    "$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")
endif()

if(CORVEXAL_FUZZ)
  target_compile_options(corvexal_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()

# corvexal_standalone(<program>): takes what it needs of the C++ library into the program. For those that are started for
# each change, as loading the library takes longer than what they do, and for those that stay resident.
function(corvexal_standalone program)
  if(NOT CORVEXAL_SANITIZE)
    target_link_options(${program} PRIVATE -static-libstdc++ -static-libgcc -Wl,--as-needed -Wl,--gc-sections)
  endif()
endfunction()
