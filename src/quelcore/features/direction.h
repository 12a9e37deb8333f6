// Unit vectors of directions of any length.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "quelplatform/prim_geom/QmVec3.h"

namespace quelcore {

/// True when the squares of `v` sum up without over- or underflow.
inline bool hasPlainLength(const QmVec3& v) {
  const double squared = dot(v, v);
  return squared >= std::numeric_limits<double>::min() && squared <= std::numeric_limits<double>::max();
}

/// `v` times the power of two that brings its largest component to between 1 and 2; zero and what is not finite stay.
inline QmVec3 scaledToOne(const QmVec3& v) {
  const double largest = std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2])});
  if (largest == 0.0 || !std::isfinite(largest)) return v;
  const int exponent = -std::ilogb(largest);
  return {std::ldexp(v[0], exponent), std::ldexp(v[1], exponent), std::ldexp(v[2], exponent)};
}

/// v / |v|; zero stays. The bits are those of the plain quotient wherever its squares neither over- nor underflow.
inline QmVec3 direction(const QmVec3& v) { return unit(hasPlainLength(v) ? v : scaledToOne(v)); }

/// The direction of a x b, zero where they are parallel, whatever their lengths.
inline QmVec3 directionAcross(const QmVec3& a, const QmVec3& b) {
  const QmVec3 across = cross(a, b);
  return direction(hasPlainLength(across) ? across : cross(scaledToOne(a), scaledToOne(b)));
}

}  // namespace quelcore
