// Rays of pixels, beside a plain loop over the same numbers.
#include <benchmark/benchmark.h>

#include <cmath>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace {

using namespace quel;
using benchmarks::demand;

constexpr std::size_t kPixels = 100000;

struct Scene {
  Scene() : pixels(2 * kPixels), rays(3 * kPixels) {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> x(0.0, 1536.0);
    for (double& value : pixels) value = x(random);
  }
  const double (*in() const)[2] { return reinterpret_cast<const double(*)[2]>(pixels.data()); }
  double (*out())[3] { return reinterpret_cast<double(*)[3]>(rays.data()); }

  testing::SampleHead head;
  std::vector<double> pixels;
  std::vector<double> rays;
  double origin[3];
};

void plainRays(const double M[3][3], const double (*pixels)[2], double (*rays)[3]) {
  for (std::size_t n = 0; n < kPixels; ++n) {
    double d[3];
    for (int i = 0; i < 3; ++i) d[i] = (M[i][0] * pixels[n][0] + M[i][1] * pixels[n][1]) + M[i][2] * 1.0;
    const double length = std::sqrt((d[0] * d[0] + d[1] * d[1]) + d[2] * d[2]);
    for (int i = 0; i < 3; ++i) rays[n][i] = d[i] / length;
  }
}

void Rays(benchmark::State& state) {
  Scene s;
  double M[3][3];
  qmRTGetInverseProjForCamera(s.head.tensor(), 0, M, nullptr);
  plainRays(M, s.in(), s.out());
  const std::vector<double> expected = s.rays;
  qmRTget3dRaysFromImgPts(s.head.tensor(), kPixels, s.in(), 0, s.origin, s.out());
  demand(expected == s.rays, "rays differ from the plain loop");
  for (auto _ : state) {
    qmRTget3dRaysFromImgPts(s.head.tensor(), kPixels, s.in(), 0, s.origin, s.out());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPixels));
}
BENCHMARK(Rays);

void PlainRayLoop(benchmark::State& state) {
  Scene s;
  double M[3][3];
  qmRTGetInverseProjForCamera(s.head.tensor(), 0, M, nullptr);
  for (auto _ : state) {
    plainRays(M, s.in(), s.out());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPixels));
}
BENCHMARK(PlainRayLoop);

}  // namespace
