// Positions of whole pixels.
#pragma once

#include <cstdint>

/// Column x and row y of a pixel.
struct QmVec2i {
  std::int32_t x = 0;
  std::int32_t y = 0;

  constexpr QmVec2i() = default;
  constexpr QmVec2i(std::int32_t column, std::int32_t row) : x(column), y(row) {}

  friend constexpr bool operator==(const QmVec2i&, const QmVec2i&) = default;
};
