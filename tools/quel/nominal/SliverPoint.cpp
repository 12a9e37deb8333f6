#include "nominal/SliverPoint.h"

#include <cmath>

namespace queltool {

namespace {

// An unevaluated sum of two doubles, the second below the last digit of the first (Dekker 1971).
struct Pair {
  double high;
  double low;
};

Pair sumOf(double a, double b) {
  const double sum = a + b, other = sum - a;
  return {sum, (a - (sum - other)) + (b - other)};
}

Pair productOf(double a, double b) {
  const double product = a * b;
  return {product, std::fma(a, b, -product)};
}

Pair joined(const Pair& a) {
  const double sum = a.high + a.low;
  return {sum, a.low - (sum - a.high)};
}

Pair operator+(const Pair& a, const Pair& b) {
  const Pair sum = sumOf(a.high, b.high);
  return joined({sum.high, sum.low + (a.low + b.low)});
}

Pair operator-(const Pair& a) { return {-a.high, -a.low}; }
Pair operator-(const Pair& a, const Pair& b) { return a + -b; }

Pair operator*(const Pair& a, const Pair& b) {
  const Pair product = productOf(a.high, b.high);
  return joined({product.high, product.low + (a.high * b.low + a.low * b.high)});
}

Pair operator/(const Pair& a, const Pair& b) {
  const double first = a.high / b.high;
  const Pair rest = a - b * Pair{first, 0.0};
  return sumOf(first, rest.high / b.high);
}

// Exact: the difference of two doubles is a pair.
void subtract(double a, double b, Pair& difference) { difference = sumOf(a, -b); }
void subtract(double a, double b, double& difference) { difference = a - b; }

double valueOf(const Pair& a) { return a.high; }
double valueOf(double a) { return a; }

template <typename T>
using Vector = std::array<T, 3>;

template <typename T>
Vector<T> between(const Vec3& from, const Vec3& to) {
  Vector<T> result;
  for (std::size_t axis = 0; axis < 3; ++axis) subtract(to[axis], from[axis], result[axis]);
  return result;
}

template <typename T>
T dotOf(const Vector<T>& a, const Vector<T>& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// a - f b
template <typename T>
Vector<T> without(const Vector<T>& a, const T& f, const Vector<T>& b) {
  return {a[0] - f * b[0], a[1] - f * b[1], a[2] - f * b[2]};
}

Foot footOnEdges(const Triangle& t, const Vec3& p) {
  const Foot feet[] = {footOnEdge(t, p, 0), footOnEdge(t, p, 1), footOnEdge(t, p, 2)};
  return *std::min_element(std::begin(feet), std::end(feet), [](const Foot& a, const Foot& b) {
    return a.squared < b.squared || (a.squared == b.squared && a.part < b.part);
  });
}

std::size_t longestEdgeOf(const Triangle& t) {
  const auto squared = [](const Vec3& a, const Vec3& b) { return dot(minus(b, a), minus(b, a)); };
  const double squares[] = {squared(t.a, t.b), squared(t.b, t.c), squared(t.c, t.a)};
  return static_cast<std::size_t>(std::max_element(squares, squares + 3) - squares);
}

struct PairFoot {
  Vector<Pair> offset;
  TrianglePart part;
};

PairFoot refinedOnEdge(const Triangle& t, const Vec3& p, std::size_t k) {
  const Vec3* const corners[] = {&t.a, &t.b, &t.c};
  const std::size_t end = (k + 1) % 3;
  const Vector<Pair> along = between<Pair>(*corners[k], *corners[end]), from = between<Pair>(*corners[k], p);
  const Pair way = dotOf(along, from), whole = dotOf(along, along);
  if (way.high <= 0.0) return {from, static_cast<TrianglePart>(k)};
  if ((whole - way).high <= 0.0) return {between<Pair>(*corners[end], p), static_cast<TrianglePart>(end)};
  return {without(from, way / whole, along), static_cast<TrianglePart>(3 + k)};
}

// The edges of a sliver differ in what their squares have behind the digits of a double.
Foot refinedOnEdges(const Triangle& t, const Vec3& p) {
  PairFoot best = refinedOnEdge(t, p, 0);
  for (std::size_t k = 1; k < 3; ++k) {
    const PairFoot foot = refinedOnEdge(t, p, k);
    const Pair more = dotOf(foot.offset, foot.offset) - dotOf(best.offset, best.offset);
    if (more.high < 0.0 || (more.high == 0.0 && foot.part < best.part)) best = foot;
  }
  return footAt({best.offset[0].high, best.offset[1].high, best.offset[2].high}, best.part);
}

// By the place s along the longest edge, and then by y of the height over that: a sliver leaves the digits of s alone,
// and those of y are lost over a way that is no longer than the height. The foot lies inside where it is farther than
// `least` from all edges, in parts of the edge and of the height.
template <typename T>
Foot footByHeight(const Triangle& t, const Vec3& p, double least, Foot (*onEdges)(const Triangle&, const Vec3&)) {
  const Vec3* const corners[] = {&t.a, &t.b, &t.c};
  const std::size_t k = longestEdgeOf(t);
  const Vec3& a = *corners[k];
  const Vector<T> along = between<T>(a, *corners[(k + 1) % 3]), slope = between<T>(a, *corners[(k + 2) % 3]);
  const Vector<T> from = between<T>(a, p);
  const T square = dotOf(along, along);
  const T top = dotOf(slope, along) / square, s = dotOf(from, along) / square;
  const Vector<T> height = without(slope, top, along), rest = without(from, s, along);
  const T y = dotOf(rest, height) / dotOf(height, height);
  const T one = square / square, left = s - top * y, right = (one - s) - (one - top) * y;
  if (!(valueOf(y) > least && valueOf(left) > least && valueOf(right) > least)) return onEdges(t, p);
  const Vector<T> offset = without(rest, y, height);
  return footAt({valueOf(offset[0]), valueOf(offset[1]), valueOf(offset[2])}, TrianglePart::Facet);
}

}  // namespace

Foot sliverFoot(const Triangle& t, const Vec3& p) { return footByHeight<double>(t, p, 0.0, footOnEdges); }

// What the divisions of pairs leave of a foot that lies on an edge exactly.
Foot refinedFoot(const Triangle& t, const Vec3& p) { return footByHeight<Pair>(t, p, 0x1p-80, refinedOnEdges); }

}  // namespace queltool
