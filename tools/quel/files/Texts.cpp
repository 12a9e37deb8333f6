#include "files/Texts.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace queltool {

std::vector<std::string> partsOf(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::size_t at = 0;
  do {
    const std::size_t end = std::min(text.find(separator, at), text.size());
    parts.push_back(text.substr(at, end - at));
    at = end + 1;
  } while (at < text.size());
  return parts;
}

std::string joined(const std::vector<std::string>& parts, char separator) {
  std::string text;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i != 0) text += separator;
    text += parts[i];
  }
  return text;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

std::string whyOtherNumberForm(const std::string& text) {
  if (text == "-0" || text == "+0")
    return "takes a decimal point, not a comma, which separates: write " + text + ".1 or 0";
  const bool hasOtherLetters = text.find_first_not_of("0123456789.eE+-") != text.npos;
  const bool isHexadecimal = hasOtherLetters && std::isfinite(numberOf(text).value_or(NAN));
  const bool isOther = isHexadecimal || text.find(',') != text.npos;
  return isOther ? "takes numbers such as -0.1, with a decimal point, and is \"" + text + "\"" : "";
}

std::string whyNoWholeNumber(const std::string& text) {
  const std::size_t first = text.find_first_not_of("+-");
  if (first == text.npos || text[first] != '0' || first + 1 == text.size()) return "";
  return "takes whole numbers such as 12, without a zero in front, and is \"" + text + "\"";
}

// By way of the long form, as the parser of the command line reads its numbers.
std::optional<double> numberOf(const std::string& text) {
  char* end = nullptr;
  const auto value = static_cast<double>(std::strtold(text.c_str(), &end));
  if (text.empty() || end != text.c_str() + text.size()) return std::nullopt;
  return value;
}

}  // namespace queltool
