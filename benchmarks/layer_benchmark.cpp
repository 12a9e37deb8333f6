// libQuel's calls over many points, each with the allocation of its result. scripts/run-python-benchmark puts the
// Python module beside them; the block and the points are those that it names in QUEL_BENCHMARK_BLOCK, else those of a
// sample head.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>

#include "benchmarks/BenchmarkCloud.h"
#include "quel/quel.h"

namespace {

using namespace quel;

struct Scene {
  Scene() : head(loaded()) {
    const auto camera = head.camera(0);
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> place(-50.0, 50.0);
    const tag_qmReconsTensorData& record = head.record();
    points.resize(1'000'000);
    for (Vec3& point : points) {
      for (std::size_t i = 0; i < 3; ++i) point[i] = record.worldCentre[i] + place(random);
    }
    for (int k = 0; k < 3; ++k) pixels[static_cast<std::size_t>(k)] = project(head, points, k).value().pixels;
    benchmarks::demand(camera.ok() && hasValue(project(head, points, 0).value().status[0]), "a point before the head");
  }

  static Head loaded() {
    if (const char* block = std::getenv("QUEL_BENCHMARK_BLOCK")) return Head::load(block).value();
    return Head::fromRecord(*testing::SampleHead().tensor());
  }

  Head head;
  std::vector<Vec3> points;
  std::array<std::vector<Vec2>, 3> pixels;
};

const Scene& scene() {
  static const Scene one;
  return one;
}

void LayerProject(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(project(scene().head, scene().points, 0).value().pixels.data());
}

void LayerUndistort(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(undistort(scene().head, scene().pixels[0], 0).value().pixels.data());
}

void LayerTriangulate(benchmark::State& state) {
  for (auto _ : state) {
    const auto found = triangulate(scene().head, {scene().pixels[0], scene().pixels[1], scene().pixels[2]});
    benchmark::DoNotOptimize(found.value().points.data());
  }
}

void LayerFitPlane(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(Plane::fit(scene().points).value().residuals.each.data());
}

BENCHMARK(LayerProject)->Unit(benchmark::kMillisecond);
BENCHMARK(LayerUndistort)->Unit(benchmark::kMillisecond);
BENCHMARK(LayerTriangulate)->Unit(benchmark::kMillisecond);
BENCHMARK(LayerFitPlane)->Unit(benchmark::kMillisecond);

}  // namespace
