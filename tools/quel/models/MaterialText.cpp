#include "models/MaterialText.h"

#include "files/WideText.h"

namespace queltool {
namespace {

constexpr std::string_view kMark = "\xFF\xFE";

}  // namespace

bool isWideText(std::string_view bytes) { return bytes.starts_with(kMark); }

std::string utf8OfMaterials(std::string_view bytes) {
  if (!isWideText(bytes)) return std::string(bytes);
  return utf8OfUnits(bytes.substr(kMark.size()), false);
}

}  // namespace queltool
