// The float transform of patches, beside a plain scalar loop, AVX2 by hand, Eigen, a plain copy of the same memory, and
// PCL where it is installed.
#include <benchmark/benchmark.h>

#include <Eigen/Core>
#include <cstring>

#include "benchmarks/BenchmarkCloud.h"
#include "benchmarks/avx2References.h"
#include "benchmarks/pclPeer.h"
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

#ifdef QUEL_HAS_AVX2
void HandWrittenAvx2(benchmark::State& state) {
  if (!quel::benchmarks::runsAvx2()) return state.SkipWithError("this machine has no AVX2");
  std::vector<Point> cloud = points(state.range(0));
  std::vector<Point> plain = cloud;
  auto* data = reinterpret_cast<float(*)[4]>(cloud.data());
  float columns[4][4] = {};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) columns[column][row] = static_cast<float>(kMotion.rotation[row][column]);
    columns[3][row] = static_cast<float>(kMotion.translation[row]);
  }
  quel::benchmarks::transformByAvx2(columns, data, state.range(0));
  plainTransform(plain);
  demand(std::memcmp(cloud.data(), plain.data(), cloud.size() * sizeof(Point)) == 0, "AVX2 by hand differs");
  for (auto _ : state) {
    quel::benchmarks::transformByAvx2(columns, data, state.range(0));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 32);
}
BENCHMARK(HandWrittenAvx2)->Arg(16384)->Arg(100000)->Arg(10000000);
#endif

void Eigen4f(benchmark::State& state) {
  std::vector<Point> cloud = points(state.range(0));
  Eigen::Matrix4f matrix = Eigen::Matrix4f::Zero();
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) matrix(row, column) = static_cast<float>(kMotion.rotation[row][column]);
  }
  Eigen::Map<Eigen::Matrix4Xf, Eigen::Aligned16> all(cloud[0].p, 4, state.range(0));
  const Eigen::Vector4f move(1.0F, 2.0F, 3.0F, 0.0F);
  for (auto _ : state) {
    for (Eigen::Index n = 0; n < all.cols(); ++n) all.col(n) = (matrix * all.col(n) + move).eval();
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 32);
}
BENCHMARK(Eigen4f)->Arg(16384)->Arg(10000000);

#ifdef QUEL_HAS_PCL
void TransformByPcl(benchmark::State& state) {
  std::vector<QmVec3> cloud(static_cast<std::size_t>(state.range(0)), QmVec3(1, 2, 3));
  quel::benchmarks::PclCloud pcl(cloud);
  const float rows[3][4] = {{0.8F, -0.6F, 0.0F, 1.0F}, {0.6F, 0.8F, 0.0F, 2.0F}, {0.0F, 0.0F, 1.0F, 3.0F}};
  for (auto _ : state) {
    pcl.transform(rows);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 32);
}
BENCHMARK(TransformByPcl)->Arg(16384)->Arg(10000000);
#endif

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
