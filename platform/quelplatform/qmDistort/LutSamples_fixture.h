// LUT sets for tests, built cell by cell without the library's allocation.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "quelplatform/qmDistort/qmDistort.h"
#include "testing/Numbers.h"

namespace quel::testing {

inline constexpr float kLargestFloat = std::numeric_limits<float>::max();

/// A set whose cells can be set one by one, with any of the four tables. All cells begin at 0.
class HandMadeLuts {
 public:
  HandMadeLuts(std::int32_t columns, std::int32_t rows, std::vector<float> depths, unsigned tables = 3)
      : depths_(std::move(depths)), luts_{} {
    const auto layers = depths_.size();
    for (std::size_t t = 0; t < 4; ++t) {
      if (((tables >> t) & 1) == 0) continue;
      cells_[t].assign(layers, std::vector<float>(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)));
      rows_[t].resize(layers);
      for (std::size_t layer = 0; layer < layers; ++layer) {
        for (std::int32_t row = 0; row < rows; ++row) {
          rows_[t][layer].push_back(cells_[t][layer].data() + static_cast<std::ptrdiff_t>(row) * columns);
        }
        images_[t].push_back({rows_[t][layer].data(), columns, rows});
      }
      luts_.tables[t] = images_[t].data();
    }
    luts_.lutVersion = 2;
    luts_.tableCount = static_cast<std::int32_t>(layers);
    luts_.gridPitch[0] = luts_.gridPitch[1] = 1;
    luts_.layerDepths = depths_.data();
  }
  HandMadeLuts(const HandMadeLuts&) = delete;
  HandMadeLuts& operator=(const HandMadeLuts&) = delete;

  tag_qmDistortLuts& get() { return luts_; }
  operator const tag_qmDistortLuts*() const { return &luts_; }

  float& cell(std::size_t table, std::size_t layer, std::int32_t row, std::int32_t column) {
    return luts_.tables[table][layer].rows[row][column];
  }

  /// Fills every cell with random values, and some with bit patterns that arithmetic would not keep.
  void fill(std::mt19937_64& random) {
    for (auto& table : cells_) {
      for (auto& layer : table) {
        for (float& value : layer) {
          value = random() % 8 == 0 ? std::bit_cast<float>(static_cast<std::uint32_t>(random()))
                                    : static_cast<float>(uniform(random, -3, 3));
        }
      }
    }
  }

 private:
  std::vector<float> depths_;
  std::array<std::vector<std::vector<float>>, 4> cells_;
  std::array<std::vector<std::vector<float*>>, 4> rows_;
  std::array<std::vector<qmImageRecord>, 4> images_;
  tag_qmDistortLuts luts_;
};

/// True when two sets agree in every bit.
inline bool sameSets(const tag_qmDistortLuts& a, const tag_qmDistortLuts& b) {
  const auto same = [](const auto* x, const auto* y, std::size_t n) { return std::memcmp(x, y, n * sizeof *x) == 0; };
  if (a.lutVersion != b.lutVersion || a.tableCount != b.tableCount || a.reserved != b.reserved ||
      !same(a.gridOrigin, b.gridOrigin, 2) || !same(a.gridPitch, b.gridPitch, 2) ||
      !same(a.layerDepths, b.layerDepths, static_cast<std::size_t>(a.tableCount))) {
    return false;
  }
  for (std::size_t t = 0; t < 4; ++t) {
    if ((a.tables[t] == nullptr) != (b.tables[t] == nullptr)) return false;
    for (std::int32_t layer = 0; a.tables[t] != nullptr && layer < a.tableCount; ++layer) {
      const qmImageRecord &x = a.tables[t][layer], &y = b.tables[t][layer];
      if (x.width != y.width || x.height != y.height) return false;
      for (std::int32_t row = 0; row < x.height; ++row) {
        if (!same(x.rows[row], y.rows[row], static_cast<std::size_t>(x.width))) return false;
      }
    }
  }
  return true;
}

}  // namespace quel::testing
