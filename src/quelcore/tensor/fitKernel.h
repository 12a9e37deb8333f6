// The algebra of the fits, on values: normalised positions, transfers along a parallax, and the quartic of the planar
// fit.
#pragma once

#include <cstdint>
#include <optional>

#include "quelcore/records/qmRTCorres.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quelcore {

struct Position {
  double x;
  double y;
};

struct Homogeneous {
  double x;
  double y;
  double z;
};

/// Where a point lies in a camera, as a function of its parallax: fixed + l * epipole.
struct Transfer {
  Homogeneous fixed;
  Homogeneous epipole;
};

/// What belongs to x and what belongs to y, worked on in one instruction.
using Pair = double __attribute__((vector_size(2 * sizeof(double))));

/// (x, y) / divisor.
inline Position quotient(double x, double y, double divisor) {
  const Pair pair = Pair{x, y} / divisor;
  return {pair[0], pair[1]};
}

inline Position normalised(const tag_qmReconsTensorData& tensor, const tag_qmRTCorres& corres, std::int32_t camera) {
  const double* centre = tensor.imageCentre[camera];
  return quotient(corres.points[camera].x - centre[0], corres.points[camera].y - centre[1], tensor.imageScale[camera]);
}

inline double rowTimes(const double row[3], Position p) { return (row[0] * p.x + row[1] * p.y) + row[2]; }

/// H (p, 1) and E of a pair.
inline Transfer transferOf(const double H[3][3], const double E[3], Position p) {
  return {{rowTimes(H[0], p), rowTimes(H[1], p), rowTimes(H[2], p)}, {E[0], E[1], E[2]}};
}

inline Homogeneous at(const Transfer& transfer, double parallax) {
  const Homogeneous& m = transfer.fixed;
  const Homogeneous& e = transfer.epipole;
  return {m.x + parallax * e.x, m.y + parallax * e.y, m.z + parallax * e.z};
}

inline double squaredDistance(const double p[2], Position q) {
  const double dx = p[0] - q.x;
  const double dy = p[1] - q.y;
  return dx * dx + dy * dy;
}

/// The sum over both target cameras, term by term from the left.
inline double squaredDistances(const double b[2], Position measuredB, const double c[2], Position measuredC) {
  const double dx = c[0] - measuredC.x;
  const double dy = c[1] - measuredC.y;
  return squaredDistance(b, measuredB) + dx * dx + dy * dy;
}

/// The parallax whose transferred position is nearest to the measured one `q` in one camera: the foot of the
/// perpendicular on the line along which the point moves. Nothing where the line has no direction in the image.
inline std::optional<double> nearestParallax(const Transfer& transfer, Position q) {
  const Homogeneous& m = transfer.fixed;
  const Homogeneous& e = transfer.epipole;
  const double den = (e.y * e.z - e.z * e.z * q.y) * m.y + (e.x * e.z - e.z * e.z * q.x) * m.x +
                     (e.x * q.x * e.z + e.y * q.y * e.z - e.x * e.x - e.y * e.y) * m.z;
  if (den == 0.0) return std::nullopt;  // exact, no tolerance
  const double num = m.x * m.x * e.z - (e.z * q.x + e.x) * m.z * m.x + m.y * m.y * e.z - (e.z * q.y + e.y) * m.z * m.y +
                     (e.x * q.x + e.y * q.y) * m.z * m.z;
  return -num / den;
}

/// c4 l^4 + c3 l^3 + c2 l^2 + c1 l + c0.
struct Quartic {
  double c4, c3, c2, c1, c0;
};

/// Where the squared distance to the measured positions in two cameras is stationary: with D_k the third component in
/// camera k and N_k / D_k^3 the derivative of its distance, N_b D_c^3 + N_c D_b^3.
Quartic stationaryQuartic(const Transfer& b, Position measuredB, const Transfer& c, Position measuredC);

/// The entries of a quartic's four roots that are stationary points, bit i for entry i; nothing for a kind of solution
/// that is not known.
std::optional<unsigned> candidateEntries(std::int32_t kind, std::int32_t count);

}  // namespace quelcore
