// Numbers in configuration files: the whole text counts, and no locale plays in.
#pragma once

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace quelplatform {

/// The number that all of `text` is, with an optional sign; nothing for any other text, for a value that `Number`
/// cannot hold, and for infinities and NaN.
template <typename Number>
std::optional<Number> iniNumber(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if constexpr (std::is_floating_point_v<Number>) {
    if (!std::isfinite(value)) return std::nullopt;
  }
  return value;
}

}  // namespace quelplatform
