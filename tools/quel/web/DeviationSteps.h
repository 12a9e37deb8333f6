// Deviations in whole steps, as a page keeps them: fine enough that no point changes its colour.
#pragma once

#include <cstdint>

namespace queltool {

/// By what a deviation is graded; lengths in millimetres.
struct GradedBy {
  double lower;
  double upper;
  bool oneSided;
};

/// Where a deviation lies against the limits.
enum class Against : std::uint8_t { Below, Within, Above };

/// A deviation on a limit is within.
Against against(const GradedBy& limits, double deviation);

class DeviationSteps {
 public:
  explicit DeviationSteps(const GradedBy& limits);

  /// The steps nearest to `deviation` that have its band of the table in force, and its place against the limits where
  /// such steps are near. A number that single precision holds exactly, of at most `kMost` either way. Not for NaN.
  std::int32_t stepsOf(double deviation) const;

  /// centre + steps · step, as pages compute it.
  double valueOf(double steps) const { return centre_ + steps * step_; }

  /// True where `stepsOf` has to stop short of the deviation.
  bool isBeyond(double deviation) const;

  double centre() const { return centre_; }  ///< Where percentages are 0.
  double step() const { return step_; }

  static constexpr double kMost = 1 << 30;

 private:
  bool isAlike(double steps, double deviation, bool withPlace) const;

  GradedBy limits_;
  double centre_;
  double step_;
};

/// The largest of 1, 2 and 5 times a power of ten that is at most `length`, which is positive.
double roundStep(double length);

}  // namespace queltool
