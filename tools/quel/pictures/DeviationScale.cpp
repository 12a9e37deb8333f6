#include "pictures/DeviationScale.h"

#include <fmt/core.h>

#include "models/SignedBands.h"
#include "pictures/BandLegend.h"

namespace queltool {

std::vector<std::string> DeviationScale::ranges() const {
  std::vector<double> thresholds;
  for (const Interval& interval : intervals()) thresholds.push_back(interval.upper);
  thresholds.pop_back();
  const std::vector<std::string> bounds = legendNumbers(thresholds, isSigned());
  std::vector<std::string> ranges = rangesBetween(bounds, " mm");
  if (!isSigned()) ranges.front() = fmt::format("0 to {} mm", bounds.front());
  return ranges;
}

void DeviationScale::draw(Picture& picture, const Box& box) const {
  const std::vector<Interval> intervals = this->intervals();
  const std::vector<std::string> ranges = this->ranges();
  double all = 0.0;
  for (const Interval& interval : intervals) all += static_cast<double>(interval.count);
  std::vector<LegendBand> bands;
  for (std::size_t i = 0; i < intervals.size(); ++i) {
    const double share = all == 0.0 ? 0.0 : 100.0 * static_cast<double>(intervals[i].count) / all;
    bands.push_back({intervals[i].colour, ranges[i], {}, fmt::format("{:.1f} %", share)});
  }
  drawBands(picture, box, bands);
}

}  // namespace queltool
