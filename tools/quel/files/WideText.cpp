#include "files/WideText.h"

#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

std::string utf8OfUnits(std::string_view bytes, bool highFirst) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto first = static_cast<unsigned char>(bytes[2 * i]);
    const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
    units[i] = static_cast<char16_t>(highFirst ? first << 8 | second : second << 8 | first);
  }
  return toNarrow(units);
}

std::string utf8OfText(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE")) return utf8OfUnits(bytes.substr(2), false);
  if (bytes.starts_with("\xFE\xFF")) return utf8OfUnits(bytes.substr(2), true);
  return std::string(bytes.substr(bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0));
}

}  // namespace queltool
