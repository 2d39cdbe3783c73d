# What is installed: the library with its soname, the public headers, and how CMake and pkg-config find them.

install(TARGETS ZentharRTL
  EXPORT ZentharRTLTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY include/zenthar DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZentharRTL)
install(EXPORT ZentharRTLTargets NAMESPACE Zenthar:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/ZentharRTLConfig.cmake.in ${PROJECT_BINARY_DIR}/ZentharRTLConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
# Before version 1 a minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZentharRTLConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZentharRTLConfig.cmake ${PROJECT_BINARY_DIR}/ZentharRTLConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

file(RELATIVE_PATH ZENTHAR_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" ZENTHAR_PC_PREFIX "${ZENTHAR_PC_PREFIX}")
configure_file(cmake/ZentharRTL.pc.in ${PROJECT_BINARY_DIR}/ZentharRTL.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ZentharRTL.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
