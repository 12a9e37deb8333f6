foreach(test Base64 Cells DeviationPage DeviationReport DeviationSteps Html Page PageCloud PageMaps Planes)
  quel_add_test(web/${test}_test.cpp quel_parts)
endforeach()
quel_add_test(web/Compression_test.cpp quel_parts ZLIB::ZLIB)
target_compile_definitions(Page_test PRIVATE QUEL_NOTICE="${CMAKE_CURRENT_BINARY_DIR}/NOTICE")

# Those in a browser run where Chromium, its driver and Selenium are. Of what the sanitizers watch a browser runs nothing.
option(QUEL_BROWSER_TESTS "Test pages in a browser" ON)
add_executable(makeDeviationPage web/tests/makeDeviationPage.cpp)
target_link_libraries(makeDeviationPage PRIVATE quel_options quel_parts)

find_program(QUEL_CHROMIUM chromium)
find_program(QUEL_CHROMEDRIVER chromedriver)
find_program(QUEL_BROWSER_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)  # the one that Debian's Selenium belongs to
mark_as_advanced(QUEL_CHROMIUM QUEL_CHROMEDRIVER QUEL_BROWSER_PYTHON)
set(has_selenium 1)
if(QUEL_BROWSER_PYTHON)
  execute_process(COMMAND ${QUEL_BROWSER_PYTHON} -c "import selenium, pytest, PIL" RESULT_VARIABLE has_selenium ERROR_QUIET)
endif()
if(NOT QUEL_BROWSER_TESTS)
  return()
endif()
if(QUEL_CHROMIUM AND QUEL_CHROMEDRIVER AND has_selenium EQUAL 0)
  add_test(NAME browser_test COMMAND ${QUEL_BROWSER_PYTHON} -m pytest -q -p no:cacheprovider ${CMAKE_CURRENT_LIST_DIR})
  set_tests_properties(browser_test PROPERTIES TIMEOUT 900 RUN_SERIAL ON ENVIRONMENT
    "PYTHONDONTWRITEBYTECODE=1;QUEL_PAGE_MAKER=$<TARGET_FILE:makeDeviationPage>;QUEL_CHROMIUM=${QUEL_CHROMIUM};QUEL_CHROMEDRIVER=${QUEL_CHROMEDRIVER};QUEL_EXECUTABLE=$<TARGET_FILE:quel>;QUEL_TEST_DATA=${PROJECT_SOURCE_DIR}/data")
else()
  message(STATUS "Tests of pages in a browser are left out: they need chromium, chromium-driver, python3-selenium, python3-pytest "
                 "and python3-pil (scripts/setup --tests)")
endif()
