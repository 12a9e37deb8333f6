// Places and sizes in the LUT file, in the order of the tables in docs/formats.md, and access to its numbers, which are
// little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "quelplatform/qmDistort/LutSet.h"
#include "quelplatform/qmEnv/qmFile.h"

namespace quelplatform::lutfile {

/// A byte above 127, the name, both kinds of line end and an end-of-file character: a file that went through a text
/// conversion shows it in its first bytes.
inline constexpr char kMagic[] = "\x89QLUT\r\n\x1a";
inline constexpr std::size_t kMagicSize = sizeof kMagic - 1;
inline constexpr std::uint32_t kVersion = 1;
inline constexpr std::uint32_t kStamped = 1 << 16;  // Beside the version where the file bears a stamp.

// Header.
inline constexpr std::size_t kVersionAt = 8;    // 32-bit unsigned: the version, and from bit 16 on what the file bears
inline constexpr std::size_t kSetCountAt = 12;  // 32-bit unsigned
inline constexpr std::size_t kFileSizeAt = 16;  // 64-bit unsigned: bytes of the whole file
inline constexpr std::size_t kHeaderSize = 24;

// Entry of the table of contents, which follows the header.
inline constexpr std::size_t kIdAt = 0;                  // 24 characters, filled up with NUL
inline constexpr std::size_t kOffsetAt = kLutIdSize;     // 64-bit unsigned, from the file's beginning
inline constexpr std::size_t kLengthAt = kOffsetAt + 8;  // 64-bit unsigned, bytes
inline constexpr std::size_t kEntrySize = kLengthAt + 8;

// A set: its head, then the depths, then the cells.
inline constexpr std::size_t kLutVersionAt = 0;  // 32-bit signed
inline constexpr std::size_t kTableBitsAt = 4;   // 32-bit unsigned; bit i: table i is present
inline constexpr std::size_t kColumnsAt = 8;     // 32-bit signed
inline constexpr std::size_t kRowsAt = 12;       // 32-bit signed
inline constexpr std::size_t kLayersAt = 16;     // 32-bit signed
inline constexpr std::size_t kReservedAt = 20;   // 32-bit, 0
inline constexpr std::size_t kOriginAt = 24;     // two 64-bit floats: x, y
inline constexpr std::size_t kPitchAt = 40;      // two 64-bit floats: x, y
inline constexpr std::size_t kDepthsAt = 56;     // 32-bit floats

// The end of the file.
inline constexpr std::size_t kStampSize = 8;     // of a stamped file: 64-bit unsigned, CRC-64 of the tensor file
inline constexpr std::size_t kChecksumSize = 8;  // CRC-64 of everything before

/// Place of entry `set`, counted from 0, in the table of contents; for the number of sets, the end of that table.
constexpr std::uint64_t entryAt(std::uint64_t set) { return kHeaderSize + set * kEntrySize; }

/// Bytes of a set of sound shape up to its last cell.
inline std::uint64_t setContentSize(const LutShape& shape) {
  return kDepthsAt + (static_cast<std::uint64_t>(shape.layers) + shape.cells()) * sizeof(float);
}

/// The same, filled up to a multiple of 8 so that every set begins at one.
inline std::uint64_t setSize(const LutShape& shape) { return (setContentSize(shape) + 7) / 8 * 8; }

template <typename T>
T get(std::span<const std::byte> bytes, std::uint64_t at) {
  T value;
  std::memcpy(&value, bytes.subspan(at, sizeof value).data(), sizeof value);
  qmEnvFlip(&value, 1, sizeof value);
  return value;
}

template <typename T>
void put(std::span<std::byte> bytes, std::uint64_t at, T value) {
  qmEnvFlip(&value, 1, sizeof value);
  std::memcpy(bytes.subspan(at, sizeof value).data(), &value, sizeof value);
}

inline bool isStamped(std::span<const std::byte> header) {
  return get<std::uint32_t>(header, kVersionAt) == (kVersion | kStamped);
}

/// Bytes behind the last set, by the file's header.
inline std::size_t endSize(std::span<const std::byte> header) {
  return kChecksumSize + (isStamped(header) ? kStampSize : 0);
}

}  // namespace quelplatform::lutfile
