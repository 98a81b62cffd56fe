# SPDX-License-Identifier: GPL-3.0-or-later
# What `cmake --install` puts where, and the packages that CPack makes of it.
set(programs Corvexal corvexal-mkcatalogue corvexal-songs corvexal-report corvexal-sync corvexal-watch)
if(TARGET detect_char_encode)
  list(APPEND programs detect_char_encode)
endif()
install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET standard_tags)
  install(TARGETS standard_tags LIBRARY DESTINATION ${CMAKE_INSTALL_BINDIR}/../lib/corvexal)
endif()

# Compressed without a time stamp, so that two builds give the same bytes.
find_program(GZIP gzip REQUIRED)
function(install_compressed source name destination)
  set(compressed ${CMAKE_BINARY_DIR}/installed/${name}.gz)
  add_custom_command(OUTPUT ${compressed} VERBATIM DEPENDS ${source}
    COMMAND sh -c "\"$0\" -9nc \"$1\" >\"$2\"" ${GZIP} ${source} ${compressed})
  set_property(GLOBAL APPEND PROPERTY compressed_files ${compressed})
  install(FILES ${compressed} DESTINATION ${destination})
endfunction()

file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/installed)
foreach(program ${programs})
  install_compressed(${PROJECT_SOURCE_DIR}/docs/man/${program}.1 ${program}.1 ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/completion.bash RENAME ${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()
foreach(page upnpav.conf corvexal-catalogue)
  install_compressed(${PROJECT_SOURCE_DIR}/docs/man/${page}.5 ${page}.5 ${CMAKE_INSTALL_MANDIR}/man5)
endforeach()

set(doc ${CMAKE_INSTALL_DATADIR}/doc/corvexal)
install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${doc})
install_compressed(${PROJECT_SOURCE_DIR}/packaging/changelog.Debian changelog.Debian ${doc})
install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${doc})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/packaging/examples DESTINATION ${doc})
install(FILES ${PROJECT_SOURCE_DIR}/packaging/lintian-overrides RENAME corvexal
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides)
get_property(compressed_files GLOBAL PROPERTY compressed_files)
add_custom_target(compressed_pages ALL DEPENDS ${compressed_files})

configure_file(${PROJECT_SOURCE_DIR}/systemd/corvexal-watch.service.in
  ${CMAKE_BINARY_DIR}/installed/corvexal-watch.service @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/installed/corvexal-watch.service DESTINATION lib/systemd/system)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/logrotate RENAME corvexal
  DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/logrotate.d)

include(Packages)
