// Deviations from nominals: a million measured points against a mesh of 200,000 triangles and against a cloud, on one
// core. A point checked against all triangles must agree before anything is timed.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "nominal/CloudNominal.h"
#include "nominal/MeshNominal.h"
#include "nominal/TrianglePoint.h"

namespace {

using queltool::Nearest;
using queltool::Vec3;

constexpr std::uint32_t kSide = 317;  // Squares of two triangles along each edge.
constexpr std::size_t kPoints = 1000000;

double heightAt(double x, double y) {
  return 12.0 * std::sin(0.031 * x) * std::cos(0.027 * y) + 3.0 * std::sin(0.11 * x);
}

quel::Surface wavySurface() {
  quel::Surface surface;
  const double step = 300.0 / kSide;
  for (std::uint32_t i = 0; i <= kSide; ++i) {
    for (std::uint32_t k = 0; k <= kSide; ++k) {
      const double x = step * k, y = step * i;
      surface.vertices.push_back({x, y, heightAt(x, y)});
    }
  }
  for (std::uint32_t i = 0; i < kSide; ++i) {
    for (std::uint32_t k = 0; k < kSide; ++k) {
      const std::uint32_t a = i * (kSide + 1) + k, b = a + 1, c = a + kSide + 1, d = c + 1;
      surface.facets.push_back({a, b, d});
      surface.facets.push_back({a, d, c});
    }
  }
  return surface;
}

// As a scanner leaves them, row by row and 0.05 mm off at random; or in no order.
std::vector<Vec3> scan(bool inRows) {
  std::mt19937_64 random(19);
  std::normal_distribution<double> noise(0.0, 0.05);
  std::vector<Vec3> points;
  for (std::size_t n = 0; n < kPoints; ++n) {
    const double x = 1.0 + 298.0 * static_cast<double>(n % 1000) / 999.0;
    const double y = 1.0 + 298.0 * static_cast<double>(n / 1000) / 999.0;
    points.push_back({x, y, heightAt(x, y) + noise(random)});
  }
  if (!inRows) std::shuffle(points.begin(), points.end(), random);
  return points;
}

double leastDistance(const quel::Surface& surface, const Vec3& p) {
  double least = std::numeric_limits<double>::infinity();
  for (const quel::Facet& f : surface.facets) {
    const Vec3 &a = surface.vertices[f[0]], &b = surface.vertices[f[1]], &c = surface.vertices[f[2]];
    const queltool::Triangle t = {a, b, c, f, queltool::reachOf(a, b, c)};
    least = std::min(least, std::sqrt(footOn(t, p).squared));
  }
  return least;
}

void meshDeviations(benchmark::State& state) {
  const quel::Surface surface = wavySurface();
  const queltool::MeshNominal nominal(surface);
  const std::vector<Vec3> points = scan(state.range(0) != 0);
  std::vector<Nearest> found(points.size());
  nominal.findNearest(points, found);
  for (std::size_t n = 0; n < points.size(); n += 100003) {
    if (!(std::abs(std::abs(found[n].deviation) - leastDistance(surface, points[n])) <= 1e-9)) {
      return state.SkipWithError("a triangle is nearer");
    }
  }
  for (auto _ : state) nominal.findNearest(points, found);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * points.size()));
}

void meshBuilding(benchmark::State& state) {
  const quel::Surface surface = wavySurface();
  for (auto _ : state) queltool::MeshNominal nominal(surface);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * surface.facets.size()));
}

void cloudDeviations(benchmark::State& state) {
  quel::Surface surface = wavySurface();
  surface.facets.clear();
  const queltool::CloudNominal nominal(std::move(surface), Vec3{150.0, 150.0, 1000.0});
  const std::vector<Vec3> points = scan(true);
  std::vector<Nearest> found(points.size());
  for (auto _ : state) nominal.findNearest(points, found);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * points.size()));
}

BENCHMARK(meshDeviations)->ArgName("rows")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(meshBuilding)->Unit(benchmark::kMillisecond);
BENCHMARK(cloudDeviations)->Unit(benchmark::kMillisecond);

}  // namespace
