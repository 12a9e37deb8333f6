#include "quelplatform/qmMath/kernels/fitSums.h"

#include <cstddef>
#include <utility>

#include "quelkernels/Pack.h"

namespace quelplatform::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

namespace {

struct Sum {
  Pack sum, lost;
};

// Points are taken apart in split order, sums lie in memory in their own.
template <std::size_t... N>
QUEL_INLINE Pack loadLanes(const double* from, std::index_sequence<N...>) {
  const Pack lanes = load(from);
  return __builtin_shufflevector(lanes, lanes, splitOrder(int{N})...);
}

/// In which lane, in split order, the point or pixel of that number is.
constexpr int placeOf(int number) { return kLanes == 1 ? 0 : number * 2 % kLanes + number * 2 / kLanes; }

template <std::size_t... N>
QUEL_INLINE void storeLanes(double* to, Pack lanes, std::index_sequence<N...>) {
  store(to, __builtin_shufflevector(lanes, lanes, placeOf(int{N})...));
}

QUEL_INLINE Sum loadSum(const FitLanes& lanes, int lane) {
  return {loadLanes(lanes.sum + lane, Lanes{}), loadLanes(lanes.lost + lane, Lanes{})};
}

QUEL_INLINE void storeSum(Sum from, FitLanes& lanes, int lane) {
  storeLanes(lanes.sum + lane, from.sum, Lanes{});
  storeLanes(lanes.lost + lane, from.lost, Lanes{});
}

QUEL_INLINE void add(Pack value, Sum& to) {
  const Pack next = to.sum + value;
  const Pack part = next - to.sum;
  to.lost += (to.sum - (next - part)) + (value - part);
  to.sum = next;
}

QUEL_INLINE void addTo(FitLanes& lanes, int lane, Pack value) {
  Sum sum = loadSum(lanes, lane);
  add(value, sum);
  storeSum(sum, lanes, lane);
}

// The points of one block that belong to `kLanes` lanes from `lane` on.
QUEL_INLINE void addBlock(const double (*points)[3], int lane, PackOf3 at, Pack scale, FitSums& sums) {
  Sum x = loadSum(sums.point[0], lane), y = loadSum(sums.point[1], lane), z = loadSum(sums.point[2], lane);
  Pack xx = {}, xy = {}, xz = {}, yy = {}, yz = {}, zz = {};
  for (int n = lane; n < kFitBlock; n += kFitLanes) {
    const PackOf3 p = loadPointsSplit(points + n);
    const Pack px = p.x * scale, py = p.y * scale, pz = p.z * scale;
    add(px, x);
    add(py, y);
    add(pz, z);
    const Pack dx = px - at.x, dy = py - at.y, dz = pz - at.z;
    xx += dx * dx;
    xy += dx * dy;
    xz += dx * dz;
    yy += dy * dy;
    yz += dy * dz;
    zz += dz * dz;
  }
  storeSum(x, sums.point[0], lane);
  storeSum(y, sums.point[1], lane);
  storeSum(z, sums.point[2], lane);
  addTo(sums.product[0], lane, xx);
  addTo(sums.product[1], lane, xy);
  addTo(sums.product[2], lane, xz);
  addTo(sums.product[3], lane, yy);
  addTo(sums.product[4], lane, yz);
  addTo(sums.product[5], lane, zz);
}

}  // namespace

void addFitBlocks(const double (*points)[3], std::int64_t blocks, const FitView& view, FitSums& sums) {
  const PackOf3 at = {everyLane(view.at[0]), everyLane(view.at[1]), everyLane(view.at[2])};
  const Pack scale = everyLane(view.scale);
  for (std::int64_t block = 0; block < blocks; ++block) {
    for (int lane = 0; lane < kFitLanes; lane += kLanes) addBlock(points + block * kFitBlock, lane, at, scale, sums);
  }
}

}  // namespace quelplatform::QUEL_WIDTH
