# `cmake --install`: the libraries with their headers, the CMake package and the pkg-config files. What runs programs is the
# component runtime, what builds them dev; the tool and the Python module are components of their own.
include(CMakePackageConfigHelpers)

set(libraries QuelCore)
if(NOT QUELCORE_PLATFORM)
  list(APPEND libraries QuelPlatform)
endif()
if(QUELCORE_LAYER)
  list(APPEND libraries Quel)
endif()
install(TARGETS ${libraries} EXPORT QuelCoreTargets
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
        ARCHIVE COMPONENT dev
        FILE_SET HEADERS COMPONENT dev)
install(EXPORT QuelCoreTargets NAMESPACE QuelCore:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QuelCore COMPONENT dev)

configure_package_config_file(cmake/QuelCoreConfig.cmake.in ${PROJECT_BINARY_DIR}/QuelCoreConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QuelCore)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuelCoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuelCoreConfig.cmake ${PROJECT_BINARY_DIR}/QuelCoreConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QuelCore COMPONENT dev)

install(FILES CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libquelcore${PROJECT_VERSION_MAJOR} COMPONENT runtime)

# pkg-config finds both libraries, each in a package of its own. A static library leaves what it stands on to who links it.
file(RELATIVE_PATH QUEL_PREFIX_FROM_PC /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
set(QUEL_PC_PLATFORM_REQUIRES "")
set(QUEL_PC_CORE_LIBS "")
set(QUEL_PC_LAYER_REQUIRES "")
if(NOT BUILD_SHARED_LIBS)
  set(QUEL_PC_PLATFORM_REQUIRES "spdlog fmt pugixml icu-i18n icu-uc")
  set(QUEL_PC_CORE_LIBS ${OpenMP_CXX_FLAGS})
  set(QUEL_PC_LAYER_REQUIRES "yaml-cpp pugixml fmt liblzf")
endif()
function(quel_install_pkgconfig NAME)
  configure_file(cmake/${NAME}.pc.in ${PROJECT_BINARY_DIR}/${NAME}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${NAME}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endfunction()
if(QUELCORE_LAYER)
  quel_install_pkgconfig(quel)
endif()
if(NOT QUELCORE_PLATFORM)
  set(QUEL_PC_PLATFORM quelplatform)
  quel_install_pkgconfig(quelplatform)
  quel_install_pkgconfig(quelcore)
elseif(QUELCORE_PLATFORM_PKGCONFIG)
  set(QUEL_PC_PLATFORM ${QUELCORE_PLATFORM_PKGCONFIG})
  quel_install_pkgconfig(quelcore)
endif()
