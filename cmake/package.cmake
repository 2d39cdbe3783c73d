# Debian packages, made by `cpack` in a build whose prefix is /usr (the preset `package`): the library, what is needed
# to build with it, and its debug symbols, each from the component of that name.

set(runtime_package libzentharrtl${PROJECT_VERSION_MAJOR})
set(development_package libzentharrtl-dev)
install(FILES cmake/debian/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${runtime_package} COMPONENT runtime)
install(FILES cmake/debian/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${development_package} COMPONENT development)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zentharrtl)
set(CPACK_PACKAGE_VENDOR "ZentharRTL developers")
set(CPACK_PACKAGE_CONTACT "ZentharRTL developers <developers@zentharrtl.invalid>")
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
# Staged under a root directory of its own, so that paths which follow from the prefix are those of the target.
set(CPACK_SET_DESTDIR ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Memory with accounting and limits, dense arrays, element-wise mathematics with
overflow and floating-point checks, tolerant comparison, hashing, threads and
parallel loops, random numbers, errors and aborts.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, and what CMake and pkg-config need to build with the library.")
include(CPack)
