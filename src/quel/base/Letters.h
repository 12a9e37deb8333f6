// Letters in texts of files. Hidden in the library.
#pragma once

#include <string>

namespace quel {

/// The text with its Latin capitals as small letters.
inline std::string lowerCase(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

}  // namespace quel
