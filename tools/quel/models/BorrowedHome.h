// A file that the library looks for in the home directory alone, read from where it lies.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "models/TemporaryHome.h"

namespace queltool {

/// While it lives the home directory is a temporary one, which holds a copy of one file.
class BorrowedHome {
 public:
  /// `place` is where the home directory has files of this kind, such as "multistage/4.ini".
  BorrowedHome(const std::filesystem::path& file, const std::filesystem::path& place);

  /// Puts a further file beside the copy, under its own name.
  void addBeside(const std::filesystem::path& file) const;

  /// `text` with the names of the file and its folder where it has those of the copy and the home directory.
  std::string aboutTheFile(std::string text) const;

 private:
  TemporaryHome home_;
  std::filesystem::path file_;
  std::filesystem::path copy_;
  std::string rooted_;  // What the library may call the copy: its path in the home directory, behind a backslash.
};

}  // namespace queltool
