#include "models/MaterialText.h"

#include "quelplatform/qmEnv/qmText.h"

namespace queltool {
namespace {

constexpr std::string_view kMark = "\xFF\xFE";

std::u16string unitsOf(std::string_view bytes) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                     static_cast<unsigned char>(bytes[2 * i + 1]) << 8);
  }
  return units;
}

}  // namespace

bool isWideText(std::string_view bytes) { return bytes.starts_with(kMark); }

std::string utf8OfMaterials(std::string_view bytes) {
  if (!isWideText(bytes)) return std::string(bytes);
  return toNarrow(unitsOf(bytes.substr(kMark.size())));
}

}  // namespace queltool
