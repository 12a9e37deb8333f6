// The index of a patch and the partition behind it, from ten thousand to ten million points, and the copies of chosen
// bins; each beside a plain form of the same work.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>

#include "benchmarks/BenchmarkCloud.h"
#include "benchmarks/cgalPeer.h"
#include "benchmarks/nanoflannPeer.h"
#include "benchmarks/pclPeer.h"
#include "quelcore/features/QmCOPBSP.h"
#include "quelcore/patches/QmPatchHelpers.h"

namespace {

using quel::benchmarks::demand;

constexpr std::int32_t kLeafLimit = 500;
constexpr std::uint32_t kWidth = 4096, kHeight = 3000;

struct Position {
  double xy[2];
};

/// A wavy surface in the order of its image's rows, as a camera gives it, with positions that cover the image.
struct Surface {
  explicit Surface(std::int64_t count, bool shuffled = false)
      : points(static_cast<std::size_t>(count)), positions(points.size()) {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    const auto n = static_cast<double>(count);
    const double columns = std::ceil(std::sqrt(n * kWidth / kHeight));
    for (std::size_t i = 0; i < points.size(); ++i) {
      const double row = std::floor(static_cast<double>(i) / columns), column = static_cast<double>(i) - row * columns;
      const double x = kWidth * (column + 0.9 * share(random)) / columns;
      const double y = kHeight * (row + 0.9 * share(random)) / (n / columns + 1);
      positions[i] = {{x, y}};
      points[i] = QmVec3(x / 10, y / 10, 20 * std::sin(x / 300) * std::cos(y / 200) + share(random));
    }
    for (std::size_t i = points.size(); shuffled && i > 1; --i) {
      const std::size_t other = random() % i;
      std::swap(points[i - 1], points[other]);
      std::swap(positions[i - 1], positions[other]);
    }
  }
  std::vector<QmVec3> points;
  std::vector<Position> positions;
};

QmBBox boxAround(const std::vector<QmVec3>& points) {
  QmBBox box(points[0], points[0]);
  for (const QmVec3& point : points) box.extend(point);
  return box;
}

/// The partition as it reads: recursive, a node a heap object.
struct PlainNode {
  QmBBox box;
  std::int32_t *first, *last;
  std::unique_ptr<PlainNode> left, right;

