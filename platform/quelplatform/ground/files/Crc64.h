// CRC-64/XZ: reflected polynomial 0xC96C5795D7870F42 (ECMA-182), initial value and final exclusive or all ones. The
// check value of the ASCII digits "123456789" is 0x995DC9BBDF1939FA.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quelplatform {

/// The checksum of `bytes`; with `before` that of earlier bytes, the checksum of all of them in one row.
std::uint64_t crc64(std::span<const std::byte> bytes, std::uint64_t before = 0) noexcept;

}  // namespace quelplatform
