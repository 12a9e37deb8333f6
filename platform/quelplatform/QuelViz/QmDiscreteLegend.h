// Legends of intervals, each with one colour.
#pragma once

#include <cstdint>
#include <vector>

#include "quelplatform/QuelViz/QmLegendBase.h"

/// Intervals between rising thresholds. A value: copies are independent.
class QUELPLATFORM_API QmDiscreteLegend : public QmLegendBase {
 public:
  /// Without intervals.
  QmDiscreteLegend() = default;

  /// True for a legend of this kind; false for another and for null.
  static bool IsDiscreteLegendType(const QmLegendBase* legend) noexcept;

  /// Copies `count` intervals: interval i lies between `thresholds[i]` and `thresholds[i + 1]` and has the colour
  /// `colors[i]` (red, green, blue from 0 to 1). A count of 0 takes no arrays. False, with the legend as it was, when
  /// memory is exhausted or an array is missing.
  bool SetIntervals(std::uint32_t count, const float* thresholds, const float (*colors)[3]) noexcept;

  /// Number of intervals.
  std::uint32_t GetNumOfColor() const noexcept;

  /// Three floats for each interval; null without intervals. Valid until the legend changes.
  const float (*GetColors() const noexcept)[3];

  /// One more than there are intervals; null without intervals. Valid until the legend changes.
  const float* GetThresholds() const noexcept;

 private:
  std::vector<float> thresholds_;
  std::vector<float> colors_;
};
