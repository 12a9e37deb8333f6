// Numbers in text, and text itself. Input: text in UTF-8, taken as numbers by every reader of them; its first bytes are
// taken as numbers to be written, too.
//
// Losses: what stands behind a number; what is no UTF-8 becomes U+FFFD.
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/base/wideNumber.h"
#include "quelplatform/ground/text/conversion.h"
#include "quelplatform/ground/text/iniNumber.h"
#include "quelplatform/ground/text/wideNumber.h"
#include "quelplatform/windows/wideText.h"

namespace {

using Wide = __int128;

/// A whole number as plain as it can be: blanks, a sign, digits; beyond 38 digits as large as can be.
struct Plain {
  Wide value = 0;
  bool hasDigits = false;
  bool endsHere = false;  ///< Nothing but blanks behind.
};

Plain plainOf(std::u16string_view text) {
  const auto isBlank = [](char16_t unit) { return unit == u' ' || (unit >= 9 && unit <= 13); };
  std::size_t at = 0;
  while (at < text.size() && isBlank(text[at])) ++at;
  const bool minus = at < text.size() && text[at] == u'-';
  if (at < text.size() && (text[at] == u'-' || text[at] == u'+')) ++at;
  Plain plain;
  for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at) {
    plain.hasDigits = true;
    if (plain.value < Wide{1} << 100) plain.value = 10 * plain.value + (text[at] - u'0');
  }
  if (minus) plain.value = -plain.value;
  while (at < text.size() && isBlank(text[at])) ++at;
  plain.endsHere = at == text.size();
  return plain;
}

void requireWhole(const qmWString& text) {
  const Plain plain = plainOf(text);
  const Wide lowest = std::numeric_limits<std::int32_t>::min();
  const Wide highest = std::numeric_limits<std::int32_t>::max();
  const Wide nearest = plain.value < lowest ? lowest : plain.value > highest ? highest : plain.value;
  quelfuzz::require(quelplatform::clampedInteger(text) == static_cast<std::int32_t>(nearest), "the nearest number");
  quelfuzz::require(_wtoi(text.c_str()) == static_cast<std::int32_t>(nearest), "the call's number is the same");
  if (plain.value < Wide{1} << 100 && plain.value > -(Wide{1} << 100)) {
    quelfuzz::require(quelplatform::wrappedInteger(text) == static_cast<std::uint32_t>(plain.value), "wrapped");
  }
  const Wide most = std::numeric_limits<std::uint32_t>::max();
  const bool fits = plain.hasDigits && plain.endsHere && plain.value >= lowest && plain.value <= most;
  quelfuzz::require(quelcore::isWholeNumber(text) == fits, "a whole number of 32 bits is known");
  const auto extracted = quelcore::extractedUnsigned(text);
  const bool extractable = plain.hasDigits && plain.value >= -most && plain.value <= most;
  quelfuzz::require(extracted.has_value() == extractable, "a number that fits is extracted");
  if (extracted) quelfuzz::require(*extracted == static_cast<std::uint32_t>(plain.value), "as what it is modulo 2^32");
}

/// A number that is nothing but that reads as the standard library reads it.
void requireReal(const qmWString& text) {
  const double value = quelplatform::decimalNumber(text);
  quelfuzz::require(!std::isnan(value), "there is always a number");
  if (!quelcore::isRealNumber(text)) return;
  std::string plain;
  for (const char16_t unit : text) {
    if (unit != u'+' || (!plain.empty() && (plain.back() == 'e' || plain.back() == 'E')))
      plain += static_cast<char>(unit);
  }
  plain.erase(0, plain.find_first_not_of(" \t\n\v\f\r"));
  double expected = 0.0;
  const auto result = std::from_chars(plain.data(), plain.data() + plain.size(), expected);
  if (result.ec == std::errc()) {
    quelfuzz::require(std::memcmp(&value, &expected, sizeof value) == 0, "a number is rounded correctly");
  } else {
    quelfuzz::require(std::isinf(value) || std::abs(value) < 1e-300, "a number beyond a double is its nearest");
  }
}

void requireIni(const std::string& text) {
  if (const auto number = quelplatform::iniNumber<double>(text)) {
    quelfuzz::require(std::isfinite(*number), "numbers of configurations are finite");
  }
  if (const auto whole = quelplatform::iniNumber<std::int32_t>(text)) {
    quelfuzz::require(quelplatform::clampedInteger(quelplatform::utf16Of(text)) == *whole, "a whole number is one");
    quelfuzz::require(quelplatform::iniNumber<double>(text) == *whole, "a whole number is a number");
  }
}

/// What is written for numbers reads as these.
void requireWritten(quelfuzz::Input in) {
  const double real = in.real();
  const std::uint32_t whole = in.word();
  const qmWString text = quelcore::decimalText(whole);
  quelfuzz::require(quelcore::leadingUnsigned(text) == whole && quelplatform::wrappedInteger(text) == whole, "written");
  if (!std::isfinite(real)) return;
  char digits[32];
  const std::string written(digits, std::to_chars(digits, digits + sizeof digits, real).ptr);
  const double read = quelplatform::decimalNumber(quelplatform::utf16Of(written));
  quelfuzz::require(std::memcmp(&read, &real, sizeof real) == 0, "a number keeps its bits");
  const auto ini = quelplatform::iniNumber<double>(written);
  quelfuzz::require(ini && std::memcmp(&*ini, &real, sizeof real) == 0, "a number of a configuration keeps its bits");
}

void requireText(const std::string& bytes, const qmWString& text) {
  const std::string utf8 = quelplatform::utf8Of(text);
  quelfuzz::require(quelplatform::utf16Of(utf8) == text, "text stays text");
  if (text.find(u'\xFFFD') == text.npos) quelfuzz::require(utf8 == bytes, "good UTF-8 stays as it is");
  qmWString lower = text;
  for (qmWChar& unit : lower) unit = qmWideLower(unit);
  quelfuzz::require(_wcsicmp(lower.c_str(), text.c_str()) == 0, "small letters are equal but for their case");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = quelfuzz::bytesOf(data, size);
  requireWritten(quelfuzz::Input(input));
  const std::string bytes(input.substr(0, input.find('\0')));
  qmWString text;
  {
    const quelfuzz::MemoryWatch watch;
    text = quelplatform::utf16Of(bytes);
    watch.requireAtMost(quelfuzz::kTimesFile, 0, size);
  }
  requireText(bytes, text);
  requireWhole(text);
  requireReal(text);
  requireIni(bytes);
  // The same units as they are, lone surrogates included.
  const qmWString units = quelfuzz::unitsOf(input);
  requireWhole(units);
  quelplatform::decimalNumber(units);
  const std::string narrow = quelplatform::utf8Of(units);
  quelfuzz::require(quelplatform::utf8Of(quelplatform::utf16Of(narrow)) == narrow, "what was text once stays text");
  return 0;
}
