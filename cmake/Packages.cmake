# SPDX-License-Identifier: GPL-3.0-or-later
# The Debian package (`cpack`) and the source archive (`cpack --config CPackSourceConfig.cmake`). scripts/package makes
# both, stripped and with the date of the commit.
set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME corvexal)
set(CPACK_PACKAGE_CONTACT "Corvexal maintainers <maintainers@users.noreply.c-seed-91456012.example>")
set(CPACK_STRIP_FILES ON)
set(CPACK_SET_DESTDIR ON)  # some files go outside the prefix
set(CPACK_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Corvexal keeps the media libraries of a storage device current: the SQLite
catalogue that its UPnP AV server browses and the song store of its DAAP
music server. It runs once for each change on the shared disk. Companions
create, repair, watch and report on a library.")
list(APPEND CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/postinst ${PROJECT_SOURCE_DIR}/packaging/prerm
  ${PROJECT_SOURCE_DIR}/packaging/postrm ${PROJECT_SOURCE_DIR}/packaging/conffiles)

set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME corvexal-${PROJECT_VERSION})
string(REGEX REPLACE "([][+.*()^$?|\\\\])" "\\\\\\1" top "${PROJECT_SOURCE_DIR}")
set(CPACK_SOURCE_IGNORE_FILES "^${top}/build/" "^${top}/\\.git(/|$)" "^${top}/\\.cache/")
include(CPack)
