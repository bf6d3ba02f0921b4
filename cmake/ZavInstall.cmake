# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT

# find_package(zav) defines zav::zav (shared) and zav::zav_static; pkg-config has the shared one.
install(TARGETS zav zav_static EXPORT zavTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/zav.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(ZAV_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zav)
install(EXPORT zavTargets NAMESPACE zav:: DESTINATION ${ZAV_CONFIG_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zavConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zavConfig.cmake INSTALL_DESTINATION ${ZAV_CONFIG_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zavConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
# Relative to the .pc file, so an installed tree can be moved.
file(RELATIVE_PATH ZAV_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zav.pc.in ${PROJECT_BINARY_DIR}/zav.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zavConfig.cmake ${PROJECT_BINARY_DIR}/zavConfigVersion.cmake
  DESTINATION ${ZAV_CONFIG_DIR})
install(FILES ${PROJECT_BINARY_DIR}/zav.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
