// The point of a triangle that is nearest to a point, and on what of the triangle it lies.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "files/Values.h"
#include "nominal/VectorMath.h"

namespace queltool {

/// What of a triangle is nearest; edge k leads from corner k to the next one.
enum class TrianglePart : std::uint8_t { Corner0, Corner1, Corner2, Edge0, Edge1, Edge2, Facet };

struct Foot {
  Vec3 offset;     ///< From the nearest point to the point.
  double squared;  ///< Its square: the bits by which feet are compared.
  TrianglePart part;
};

/// The corners of a triangle and their places in the mesh. The edge of two triangles is computed from its lower place
/// on, so that both find the same bits.
struct Triangle {
  const Vec3& a;
  const Vec3& b;
  const Vec3& c;
  const std::array<std::uint32_t, 3>& places;
  double reach;  ///< Of `reachOf`.
};

/// The square of the distance from corner a up to which the weights of the corners are sure to 2^-44 in double: D for
/// which u D^2 L / h^2 is that, L the longest edge, h the height over it and u = 2^-52.
inline double reachOf(const Vec3& a, const Vec3& b, const Vec3& c) {
  constexpr double kMost = 256.0;
  const Vec3 ab = minus(b, a), ac = minus(c, a), bc = minus(c, b), n = cross(ab, ac);
  const double longest = std::max({dot(ab, ab), dot(ac, ac), dot(bc, bc)});
  return kMost * dot(n, n) / (longest * std::sqrt(longest));
}

/// The foot on a sliver, or on a triangle that is small as seen from `p`: sure in its distance.
Foot sliverFoot(const Triangle& t, const Vec3& p);

inline Foot footAt(const Vec3& offset, TrianglePart part) { return {offset, dot(offset, offset), part}; }

/// On the line from `u` on to `v`, at t times the way.
struct SegmentFoot {
  Vec3 offset;  ///< From there to the point.
  double squared;
  double t;  ///< From 0 to 1.
};

inline SegmentFoot footOnSegment(const Vec3& p, const Vec3& u, const Vec3& v) {
  const Vec3 along = minus(v, u), from = minus(p, u);
  const double t = std::clamp(dot(along, from) / dot(along, along), 0.0, 1.0);
  const Vec3 offset = t < 1.0 ? minus(from, times(t, along)) : minus(p, v);
  return {offset, dot(offset, offset), t};
}

/// On edge `k` of a triangle, or on an end of it.
inline Foot footOnEdge(const Triangle& t, const Vec3& p, std::size_t k) {
  const Vec3 &u = k == 0 ? t.a : k == 1 ? t.b : t.c, &v = k == 0 ? t.b : k == 1 ? t.c : t.a;
  const bool forward = t.places[k] < t.places[(k + 1) % 3];
  const SegmentFoot foot = forward ? footOnSegment(p, u, v) : footOnSegment(p, v, u);
  const std::size_t end = (foot.t > 0.0) == forward ? (k + 1) % 3 : k;
  const bool between = foot.t > 0.0 && foot.t < 1.0;
  return {foot.offset, foot.squared, static_cast<TrianglePart>(between ? 3 + k : end)};
}

/// The foot on a triangle, sure in its distance to the roundings of the lengths in it. By Ericson, Real-Time Collision
/// Detection, 5.1.5: which of the seven regions around the triangle `p` lies in.
inline Foot footOn(const Triangle& t, const Vec3& p) {
  const Vec3 ab = minus(t.b, t.a), ac = minus(t.c, t.a), ap = minus(p, t.a);
  if (dot(ap, ap) > t.reach) return sliverFoot(t, p);
  const double d1 = dot(ab, ap), d2 = dot(ac, ap);
  if (d1 <= 0.0 && d2 <= 0.0) return footAt(ap, TrianglePart::Corner0);
  const Vec3 bp = minus(p, t.b);
  const double d3 = dot(ab, bp), d4 = dot(ac, bp);
  if (d3 >= 0.0 && d4 <= d3) return footAt(bp, TrianglePart::Corner1);
  const double vc = d1 * d4 - d3 * d2;
  if (vc <= 0.0 && d1 >= 0.0 && d3 <= 0.0) return footOnEdge(t, p, 0);
  const Vec3 cp = minus(p, t.c);
  const double d5 = dot(ab, cp), d6 = dot(ac, cp);
  if (d6 >= 0.0 && d5 <= d6) return footAt(cp, TrianglePart::Corner2);
  const double vb = d5 * d2 - d1 * d6;
  if (vb <= 0.0 && d2 >= 0.0 && d6 <= 0.0) return footOnEdge(t, p, 2);
  const double va = d3 * d6 - d5 * d4;
  if (va <= 0.0 && d4 - d3 >= 0.0 && d5 - d6 >= 0.0) return footOnEdge(t, p, 1);
  const double whole = va + vb + vc;
  const double v = vb / whole, w = vc / whole;
  return footAt(minus(minus(ap, times(v, ab)), times(w, ac)), TrianglePart::Facet);
}

}  // namespace queltool
