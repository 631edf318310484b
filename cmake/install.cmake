# What `cmake --install` and CPack lay down: the host and the back-end side by side, headers, the CMake package
# and vrn.pc. All paths between these files are relative, so that a tree may be moved after it was installed.

include(CMakePackageConfigHelpers)

# Libraries that a program links, and the one that the host opens by itself beside its own file.
set(vrn_linked vrn_core vrn_blas vrn_blas64)
set(vrn_opened vrn_s42)
# The standard BLAS under its usual file name, in a folder of its own: update-alternatives or LD_LIBRARY_PATH choose it.
set(vrn_provider vrn_blas_provider)

# All that is installed, for builds that want no tests.
add_custom_target(vrn_libraries DEPENDS ${vrn_linked} ${vrn_opened} ${vrn_provider})

install(TARGETS ${vrn_linked} EXPORT vrnTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS ${vrn_opened} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS ${vrn_provider} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/vrn NAMELINK_SKIP)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vrn ${PROJECT_BINARY_DIR}/include/vrn
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME copyright)

set(vrn_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vrn)
install(EXPORT vrnTargets NAMESPACE vrn:: DESTINATION ${vrn_package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vrnConfig.cmake.in ${PROJECT_BINARY_DIR}/vrnConfig.cmake
                              INSTALL_DESTINATION ${vrn_package_dir})
# Before 1.0 a new minor version may change what a caller sees.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vrnConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vrnConfig.cmake ${PROJECT_BINARY_DIR}/vrnConfigVersion.cmake
        DESTINATION ${vrn_package_dir})

set(vrn_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH vrn_pc_to_prefix /${vrn_pc_dir} /)
string(REGEX REPLACE "/$" "" vrn_pc_to_prefix ${vrn_pc_to_prefix})
configure_file(${PROJECT_SOURCE_DIR}/cmake/vrn.pc.in ${PROJECT_BINARY_DIR}/vrn.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vrn.pc DESTINATION ${vrn_pc_dir})

# One Debian package with libraries and headers. Its dependencies are read from the libraries themselves.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vrn)
set(CPACK_PACKAGE_CONTACT "the vrn maintainers <vrn@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
include(CPack)
