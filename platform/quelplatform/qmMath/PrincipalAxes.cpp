#include "quelplatform/qmMath/PrincipalAxes.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quelplatform {

namespace {

constexpr int kMostSweeps = 40;
constexpr double kNegligible = 0x1p-54;

struct Sweep {
  double a[3][3];  // Upper triangle.
  double v[3][3];  // Row k belongs to diagonal entry k.
};

// Turns axes p and q (p < q) so that a[p][q] vanishes; r is the third axis. Rutishauser's form: what changes is added
// to what is there.
bool rotate(Sweep& s, int p, int q, int r) {
  double& apq = s.a[p][q];
  if (std::abs(apq) <= kNegligible * std::sqrt(std::abs(s.a[p][p])) * std::sqrt(std::abs(s.a[q][q]))) {
    apq = 0.0;
    return false;
  }
  const double theta = (s.a[q][q] - s.a[p][p]) / (2.0 * apq);
  const double t = std::copysign(1.0, theta) / (std::abs(theta) + std::sqrt(theta * theta + 1.0));
  const double c = 1.0 / std::sqrt(t * t + 1.0);
  const double sine = t * c;
  const double tau = sine / (1.0 + c);
  s.a[p][p] -= t * apq;
  s.a[q][q] += t * apq;
  apq = 0.0;
  double& arp = s.a[std::min(r, p)][std::max(r, p)];
  double& arq = s.a[std::min(r, q)][std::max(r, q)];
  const double rp = arp;
  arp = rp - sine * (arq + tau * rp);
  arq = arq + sine * (rp - tau * arq);
  for (int i = 0; i < 3; ++i) {
    const double vp = s.v[p][i];
    s.v[p][i] = c * vp - sine * s.v[q][i];
    s.v[q][i] = sine * vp + c * s.v[q][i];
  }
  return true;
}

}  // namespace

PrincipalAxes principalAxes(const double (&matrix)[3][3]) noexcept {
  Sweep s{};
  for (int i = 0; i < 3; ++i) {
    std::copy(matrix[i] + i, matrix[i] + 3, s.a[i] + i);
    s.v[i][i] = 1.0;
  }
  for (int sweep = 0; sweep < kMostSweeps; ++sweep) {
    const bool first = rotate(s, 0, 1, 2);
    const bool second = rotate(s, 0, 2, 1);
    if (!rotate(s, 1, 2, 0) && !first && !second) break;
  }
  int order[3] = {0, 1, 2};
  for (const int k : {0, 1, 0}) {
    if (s.a[order[k]][order[k]] < s.a[order[k + 1]][order[k + 1]]) std::swap(order[k], order[k + 1]);
  }
  PrincipalAxes result{};
  for (int k = 0; k < 3; ++k) {
    result.value[k] = s.a[order[k]][order[k]];
    std::copy(s.v[order[k]], s.v[order[k]] + 3, result.axis[k]);
  }
  return result;
}

}  // namespace quelplatform
