#include "quel/measure/SharedPole.h"

#include <array>
#include <cmath>

namespace quel {

namespace {

constexpr double kTolerance = 1e-9;

/// The third component of H (x, y, 1) + l E as factors of x, y, 1 and l.
using Denominator = std::array<double, 4>;

Denominator denominatorOf(const tag_qmReconsTensorData& t, int reference, int target) {
  const double(&row)[3] = t.planarTransfer[reference][target][2];
  return {row[0], row[1], row[2], t.epipole[reference][target][2]};
}

double lengthOf(const Denominator& d) { return std::hypot(std::hypot(d[0], d[1]), std::hypot(d[2], d[3])); }

bool dependsOnParallax(const Denominator& d) { return std::abs(d[3]) > kTolerance * lengthOf(d); }

// Written so that numbers which are not finite are never proportional.
bool proportional(const Denominator& a, const Denominator& b) {
  const double most = kTolerance * lengthOf(a) * lengthOf(b);
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      if (!(std::abs(a[i] * b[k] - a[k] * b[i]) <= most)) return false;
    }
  }
  return true;
}

}  // namespace

std::vector<SharedPole> sharedPoles(const tag_qmReconsTensorData& tensor) {
  std::vector<SharedPole> found;
  for (const SharedPole& choice : {SharedPole{0, 1, 2}, {1, 0, 2}, {2, 0, 1}}) {
    const Denominator b = denominatorOf(tensor, choice.reference, choice.targetB);
    const Denominator c = denominatorOf(tensor, choice.reference, choice.targetC);
    if (dependsOnParallax(b) && dependsOnParallax(c) && proportional(b, c)) found.push_back(choice);
  }
  return found;
}

std::string meaningOf(const SharedPole& pole) {
  return "reference " + std::to_string(pole.reference) + ", targets " + std::to_string(pole.targetB) + " and " +
         std::to_string(pole.targetC) +
         " share a denominator: the planar fit fails there for some points; take the linear fit";
}

}  // namespace quel
