# Pages for browsers: their sources, and the scripts, styles and notices that are built into the tool, where a browser's policy
# knows them by their SHA-256. three.js is read from where the system has it.
find_package(ZLIB REQUIRED)
find_file(QUEL_THREE_JS three.min.js PATHS /usr/share/javascript/three DOC "three.js, which pages of quel carry")
if(NOT QUEL_THREE_JS)
  message(FATAL_ERROR "three.min.js, which pages of quel carry, is not found: install Debian's libjs-three (scripts/setup does), "
                      "or name the file with -DQUEL_THREE_JS=FILE; -DQUELCORE_TOOLS=OFF builds without the tool")
endif()

set(web ${CMAKE_CURRENT_LIST_DIR})
set(web_assets page.css head.css page.html view.html deviation.html three-notice.txt
  blocks.js numbers.js theme.js pose.js controls.js pacer.js still.js view.js marks.js page.js
  grading.js cloud.js tolerance.js legend.js histogram.js picking.js deviation.js maps.js scene.js head.js)
set(pairs three.js=${QUEL_THREE_JS})
set(files ${QUEL_THREE_JS})
foreach(name IN LISTS web_assets)
  list(APPEND pairs ${name}=${web}/assets/${name})
  list(APPEND files ${web}/assets/${name})
endforeach()
list(JOIN pairs "|" pairs)
set(embedded ${CMAKE_CURRENT_BINARY_DIR}/web/Assets.cpp)
add_custom_command(OUTPUT ${embedded}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${embedded} "-DASSETS=${pairs}" -P ${web}/EmbedAssets.cmake
  DEPENDS ${files} ${web}/EmbedAssets.cmake ${web}/Web.cmake VERBATIM COMMENT "Embedding what pages carry")
# The text of a script is longer than a standard promises for one literal.
set_source_files_properties(${embedded} PROPERTIES COMPILE_OPTIONS -Wno-overlength-strings SKIP_PRECOMPILE_HEADERS ON)

target_sources(quel_parts PRIVATE ${embedded}
  web/Base64.cpp web/Cells.cpp web/Compression.cpp web/DeviationPage.cpp web/DeviationReport.cpp web/DeviationSteps.cpp web/HeadMaps.cpp web/HeadPage.cpp web/HeadReport.cpp web/HeadScene.cpp web/PageMaps.cpp
  web/Html.cpp web/Origin.cpp web/Page.cpp
  web/PageCloud.cpp web/Planes.cpp)
target_link_libraries(quel_parts PRIVATE ZLIB::ZLIB)

include(${web}/Notices.cmake)
