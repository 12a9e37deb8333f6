// Fitting one correspondence, by each of the three fits, over a cycle of noisy correspondences of one head.
#include <benchmark/benchmark.h>

#include <cmath>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/tensor/qmReconsFitCorresToTensor.h"

namespace {

using namespace quel;
using benchmarks::demand;

constexpr std::size_t kCorrespondences = 4096;

struct Scene {
  Scene() {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> noise(-0.2, 0.2);
    for (const headmaker::Vec3& point : benchmarks::cloudBefore(head, kCorrespondences)) {
      exact.push_back(head.correspondence(point));
      noisy.push_back(exact.back());
      for (qmRTCorresPoint& seen : noisy.back().points) {
        seen.x += noise(random);
        seen.y += noise(random);
      }
    }
  }

  testing::SampleHead head;
  std::vector<tag_qmRTCorres> exact;
  std::vector<tag_qmRTCorres> noisy;
};

struct Outputs {
  double ref[2], b[2], c[2], error, depth;
};

std::int32_t planar(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres, Outputs& o) {
  return qmRTFitCorresToTensorPlanar(head, corres, 0, 1, 2, o.ref, o.b, o.c, o.error, o.depth);
}
std::int32_t linear(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres, Outputs& o) {
  return qmRTFitCorresToTensorPlanarLinear(head, corres, 0, 1, 2, o.ref, o.b, o.c, o.error, o.depth);
}
std::int32_t singular(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres, Outputs& o) {
  return qmRTFitCorresToTensorSingular(head, corres, 0, 1, o.b, o.error, o.depth);
}

template <typename Fit>
void run(benchmark::State& state, Fit fit) {
  const Scene s;
  const tag_qmReconsTensorData& head = *s.head.tensor();
  Outputs o{};
  for (const tag_qmRTCorres& corres : s.exact) {
    demand(fit(head, corres, o) == 1 && o.error < 1e-12, "an exact correspondence is not explained");
  }
  std::size_t n = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(fit(head, s.noisy[n++ % kCorrespondences], o));
    benchmark::DoNotOptimize(o.depth);
  }
}

void PlanarFit(benchmark::State& state) { run(state, planar); }
void LinearFit(benchmark::State& state) { run(state, linear); }
void SingularFit(benchmark::State& state) { run(state, singular); }
BENCHMARK(PlanarFit);
BENCHMARK(LinearFit);
BENCHMARK(SingularFit);

}  // namespace
