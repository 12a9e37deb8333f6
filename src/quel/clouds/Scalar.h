// The types of numbers in binary files of points.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quel {

enum class Scalar { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float, Double, Int64, UInt64 };

inline std::size_t sizeOf(Scalar type) {
  constexpr std::size_t kSizes[] = {1, 1, 2, 2, 4, 4, 4, 8, 8, 8};
  return kSizes[static_cast<std::size_t>(type)];
}

template <typename T>
double asDouble(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  return static_cast<double>(value);
}

static_assert(std::endian::native == std::endian::little);

/// The number of that type, low byte first.
inline double decode(Scalar type, const char* bytes) {
  switch (type) {
    case Scalar::Int8:
      return asDouble<std::int8_t>(bytes);
    case Scalar::UInt8:
      return asDouble<std::uint8_t>(bytes);
    case Scalar::Int16:
      return asDouble<std::int16_t>(bytes);
    case Scalar::UInt16:
      return asDouble<std::uint16_t>(bytes);
    case Scalar::Int32:
      return asDouble<std::int32_t>(bytes);
    case Scalar::UInt32:
      return asDouble<std::uint32_t>(bytes);
    case Scalar::Float:
      return asDouble<float>(bytes);
    case Scalar::Double:
      return asDouble<double>(bytes);
    case Scalar::Int64:
      return asDouble<std::int64_t>(bytes);
    case Scalar::UInt64:
      return asDouble<std::uint64_t>(bytes);
  }
  return 0.0;
}

/// The same, high byte first.
inline double decodeBigEndian(Scalar type, const char* bytes) {
  char turned[8];
  std::reverse_copy(bytes, bytes + sizeOf(type), turned);
  return decode(type, turned);
}

}  // namespace quel
