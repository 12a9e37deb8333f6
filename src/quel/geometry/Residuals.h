// How far points lie from what was fitted to them.
#pragma once

#include <vector>

namespace quel {

#pragma GCC visibility push(default)

/// Distances in the order of the points, and figures of them, in the unit of the points.
struct Residuals {
  std::vector<double> each;
  double rms = 0.0;
  double mean = 0.0;
  double smallest = 0.0;
  double largest = 0.0;
  double stdOfSize = 0.0;  ///< Standard deviation of the absolute values.
};

/// The figures of `each`, summed in its order; all 0 without a value.
Residuals residualsOf(std::vector<double> each);

#pragma GCC visibility pop

}  // namespace quel
