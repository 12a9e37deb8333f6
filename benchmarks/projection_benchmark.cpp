// Projecting a cloud into three images: every distortion mode on 1 and 2 threads, beside a plain loop over the same
// numbers.
#include <benchmark/benchmark.h>

#include <cstring>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace {

using namespace quel;
using benchmarks::asPoints;
using benchmarks::demand;

constexpr std::size_t kPoints = 100000;

struct Scene {
  explicit Scene(bool withLuts) : head(optionsFor(withLuts)), cloud(benchmarks::cloudBefore(head, kPoints)) {
    for (int camera = 0; camera < 3; ++camera) {
      pixels[camera].resize(2 * kPoints);
      images[camera] = reinterpret_cast<double(*)[2]>(pixels[camera].data());
    }
  }

  static headmaker::HeadOptions optionsFor(bool withLuts) {
    headmaker::HeadOptions options;
    if (withLuts) options.luts = headmaker::LutOptions{};
    return options;
  }

  testing::SampleHead head;
  std::vector<headmaker::Vec3> cloud;
  std::vector<double> pixels[3];
  double (*images[3])[2];
};

Scene& scene(bool withLuts) {
  static Scene plain(false);
  static Scene luts(true);
  return withLuts ? luts : plain;
}

const qmMathTransform kMotion = {{{0.8, -0.6, 0.0}, {0.6, 0.8, 0.0}, {0.0, 0.0, 1.0}}, {1.0, 2.0, 3.0}};

/// The pinhole pixels of one point, written out; what the projection would be without a tensor around it.
void plainPixels(const tag_qmReconsTensorData& tensor, const double p[3], std::int64_t n,
                 double (*const images[3])[2]) {
  double q[3];
  for (int i = 0; i < 3; ++i) {
    const double* r = kMotion.rotation[i];
    q[i] = ((r[0] * p[0] + r[1] * p[1]) + r[2] * p[2]) + kMotion.translation[i];
  }
  for (int camera = 0; camera < 3; ++camera) {
    const auto& P = tensor.projections[camera];
    double uvw[3];
    for (int i = 0; i < 3; ++i) uvw[i] = ((P[i][0] * q[0] + P[i][1] * q[1]) + P[i][2] * q[2]) + P[i][3];
    images[camera][n][0] = uvw[0] / uvw[2];
    images[camera][n][1] = uvw[1] / uvw[2];
  }
}

void checkAgainstPlainLoop(Scene& s) {
  qmTransAndProjPoints2ImagesMT(&kMotion, s.head.tensor(), asPoints(s.cloud), 0, kPoints, PROJECT_PINHOLE, 2, s.images);
  const std::vector<double> fast[3] = {s.pixels[0], s.pixels[1], s.pixels[2]};
  for (std::size_t n = 0; n < kPoints; ++n) plainPixels(*s.head.tensor(), s.cloud[n].data(), n, s.images);
  for (int camera = 0; camera < 3; ++camera)
    demand(fast[camera] == s.pixels[camera], "pixels differ from the plain loop");
}

void Project(benchmark::State& state) {
  Scene& s = scene(state.range(2) != 0);
  checkAgainstPlainLoop(s);
  const auto mode = static_cast<_ProjectDistortMode>(state.range(0));
  const auto threads = static_cast<std::int32_t>(state.range(1));
  for (auto _ : state) {
    qmTransAndProjPoints2ImagesMT(&kMotion, s.head.tensor(), asPoints(s.cloud), 0, kPoints, mode, threads, s.images);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPoints));
}
BENCHMARK(Project)
    ->ArgNames({"mode", "threads", "luts"})
    ->ArgsProduct({{0, 1, 2, 3, 4}, {1, 2}, {0}})
    ->ArgsProduct({{1, 2}, {1, 2}, {1}})
    ->UseRealTime();

void ProjectOnePoint(benchmark::State& state) {
  Scene& s = scene(state.range(1) != 0);
  const auto mode = static_cast<_ProjectDistortMode>(state.range(0));
  std::size_t n = 0;
  for (auto _ : state) {
    qmRTProjectPointtoImage(s.head.tensor(), s.cloud[n].data(), 1, mode, s.images[1][n]);
    n = n + 1 < kPoints ? n + 1 : 0;
  }
}
BENCHMARK(ProjectOnePoint)->ArgNames({"mode", "luts"})->ArgsProduct({{0, 1, 2}, {0, 1}});

void PlainPinholeLoop(benchmark::State& state) {
  Scene& s = scene(false);
  for (auto _ : state) {
    for (std::size_t n = 0; n < kPoints; ++n) plainPixels(*s.head.tensor(), s.cloud[n].data(), n, s.images);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPoints));
}
BENCHMARK(PlainPinholeLoop);

}  // namespace
