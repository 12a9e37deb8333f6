// Lines of a UTF-8 text file as wide text.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "quelplatform/qmEnv/qmTypes.h"

namespace quelcore {

/// Reads an open file line by line. A mark at its beginning is passed over, malformed bytes give U+FFFD. Whatever the
/// file holds, no more than a fixed piece of it is kept in memory.
class WideLines {
 public:
  /// `file` stays the caller's. A line of more than `most` units comes in pieces of that many.
  WideLines(std::FILE* file, std::size_t most) : file_(file), most_(most) {}

  /// Gives the next line, its line feed at its end unless it is a piece or the file's end. False when there is none.
  /// The line is valid until the next call. Throws std::bad_alloc.
  bool next(std::u16string_view& line);

  /// True when the file could not be read to its end.
  bool failed() const { return std::ferror(file_) != 0; }

 private:
  bool readMore();

  std::FILE* file_;
  std::size_t most_;
  std::string bytes_;  ///< Read and not converted: the beginning of a character.
  qmWString units_;
  std::size_t at_ = 0;  ///< Where the next line begins in `units_`.
  bool atStart_ = true;
};

}  // namespace quelcore