  PlainNode(const QmVec3* points, std::int32_t* from, std::int32_t* to)
      : box(points[*from], points[*from]), first(from), last(to) {
    for (const std::int32_t* at = from; at != to; ++at) box.extend(points[*at]);
    if (to - from < kLeafLimit) return;
    const QmVec3 side = box.maximum() - box.minimum();
    const int axis = static_cast<int>(std::max_element(side.v, side.v + 3) - side.v);
    const double offset = (box.minimum()[axis] + box.maximum()[axis]) * 0.5;
    std::int32_t *i = from, *j = to;
    while (i != j) {
      if (points[*i][axis] - offset >= 0.0) {
        std::swap(*i, *--j);
      } else {
        ++i;
      }
    }
    if (i == from || i == to) return;
    left = std::make_unique<PlainNode>(points, from, i);
    right = std::make_unique<PlainNode>(points, i, to);
  }
};

std::vector<std::int32_t> numbered(std::size_t count) {
  std::vector<std::int32_t> order(count);
  std::iota(order.begin(), order.end(), 0);
  return order;
}

void perPoint(benchmark::State& state) {
  state.counters["per_point"] = benchmark::Counter(
      static_cast<double>(state.range(0)), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Partition(benchmark::State& state) {
  const Surface surface(state.range(0), state.range(1) != 0);
  const QmBBox box = boxAround(surface.points);
  const auto count = static_cast<std::int32_t>(state.range(0));
  QmCOPBSP tree;
  tree.build(surface.points.data(), count, box, kLeafLimit);
  std::vector<std::int32_t> order = numbered(surface.points.size());
  const PlainNode plain(surface.points.data(), order.data(), order.data() + order.size());
  demand(std::equal(order.begin(), order.end(), tree.indices), "the partition differs from the plain one");
  for (auto _ : state) tree.build(surface.points.data(), count, box, kLeafLimit);
  perPoint(state);
}

void PlainPartition(benchmark::State& state) {
  const Surface surface(state.range(0), state.range(1) != 0);
  for (auto _ : state) {
    std::vector<std::int32_t> order = numbered(surface.points.size());
    const PlainNode plain(surface.points.data(), order.data(), order.data() + order.size());
    benchmark::DoNotOptimize(plain.box);
  }
  perPoint(state);
}

qmPatch patchOver(Surface& surface, bool withImage) {
  qmPatch patch{};
  patch.id.imageWidth = kWidth;
  patch.id.imageHeight = kHeight;
  patch.subPatchCount = 1;
  patch.subPatchPoints[0] = static_cast<std::uint32_t>(surface.points.size());
  patch.pointCount = static_cast<std::int32_t>(surface.points.size());
  patch.points3D = reinterpret_cast<double(*)[3]>(surface.points.data());
  if (withImage) patch.points2D = reinterpret_cast<double(*)[2]>(surface.positions.data());
  return patch;
}

/// Indexes the same unsorted points again and again.
void indexAgain(benchmark::State& state, bool withImage) {
  const Surface unsorted(state.range(0), state.range(1) != 0);
  Surface surface = unsorted;
  qmPatch patch = patchOver(surface, withImage);
  qmvector<qmPatchBinInfo> bins;
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(surface.points.data(), unsorted.points.data(), unsorted.points.size() * sizeof(QmVec3));
    std::memcpy(surface.positions.data(), unsorted.positions.data(), unsorted.positions.size() * sizeof(Position));
    state.ResumeTiming();
    demand(QmPatchCreateIndex(&patch, bins), "there is no index");
  }
  perPoint(state);
}

int cellOf(const Position& position) {
  return static_cast<int>(position.xy[0]) / 32 * (static_cast<int>(kHeight + 31) / 32) +
         static_cast<int>(position.xy[1]) / 32;
}

/// The index by image as a stable sort by cell; returns the sorted points.
std::vector<QmVec3> plainIndexByImage(const Surface& surface, std::vector<qmPatchBinInfo>& bins) {
  std::vector<std::int32_t> order = numbered(surface.points.size());
  const auto cell = [&](std::int32_t n) { return cellOf(surface.positions[static_cast<std::size_t>(n)]); };
  std::stable_sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) { return cell(a) < cell(b); });
  std::vector<QmVec3> sorted;
  std::vector<Position> positions;
  sorted.reserve(order.size());
  positions.reserve(order.size());
  bins.clear();
  for (std::size_t i = 0; i < order.size(); ++i) {
    const QmVec3& point = surface.points[static_cast<std::size_t>(order[i])];
    if (i == 0 || cell(order[i]) != cell(order[i - 1])) {
      bins.emplace_back().start = static_cast<std::uint32_t>(i);
      bins.back().box = QmBBox(point, point);
    }
    bins.back().box.extend(point);
    ++bins.back().count;
    sorted.push_back(point);
    positions.push_back(surface.positions[static_cast<std::size_t>(order[i])]);
  }
  benchmark::DoNotOptimize(positions.data());
  return sorted;
}

void IndexByImage(benchmark::State& state) {
  {
    Surface surface(state.range(0), state.range(1) != 0);
    std::vector<qmPatchBinInfo> plainBins;
    const std::vector<QmVec3> plain = plainIndexByImage(surface, plainBins);
    qmPatch patch = patchOver(surface, true);
    qmvector<qmPatchBinInfo> bins;
    demand(QmPatchCreateIndex(&patch, bins) && bins.size() == plainBins.size() && plain == surface.points,
           "the index by image differs from a stable sort");
  }
  indexAgain(state, true);
}

void PlainIndexByImage(benchmark::State& state) {
  const Surface surface(state.range(0), state.range(1) != 0);
  std::vector<qmPatchBinInfo> bins;
  for (auto _ : state) benchmark::DoNotOptimize(plainIndexByImage(surface, bins).data());
  perPoint(state);
}

/// The least that an index by image can be: the numbers of the points sorted by counting, and every array put into that
/// order through a copy.
class CountingSort {
 public:
  explicit CountingSort(const Surface& unsorted)
      : counts_(cellOf({{kWidth - 1.0, kHeight - 1.0}}) + 2),
        size_(unsorted.points.size()),
        cells_(std::make_unique_for_overwrite<int[]>(size_)),
        order_(std::make_unique_for_overwrite<std::uint32_t[]>(size_)) {}

