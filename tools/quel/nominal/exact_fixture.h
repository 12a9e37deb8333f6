// The nearest point of a triangle in fractions without end: nothing is rounded.
#pragma once

#include <gmpxx.h>

#include <array>

#include "nominal/TrianglePoint.h"

namespace queltool {

using Exact = std::array<mpq_class, 3>;

inline Exact exactOf(const Vec3& v) { return {mpq_class(v[0]), mpq_class(v[1]), mpq_class(v[2])}; }
inline Exact operator-(const Exact& a, const Exact& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Exact operator*(const mpq_class& f, const Exact& a) { return {f * a[0], f * a[1], f * a[2]}; }
inline mpq_class dot(const Exact& a, const Exact& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

struct ExactFoot {
  Exact offset;
  mpq_class squared;
  TrianglePart part;
};

inline void keepNearer(ExactFoot& best, const Exact& offset, TrianglePart part) {
  const mpq_class squared = dot(offset, offset);
  if (squared < best.squared) best = {offset, squared, part};
}

// The corners, then the edges where the foot lies between their ends, then the plane where it lies inside: what comes
// later counts where it is nearer.
inline ExactFoot exactFoot(const Triangle& t, const Vec3& point) {
  const Exact corner[] = {exactOf(t.a), exactOf(t.b), exactOf(t.c)};
  const Exact p = exactOf(point);
  ExactFoot best = {p - corner[0], dot(p - corner[0], p - corner[0]), TrianglePart::Corner0};
  keepNearer(best, p - corner[1], TrianglePart::Corner1);
  keepNearer(best, p - corner[2], TrianglePart::Corner2);
  for (std::size_t k = 0; k < 3; ++k) {
    const Exact along = corner[(k + 1) % 3] - corner[k], from = p - corner[k];
    const mpq_class way = dot(along, from) / dot(along, along);
    if (way <= 0 || way >= 1) continue;
    keepNearer(best, from - way * along, static_cast<TrianglePart>(3 + k));
  }
  const Exact ab = corner[1] - corner[0], ac = corner[2] - corner[0], ap = p - corner[0];
  const mpq_class bb = dot(ab, ab), bc = dot(ab, ac), cc = dot(ac, ac);
  const mpq_class whole = bb * cc - bc * bc;
  const mpq_class v = (cc * dot(ab, ap) - bc * dot(ac, ap)) / whole;
  const mpq_class w = (bb * dot(ac, ap) - bc * dot(ab, ap)) / whole;
  if (v > 0 && w > 0 && v + w < 1) keepNearer(best, ap - v * ab - w * ac, TrianglePart::Facet);
  return best;
}

}  // namespace queltool
