# How a folder of the house is built: one object library per module folder, one shared library of all folders of a floor,
# one test program per test file.
#
#   quelcore_module(NAME tensor
#     PUBLIC_HEADERS qmReconsTensorCore.h     # installed; each is also compiled alone
#     SOURCES        qmReconsTensorCore.cpp
#     KERNELS        kernels/movePoints.cpp         # compiled once per width
#     TESTS          qmReconsTensorCore_test.cpp
#     CONCURRENT     qmReconsTensorCore_test.cpp    # those of TESTS that also run under the thread sanitizer
#     OPTIMISED      qmReconsTensorCore_test.cpp)   # those of TESTS that are compiled with the flags of the libraries
#
# quelplatform_module() does the same for the platform, quel_module() for libQuel.

# Warnings and floating-point rules that hold for every target of this project, and for nobody who links to it.
add_library(quel_options INTERFACE)
target_compile_options(quel_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast -Wdouble-promotion -Wconversion -Wno-sign-conversion
  -Wnon-virtual-dtor -Woverloaded-virtual $<$<BOOL:${QUELCORE_WERROR}>:-Werror> -ffp-contract=off
  # GCC 12 drops the rounding to float of neighbouring values when it joins them into vectors; records_test watches.
  # It also takes "text" + std::string for a copy onto itself (GCC bug 105651).
  "$<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize;-Wno-restrict>")

