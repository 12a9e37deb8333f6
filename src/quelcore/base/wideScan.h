// Searches in 16-bit text, four units at a time.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace quelcore {

namespace widescan {

inline constexpr std::uint64_t kEach = 0x0001000100010001U;  // 1 in each unit
inline constexpr std::uint64_t kTops = 0x8000800080008000U;  // the top bit of each

/// Bits in the first unit, and perhaps in later ones, that is less than `limit`, at most 0x8000: counting down borrows
/// from those alone that are.
inline std::uint64_t lessThan(std::uint64_t units, std::uint64_t limit) {
  return (units - limit * kEach) & ~units & kTops;
}

/// The place of the first unit for which `hits`, given four, leaves bits and `isWanted` holds.
template <typename Hits, typename IsWanted>
std::size_t first(std::u16string_view text, Hits hits, IsWanted isWanted) {
  std::size_t at = 0;
  if constexpr (std::endian::native == std::endian::little) {
    for (std::uint64_t units; at + 4 <= text.size(); at += 4) {
      std::memcpy(&units, text.data() + at, sizeof units);
      if (const std::uint64_t found = hits(units); found != 0) {
        return at + static_cast<std::size_t>(std::countr_zero(found)) / 16;
      }
    }
  }
  while (at < text.size() && !isWanted(text[at])) ++at;
  return at;
}

}  // namespace widescan

/// Where `text` first has `unit`; its size where it has not.
inline std::size_t firstOf(std::u16string_view text, char16_t unit) {
  return widescan::first(
      text, [unit](std::uint64_t units) { return widescan::lessThan(units ^ unit * widescan::kEach, 1); },
      [unit](char16_t x) { return x == unit; });
}

/// Where `text` first has a space or a control character below it; its size where it has not.
inline std::size_t firstUpToSpace(std::u16string_view text) {
  return widescan::first(
      text, [](std::uint64_t units) { return widescan::lessThan(units, u' ' + 1); },
      [](char16_t x) { return x <= u' '; });
}

}  // namespace quelcore
