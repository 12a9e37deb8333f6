// Residuals of the views of a board: from where a corner projects to where it was measured.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "demo/BoardData.h"
#include "demo/BoardRun.h"

namespace queltool {

/// Those of one view, corner by corner, pixels.
std::vector<Vec2> residualsOf(const std::vector<Corner>& corners, const BoardRun& run, int camera);

/// The length of the longest of all views.
double longestResidual(const std::vector<Corner>& corners, const BoardRun& run);

Vec2 meanOf(const std::vector<Vec2>& residuals);

inline constexpr std::size_t kBins = 10;

/// How many residuals are how long: bin n from n to n + 1 times a width, the last one also what is longer.
struct Histogram {
  std::array<std::size_t, kBins> used{};   ///< Corners that the head was estimated from.
  std::array<std::size_t, kBins> check{};  ///< Check corners.

  /// The most corners in one bin.
  std::size_t most() const;
};

Histogram histogramOf(const std::vector<Corner>& corners, const std::vector<Vec2>& residuals, double binWidth);

/// The least round width with which all bins reach as far as `longest`.
double binWidthFor(double longest);

}  // namespace queltool