if(QUELCORE_TESTS)
  # Builds the tests of what runs on several threads.
  add_custom_target(concurrent_tests)

  set(QUEL_TEST_FLAGS "-Og" CACHE STRING "How the code of tests is compiled, but for the OPTIMISED ones")
  separate_arguments(flags UNIX_COMMAND "${QUEL_TEST_FLAGS}")
  # GoogleTest, precompiled. A program and no library, so that it is compiled with the very flags of the tests.
  add_executable(quel_test_prelude ${PROJECT_SOURCE_DIR}/testing/prelude.cpp)
  target_link_libraries(quel_test_prelude PRIVATE quel_options quel_testing)
  target_compile_options(quel_test_prelude PRIVATE ${flags})
  target_precompile_headers(quel_test_prelude PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
endif()

# The library `LIBRARY` with its include root, and `${LIBRARY}Objects`: the same objects for tests, which so reach hidden
# kernels too. Shared unless BUILD_SHARED_LIBS is off.
function(quel_add_library LIBRARY)
  cmake_parse_arguments(ARG "" "EXPORT_NAME;SYMBOLS;ROOT" "LINK" ${ARGN})
  add_library(${LIBRARY})
  add_library(QuelCore::${ARG_EXPORT_NAME} ALIAS ${LIBRARY})
  set_property(TARGET ${LIBRARY} PROPERTY QUEL_ROOT ${ARG_ROOT})
  target_include_directories(${LIBRARY} PUBLIC $<BUILD_INTERFACE:${ARG_ROOT}>
                                               $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(${LIBRARY} PUBLIC cxx_std_20)
  target_link_libraries(${LIBRARY} ${ARG_LINK})
  set_target_properties(${LIBRARY} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${ARG_EXPORT_NAME}
    VERIFY_INTERFACE_HEADER_SETS ON INSTALL_RPATH "$ORIGIN" LINKER_LANGUAGE CXX)
  if(BUILD_SHARED_LIBS)
    quel_limit_symbols(${LIBRARY} ${ARG_SYMBOLS})
  endif()

  add_library(${LIBRARY}Objects INTERFACE)
  target_include_directories(${LIBRARY}Objects INTERFACE ${ARG_ROOT})
  string(REGEX REPLACE "PUBLIC|PRIVATE" "" links "${ARG_LINK}")
  target_link_libraries(${LIBRARY}Objects INTERFACE ${links})
endfunction()

# Exports the names of a kept list and nothing else, so that no inline template of a third party leaks out.
function(quel_limit_symbols LIBRARY SYMBOLS)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${SYMBOLS})
  file(STRINGS ${SYMBOLS} names REGEX "^[^#]")
  list(JOIN names ";\n    " lines)
  set(script ${PROJECT_BINARY_DIR}/${LIBRARY}.map)
  if(names)
    set(content "{\n  global:\n    ${lines};\n  local: *;\n};\n")
  else()
    set(content "{\n  local: *;\n};\n")
  endif()
  file(CONFIGURE OUTPUT ${script} CONTENT "${content}" @ONLY)
  target_link_options(${LIBRARY} PRIVATE LINKER:--version-script=${script})
  set_property(TARGET ${LIBRARY} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()

function(quel_add_module LIBRARY)
  cmake_parse_arguments(ARG "" "NAME" "PUBLIC_HEADERS;SOURCES;KERNELS;TESTS;CONCURRENT;OPTIMISED;LINK" ${ARGN})
  list(TRANSFORM ARG_PUBLIC_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  get_target_property(root ${LIBRARY} QUEL_ROOT)
  target_sources(${LIBRARY} PUBLIC FILE_SET HEADERS BASE_DIRS ${root} FILES ${ARG_PUBLIC_HEADERS})

  if(ARG_SOURCES)
    set(objects ${LIBRARY}_${ARG_NAME})
    add_library(${objects} OBJECT ${ARG_SOURCES})
    target_link_libraries(${objects} PRIVATE quel_options quel_kernels ${ARG_LINK})
    target_include_directories(${objects} PRIVATE $<TARGET_PROPERTY:${LIBRARY},INCLUDE_DIRECTORIES>)
    target_link_libraries(${objects} PRIVATE $<TARGET_PROPERTY:${LIBRARY},LINK_LIBRARIES>)
    target_sources(${LIBRARY} PRIVATE $<TARGET_OBJECTS:${objects}>)
    target_sources(${LIBRARY}Objects INTERFACE $<TARGET_OBJECTS:${objects}>)
    if(ARG_LINK)
      target_link_libraries(${LIBRARY} PRIVATE ${ARG_LINK})
      target_link_libraries(${LIBRARY}Objects INTERFACE ${ARG_LINK})
    endif()
  endif()

  if(ARG_KERNELS)
    quel_add_kernels(${LIBRARY} ${ARG_NAME} $<TARGET_PROPERTY:${LIBRARY},INCLUDE_DIRECTORIES> ${ARG_KERNELS})
  endif()

  if(QUELCORE_TESTS)
    foreach(test IN LISTS ARG_TESTS)
      set(optimised "")
      if(test IN_LIST ARG_OPTIMISED)
        set(optimised OPTIMISED)
      endif()
      quel_add_test(${test} ${optimised} ${LIBRARY}Objects $<$<NOT:$<STREQUAL:${LIBRARY},QuelPlatform>>:quel_testing_head>)
    endforeach()
    foreach(test IN LISTS ARG_CONCURRENT)
      get_filename_component(name ${test} NAME_WE)
      set_property(TEST ${name} APPEND PROPERTY LABELS concurrent)
      add_dependencies(concurrent_tests ${name})
    endforeach()
  endif()
endfunction()

function(quelcore_module)
  quel_add_module(QuelCore ${ARGN})
endfunction()

function(quelplatform_module)
  quel_add_module(QuelPlatform ${ARGN})
endfunction()

function(quel_module)
  quel_add_module(Quel ${ARGN})
endfunction()

# One test program per file, run as one test: the file's folder and the process are its fixture.
#
#   quel_add_test(X_test.cpp [OPTIMISED] libraries...)
#
# Most tests spend their time in the libraries, so their own code is compiled fast (QUEL_TEST_FLAGS) and GoogleTest only once
# for all. OPTIMISED ones compute references themselves, or test what headers give when optimised.
function(quel_add_test SOURCE)
  cmake_parse_arguments(ARG "OPTIMISED" "" "" ${ARGN})
  get_filename_component(name ${SOURCE} NAME_WE)
  add_executable(${name} ${SOURCE})
  target_link_libraries(${name} PRIVATE quel_options ${ARG_UNPARSED_ARGUMENTS} quel_testing GTest::gmock rapidcheck)
  if(NOT ARG_OPTIMISED)
    separate_arguments(flags UNIX_COMMAND "${QUEL_TEST_FLAGS}")
    target_compile_options(${name} PRIVATE ${flags})
    target_precompile_headers(${name} REUSE_FROM quel_test_prelude)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  if(ARG_OPTIMISED)
    set_tests_properties(${name} PROPERTIES COST 100)  # the long ones first
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()
