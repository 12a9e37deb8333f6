# What a builder can choose. Everything that only the project itself needs is off where another project includes it.
include(CMakeDependentOption)

set(QUELCORE_PLATFORM "" CACHE STRING
    "CMake package that provides QuelCore::Platform in place of the embedded platform")
set(QUELCORE_PLATFORM_PKGCONFIG "" CACHE STRING
    "pkg-config package of that platform; without one no quelcore.pc is installed")

# Tests, tools and benchmarks use the headers that only the embedded platform has: they set the home directory, capture the
# log and make allocations fail.
set(with_embedded_platform ${PROJECT_IS_TOP_LEVEL})
if(QUELCORE_PLATFORM)
  set(with_embedded_platform OFF)
endif()
option(QUELCORE_TESTS "Build the tests" ${with_embedded_platform})
option(QUELCORE_TOOLS "Build the command-line tool quel" ${with_embedded_platform})
option(QUELCORE_BENCHMARKS "Build the benchmarks" OFF)
option(QUELCORE_FUZZ "Build the fuzz targets" OFF)
set(QUELCORE_FUZZ_ENGINE "" CACHE STRING
    "Linker flag of the engine that drives the fuzz targets; without one they replay the files that they are given")
foreach(part TESTS TOOLS BENCHMARKS FUZZ)
  if(QUELCORE_PLATFORM AND QUELCORE_${part})
    message(FATAL_ERROR "QUELCORE_${part} cannot be on with QUELCORE_PLATFORM=${QUELCORE_PLATFORM}: tests, tools and "
                        "benchmarks use the *Embedded.h headers of QuelCore's own platform. Set one of the two only.")
  endif()
endforeach()

# So do libQuel and the Python module that goes through it.
set(with_layer ON)
if(QUELCORE_PLATFORM)
  set(with_layer OFF)
endif()
option(QUELCORE_LAYER "Build libQuel, the C++20 layer" ${with_layer})
option(QUEL_PYTHON "Build the Python module quel" OFF)
foreach(part QUELCORE_LAYER QUEL_PYTHON)
  if(QUELCORE_PLATFORM AND ${part})
    message(FATAL_ERROR "${part} cannot be on with QUELCORE_PLATFORM=${QUELCORE_PLATFORM}: libQuel uses the *Embedded.h "
                        "headers of QuelCore's own platform. Set one of the two only.")
  endif()
endforeach()
if(QUELCORE_PLATFORM)
  message(STATUS "libQuel is not built, nor the Python module: they use the *Embedded.h headers of QuelCore's own platform")
endif()
foreach(part TESTS TOOLS BENCHMARKS FUZZ)
  if(QUELCORE_${part} AND NOT QUELCORE_LAYER)
    message(FATAL_ERROR "QUELCORE_${part} needs QUELCORE_LAYER: tests, tools and benchmarks go through libQuel.")
  endif()
endforeach()

if(QUEL_PYTHON AND NOT QUELCORE_LAYER)
  message(FATAL_ERROR "QUEL_PYTHON needs QUELCORE_LAYER: the Python module goes through libQuel.")
endif()

option(QUELCORE_INSTALL "Install the libraries, their headers and packages" ${PROJECT_IS_TOP_LEVEL})
option(QUELCORE_WERROR "Take warnings for errors" ${PROJECT_IS_TOP_LEVEL})
option(BUILD_SHARED_LIBS "Build shared libraries; static ones otherwise" ON)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()
