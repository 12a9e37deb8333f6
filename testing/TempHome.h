// A home directory of its own for a test, removed with everything in it at the end.
#pragma once

#include <filesystem>
#include <string>

namespace quel::testing {

/// A fresh directory under the system's temporary directory.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// Path of a file in it, wide, as the libraries take it.
  std::u16string wide(const std::string& name) const;

 private:
  std::filesystem::path path_;
};

/// A fresh directory that is the home directory of the system while it lives.
class TempHome : public TempDir {
 public:
  TempHome();
  ~TempHome();

 private:
  std::string before_;
};

/// Whole content of a file; empty when it cannot be read.
std::string readFile(const std::filesystem::path& path);

/// Makes `count` empty files named e0, e1, ... in a directory: further names of a few files, which are made and removed
/// much faster than files.
void makeManyFiles(const std::filesystem::path& directory, int count);

/// Replaces the content of a file.
void writeFile(const std::filesystem::path& path, const std::string& content);

}  // namespace quel::testing
