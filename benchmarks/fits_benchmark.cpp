// Fitting one correspondence, by each of the three fits, over a cycle of noisy correspondences of one head. Beside the
// linear fit stands the same one written plainly, without a scale, a guard or a call: its normal equations by Cholesky;
// and OpenCV, which takes two views, where it is installed.
#include <benchmark/benchmark.h>

#include <cmath>

#include "benchmarks/BenchmarkCloud.h"
#include "benchmarks/opencvPeer.h"
#include "quelcore/tensor/qmReconsFitCorresToTensor.h"

namespace {

using namespace quel;
using benchmarks::demand;

constexpr std::size_t kCorrespondences = 4096;

struct Scene {
  Scene() {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> noise(-0.2, 0.2);
    for (const quel::Vec3& point : benchmarks::cloudBefore(head, kCorrespondences)) {
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

struct Normal {
  double x, y;
};

Normal normalOf(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres, int camera) {
  return {(corres.points[camera].x - head.imageCentre[camera][0]) / head.imageScale[camera],
          (corres.points[camera].y - head.imageCentre[camera][1]) / head.imageScale[camera]};
}

double rowTimes(const double* row, Normal p) { return row[0] * p.x + row[1] * p.y + row[2]; }

void addEquation(const double* Hi, const double* H2, double ei, double e2, double t, Normal p, double (&m)[6],
                 double (&g)[3]) {
  const double a = ei - t * e2, bx = Hi[0] - t * H2[0], by = Hi[1] - t * H2[1];
  const double rest = rowTimes(Hi, p) - t * rowTimes(H2, p);
  m[0] += a * a, m[1] += a * bx, m[2] += a * by, m[3] += bx * bx, m[4] += bx * by, m[5] += by * by;
  g[0] -= a * rest, g[1] -= bx * rest, g[2] -= by * rest;
}

void solvePlainly(const double (&m)[6], const double (&g)[3], double (&x)[3]) {
  const double l10 = m[1] / m[0], l20 = m[2] / m[0];
  const double d1 = m[3] - l10 * m[1], rest = m[4] - l20 * m[1], l21 = rest / d1;
  const double d2 = m[5] - l20 * m[2] - l21 * rest;
  const double y1 = g[1] - l10 * g[0], y2 = g[2] - l20 * g[0] - l21 * y1;
  x[2] = y2 / d2;
  x[1] = y1 / d1 - l21 * x[2];
  x[0] = g[0] / m[0] - l10 * x[1] - l20 * x[2];
}

double placeAndCost(const tag_qmReconsTensorData& head, int camera, Normal p, double l, Normal seen, double out[2]) {
  const auto& H = head.planarTransfer[0][camera];
  const double* e = head.epipole[0][camera];
  const double w = rowTimes(H[2], p) + l * e[2];
  out[0] = (rowTimes(H[0], p) + l * e[0]) / w;
  out[1] = (rowTimes(H[1], p) + l * e[1]) / w;
  return (out[0] - seen.x) * (out[0] - seen.x) + (out[1] - seen.y) * (out[1] - seen.y);
}

std::int32_t linearPlainly(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres, Outputs& o) {
  const Normal p = normalOf(head, corres, 0), seen[3] = {p, normalOf(head, corres, 1), normalOf(head, corres, 2)};
  double m[6] = {0, 0, 0, 1, 0, 1}, g[3] = {}, x[3];
  for (const int camera : {1, 2}) {
    const auto& H = head.planarTransfer[0][camera];
    const double* e = head.epipole[0][camera];
    addEquation(H[0], H[2], e[0], e[2], seen[camera].x, p, m, g);
    addEquation(H[1], H[2], e[1], e[2], seen[camera].y, p, m, g);
  }
  solvePlainly(m, g, x);
  const Normal moved = {p.x + x[1], p.y + x[2]};
  o.ref[0] = moved.x;
  o.ref[1] = moved.y;
  const double sum = placeAndCost(head, 1, moved, x[0], seen[1], o.b) +
                     placeAndCost(head, 2, moved, x[0], seen[2], o.c) + x[1] * x[1] + x[2] * x[2];
  o.error = sum * (head.imageScale[1] * head.imageScale[1]);
  o.depth = x[0] / head.planarDepthScale[0][1];
  return 1;
}

// Both ways lead to the same places, but for rounding.
void demandAgreement(const Scene& s) {
  for (const tag_qmRTCorres& corres : s.noisy) {
    Outputs ours{}, plain{};
    linear(*s.head.tensor(), corres, ours);
    linearPlainly(*s.head.tensor(), corres, plain);
    demand(std::abs(ours.depth - plain.depth) < 1e-9 && std::abs(ours.b[0] - plain.b[0]) < 1e-11 &&
               std::abs(ours.c[1] - plain.c[1]) < 1e-11 && std::abs(ours.error - plain.error) < 1e-9,
           "the plain normal equations lead elsewhere");
  }
}

template <typename Fit>
void run(benchmark::State& state, Fit fit) {
  const Scene s;
  const tag_qmReconsTensorData& head = *s.head.tensor();
  Outputs o{};
  demandAgreement(s);
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
void LinearFitByNormalEquations(benchmark::State& state) { run(state, linearPlainly); }
void SingularFit(benchmark::State& state) { run(state, singular); }
BENCHMARK(PlanarFit);
BENCHMARK(LinearFit);
BENCHMARK(LinearFitByNormalEquations);
BENCHMARK(SingularFit);

#ifdef QUEL_HAS_OPENCV
void TriangulationByOpenCv(benchmark::State& state) {
  const Scene s;
  const tag_qmReconsTensorData& head = *s.head.tensor();
  std::size_t n = 0;
  double point[3];
  for (auto _ : state) {
    const tag_qmRTCorres& corres = s.noisy[n++ % kCorrespondences];
    const double a[2] = {corres.points[0].x, corres.points[0].y}, b[2] = {corres.points[1].x, corres.points[1].y};
    benchmarks::triangulateByOpenCv(head, a, b, point);
    benchmark::DoNotOptimize(point);
  }
}
BENCHMARK(TriangulationByOpenCv);
#endif

}  // namespace
