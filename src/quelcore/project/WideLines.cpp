#include "quelcore/project/WideLines.h"

#include <algorithm>

#include "quelcore/base/byteOrderMark.h"
#include "quelcore/base/wideScan.h"
#include "quelplatform/qmEnv/qmText.h"

namespace quelcore {

namespace {

constexpr std::size_t kPiece = 16384;
constexpr std::size_t kLongestCharacter = 4;

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

/// How much of `bytes` may be converted without the bytes that follow: all up to the last one that begins a character.
std::size_t wholeCharacters(std::string_view bytes) {
  const std::size_t earliest = bytes.size() - std::min(bytes.size(), kLongestCharacter);
  for (std::size_t at = bytes.size(); at > earliest; --at) {
    if (!isContinuation(bytes[at - 1])) return at - 1;
  }
  return bytes.size();
}

bool isAscii(std::string_view bytes) {
  unsigned all = 0;  // Without a way out early, which compilers do many bytes at a time.
  for (const char byte : bytes) all |= static_cast<unsigned char>(byte);
  return all < 0x80;
}

/// ASCII, which most paths are, goes where it belongs without a text of its own on the way.
void append(std::string_view utf8, qmWString& text) {
  if (!isAscii(utf8)) {
    text += toWide(utf8);
    return;
  }
  const std::size_t before = text.size();
  text.resize(before + utf8.size());
  std::transform(utf8.begin(), utf8.end(), text.begin() + static_cast<std::ptrdiff_t>(before),
                 [](char byte) { return static_cast<qmWChar>(byte); });
}

}  // namespace

bool WideLines::readMore() {
  const std::size_t before = bytes_.size();
  bytes_.resize(before + kPiece);
  const std::size_t count = std::fread(bytes_.data() + before, 1, kPiece, file_);
  bytes_.resize(before + count);
  const std::size_t whole = count == 0 ? bytes_.size() : wholeCharacters(bytes_);
  units_.erase(0, at_);
  at_ = 0;
  append(std::string_view(bytes_).substr(0, whole), units_);
  bytes_.erase(0, whole);
  if (atStart_ && !units_.empty()) {
    if (units_.front() == kByteOrderMark) units_.erase(0, 1);
    atStart_ = false;
  }
  return count != 0;
}

bool WideLines::next(std::u16string_view& line) {
  for (bool more = true;;) {
    const std::u16string_view rest = std::u16string_view(units_).substr(at_);
    const std::u16string_view piece = rest.substr(0, most_);
    const std::size_t end = firstOf(piece, u'\n');
    const bool whole = end != piece.size();
    if (whole || rest.size() >= most_ || !more) {
      line = rest.substr(0, whole ? end + 1 : most_);
      at_ += line.size();
      return !line.empty();
    }
    more = readMore();
  }
}

}  // namespace quelcore
