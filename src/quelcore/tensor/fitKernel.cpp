#include "quelcore/tensor/fitKernel.h"

#include <algorithm>

namespace quelcore {

namespace {

/// constant + slope l.
struct Line {
  double constant;
  double slope;
};

/// d0 + d1 l + d2 l^2 + d3 l^3.
struct Cubic {
  double d0, d1, d2, d3;
};

/// N_k: the numerator of the derivative of the squared distance in one camera, over D_k^3.
Line slopeNumerator(const Transfer& transfer, Position q) {
  const Homogeneous& m = transfer.fixed;
  const Homogeneous& e = transfer.epipole;
  const double wx = e.x * m.z - m.x * e.z;
  const double wy = e.y * m.z - m.y * e.z;
  return {2.0 * (wx * (m.x - q.x * m.z) + wy * (m.y - q.y * m.z)),
          2.0 * (wx * (e.x - q.x * e.z) + wy * (e.y - q.y * e.z))};
}

/// D_k^3.
Cubic cubedDenominator(const Transfer& transfer) {
  const double z = transfer.fixed.z;
  const double e = transfer.epipole.z;
  const double zz = z * z;
  const double ee = e * e;
  return {zz * z, 3.0 * (zz * e), 3.0 * (z * ee), ee * e};
}

Quartic product(const Line& line, const Cubic& cubic) {
  return {line.slope * cubic.d3, line.constant * cubic.d3 + line.slope * cubic.d2,
          line.constant * cubic.d2 + line.slope * cubic.d1, line.constant * cubic.d1 + line.slope * cubic.d0,
          line.constant * cubic.d0};
}

/// Bits 0 to `count` - 1, of four.
unsigned firstEntries(std::int32_t count) { return (1U << std::clamp(count, 0, 4)) - 1U; }

}  // namespace

Quartic stationaryQuartic(const Transfer& b, Position measuredB, const Transfer& c, Position measuredC) {
  const Quartic ofB = product(slopeNumerator(b, measuredB), cubedDenominator(c));
  const Quartic ofC = product(slopeNumerator(c, measuredC), cubedDenominator(b));
  return {ofB.c4 + ofC.c4, ofB.c3 + ofC.c3, ofB.c2 + ofC.c2, ofB.c1 + ofC.c1, ofB.c0 + ofC.c0};
}

std::optional<unsigned> candidateEntries(std::int32_t kind, std::int32_t count) {
  switch (kind) {
    case 0:
      if (count == 2) return 0b0001U;
      return count == 4 ? 0b0101U : 0U;
    case 1:
      return 0b0011U;
    case 2:
      return count <= 1 ? 0U : firstEntries(count - 1);
    case 3:
    case 4:
      return firstEntries(count);
    default:
      return std::nullopt;
  }
}

}  // namespace quelcore
