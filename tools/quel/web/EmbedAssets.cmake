# Writes Assets.cpp: cmake -DOUTPUT=Assets.cpp "-DASSETS=name=file|name=file" -P EmbedAssets.cmake
#
# What is embedded is read as it is; nothing of it is in this tree but what lies in assets/.
set(text "#include \"web/Assets.h\"\n\n#include <stdexcept>\n#include <string>\n\nusing namespace std::string_view_literals;\n\nnamespace queltool {\nnamespace {\n\n")
string(APPEND text "constexpr Asset kAssets[] = {\n")
string(REPLACE "|" ";" ASSETS "${ASSETS}")
foreach(pair IN LISTS ASSETS)
  string(REGEX MATCH "^([^=]+)=(.*)$" found "${pair}")
  set(name ${CMAKE_MATCH_1})
  file(READ "${CMAKE_MATCH_2}" content)
  string(TOLOWER "${content}" lower)
  string(FIND "${content}" "\r" at)
  if(NOT at EQUAL -1)
    message(FATAL_ERROR "${name}: has carriage returns, which a browser reads otherwise than they are hashed")
  endif()
  foreach(word "</script" "</style" "<!--" ")quel\"")
    string(FIND "${lower}" "${word}" at)
    if(NOT at EQUAL -1)
      message(FATAL_ERROR "${name}: has ${word}, which ends it, or changes how the rest is read, where it is embedded")
    endif()
  endforeach()
  string(SHA256 sha256 "${content}")
  string(APPEND text "    {\"${name}\", R\"quel(${content})quel\"sv,\n     \"${sha256}\"},\n")
endforeach()
string(APPEND text "};\n\n}  // namespace\n\nconst Asset& asset(std::string_view name) {\n"
  "  for (const Asset& one : kAssets) {\n    if (one.name == name) return one;\n  }\n"
  "  throw std::logic_error(\"no asset is named \" + std::string(name));\n}\n\n}  // namespace queltool\n")
file(WRITE "${OUTPUT}" "${text}")
