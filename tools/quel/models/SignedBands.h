// Colours of deviations by side and size: seven bands about zero.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "models/Colour.h"

namespace queltool {

/// The limits of a tolerance part the outermost bands, which are open, from five within: up to a fifth, up to three
/// fifths and up to the whole of the way from zero, or from the middle of a tolerance without zero, to a limit.
class SignedBands {
 public:
  static constexpr std::size_t kCount = 7;

  /// `lower` lies below `upper`.
  SignedBands(double lower, double upper);

  /// Ascending; a deviation on a bound belongs to the band nearer the middle.
  std::size_t bandOf(double deviation) const;

  static const Colour& colourOf(std::size_t band);

  /// Between the bands, ascending.
  const std::array<double, kCount - 1>& bounds() const { return bounds_; }

 private:
  std::array<double, kCount - 1> bounds_;
};

/// What each band between `bounds`, ascending, holds, in words: "below" the first, "a to b" and "above" the last.
std::vector<std::string> rangesBetween(const std::vector<std::string>& bounds, const std::string& unit);

}  // namespace queltool
