// A file that is written bit by bit and takes its place as a whole.
#pragma once

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "files/FileUses.h"
#include "files/Temporaries.h"

namespace queltool {

/// Writes what `writeOutput` would write, with no more than a block of it in memory. Everything throws `Failure`.
class OutputStream {
 public:
  explicit OutputStream(const OutputFile& file);

  /// Writes to `file`, whatever its name is.
  explicit OutputStream(const std::filesystem::path& file);

  /// Leaves the old file, or none, unless it was finished.
  ~OutputStream();
  OutputStream(const OutputStream&) = delete;
  OutputStream& operator=(const OutputStream&) = delete;

  /// Writes behind what was written.
  void write(std::string_view content);

  /// Puts the file in its place.
  void finish();

 private:
  void open();
  void flush();
  void writeBlock(std::string_view block);
  void discard();

  std::filesystem::path file_;  // Empty for standard output.
  std::string block_;
  std::FILE* stream_ = nullptr;  // Null for standard output.
  bool replaces_ = false;
  std::optional<Undisturbed> untilItIsThere_;
};

}  // namespace queltool
