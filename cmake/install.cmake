# cmake --install: libraries, headers, the CMake package qor::qor and the pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS qor qor_core EXPORT qorTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qor ${QOR_GENERATED_DIR}/include/qor
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(QOR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qor)
install(EXPORT qorTargets NAMESPACE qor:: DESTINATION ${QOR_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qorConfig.cmake.in
  ${CMAKE_BINARY_DIR}/qorConfig.cmake INSTALL_DESTINATION ${QOR_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/qorConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/qorConfig.cmake ${CMAKE_BINARY_DIR}/qorConfigVersion.cmake
  DESTINATION ${QOR_CMAKE_DIR})

# The prefix is found from the installed file's place, so that any --prefix works.
set(QOR_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH QOR_PKGCONFIG_TO_PREFIX /${QOR_PKGCONFIG_DIR} /)
string(REGEX REPLACE "/$" "" QOR_PKGCONFIG_TO_PREFIX "${QOR_PKGCONFIG_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/qor.pc.in ${CMAKE_BINARY_DIR}/qor.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/qor.pc DESTINATION ${QOR_PKGCONFIG_DIR})
