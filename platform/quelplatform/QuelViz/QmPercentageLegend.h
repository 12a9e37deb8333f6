// Legends of percentages, each band with one colour.
#pragma once

#include <cstdint>
#include <vector>

#include "quelplatform/QuelViz/QmLegendBase.h"

/// Bands from the highest position down. A value: copies are independent.
class QUELPLATFORM_API QmPercentageLegend : public QmLegendBase {
 public:
  /// Without bands.
  QmPercentageLegend() = default;

  /// True for a legend of this kind; false for another and for null.
  static bool IsPercentageLegendType(const QmLegendBase* legend) noexcept;

  /// Copies `count` bands: band i lies between `positions[i]` and `positions[i + 1]` and has the red, green and blue of
  /// `colours[3 i]` to `colours[3 i + 2]`, from 0 to 1. A count of 0 empties the legend and takes no arrays. False,
  /// with the legend as it was, for a count below 0, when memory is exhausted, or when an array is missing.
  bool SetArrayDivision(std::int32_t count, const float* positions, const float* colours) noexcept;

  /// Number of bands.
  std::int32_t GetNumOfColor() const noexcept;

  /// One more than there are bands; null without bands. Valid until the legend changes.
  const float* GetPositions() const noexcept;

  /// Three floats for each band; null without bands. Valid until the legend changes.
  const float* GetColors() const noexcept;

 private:
  std::vector<float> positions_;
  std::vector<float> colors_;
};
