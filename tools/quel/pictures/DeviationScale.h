// The colours of deviations: a legend of intervals about 0, and how many deviations fall into each.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pictures/Picture.h"
#include "quelcore/features/DistCOPCADparms.h"

namespace queltool {

/// From blue (below) over green to red (above); of distances that are never negative only the upper half. Values beyond
/// the ends take the colours of the ends.
class DeviationScale {
 public:
  /// Intervals are 1, 2 or 5 times a power of ten wide, so that the ends lie at 2.5 times the root of the mean square
  /// of `deviations` or somewhat farther. Counts them.
  explicit DeviationScale(const std::vector<double>& deviations, bool isSigned = true);

  Colour colourOf(double deviation) const;

  /// Counts, colours and statistics of both signs, ready for drawing.
  const DistCOPCADparms& analysis() const { return analysis_; }

  /// Draws the scale as a bar in `box`, with the bound of each interval (in millimetres) and the share of deviations in
  /// it.
  void draw(Picture& picture, const Box& box) const;

 private:
  std::size_t intervalOf(double deviation) const;
  void count(const std::vector<double>& deviations);

  DistCOPCADparms analysis_;
};

}  // namespace queltool
