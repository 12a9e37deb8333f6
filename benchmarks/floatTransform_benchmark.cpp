// The float transform of patches, beside a plain scalar loop and a plain copy of the same memory.
#include <benchmark/benchmark.h>

#include <cstring>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/patches/qmPatchBasicFuncs.h"

namespace {

using quel::benchmarks::demand;

struct alignas(16) Point {
  float p[4];
};

const qmMathTransform kMotion = {{{0.8, -0.6, 0.0}, {0.6, 0.8, 0.0}, {0.0, 0.0, 1.0}}, {1.0, 2.0, 3.0}};

std::vector<Point> points(std::int64_t count) {
  std::mt19937_64 random(20261121);
  std::uniform_real_distribution<float> coordinate(-1000.0F, 1000.0F);
  std::vector<Point> cloud(static_cast<std::size_t>(count));
  for (Point& point : cloud) {
    for (float& value : point.p) value = coordinate(random);
  }
  return cloud;
}

void plainTransform(std::vector<Point>& cloud) {
  float R[3][3];
  float T[3];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) R[i][j] = static_cast<float>(kMotion.rotation[i][j]);
    T[i] = static_cast<float>(kMotion.translation[i]);
  }
  for (Point& point : cloud) {
    const float x = point.p[0], y = point.p[1], z = point.p[2];
    for (int i = 0; i < 3; ++i) point.p[i] = ((y * R[i][1] + x * R[i][0]) + z * R[i][2]) + T[i];
    point.p[3] = 0.0F;
  }
}

void FloatTransform(benchmark::State& state) {
  std::vector<Point> cloud = points(state.range(0));
  std::vector<Point> plain = cloud;
  auto* data = reinterpret_cast<float(*)[4]>(cloud.data());
  qmPatchInplaceTransformAF(&kMotion, data, state.range(0));
  plainTransform(plain);
  demand(std::memcmp(cloud.data(), plain.data(), cloud.size() * sizeof(Point)) == 0,
         "points differ from the plain loop");
  for (auto _ : state) {
    qmPatchInplaceTransformAF(&kMotion, data, state.range(0));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 32);
}
BENCHMARK(FloatTransform)->Arg(16384)->Arg(100000)->Arg(10000000);

void PlainScalarLoop(benchmark::State& state) {
  std::vector<Point> cloud = points(state.range(0));
  for (auto _ : state) {
    plainTransform(cloud);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 32);
}
BENCHMARK(PlainScalarLoop)->Arg(16384)->Arg(100000)->Arg(10000000);

void PlainCopy(benchmark::State& state) {
  const std::vector<Point> from = points(state.range(0));
  std::vector<Point> to = from;
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), from.size() * sizeof(Point));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 32);
}
BENCHMARK(PlainCopy)->Arg(16384)->Arg(100000)->Arg(10000000);

}  // namespace
