#include "quel/geometry/Residuals.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quel {

Residuals residualsOf(std::vector<double> each) {
  Residuals residuals;
  if (each.empty()) return residuals;
  const auto count = static_cast<double>(each.size());
  double sizes = 0.0;
  double squares = 0.0;
  for (const double d : each) {
    residuals.mean += d / count;
    sizes += std::abs(d) / count;
    squares += d * d / count;
  }
  double spread = 0.0;
  for (const double d : each) spread += (std::abs(d) - sizes) * (std::abs(d) - sizes) / count;
  residuals.rms = std::sqrt(squares);
  residuals.stdOfSize = std::sqrt(spread);
  const auto [smallest, largest] = std::minmax_element(each.begin(), each.end());
  residuals.smallest = *smallest;
  residuals.largest = *largest;
  residuals.each = std::move(each);
  return residuals;
}

}  // namespace quel
