# Everything from outside, found once and given a target.
include(CheckCXXSourceCompiles)

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

# Character sets come from GNU libiconv where <iconv.h> is its header, else from the C library.
find_library(LIBICONV_LIBRARY iconv)
check_cxx_source_compiles("
  #include <iconv.h>
  #ifndef _LIBICONV_VERSION
  #error the C library's own
  #endif
  int main() {}" CORVEXAL_GNU_LIBICONV)
add_library(iconv INTERFACE)
if(CORVEXAL_GNU_LIBICONV AND NOT LIBICONV_LIBRARY)
  message(FATAL_ERROR "<iconv.h> is GNU libiconv's, but the library is missing: install it or take its header away")
elseif(CORVEXAL_GNU_LIBICONV)
  message(STATUS "Character sets: GNU libiconv (${LIBICONV_LIBRARY})")
  target_link_libraries(iconv INTERFACE ${LIBICONV_LIBRARY})
else()
  message(STATUS "Character sets: the C library's iconv behind the adapter")
endif()
