# Debian packages: "cpack" in a tree that was configured with CMAKE_INSTALL_PREFIX=/usr makes
#
#   libtrovexN       the shared library
#   libtrovex-dev    headers, and what other builds find it by
#   trovex           the program, which holds the library itself, its manual page and completions
#
# What the packages depend on is found by dpkg-shlibdeps.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME trovex)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_CONTACT "Trovex maintainers <trovex@localhost>" CACHE STRING
    "Who maintains the packages: NAME <ADDRESS>")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL library development)
if(TARGET trovex_cli)
  list(APPEND CPACK_COMPONENTS_ALL program)
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(library_package libtrovex${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "Trovex searches text for several patterns at once, near each other or not there at all,
as regular expressions or by their sound, in one call and without an index.

This package contains the shared library.")
# Other packages that are built with the library come to depend on it.
file(WRITE ${PROJECT_BINARY_DIR}/packages/shlibs
  "libtrovex ${PROJECT_VERSION_MAJOR} ${library_package} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/packages/shlibs)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtrovex-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Trovex searches text for several patterns at once, near each other or not there at all,
as regular expressions or by their sound, in one call and without an index.

This package contains the headers for C++ and C, and what CMake and pkg-config find
the library by.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME trovex)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "Trovex searches text for several patterns at once, near each other or not there at all,
as regular expressions or by their sound, in one call and without an index.

This package contains the command-line program, its manual page, and completions for
bash, zsh and fish.")

include(CPack)

# What has changed, in every package.
find_program(TROVEX_GZIP gzip)
if(TROVEX_GZIP)
  set(changelog ${PROJECT_BINARY_DIR}/packages/changelog.gz)
  add_custom_command(OUTPUT ${changelog}
    COMMAND ${TROVEX_GZIP} -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md > ${changelog}
    DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    VERBATIM)
  add_custom_target(trovex_changelog ALL DEPENDS ${changelog})
  install(FILES ${changelog} COMPONENT library
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${library_package})
  install(FILES ${changelog} COMPONENT development
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtrovex-dev)
  if(TARGET trovex_cli)
    install(FILES ${changelog} COMPONENT program
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/trovex)
  endif()
endif()
