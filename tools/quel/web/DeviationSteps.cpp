#include "web/DeviationSteps.h"

#include <algorithm>
#include <cmath>

#include "models/ColourTable.h"

namespace queltool {
namespace {

// Of the tolerance: its bands are percentages of half of it, most of them many.
constexpr double kStepsOfTolerance = 256.0;

// A tenth of a micrometre, below what such a head measures.
constexpr double kCoarsest = 1e-4;

// Closer limits have one band alone.
constexpr double kLeastTolerance = 1e-6;

double toleranceOf(const GradedBy& limits) {
  const double width = limits.upper - limits.lower;
  return limits.oneSided ? std::min(width, 2.0 * std::abs(limits.upper)) : width;
}

std::size_t levelOf(const GradedBy& limits, double deviation) {
  return gradeDeviation(limits.lower, limits.upper, deviation, limits.oneSided).level;
}

// The next number of steps that single precision holds.
double next(double steps, float towards) {
  constexpr double kDense = 1 << 24;
  if (std::abs(steps) < kDense) return steps + (towards > 0.0F ? 1.0 : -1.0);
  return static_cast<double>(std::nextafter(static_cast<float>(steps), towards));
}

}  // namespace

Against against(const GradedBy& limits, double deviation) {
  if (deviation < limits.lower) return Against::Below;
  return deviation > limits.upper ? Against::Above : Against::Within;
}

DeviationSteps::DeviationSteps(const GradedBy& limits)
    : limits_(limits),
      centre_(limits.oneSided ? 0.0 : 0.5 * limits.lower + 0.5 * limits.upper),
      step_(roundStep(
          std::clamp(toleranceOf(limits) / kStepsOfTolerance, kLeastTolerance / kStepsOfTolerance, kCoarsest))) {}

bool DeviationSteps::isAlike(double steps, double deviation, bool withPlace) const {
  const double value = valueOf(steps);
  if (levelOf(limits_, value) != levelOf(limits_, deviation)) return false;
  return !withPlace || against(limits_, value) == against(limits_, deviation);
}

// A deviation on a limit is within and has the colour of what is without: only the very limit has both.
std::int32_t DeviationSteps::stepsOf(double deviation) const {
  const double exact = std::clamp((deviation - centre_) / step_, -kMost, kMost);
  const auto nearest = static_cast<double>(static_cast<float>(std::nearbyint(exact)));
  const double candidates[] = {nearest, next(nearest, 2e9F), next(nearest, -2e9F)};
  for (const bool withPlace : {true, false}) {
    for (const double steps : candidates) {
      if (std::abs(steps) <= kMost && isAlike(steps, deviation, withPlace)) return static_cast<std::int32_t>(steps);
    }
  }
  return static_cast<std::int32_t>(nearest);
}

bool DeviationSteps::isBeyond(double deviation) const { return std::abs(deviation - centre_) / step_ > kMost + 0.5; }

double roundStep(double length) {
  const double power = std::pow(10.0, std::floor(std::log10(length)));
  for (const double factor : {5.0, 2.0}) {
    if (factor * power <= length) return factor * power;
  }
  return power;
}

}  // namespace queltool
