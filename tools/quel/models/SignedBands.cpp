#include "models/SignedBands.h"

namespace queltool {

// Zero is the middle where the tolerance holds it.
SignedBands::SignedBands(double lower, double upper) {
  const double middle = lower < 0.0 && upper > 0.0 ? 0.0 : 0.5 * lower + 0.5 * upper;
  const auto below = [&](double share) { return (1.0 - share) * middle + share * lower; };
  const auto above = [&](double share) { return (1.0 - share) * middle + share * upper; };
  bounds_ = {lower, below(0.6), below(0.2), above(0.2), above(0.6), upper};
}

std::size_t SignedBands::bandOf(double deviation) const {
  std::size_t band = kCount / 2;
  while (band < bounds_.size() && deviation > bounds_[band]) ++band;
  while (band > 0 && deviation < bounds_[band - 1]) --band;
  return band;
}

const Colour& SignedBands::colourOf(std::size_t band) {
  constexpr std::size_t kPlaces[kCount] = {0, 2, 3, 4, 5, 6, 8};
  return kDiverging[kPlaces[band]];
}

std::vector<std::string> rangesBetween(const std::vector<std::string>& bounds, const std::string& unit) {
  if (bounds.empty()) return {"all"};
  std::vector<std::string> ranges = {"below " + bounds.front() + unit};
  for (std::size_t i = 1; i < bounds.size(); ++i) ranges.push_back(bounds[i - 1] + " to " + bounds[i] + unit);
  ranges.push_back("above " + bounds.back() + unit);
  return ranges;
}

}  // namespace queltool
