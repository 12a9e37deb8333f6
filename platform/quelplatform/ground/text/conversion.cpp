#include "quelplatform/ground/text/conversion.h"

#include "quelplatform/ground/text/utf16.h"
#include "quelplatform/ground/text/utf8.h"

namespace quelplatform {

std::u16string utf16Of(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  while (!utf8.empty()) appendUtf16(out, takeUtf8(utf8));
  return out;
}

std::string utf8Of(std::u16string_view utf16) {
  std::string out;
  out.reserve(utf16.size());
  while (!utf16.empty()) appendUtf8(out, takeUtf16(utf16));
  return out;
}

}  // namespace quelplatform
