// Lines of words between blanks, as the text forms of points and meshes have them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quel/clouds/Bytes.h"

namespace quel {

class TextLines {
 public:
  /// Behind `line` lines of the file that `bytes` are the rest of.
  explicit TextLines(Bytes& bytes, std::size_t line = 0) : bytes_(bytes), line_(line) {}

  /// Goes to the next line that has a word; false where there is none.
  bool next();

  /// Goes to the next line that has a word and whose first does not begin with '#'.
  bool nextOf();

  /// Takes the next word of the line; it is empty behind the last one.
  std::string_view word();

  /// Takes the next word, which must be a number. Throws `Error`.
  double number();

  /// Takes the next word, which must be a whole number from 0 on; `what` is what it counts. Throws `Error`.
  std::uint64_t count(const char* what);

  /// True when the line has no further word.
  bool atEnd() const { return rest_.empty(); }

  /// The whole line from its first word on.
  std::string_view whole() const { return whole_; }

  /// Of the line, from 1 on.
  std::size_t line() const { return line_; }

  /// Bytes behind the line, and one more, since the line feed of the last one may be missing.
  std::uint64_t left() const { return bytes_.left() + 1; }

  /// Throws `Error` with the number of the line in front.
  [[noreturn]] void fail(const std::string& what) const;

 private:
  Bytes& bytes_;
  std::size_t line_;
  std::string_view whole_;
  std::string_view rest_;  // Begins with a word unless it is empty.
};

/// The words of a line between blanks.
std::vector<std::string_view> wordsOf(std::string_view line);

/// The beginning of a text as messages show it.
inline std::string_view shown(std::string_view text) { return text.substr(0, 40); }

/// The number that `word` is as a whole, with a decimal point; false where it is none.
bool toNumber(std::string_view word, double& value);

}  // namespace quel
