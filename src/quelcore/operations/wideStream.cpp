#include "quelcore/operations/wideStream.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "quelcore/base/wideNumber.h"

namespace quelcore {
namespace {

using Traits = WideIStream::traits_type;

// The units of one extraction: looks at the next one, takes it, and remembers that the end was met.
class Reader {
 public:
  explicit Reader(WideIStream& in) : in_(in), ready_(in, true) {
    while (peekIf(isBlank)) take();
  }

  // Ends the extraction: gives the stream its state. Throws where the stream is to throw for that.
  WideIStream& finish() {
    in_.setstate(state_);
    return in_;
  }

  void fail() { state_ |= std::ios_base::failbit; }

  template <typename Accept>
  bool peekIf(Accept accept) {
    if (!ready_) return false;
    const auto unit = in_.rdbuf()->sgetc();
    if (!Traits::eq_int_type(unit, Traits::eof())) return accept(Traits::to_char_type(unit));
    state_ |= std::ios_base::eofbit;
    return false;
  }

  // As a block, which alone carries every unit.
  char16_t take() {
    char16_t unit = 0;
    in_.rdbuf()->sgetn(&unit, 1);
    return unit;
  }

  // Puts the next unit behind `text` when it is accepted. What is collected this way is ASCII.
  template <typename Accept>
  bool collectIf(std::string& text, Accept accept) {
    if (!peekIf(accept)) return false;
    text += static_cast<char>(take());
    return true;
  }

  template <typename Accept>
  bool collectWhile(std::string& text, Accept accept) {
    bool any = false;
    while (collectIf(text, accept)) any = true;
    return any;
  }

  // A plus does not go into the text.
  void collectSign(std::string& text) {
    if (peekIf([](char16_t unit) { return unit == u'+'; })) {
      take();
    } else {
      collectIf(text, [](char16_t unit) { return unit == u'-'; });
    }
  }

 private:
  WideIStream& in_;
  WideIStream::sentry ready_;
  std::ios_base::iostate state_ = std::ios_base::goodbit;
};

// Of the units ahead as much as can begin a number, as standard extraction takes it.
std::string collectReal(Reader& reader) {
  std::string text;
  reader.collectSign(text);
  bool digits = reader.collectWhile(text, isDigit);
  if (reader.collectIf(text, [](char16_t unit) { return unit == u'.'; })) {
    digits = reader.collectWhile(text, isDigit) || digits;
  }
  if (digits && reader.collectIf(text, [](char16_t unit) { return unit == u'e' || unit == u'E'; })) {
    reader.collectSign(text);
    reader.collectWhile(text, isDigit);
  }
  return text;
}

// Of a number beyond the range of a double: whether it is too small rather than too large.
bool isTiny(std::string_view text) {
  const std::size_t exponentAt = std::min(text.find_first_of("eE"), text.size());
  const std::string_view digits = text.substr(0, exponentAt);
  const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
  const auto first = static_cast<std::int64_t>(digits.find_first_of("123456789"));
  std::int64_t exponent = 0;
  if (exponentAt != text.size()) {
    const std::string_view power = text.substr(exponentAt + 1);
    const auto result = std::from_chars(power.data(), power.data() + power.size(), exponent);
    if (result.ec == std::errc::result_out_of_range) return power[0] == '-';
  }
  return exponent < first - point;  // Compared, not summed: the exponent may be any number of 64 bits.
}

// True when all of `text` is one number, which `value` becomes; 0 of its sign for one that is too small.
bool convertReal(const std::string& text, double& value) {
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) {
    value = 0.0;
    return false;
  }
  if (result.ec == std::errc()) return true;
  const bool tiny = isTiny(text);
  value = std::copysign(tiny ? 0.0 : std::numeric_limits<double>::max(), text[0] == '-' ? -1.0 : 1.0);
  return tiny;
}

}  // namespace

WideIStream& extractToken(WideIStream& in, std::u16string& token) {
  Reader reader(in);
  token.clear();
  while (reader.peekIf([](char16_t unit) { return !isBlank(unit); })) token += reader.take();
  if (token.empty()) reader.fail();
  return reader.finish();
}

WideIStream& extractInteger(WideIStream& in, std::int32_t& value) {
  Reader reader(in);
  std::string text;
  reader.collectSign(text);
  reader.collectWhile(text, isDigit);
  value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc()) return reader.finish();
  reader.fail();
  if (result.ec == std::errc::result_out_of_range) {
    using Limits = std::numeric_limits<std::int32_t>;
    value = text[0] == '-' ? Limits::min() : Limits::max();
  }
  return reader.finish();
}

WideIStream& extractReal(WideIStream& in, double& value) {
  Reader reader(in);
  value = 0.0;
  if (!convertReal(collectReal(reader), value)) reader.fail();
  return reader.finish();
}

WideOStream& insertText(WideOStream& out, std::u16string_view text) {
  return out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

WideOStream& insertInteger(WideOStream& out, std::int64_t value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value);
  return insertText(out, std::u16string(digits, end.ptr));
}

WideOStream& insertReal(WideOStream& out, double value) {
  char digits[64];
  const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6);
  return insertText(out, std::u16string(digits, end.ptr));
}

}  // namespace quelcore
