// What is wrong with a material file, and where.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace queltool {

struct MaterialReport {
  bool isWide = false;  ///< 16-bit text, else UTF-8.
  std::size_t tables = 0;
  std::size_t rows = 0;
  std::vector<std::string> errors;    ///< Why the file cannot be read; empty when it can.
  std::vector<std::string> warnings;  ///< What is read otherwise than the file seems to say.
};

/// Checks the bytes of a material file. Every line of the report names the line of the file that it is about.
MaterialReport checkMaterials(std::string_view bytes);

/// The 16-bit text of a material file without its mark as UTF-8; the text of any other file as it is.
std::string utf8OfMaterials(std::string_view bytes);

}  // namespace queltool
