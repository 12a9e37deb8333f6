// Standard streams of 16-bit units on files that are opened by wide path.
#pragma once

#include <cstdint>
#include <locale>
#include <streambuf>
#include <vector>

#include "quelcore/base/FileStream.h"

namespace quelcore {

/// A stream buffer of 16-bit units on a file. In binary mode the bytes are what the facet for 16-bit units of its
/// locale makes of them; in text mode they are UTF-8 whatever the locale. It reads or writes, as its mode says, and
/// does not seek. Bytes that the facet refuses, and an incomplete unit at the end of the file, end the text before
/// them.
class WideFileBuf : public std::basic_streambuf<char16_t> {
 public:
  /// Opens `path`, which must outlive this object; `mode` is u"rb", u"r" or u"wb". `isOpen` tells whether that worked.
  WideFileBuf(const qmWChar* path, const qmWChar* mode);

  bool isOpen() const { return bytes_.isOpen(); }

  /// As for `FileBuf`.
  bool isBroken() const { return bytes_.isBroken(); }

  /// True in binary mode.
  bool isUnits() const { return !isText_; }

  /// Units that were taken so far.
  std::uint64_t position() const { return before_ + static_cast<std::uint64_t>(gptr() - eback()); }

  /// True when reading ended in front of bytes that are no text.
  bool isDamaged() const { return damaged_; }

  /// Writes what is left and closes. False when any of it could not be written (an old file then stays), and when
  /// nothing is open.
  bool close();

  ~WideFileBuf() override { close(); }

 protected:
  void imbue(const std::locale& locale) override;
  int_type underflow() override;
  int_type overflow(int_type unit) override;
  std::streamsize xsputn(const char16_t* from, std::streamsize count) override;
  int sync() override;

 private:
  using Facet = std::codecvt<char16_t, char, std::mbstate_t>;

  std::size_t decode(bool atEnd);
  bool flushUnits();

  std::vector<char> block_;  ///< Bytes that were read and not yet decoded, or room for encoded ones.
  std::vector<char16_t> units_;
  FileBuf bytes_;  // Behind what takes memory: a file that is open for writing is not to meet a failure of that.
  const bool writes_;
  const bool isText_;
  std::locale locale_ = std::locale::classic();
  std::mbstate_t state_{};
  bool damaged_ = false;
  std::uint64_t before_ = 0;  ///< Units of the blocks before this one.
  std::size_t pending_ = 0;   ///< Bytes of an incomplete unit at the beginning of `block_`.
};

}  // namespace quelcore
