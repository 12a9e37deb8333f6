#include <algorithm>
#include <cmath>
#include <cstdint>

#include "quelplatform/qmMath/qmMathSolve.h"
#include "quelplatform/qmMath/quartic/BandedPolynomial.h"
#include "quelplatform/qmMath/quartic/QuarticRoots.h"

static_assert(quelplatform::kUnits == quelplatform::kQuarticUnits, "what is promised is what the parts keep");

std::int32_t qmMathSolveQuartic(double c4, double c3, double c2, double c1, double c0, std::int32_t* count,
                                std::int32_t* kind, double* unread1, double* unread2, double roots[4]) noexcept {
  if (count != nullptr) *count = 0;
  if (kind != nullptr) *kind = 3;
  if (unread1 != nullptr) *unread1 = 0.0;
  if (unread2 != nullptr) *unread2 = 0.0;
  if (count == nullptr || kind == nullptr || roots == nullptr) return 0;
  const double c[5] = {c0, c1, c2, c3, c4};
  if (!std::all_of(c, c + 5, [](double x) { return std::isfinite(x); })) return 0;
  int degree = 4, low = 0;
  while (degree >= 0 && c[degree] == 0.0) --degree;
  if (degree < 0) return 0;
  while (c[low] == 0.0) ++low;

  quelplatform::RealRoots found = quelplatform::rootsOtherThanZero(c, low, degree);
  for (int i = 0; i < low; ++i) found.insert(0.0);
  std::copy(found.at, found.at + found.count, roots);
  *count = found.count;
  if (unread1 != nullptr) *unread1 = degree;
  if (unread2 != nullptr) *unread2 = found.change;
  return 1;
}
