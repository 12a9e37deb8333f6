// The text files of COLMAP as lines of words. Hidden in the library. Reading throws `BadFile`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quel/formats/Poses.h"

namespace quel {

/// The words of a line, taken one after the other.
class WordLine {
 public:
  WordLine(std::string_view text, std::int32_t line) : rest_(text), line_(line) {}

  bool atEnd() const;
  std::string word(const char* what);
  double number(const char* what);
  std::int64_t whole(const char* what);
  /// (qw qx qy qz tx ty tz).
  Pose pose();
  /// All numbers up to the end.
  std::vector<double> numbers(const char* what);

  [[noreturn]] void refuse(const std::string& what) const;

 private:
  std::string_view rest_;
  std::int32_t line_;
};

/// The lines of a text that are no comments.
class LineReader {
 public:
  explicit LineReader(std::string_view text) : rest_(text) {}

  /// The next line, be it empty or not; nothing at the end.
  std::optional<WordLine> next();
  /// The next line with a word.
  std::optional<WordLine> nextFilled();

 private:
  std::string_view rest_;
  std::int32_t line_ = 0;
};

}  // namespace quel
