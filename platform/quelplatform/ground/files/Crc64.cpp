#include "quelplatform/ground/files/Crc64.h"

#include <array>

namespace quelplatform {

namespace {

constexpr std::uint64_t kPolynomial = 0xC96C5795D7870F42ULL;

using Table = std::array<std::uint64_t, 256>;

// Table n takes a byte that n further bytes follow, so that eight bytes are taken at once.
constexpr std::array<Table, 8> makeTables() {
  std::array<Table, 8> tables{};
  for (std::uint64_t byte = 0; byte < 256; ++byte) {
    std::uint64_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? (crc >> 1) ^ kPolynomial : crc >> 1;
    tables[0][byte] = crc;
  }
  for (std::size_t n = 1; n < 8; ++n) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint64_t before = tables[n - 1][byte];
      tables[n][byte] = (before >> 8) ^ tables[0][before & 0xff];
    }
  }
  return tables;
}

constexpr auto kTables = makeTables();

}  // namespace

std::uint64_t crc64(std::span<const std::byte> bytes, std::uint64_t before) noexcept {
  std::uint64_t crc = ~before;
  std::size_t at = 0;
  for (; at + 8 <= bytes.size(); at += 8) {
    std::uint64_t mixed = 0;
    for (std::size_t n = 0; n < 8; ++n) {
      const auto byte = (crc >> (8 * n)) & 0xff;
      mixed ^= kTables[7 - n][byte ^ std::to_integer<std::uint64_t>(bytes[at + n])];
    }
    crc = mixed;
  }
  for (; at < bytes.size(); ++at) {
    crc = (crc >> 8) ^ kTables[0][(crc & 0xff) ^ std::to_integer<std::uint64_t>(bytes[at])];
  }
  return ~crc;
}

}  // namespace quelplatform
