// Generated data sets for the fits, in the manner of tests of fitting software: known form and noise, any place.
#pragma once

#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "quelplatform/prim_geom/QmVec3.h"

namespace quel::testing {

struct FitDataSet {
  std::size_t count = 1000;
  double length = 100.0;  ///< Along the first axis of the form.
  double width = 100.0;   ///< Along the second; 0 for a line.
  double noise = 0.0;     ///< Standard deviation across the form; of a line across both other axes.
  double offset = 0.0;    ///< Distance of the form from the origin along (1, 1, 1).
  double coverage = 1.0;  ///< The part of the form that is measured, at its far end, but for ten points all over it.

  std::string name() const {
    return std::to_string(count) + " points, " + std::to_string(length) + " x " + std::to_string(width) + ", noise " +
           std::to_string(noise) + ", offset " + std::to_string(offset) + ", coverage " + std::to_string(coverage);
  }
};

inline QmVec3 randomDirection(std::mt19937_64& random) {
  std::normal_distribution<double> normal;
  const double x = normal(random);
  const double y = normal(random);
  return unit(QmVec3(x, y, normal(random)));
}

inline std::vector<QmVec3> pointsOf(const FitDataSet& set, std::mt19937_64& random) {
  const QmVec3 along = randomDirection(random);
  const QmVec3 side = unit(cross(along, randomDirection(random)));
  const QmVec3 up = cross(along, side);
  const double place = set.offset / std::sqrt(3.0);
  std::uniform_real_distribution<double> all(-0.5, 0.5);
  std::uniform_real_distribution<double> end(0.5 - set.coverage, 0.5);
  std::normal_distribution<double> noise(0.0, set.noise > 0.0 ? set.noise : 1.0);
  const auto across = [&] { return set.noise > 0.0 ? noise(random) : 0.0; };
  std::vector<QmVec3> points(set.count);
  for (std::size_t i = 0; i < set.count; ++i) {
    const double x = set.length * (i < 10 ? all(random) : end(random));
    const double y = set.width > 0.0 ? set.width * all(random) : across();
    points[i] = QmVec3(place, place, place) + (x * along + y * side + across() * up);
  }
  return points;
}

}  // namespace quel::testing
