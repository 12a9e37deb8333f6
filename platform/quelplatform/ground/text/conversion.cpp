#include "quelplatform/ground/text/conversion.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "quelplatform/ground/text/utf16.h"
#include "quelplatform/ground/text/utf8.h"

namespace quelplatform {

namespace {

// How many bytes at the beginning are ASCII, which most of most texts is: eight at a time, then one by one.
std::size_t asciiLength(std::string_view utf8) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::size_t length = 0;
  for (std::uint64_t eight; length + sizeof eight <= utf8.size(); length += sizeof eight) {
    std::memcpy(&eight, utf8.data() + length, sizeof eight);
    if ((eight & kHighBits) != 0) break;
  }
  while (length < utf8.size() && static_cast<unsigned char>(utf8[length]) < 0x80) ++length;
  return length;
}

// Behind `out`, in which there is room.
void takeAscii(std::string_view& utf8, std::u16string& out) {
  const std::size_t length = asciiLength(utf8), before = out.size();
  out.resize(before + length);
  std::copy_n(utf8.begin(), length, out.begin() + static_cast<std::ptrdiff_t>(before));
  utf8.remove_prefix(length);
}

}  // namespace

std::u16string utf16Of(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  for (;;) {
    takeAscii(utf8, out);
    if (utf8.empty()) return out;
    appendUtf16(out, takeUtf8(utf8));
  }
}

std::string utf8Of(std::u16string_view utf16) {
  std::string out;
  out.reserve(utf16.size());
  while (!utf16.empty()) appendUtf8(out, takeUtf16(utf16));
  return out;
}

}  // namespace quelplatform
