# Installs the exported targets so that an application can
#   find_package(VorloQtWidgets) and link VorloQtWidgets::VorloQtWidgets,
# and writes a pkg-config file beside them.

set(VORLO_CMAKE_INSTALL_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/VorloQtWidgets")

install(EXPORT VorloQtWidgetsTargets
  NAMESPACE VorloQtWidgets::
  FILE VorloQtWidgetsTargets.cmake
  DESTINATION ${VORLO_CMAKE_INSTALL_DIR})

configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/VorloQtWidgetsConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/VorloQtWidgetsConfig.cmake"
  INSTALL_DESTINATION ${VORLO_CMAKE_INSTALL_DIR})
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/VorloQtWidgetsConfigVersion.cmake"
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/VorloQtWidgetsConfig.cmake"
  "${PROJECT_BINARY_DIR}/VorloQtWidgetsConfigVersion.cmake"
  DESTINATION ${VORLO_CMAKE_INSTALL_DIR})

# The pkg-config file finds its prefix from where it lies, so that an install with
# "cmake --install --prefix" elsewhere stays right.
file(RELATIVE_PATH VORLO_PC_RELATIVE_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" VORLO_PC_RELATIVE_PREFIX "${VORLO_PC_RELATIVE_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/VorloQtWidgets.pc.in"
  "${PROJECT_BINARY_DIR}/VorloQtWidgets.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/VorloQtWidgets.pc"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
