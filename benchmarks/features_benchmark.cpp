// Planes and lines through points, beside the same fits written down in the usual way (centroid, covariance,
// eigenvectors, without carrying rounding errors) with Eigen's matrices and in two plain passes, and by CGAL where it
// is installed; and the convex outline of points in a plane.
#include <benchmark/benchmark.h>

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <utility>
#include <vector>

#include "benchmarks/BenchmarkCloud.h"
#include "benchmarks/cgalPeer.h"
#include "quelplatform/prim_geom/QmVec3.h"
#include "quelplatform/qmMath/QmMathConvexPolygon.h"
#include "quelplatform/qmMath/qmMathFit.h"

namespace {

using quel::benchmarks::demand;

/// A plate of 100 x 80 mm, or a rod of 100 mm, with 0.05 mm of noise, 1 m from the origin.
std::vector<QmVec3> pointsOn(std::size_t count, double width) {
  std::mt19937_64 random(20261121);
  std::uniform_real_distribution<double> part(-0.5, 0.5);
  std::normal_distribution<double> noise(0.0, 0.05);
  const QmVec3 along = unit(QmVec3(3, 1, 0.5));
  const QmVec3 side = unit(cross(along, QmVec3(0, 0, 1)));
  const QmVec3 up = cross(along, side);
  std::vector<QmVec3> points(count);
  for (QmVec3& p : points) {
    const double x = 100.0 * part(random);
    const double y = width * part(random) + noise(random);
    p = QmVec3(300, 200, 900) + x * along + y * side + noise(random) * up;
  }
  return points;
}

const double (*triples(const std::vector<QmVec3>& points))[3] {
  return reinterpret_cast<const double(*)[3]>(points.data());
}

struct Feature {
  double axis[3];
  double point[3];
};

Feature eigenFit(const std::vector<QmVec3>& points, int column) {
  const Eigen::Map<const Eigen::Matrix3Xd> all(points.data()->v, 3, static_cast<Eigen::Index>(points.size()));
  const Eigen::Vector3d centroid = all.rowwise().mean();
  const Eigen::Matrix3Xd centred = all.colwise() - centroid;
  const Eigen::Matrix3d moments = centred * centred.transpose();
  const Eigen::Vector3d axis = Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(moments).eigenvectors().col(column);
  return {{axis[0], axis[1], axis[2]}, {centroid[0], centroid[1], centroid[2]}};
}

Feature plainFit(const std::vector<QmVec3>& points, int column) {
  double c[3] = {}, xx = 0, xy = 0, xz = 0, yy = 0, yz = 0, zz = 0;
  for (const QmVec3& p : points) c[0] += p[0], c[1] += p[1], c[2] += p[2];
  for (double& x : c) x /= static_cast<double>(points.size());
  for (const QmVec3& p : points) {
    const double x = p[0] - c[0], y = p[1] - c[1], z = p[2] - c[2];
    xx += x * x, xy += x * y, xz += x * z, yy += y * y, yz += y * z, zz += z * z;
  }
  const Eigen::Matrix3d moments{{xx, xy, xz}, {xy, yy, yz}, {xz, yz, zz}};
  const Eigen::Vector3d axis = Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(moments).eigenvectors().col(column);
  return {{axis[0], axis[1], axis[2]}, {c[0], c[1], c[2]}};
}

Feature plainPlane(const std::vector<QmVec3>& points) { return plainFit(points, 0); }
Feature plainLine(const std::vector<QmVec3>& points) { return plainFit(points, 2); }
Feature eigenPlane(const std::vector<QmVec3>& points) { return eigenFit(points, 0); }
Feature eigenLine(const std::vector<QmVec3>& points) { return eigenFit(points, 2); }

Feature quelPlane(const std::vector<QmVec3>& points) {
  Feature f{};
  demand(qmMathFit3DPlane(triples(points), static_cast<std::int64_t>(points.size()), f.axis, f.point) == 1, "no plane");
  return f;
}

Feature quelLine(const std::vector<QmVec3>& points) {
  Feature f{};
  demand(qmMathFit3DLine(triples(points), static_cast<std::int64_t>(points.size()), f.axis, f.point) == 1, "no line");
  return f;
}

template <typename Fit, typename Other>
void run(benchmark::State& state, double width, Fit fit, Other other) {
  const std::vector<QmVec3> points = pointsOn(static_cast<std::size_t>(state.range(0)), width);
  const Feature mine = fit(points);
  const Feature yours = other(points);
  demand(length(cross(QmVec3(mine.axis), QmVec3(yours.axis))) < 1e-9, "the directions differ");
  demand(length(QmVec3(mine.point) - QmVec3(yours.point)) < 1e-9, "the centroids differ");
  for (auto _ : state) benchmark::DoNotOptimize(fit(points));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void PlaneFit(benchmark::State& state) { run(state, 80.0, quelPlane, eigenPlane); }
void PlaneFitByEigen(benchmark::State& state) { run(state, 80.0, eigenPlane, quelPlane); }
void PlaneFitInTwoPasses(benchmark::State& state) { run(state, 80.0, plainPlane, quelPlane); }
void LineFit(benchmark::State& state) { run(state, 0.0, quelLine, eigenLine); }
void LineFitByEigen(benchmark::State& state) { run(state, 0.0, eigenLine, quelLine); }
void LineFitInTwoPasses(benchmark::State& state) { run(state, 0.0, plainLine, quelLine); }
BENCHMARK(PlaneFit)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(PlaneFitInTwoPasses)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(PlaneFitByEigen)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(LineFit)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(LineFitInTwoPasses)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(LineFitByEigen)->RangeMultiplier(10)->Range(1000, 1000000);

#ifdef QUEL_HAS_CGAL
Feature cgalPlane(const std::vector<QmVec3>& points) {
  const quel::benchmarks::PeerFeature f = quel::benchmarks::planeByCgal(points);
  return {{f.axis[0], f.axis[1], f.axis[2]}, {f.point[0], f.point[1], f.point[2]}};
}
Feature cgalLine(const std::vector<QmVec3>& points) {
  const quel::benchmarks::PeerFeature f = quel::benchmarks::lineByCgal(points);
  return {{f.axis[0], f.axis[1], f.axis[2]}, {f.point[0], f.point[1], f.point[2]}};
}
void PlaneFitByCgal(benchmark::State& state) { run(state, 80.0, cgalPlane, quelPlane); }
void LineFitByCgal(benchmark::State& state) { run(state, 0.0, cgalLine, quelLine); }
BENCHMARK(PlaneFitByCgal)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(LineFitByCgal)->RangeMultiplier(10)->Range(1000, 1000000);
#endif

// --- The convex outline ----------------------------------------------------------------------------------------------

using Shape = QmVec3 (*)(std::mt19937_64& random, std::size_t i);

double part(std::mt19937_64& random) { return std::uniform_real_distribution<double>(-1.0, 1.0)(random); }

QmVec3 inSquare(std::mt19937_64& random, std::size_t) {
  const double x = part(random);
  return {x, part(random), 0.01 * part(random)};
}
QmVec3 onCircle(std::mt19937_64& random, std::size_t) {
  const double angle = std::numbers::pi * part(random);
  return {std::cos(angle), std::sin(angle), 0.01 * part(random)};
}
QmVec3 inOnePlace(std::mt19937_64&, std::size_t) { return {0.5, 0.25, 0.125}; }
QmVec3 onLine(std::mt19937_64&, std::size_t i) {
  const auto x = static_cast<double>(i);
  return {0.1 * x, 0.7 * x, 0.0};
}

template <Shape shape>
std::vector<QmVec3> shaped(std::int64_t count) {
  std::mt19937_64 random(20261121);
  std::vector<QmVec3> points;
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) points.push_back(shape(random, i));
  return points;
}

template <Shape shape>
void Outline(benchmark::State& state) {
  std::vector<QmVec3> points = shaped<shape>(state.range(0));
  QmVec3 center;
  QmVec3 normal(0.0, 0.0, 1.0);
  std::vector<int> indices;
  demand(QmMathConvexPolygonCalc3D(points, indices, &center, &normal) && !indices.empty(), "no outline");
#ifdef QUEL_HAS_CGAL
  demand(quel::benchmarks::cornersByCgal(points) == indices.size(), "CGAL finds other corners");
#endif
  for (auto _ : state) {
    QmMathConvexPolygonCalc3D(points, indices, &center, &normal);
    benchmark::DoNotOptimize(indices.data());
  }
  state.counters["corners"] = static_cast<double>(indices.size());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
// The least that an outline by the usual way costs: sorting by the two coordinates.
template <Shape shape>
void Sorting(benchmark::State& state) {
  const std::vector<QmVec3> points = shaped<shape>(state.range(0));
  for (auto _ : state) {
    std::vector<std::pair<double, double>> flat;
    for (const QmVec3& p : points) flat.emplace_back(p[0], p[1]);
    std::sort(flat.begin(), flat.end());
    benchmark::DoNotOptimize(flat.data());
  }
}

#ifdef QUEL_HAS_CGAL
template <Shape shape>
void OutlineByCgal(benchmark::State& state) {
  const std::vector<QmVec3> points = shaped<shape>(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(quel::benchmarks::cornersByCgal(points));
}
BENCHMARK(OutlineByCgal<inSquare>)->RangeMultiplier(10)->Range(1000, 1000000)->Name("OutlineOfSquareByCgal");
BENCHMARK(OutlineByCgal<onCircle>)->RangeMultiplier(10)->Range(1000, 1000000)->Name("OutlineOfCircleByCgal");
BENCHMARK(OutlineByCgal<onLine>)->RangeMultiplier(10)->Range(1000, 1000000)->Name("OutlineOfNearlyALineByCgal");
#endif
BENCHMARK(Sorting<onCircle>)->RangeMultiplier(10)->Range(1000, 1000000)->Name("SortingOfCircle");
BENCHMARK(Outline<inOnePlace>)->RangeMultiplier(10)->Range(1000, 1000000)->Name("OutlineOfOnePlace");
BENCHMARK(Outline<inSquare>)->RangeMultiplier(10)->Range(1000, 1000000)->Name("OutlineOfSquare");
BENCHMARK(Outline<onCircle>)->RangeMultiplier(10)->Range(1000, 1000000)->Name("OutlineOfCircle");
BENCHMARK(Outline<onLine>)->RangeMultiplier(10)->Range(1000, 1000000)->Name("OutlineOfNearlyALine");

}  // namespace
