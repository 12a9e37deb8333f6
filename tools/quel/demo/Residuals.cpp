#include "demo/Residuals.h"

#include <algorithm>
#include <cmath>

#include "pictures/ViewMarks.h"

namespace queltool {

std::vector<Vec2> residualsOf(const std::vector<Corner>& corners, const BoardRun& run, int camera) {
  const auto i = static_cast<std::size_t>(camera);
  std::vector<Vec2> residuals;
  for (std::size_t n = 0; n < corners.size(); ++n) {
    const Vec2& measured = corners[n].pixels[i];
    const Vec2& projected = run.projected[n][i];
    residuals.push_back({measured[0] - projected[0], measured[1] - projected[1]});
  }
  return residuals;
}

double longestResidual(const std::vector<Corner>& corners, const BoardRun& run) {
  double longest = 0.0;
  for (int camera = 0; camera < 3; ++camera) {
    for (const Vec2& r : residualsOf(corners, run, camera)) longest = std::max(longest, std::hypot(r[0], r[1]));
  }
  return longest;
}

Vec2 meanOf(const std::vector<Vec2>& residuals) {
  Vec2 sum{};
  for (const Vec2& r : residuals) sum = {sum[0] + r[0], sum[1] + r[1]};
  const auto count = static_cast<double>(std::max<std::size_t>(residuals.size(), 1));
  return {sum[0] / count, sum[1] / count};
}

std::size_t Histogram::most() const {
  std::size_t most = 0;
  for (std::size_t bin = 0; bin < kBins; ++bin) most = std::max(most, used[bin] + check[bin]);
  return most;
}

Histogram histogramOf(const std::vector<Corner>& corners, const std::vector<Vec2>& residuals, double binWidth) {
  Histogram histogram;
  for (std::size_t n = 0; n < residuals.size(); ++n) {
    const double bins = std::hypot(residuals[n][0], residuals[n][1]) / binWidth;
    const std::size_t bin = bins < kBins ? static_cast<std::size_t>(bins) : kBins - 1;
    ++(corners[n].check ? histogram.check : histogram.used)[bin];
  }
  return histogram;
}

double binWidthFor(double longest) {
  const double least = std::max(longest, 1e-6) / kBins;
  const double below = roundLength(least);
  return below >= least ? below : roundLength(2.5 * below);
}

}  // namespace queltool
