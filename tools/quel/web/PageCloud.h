// A cloud with deviations as a page carries it: thinned, in steps, along a curve.
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "files/Values.h"
#include "web/Cells.h"
#include "web/DeviationSteps.h"

namespace queltool {

/// Points of more than that are thinned evenly along the curve.
inline constexpr std::size_t kMostPagePoints = 2'000'000;

struct PageCloud {
  std::size_t points = 0;     ///< Finite ones.
  std::size_t notFinite = 0;  ///< Points that are left out.
  std::size_t beyond = 0;     ///< Deviations that are shown smaller than they are.
  Vec3 origin{};              ///< Of the cells.
  double cellStep = 0.0;
  std::size_t graded = 0;            ///< Shown points with a deviation,
  std::size_t ungraded = 0;          ///< and without.
  std::string gradedPlanes;          ///< x, y and z in cells, then deviations in steps, along the curve.
  std::string ungradedPlanes;        ///< x, y and z in cells, along the curve.
  std::array<double, 2> usualSteps;  ///< Between which all but a thousandth of the shown deviations lie on each side.
};

PageCloud pageCloudOf(std::span<const Vec3> points, std::span<const double> deviations, const DeviationSteps& steps,
                      std::size_t most = kMostPagePoints);

/// How many points of a cloud have each band of the table in force, and each place against the limits.
struct GradeCounts {
  std::vector<std::size_t> bands;
  std::array<std::size_t, 3> places{};  ///< Below, within, above.
  std::size_t none = 0;                 ///< Without a deviation.
};

/// Of the finite points.
GradeCounts countGrades(std::span<const Vec3> points, std::span<const double> deviations, const GradedBy& limits,
                        std::size_t bands);

}  // namespace queltool
