// The colours of deviations: intervals about 0, and how many deviations fall into each.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "quel/geometry/Colour.h"
#include "quelcore/features/DistCOPCADparms.h"

namespace quel {

#pragma GCC visibility push(default)

/// The colours of `kDiverging`; of distances that are never negative only the upper half. A deviation that is no number
/// counts nowhere. Copies are independent.
class DeviationScale {
 public:
  struct Interval {
    double lower;  ///< Minus infinity for the lowest one of signed deviations, 0 for that of others.
    double upper;  ///< It belongs to this interval; infinity for the highest one.
    Colour colour;
    std::size_t count;  ///< Deviations in it.
  };

  /// Intervals are 1, 2 or 5 times a power of ten wide, so that the ends lie at 2.5 times the root of the mean square
  /// of `deviations` (N of them, in any unit) or somewhat farther. Counts them.
  explicit DeviationScale(std::span<const double> deviations, bool isSigned = true);

  /// Ascending.
  std::vector<Interval> intervals() const;

  /// Of the interval that holds `deviation`; grey for what is no number.
  Colour colourOf(double deviation) const;

  /// Counts, colours and statistics of both signs, ready for drawing.
  const DistCOPCADparms& analysis() const { return analysis_; }

  bool isSigned() const { return isSigned_; }

 private:
  std::size_t intervalOf(double deviation) const;
  void count(std::span<const double> deviations);

  DistCOPCADparms analysis_;
  bool isSigned_;
};

#pragma GCC visibility pop

}  // namespace quel
