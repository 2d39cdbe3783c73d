# What is installed: the library with its soname, the public headers, and how CMake and pkg-config find them.

install(TARGETS ZentharRTL
  EXPORT ZentharRTLTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY include/zenthar DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")

# The printers for gdb: beside the library, and where gdb looks for those of a library of this path.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS src/errors/error_codes.cpp)
file(STRINGS src/errors/error_codes.cpp ZENTHAR_ERROR_NAMES REGEX "^    \"[a-z_]+\",$")
string(REGEX REPLACE "[^a-z_]+" " " ZENTHAR_ERROR_NAMES "${ZENTHAR_ERROR_NAMES}")
set(printers ${PROJECT_BINARY_DIR}/libZentharRTL.so.${PROJECT_VERSION}-gdb.py)
configure_file(gdb/printers.py.in ${printers} @ONLY)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(printed_libdir ${CMAKE_INSTALL_LIBDIR})
else()
  set(printed_libdir "\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}")
endif()
install(FILES ${printers} DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${printed_libdir} COMPONENT runtime)

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
