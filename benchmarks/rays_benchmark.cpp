// Rays of pixels and ideal pixels of distorted ones, beside plain loops over the same numbers and
// OpenCV where it is installed.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>

#include "benchmarks/BenchmarkCloud.h"
#include "benchmarks/opencvPeer.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

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

/// Newton's method written out: five steps and no promise.
void plainUndistorted(const tag_qmDistortParams& m, const double target[2], double ideal[2]) {
  double x = target[0], y = target[1];
  for (int step = 0; step < 5; ++step) {
    const double dx = x - m.xp, dy = y - m.yp, r2 = dx * dx + dy * dy;
    const double s = r2 * (m.k1 + r2 * (m.k2 + r2 * m.k3));
    const double slope = 2 * (m.k1 + r2 * (2 * m.k2 + r2 * 3 * m.k3));
    const double missX = target[0] - (x + dx * s + m.p1 * (r2 + 2 * dx * dx) + 2 * m.p2 * dx * dy);
    const double missY = target[1] - (y + dy * s + m.p2 * (r2 + 2 * dy * dy) + 2 * m.p1 * dx * dy);
    const double cross = slope * dx * dy + 2 * (m.p1 * dy + m.p2 * dx);
    const double xx = 1 + s + slope * dx * dx + 6 * m.p1 * dx + 2 * m.p2 * dy;
    const double yy = 1 + s + slope * dy * dy + 6 * m.p2 * dy + 2 * m.p1 * dx;
    const double determinant = xx * yy - cross * cross;
    x += (yy * missX - cross * missY) / determinant;
    y += (xx * missY - cross * missX) / determinant;
  }
  ideal[0] = x;
  ideal[1] = y;
}

struct DistortedScene : Scene {
  DistortedScene() : lens(head.tensor()->distortParams[0]), ideal(2 * kPixels), one(2 * kPixels) {
    demand(quelplatform::undistortPts(in(), &lens, nullptr, kPixels, pixelsOf(ideal), nullptr) == 0, "a pixel fails");
    for (std::size_t n = 0; n < kPixels; ++n) {
      quelplatform::undistortOnePt(in()[n], &lens, nullptr, pixelsOf(one)[n]);
      double plain[2];
      plainUndistorted(lens, in()[n], plain);
      demand(std::abs(plain[0] - one[2 * n]) < 1e-8, "the plain inverse differs");
    }
    demand(ideal == one, "many pixels at a time differ from one");
  }
  static double (*pixelsOf(std::vector<double>& values))[2] { return reinterpret_cast<double(*)[2]>(values.data()); }

  const tag_qmDistortParams& lens;
  std::vector<double> ideal;
  std::vector<double> one;
};

void Undistort(benchmark::State& state) {
  DistortedScene s;
  for (auto _ : state) {
    quelplatform::undistortPts(s.in(), &s.lens, nullptr, kPixels, s.pixelsOf(s.ideal), nullptr);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPixels));
}
BENCHMARK(Undistort);

void UndistortOnePixel(benchmark::State& state) {
  DistortedScene s;
  std::size_t n = 0;
  for (auto _ : state) {
    quelplatform::undistortOnePt(s.in()[n], &s.lens, nullptr, s.pixelsOf(s.one)[n]);
    n = n + 1 < kPixels ? n + 1 : 0;
  }
}
BENCHMARK(UndistortOnePixel);

void PlainNewton(benchmark::State& state) {
  DistortedScene s;
  for (auto _ : state) {
    for (std::size_t n = 0; n < kPixels; ++n) plainUndistorted(s.lens, s.in()[n], s.pixelsOf(s.one)[n]);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPixels));
}
BENCHMARK(PlainNewton);

#ifdef QUEL_HAS_OPENCV
void UndistortByOpenCv(benchmark::State& state) {
  DistortedScene s;
  const benchmarks::OpenCvCamera camera(*s.head.tensor(), 0);
  std::vector<double> ideal(2 * kPixels);
  camera.undistort(s.in(), kPixels, s.pixelsOf(ideal));
  double worst = 0.0;
  for (std::size_t n = 0; n < ideal.size(); ++n) worst = std::max(worst, std::abs(ideal[n] - s.ideal[n]));
  demand(worst < 0.01, "OpenCV differs");
  for (auto _ : state) {
    camera.undistort(s.in(), kPixels, s.pixelsOf(ideal));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPixels));
  state.counters["worst_px"] = worst;
}
BENCHMARK(UndistortByOpenCv);
#endif

}  // namespace
