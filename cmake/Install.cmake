# Where everything goes, and how other builds find it: find_package(Trovex) gives Trovex::trovex,
# pkg-config knows "trovex".

include(CMakePackageConfigHelpers)

# What the library, its development files and the program are made of can be installed each by itself;
# the packages are made of these components.
install(TARGETS trovex EXPORT TrovexTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT library NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/trovex
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

set(TROVEX_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Trovex)
install(EXPORT TrovexTargets NAMESPACE Trovex:: DESTINATION ${TROVEX_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/TrovexConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TrovexConfig.cmake INSTALL_DESTINATION ${TROVEX_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TrovexConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/TrovexConfig.cmake
  ${PROJECT_BINARY_DIR}/TrovexConfigVersion.cmake
  DESTINATION ${TROVEX_CMAKE_DIR})

# The package file finds everything from where it stands itself, so that an installed tree may be
# moved, or installed under another prefix than it was configured for.
file(RELATIVE_PATH TROVEX_PKGCONFIG_TO_PREFIX
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/trovex.pc.in ${PROJECT_BINARY_DIR}/trovex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/trovex.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
unset(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME)