  void sort(const Surface& surface) {
    std::fill(counts_.begin(), counts_.end(), 0);
    for (std::size_t n = 0; n < size_; ++n) {
      cells_[n] = cellOf(surface.positions[n]);
      ++counts_[static_cast<std::size_t>(cells_[n]) + 1];
    }
    std::partial_sum(counts_.begin(), counts_.end(), counts_.begin());
    for (std::size_t n = 0; n < size_; ++n) {
      order_[counts_[static_cast<std::size_t>(cells_[n])]++] = static_cast<std::uint32_t>(n);
    }
  }

  template <typename Element>
  void permute(std::vector<Element>& elements, Element* copy) const {
    std::memcpy(copy, elements.data(), elements.size() * sizeof(Element));
    for (std::size_t n = 0; n < size_; ++n) elements[n] = copy[order_[n]];
  }

 private:
  std::vector<std::uint32_t> counts_;
  std::size_t size_;
  std::unique_ptr<int[]> cells_;
  std::unique_ptr<std::uint32_t[]> order_;
};

void CountAndPermute(benchmark::State& state) {
  const Surface unsorted(state.range(0), state.range(1) != 0);
  Surface surface = unsorted;
  CountingSort sort(unsorted);
  std::vector<QmVec3> points = unsorted.points;
  std::vector<Position> positions = unsorted.positions;
  for (auto _ : state) {
    state.PauseTiming();
    surface = unsorted;
    state.ResumeTiming();
    sort.sort(surface);
    sort.permute(surface.points, points.data());
    sort.permute(surface.positions, positions.data());
    benchmark::ClobberMemory();
  }
  perPoint(state);
}

/// The same with memory of its own each time, as an index has it.
void CountAndPermuteInNewMemory(benchmark::State& state) {
  const Surface unsorted(state.range(0), state.range(1) != 0);
  Surface surface = unsorted;
  for (auto _ : state) {
    state.PauseTiming();
    surface = unsorted;
    state.ResumeTiming();
    CountingSort sort(unsorted);
    const auto copy = std::make_unique_for_overwrite<double[]>(3 * surface.points.size());
    sort.sort(surface);
    sort.permute(surface.points, reinterpret_cast<QmVec3*>(copy.get()));
    sort.permute(surface.positions, reinterpret_cast<Position*>(copy.get()));
    benchmark::ClobberMemory();
  }
  perPoint(state);
}

void IndexBySpace(benchmark::State& state) { indexAgain(state, false); }

void sizes(benchmark::internal::Benchmark* run) {
  run->ArgNames({"points", "shuffled"})
      ->ArgsProduct({{1000, 10000, 100000, 1000000, 10000000}, {0, 1}})
      ->Unit(benchmark::kMillisecond);
}
BENCHMARK(Partition)->Apply(sizes);
BENCHMARK(PlainPartition)->Apply(sizes);
BENCHMARK(IndexBySpace)->Apply(sizes);
BENCHMARK(IndexByImage)->Apply(sizes);
BENCHMARK(PlainIndexByImage)->Apply(sizes);
BENCHMARK(CountAndPermute)->Apply(sizes);
BENCHMARK(CountAndPermuteInNewMemory)->Apply(sizes);

// --- Libraries of the field
// --------------------------------------------------------------------------------------------

#ifdef QUEL_HAS_NANOFLANN
void KdTreeByNanoflann(benchmark::State& state) {
  const Surface surface(state.range(0), state.range(1) != 0);
  for (auto _ : state) benchmark::DoNotOptimize(quel::benchmarks::buildByNanoflann(surface.points, kLeafLimit));
  perPoint(state);
}
BENCHMARK(KdTreeByNanoflann)->Apply(sizes);
#endif

#ifdef QUEL_HAS_PCL
void OctreeByPcl(benchmark::State& state) {
  const quel::benchmarks::PclCloud cloud(Surface(state.range(0), state.range(1) != 0).points);
  for (auto _ : state) benchmark::DoNotOptimize(cloud.buildOctree(kLeafLimit));
  perPoint(state);
}
BENCHMARK(OctreeByPcl)->Apply(sizes);

