# `cpack -G DEB`: Debian packages of the components. scripts/make-packages configures the build that they come from.
set(CPACK_PACKAGE_NAME quelcore)
set(CPACK_PACKAGE_VENDOR "QuelCore")
set(CPACK_PACKAGE_CONTACT "The QuelCore developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_COMPONENTS_ALL runtime dev tool)
if(QUEL_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(own_libraries "libquelcore${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libquelcore${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}: libraries
 libQuelCore, libQuelPlatform and libQuel, for the programs that link them.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libquelcore-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${own_libraries}")
set(CPACK_COMPONENT_DEV_DESCRIPTION "${PROJECT_DESCRIPTION}: headers
 Headers, CMake package and pkg-config files.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME quel)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${own_libraries}, fonts-dejavu-core")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "${PROJECT_DESCRIPTION}: command-line tool
 Makes, shows and checks calibrated heads and the system's data files, measures with them, and draws pictures.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-quel)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${own_libraries}, python3, python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/prerm)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "${PROJECT_DESCRIPTION}: Python module
 The module quel: heads, points and their uncertainty as NumPy arrays.")

include(CPack)
