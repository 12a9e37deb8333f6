// The colours of deviations: a legend of intervals about 0, and how many deviations fall into each.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pictures/Picture.h"
#include "quelcore/features/DistCOPCADparms.h"

namespace queltool {

/// The colours of `kDiverging`; of distances that are never negative only the upper half. Intervals at the ends are
/// open.
class DeviationScale {
 public:
  /// Intervals are 1, 2 or 5 times a power of ten wide, so that the ends lie at 2.5 times the root of the mean square
  /// of `deviations` or somewhat farther. Counts them.
  explicit DeviationScale(const std::vector<double>& deviations, bool isSigned = true);

  Colour colourOf(double deviation) const;

  /// Counts, colours and statistics of both signs, ready for drawing.
  const DistCOPCADparms& analysis() const { return analysis_; }

  /// What each interval holds, in words, ascending; the outermost are open: "below â0.35 mm".
  std::vector<std::string> ranges() const;

  /// Draws the scale as a bar in `box`, with what each interval holds and the share of deviations in it.
  void draw(Picture& picture, const Box& box) const;

 private:
  std::size_t intervalOf(double deviation) const;
  void count(const std::vector<double>& deviations);

  DistCOPCADparms analysis_;
  bool isSigned_;
};

}  // namespace queltool
