// Coloured point clouds as PLY files.
#pragma once

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "files/Values.h"
#include "models/Colour.h"

namespace queltool {

/// A binary little-endian PLY file of points (doubles), each with red, green and blue (bytes) and one value.
template <typename Value>
class ColouredPly {
 public:
  /// `count` is the number of points that will be added; `type` is PLY's name for `Value`.
  ColouredPly(std::size_t count, const char* type, const char* name)
      : bytes_(
            fmt::format("ply\nformat binary_little_endian 1.0\nelement vertex {}\nproperty double x\nproperty double "
                        "y\nproperty double z\nproperty uchar red\nproperty uchar green\nproperty uchar "
                        "blue\nproperty {} {}\nend_header\n",
                        count, type, name)) {
    constexpr std::size_t kSize = sizeof(Vec3) + 3 + sizeof(Value);
    bytes_.reserve(bytes_.size() + count * kSize);
  }

  void add(const Vec3& point, const Colour& colour, Value value) {
    for (const double coordinate : point) append(coordinate);
    for (const double share : {colour.red, colour.green, colour.blue}) {
      append(static_cast<std::uint8_t>(std::lround(255.0 * std::clamp(share, 0.0, 1.0))));
    }
    append(value);
  }

  const std::string& bytes() const { return bytes_; }

 private:
  template <typename T>
  void append(T value) {
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }

  std::string bytes_;
};

}  // namespace queltool
