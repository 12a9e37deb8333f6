#include <algorithm>
#include <array>
#include <bit>

#include "quel/clouds/Surface.h"

namespace quel {

namespace {

// Where a corner lies, bit by bit, behind a number that few others share.
struct Place {
  std::uint64_t key;
  std::uint32_t index;
};
using Bits = std::array<std::uint64_t, 3>;

// -0 becomes 0.
Bits bitsOf(const Vec3& p) {
  return {std::bit_cast<std::uint64_t>(p[0] + 0.0), std::bit_cast<std::uint64_t>(p[1] + 0.0),
          std::bit_cast<std::uint64_t>(p[2] + 0.0)};
}

std::uint64_t keyOf(const Vec3& p) {
  std::uint64_t key = 0;
  for (const std::uint64_t bits : bitsOf(p)) {
    key = (key ^ bits) * 0x9E3779B97F4A7C15u;
    key ^= key >> 29;
  }
  return key;
}

}  // namespace

// Sorted, not hashed: no file makes that slow.
std::vector<std::uint32_t> firstAtPlace(std::span<const Vec3> points) {
  std::vector<Place> order;
  order.reserve(points.size());
  for (const Vec3& each : points) order.push_back({keyOf(each), static_cast<std::uint32_t>(order.size())});
  std::sort(order.begin(), order.end(), [&points](const Place& a, const Place& b) {
    if (a.key != b.key) return a.key < b.key;
    const Bits first = bitsOf(points[a.index]), second = bitsOf(points[b.index]);
    return first < second || (first == second && a.index < b.index);
  });
  std::vector<std::uint32_t> first(points.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const bool again = i != 0 && bitsOf(points[order[i].index]) == bitsOf(points[order[i - 1].index]);
    first[order[i].index] = again ? first[order[i - 1].index] : order[i].index;
  }
  return first;
}

}  // namespace quel