void VoxelGridByPcl(benchmark::State& state) {
  const quel::benchmarks::PclCloud cloud(Surface(state.range(0), state.range(1) != 0).points);
  for (auto _ : state) benchmark::DoNotOptimize(cloud.voxels(3.2F));
  perPoint(state);
}
BENCHMARK(VoxelGridByPcl)->Apply(sizes);
#endif

#ifdef QUEL_HAS_CGAL
void KdTreeByCgal(benchmark::State& state) {
  const Surface surface(state.range(0), state.range(1) != 0);
  for (auto _ : state) benchmark::DoNotOptimize(quel::benchmarks::treeByCgal(surface.points, kLeafLimit));
  perPoint(state);
}
BENCHMARK(KdTreeByCgal)->Apply(sizes);
#endif

// --- Copies of every second bin of 300 points ------------------------------------------------------------------------

constexpr std::size_t kPoints = 200000;
constexpr std::uint32_t kRun = 300;

std::vector<qmPatchPtsIndex> everySecondRun() {
  std::vector<qmPatchPtsIndex> runs;
  for (std::uint32_t start = 0; start + kRun <= kPoints; start += 2 * kRun) runs.push_back({start, kRun});
  return runs;
}

template <typename Form>
std::vector<Form> somePoints() {
  std::mt19937_64 random(20261121);
  std::uniform_real_distribution<double> coordinate(-1000.0, 1000.0);
  std::vector<Form> points(kPoints);
  for (Form& point : points) {
    for (auto& value : point.p) value = static_cast<std::remove_reference_t<decltype(value)>>(coordinate(random));
  }
  return points;
}

template <typename Scalar, std::size_t size>
struct PointForm {
  Scalar p[size];
};
using Float3 = PointForm<float, 3>;
using Float4 = PointForm<float, 4>;
using Double3 = PointForm<double, 3>;

template <typename From, typename To>
void plainCopy(const std::vector<From>& from, const std::vector<qmPatchPtsIndex>& runs, std::vector<To>& to) {
  std::size_t at = 0;
  for (const qmPatchPtsIndex& run : runs) {
    for (std::uint32_t n = 0; n < run.count; ++n, ++at) {
      for (int axis = 0; axis < 3; ++axis) {
        to[at].p[axis] = static_cast<std::remove_extent_t<decltype(To::p)>>(from[run.start + n].p[axis]);
      }
    }
  }
}

template <typename From, typename To, bool plain>
void CopyRuns(benchmark::State& state) {
  const std::vector<From> from = somePoints<From>();
  const std::vector<qmPatchPtsIndex> runs = everySecondRun();
  std::vector<const qmPatchPtsIndex*> pointers;
  for (const qmPatchPtsIndex& run : runs) pointers.push_back(&run);
  const std::size_t total = runs.size() * kRun;
  std::vector<To> to(total), expected(total);
  plainCopy(from, runs, expected);
  const auto copy = [&] {
    return qmPatchCopyIndexedPoints(&from[0].p, pointers.data(), static_cast<std::uint32_t>(pointers.size()),
                                    static_cast<std::uint32_t>(total), &to[0].p);
  };
  demand(copy() == total && std::memcmp(to.data(), expected.data(), total * sizeof(To)) == 0,
         "copied points differ from the plain copy");
  for (auto _ : state) {
    if (plain) {
      plainCopy(from, runs, to);
    } else {
      copy();
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(total));
}
BENCHMARK(CopyRuns<Float3, Float3, false>);
BENCHMARK(CopyRuns<Float3, Float3, true>);
BENCHMARK(CopyRuns<Float3, Double3, false>);
BENCHMARK(CopyRuns<Float3, Float4, false>);
BENCHMARK(CopyRuns<Double3, Float3, false>);
BENCHMARK(CopyRuns<Double3, Float3, true>);
BENCHMARK(CopyRuns<Double3, Double3, false>);
BENCHMARK(CopyRuns<Double3, Double3, true>);
BENCHMARK(CopyRuns<Double3, Float4, false>);
BENCHMARK(CopyRuns<Double3, Float4, true>);
BENCHMARK(CopyRuns<Float4, Float3, false>);
BENCHMARK(CopyRuns<Float4, Double3, false>);
BENCHMARK(CopyRuns<Float4, Float4, false>);
BENCHMARK(CopyRuns<Float4, Float4, true>);

}  // namespace
