// The text files of COLMAP as lines of words. Hidden in the library. Reading throws `BadFile`.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quel/formats/Poses.h"

namespace quel {

/// The words of a line, taken one after the other.
class WordLine {
 public:
  WordLine(std::vector<std::string_view> words, std::int32_t line) : words_(std::move(words)), line_(line) {}

  bool atEnd() const { return next_ == words_.size(); }
  std::int32_t line() const { return line_; }
  std::string word(const char* what);
  double number(const char* what);
  std::int64_t whole(const char* what);
  /// (qw qx qy qz tx ty tz).
  Pose pose();
  /// All numbers up to the end.
  std::vector<double> numbers(const char* what);

  [[noreturn]] void refuse(const std::string& what) const;

 private:
  std::vector<std::string_view> words_;
  std::int32_t line_;
  std::size_t next_ = 0;
};

/// The lines of a text that are no comments, with empty ones, but for those at its end.
std::vector<WordLine> linesOf(std::string_view text);

}  // namespace quel
