# SPDX-License-Identifier: GPL-3.0-or-later
# Everything from outside, found once and given a target.
include(CheckCXXSourceRuns)

find_package(SQLite3 REQUIRED)
find_package(Threads REQUIRED)

# corvexal_find_library(<target> <header> <library>): an imported target for a library without a CMake package.
function(corvexal_find_library target header library)
  find_path(${target}_INCLUDE_DIR ${header} REQUIRED)
  find_library(${target}_LIBRARY ${library} REQUIRED)
  add_library(${target} UNKNOWN IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES
    IMPORTED_LOCATION ${${target}_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${${target}_INCLUDE_DIR})
endfunction()

corvexal_find_library(gdbm gdbm.h gdbm)
corvexal_find_library(id3tag id3tag.h id3tag)

# The setting tags=standard needs TagLib 1; a build without it refuses the setting.
if(CORVEXAL_TAGLIB)
  find_path(TAGLIB_INCLUDE_DIR taglib.h PATH_SUFFIXES taglib)
  find_library(TAGLIB_LIBRARY tag)
endif()
if(CORVEXAL_TAGLIB AND TAGLIB_INCLUDE_DIR AND TAGLIB_LIBRARY)
  file(STRINGS ${TAGLIB_INCLUDE_DIR}/taglib.h taglib_version REGEX "define TAGLIB_MAJOR_VERSION 1")
endif()
if(taglib_version)
  message(STATUS "Standard tags: TagLib (${TAGLIB_LIBRARY})")
  add_library(taglib INTERFACE)
  target_include_directories(taglib SYSTEM INTERFACE ${TAGLIB_INCLUDE_DIR})
  target_link_libraries(taglib INTERFACE ${TAGLIB_LIBRARY})
else()
  message(STATUS "Standard tags: none, as TagLib 1 is missing or not wanted")
endif()

# Character sets come from the C library, or from GNU libiconv where its header hides the C library's.
find_package(Iconv REQUIRED)
if(Iconv_IS_BUILT_IN)
  message(STATUS "Character sets: the C library's iconv through the adapter")
else()
  message(STATUS "Character sets: GNU libiconv (${Iconv_LIBRARIES})")
endif()

# The companion that guesses the encoding of tag texts is built where libuchardet is there, best as an archive.
find_path(UCHARDET_INCLUDE_DIR uchardet/uchardet.h)
find_library(UCHARDET_LIBRARY NAMES libuchardet.a uchardet)
if(UCHARDET_INCLUDE_DIR AND UCHARDET_LIBRARY)
  add_library(uchardet UNKNOWN IMPORTED GLOBAL)
  set_target_properties(uchardet PROPERTIES
    IMPORTED_LOCATION ${UCHARDET_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${UCHARDET_INCLUDE_DIR})
  # Some processors' tool chains link static position-independent programs that cannot start: one is run to know.
  if(UCHARDET_LIBRARY MATCHES "\\.a$" AND NOT CORVEXAL_SANITIZE
      AND (CMAKE_CROSSCOMPILING_EMULATOR OR NOT CMAKE_CROSSCOMPILING))
    set(CMAKE_REQUIRED_INCLUDES ${UCHARDET_INCLUDE_DIR})
    set(CMAKE_REQUIRED_LIBRARIES ${UCHARDET_LIBRARY})
    set(CMAKE_REQUIRED_FLAGS -fPIE)
    set(CMAKE_REQUIRED_LINK_OPTIONS -static-pie)
    check_cxx_source_runs("
      #include <uchardet/uchardet.h>
      int main() { uchardet_delete(uchardet_new()); }" CORVEXAL_STATIC_DETECTOR)
    if(CORVEXAL_STATIC_DETECTOR STREQUAL "FAILED_TO_RUN")  # CMake's word for a crash under an emulator
      set(CORVEXAL_STATIC_DETECTOR OFF)
    endif()
    unset(CMAKE_REQUIRED_INCLUDES)
    unset(CMAKE_REQUIRED_LIBRARIES)
    unset(CMAKE_REQUIRED_FLAGS)
    unset(CMAKE_REQUIRED_LINK_OPTIONS)
  endif()
  message(STATUS "Encodings of tag texts: detect_char_encode on libuchardet (${UCHARDET_LIBRARY})")
else()
  message(STATUS "Encodings of tag texts: detect_char_encode is not built, libuchardet is missing")
endif()
