# The Debian package of varnholt-query (cpack -G DEB): both programs, their
# manual pages and the shell completions, with the runtime dependencies that
# dpkg-shlibdeps reads from the binaries.

# The release version is written once, in BuildMetadata.h ("0.6.6-beta"); in
# Debian's ordering a pre-release is marked with "~" (0.6.6~beta < 0.6.6).
file(STRINGS ${PROJECT_SOURCE_DIR}/VarnholtQueryLib/cli/BuildMetadata.h version_line
  REGEX "version = \"[^\"]+\"")
string(REGEX REPLACE ".*version = \"([^\"]+)\".*" "\\1" varnholt_release "${version_line}")
string(REPLACE "-" "~" varnholt_debian_version "${varnholt_release}")

set(VARNHOLT_PACKAGE_MAINTAINER "varnholt-query maintainers <varnholt-query@example.org>"
  CACHE STRING "Name and address of the Debian package's maintainer")

set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(VARNHOLT_DEBIAN_VERSION ${varnholt_debian_version}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(VARNHOLT_RELEASE ${varnholt_release})

# The changelog entry of this build, read from git on every build like the
# commit id of BuildMetadata.
set(changelog ${PROJECT_BINARY_DIR}/packaging/changelog.Debian.gz)
# Two passes: the version and maintainer now, the commit (@AT@...@AT@ becomes
# @...@) at build time.
set(AT "@")
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.Debian.in
  ${PROJECT_BINARY_DIR}/packaging/changelog.Debian.in @ONLY)
add_custom_target(VarnholtDebianChangelog ALL
  COMMAND ${CMAKE_COMMAND}
          -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
          -DTEMPLATE=${PROJECT_BINARY_DIR}/packaging/changelog.Debian.in
          -DOUTPUT=${changelog}
          -P ${PROJECT_SOURCE_DIR}/cmake/GenerateDebianChangelog.cmake
  BYPRODUCTS ${changelog}
  COMMENT "Writing the Debian changelog entry"
  VERBATIM)

install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright
              ${changelog}
  DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(FILES ${PROJECT_SOURCE_DIR}/packaging/lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
  RENAME varnholt-query)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME varnholt-query)
set(CPACK_PACKAGE_VERSION ${varnholt_debian_version})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGE_CONTACT "${VARNHOLT_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${VARNHOLT_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "work memory of a screen recorder, for software agents")
# The extended description; CPack indents each line by one blank and turns
# the empty line into the " ." that separates paragraphs.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"varnholt-query answers questions about the user's recent work from the
database a screen-activity recorder keeps in ~/.varnholt: what happened today
or in any period, as five-minute moments, full-text search over what was on
screen, the applications, people and tools seen, and the recorder's health.
It only reads the database and prints one JSON document per run, for agents
that run it as a subprocess.

varnholt-mcp offers the same answers to agent hosts as a Model Context
Protocol server on standard input and output.")
# Every runtime dependency comes from the binaries themselves.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
