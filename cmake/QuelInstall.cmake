# `cmake --install`: both libraries with their headers, the CMake package and the pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS QuelCore ${QUEL_EMBEDDED_PLATFORM} EXPORT QuelCoreTargets FILE_SET HEADERS)
install(EXPORT QuelCoreTargets NAMESPACE QuelCore:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QuelCore)

configure_package_config_file(cmake/QuelCoreConfig.cmake.in ${PROJECT_BINARY_DIR}/QuelCoreConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QuelCore)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuelCoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuelCoreConfig.cmake ${PROJECT_BINARY_DIR}/QuelCoreConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QuelCore)

file(RELATIVE_PATH QUEL_PREFIX_FROM_PC /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/quelcore.pc.in ${PROJECT_BINARY_DIR}/quelcore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quelcore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
